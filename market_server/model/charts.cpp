// Minute lines, candles and K-line packages of Market.
#include <algorithm>
#include <charconv>
#include <exception>
#include <system_error>
#include <thread>

#include "market_impl.h"

namespace market_server::model {
namespace {

constexpr int kPackagesSecond = 18 * 3600;  // of a session's day: its candle joins the packages

std::string eight_digits(Date date) {
  std::string text = std::to_string(date);
  return std::string(8 - std::min<std::size_t>(text.size(), 8), '0') + text;
}

// The last day that the packages hold at an instant; 0 before the first.
Date package_date(Instant time) {
  const Date today = std::min(date_of(time), kLastTradingDay);
  if (today < kFirstTradingDay) {
    return 0;
  }
  if (is_trading_day(today) && (date_of(time) > today || second_of_day(time) >= kPackagesSecond)) {
    return today;
  }
  const Date before = previous_trading_day(today);
  return before < kFirstTradingDay ? 0 : before;
}

Candle candle_of(Date date, std::int32_t preclose, const std::int32_t* prices) {
  Candle out;
  out.date = date;
  out.preclose = hundredths(preclose);
  out.open = hundredths(prices[0]);
  out.high = hundredths(*std::max_element(prices, prices + kPoints));
  out.low = hundredths(*std::min_element(prices, prices + kPoints));
  out.close = hundredths(prices[kMinutes]);
  return out;
}

void set_volume(std::uint64_t lots, std::int64_t amount, std::uint64_t circulating, Candle& out) {
  out.vol = lots * 100;
  out.amt = hundredths(amount);
  out.tr = circulating > 0
               ? to_hundredths(static_cast<double>(out.vol) * 100 / static_cast<double>(circulating))
               : 0;
}

// Prices as if every dividend and split had always been, or had never been.
void adjust(std::vector<DaySeries::Row>& rows, Adjustment adjustment) {
  const auto apply = [](Candle& candle, double factor) {
    for (double* const price : {&candle.preclose, &candle.open, &candle.high, &candle.close, &candle.low}) {
      *price = to_hundredths(*price * factor);
    }
  };
  double factor = 1;
  if (adjustment == Adjustment::forward) {
    for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
      const double step = row->candle.preclose / row->previous_close;
      apply(row->candle, factor);
      factor *= step;
    }
  } else if (adjustment == Adjustment::backward) {
    for (DaySeries::Row& row : rows) {
      factor *= row.previous_close / row.candle.preclose;
      apply(row.candle, factor);
    }
  }
}

}  // namespace

MinuteLine Market::minute_line(const Security& security, Date date, Instant time) const {
  MinuteLine out;
  out.date = date;
  Moment moment;
  if (!impl_->moment_on(date, time, moment) || !is_listed(security, date)) {
    return out;
  }
  const auto point = [](int minute, std::int32_t price, std::uint64_t lots, std::int64_t amount,
                        double usual) {
    MinutePoint p;
    p.minute = clock_of(minute);
    p.last = hundredths(price);
    p.vol = lots * 100;
    p.amt = hundredths(amount);
    p.qrr = usual > 0 ? to_hundredths(static_cast<double>(lots) / (usual * std::max(minute, 1))) : 0;
    return p;
  };
  if (security.kind == Kind::stock) {
    const Stock& stock = impl_->base.universe.stock(security);
    impl_->with_stock_day(stock, moment.day, [&](const StockDay& figures, const MinuteView& minutes) {
      out.preclose = hundredths(figures.prices.preclose);
      if (!figures.prices.traded || moment.auction) {
        return;
      }
      for (int m = 0; m <= moment.minute; ++m) {
        out.points.push_back(
            point(m, minutes.price[m], minutes.lots[m], minutes.amount[m], figures.usual_lots));
      }
      if (moment.tick > 0) {
        const Live now = impl_->live(stock, figures, minutes, moment);
        out.points.push_back(point(moment.minute + 1, now.last, now.lots, now.amount, figures.usual_lots));
      }
    });
    return out;
  }

  const auto day = impl_->market_day(moment);
  const bool index = security.kind == Kind::index;
  const std::int32_t* const prices =
      index ? day->index_prices(security.number) : day->plate_prices(security.number);
  out.preclose =
      hundredths(index ? day->index_preclose(security.number) : day->plate_preclose(security.number));
  if (moment.auction) {
    return out;
  }
  const auto& members = index ? impl_->base.universe.index_members[security.number]
                              : impl_->base.universe.plate_members[security.number];
  std::vector<std::uint64_t> lots(kPoints);
  std::vector<std::int64_t> amounts(kPoints);
  double usual = 0;
  for (const std::uint32_t member : members) {
    const StockDay& figures = day->stock(member);
    if (!figures.prices.traded) {
      continue;
    }
    usual += figures.usual_lots;
    const MinuteView minutes = day->minutes(member);
    for (std::size_t m = 0; m < kPoints; ++m) {
      lots[m] += minutes.lots[m];
      amounts[m] += minutes.amount[m];
    }
  }
  for (int m = 0; m <= moment.minute; ++m) {
    const auto at = static_cast<std::size_t>(m);
    out.points.push_back(point(m, prices[m], lots[at], amounts[at], usual));
  }
  if (moment.tick > 0) {
    const Quote now = quote(security, time);
    MinutePoint p;
    p.minute = clock_of(moment.minute + 1);
    p.last = now.last;
    p.vol = now.vol;
    p.amt = now.amt;
    p.qrr = now.qrr;
    out.points.push_back(p);
  }
  return out;
}

std::optional<Candle> Market::day_candle(const Security& security, Instant time) const {
  const Quote now = quote(security, time);
  if (!trades(now.status) || now.open <= 0) {
    return std::nullopt;
  }
  Candle out;
  out.date = now.date;
  out.preclose = now.preclose;
  out.open = now.open;
  out.high = now.high;
  out.low = now.low;
  out.close = now.last;
  out.vol = now.vol;
  out.amt = now.amt;
  out.tr = now.tr;
  return out;
}

std::shared_ptr<const IndexTotals> Market::Impl::new_index_totals(int block) const {
  auto out = std::make_shared<IndexTotals>();
  out->indices.resize(base.universe.indices.size());
  const int market = base.factors.market();
  std::vector<std::array<HalfHours, kBlock>> half_hours(static_cast<std::size_t>(base.factors.count()));
  const int days = std::min(kBlock, base.days.count() - block * kBlock);
  for (int f = 0; f < base.factors.count(); ++f) {
    for (int i = 0; i < days; ++i) {
      half_hours[static_cast<std::size_t>(f)][static_cast<std::size_t>(i)] =
          base.factors.half_hours(f, block * kBlock + i);
    }
  }
  for (const Stock& stock : base.universe.stocks) {
    if (ceased) {
      throw Ceased();
    }
    const auto& indices = stock_indices[stock.security->number];
    if (stock.listed / kBlock > block || indices.empty()) {
      continue;
    }
    const BlockPrices prices = base.paths.block(stock, block);
    for (std::size_t i = 0; i < static_cast<std::size_t>(days); ++i) {
      const int day = block * kBlock + static_cast<int>(i);
      if (day < stock.listed) {
        continue;
      }
      IndexTotals::Day one;
      one.circulating = stock.circulating_on(day);
      if (prices[i].traded) {
        const DayShape shape =
            base.paths.shape(stock, day, prices[i], half_hours[static_cast<std::size_t>(market)][i],
                             half_hours[static_cast<std::size_t>(stock.industry)][i]);
        one.lots = shape.lots[kSegments];
        one.amount = shape.amount();
      }
      for (const std::uint32_t index : indices) {
        IndexTotals::Day& sum = out->indices[index][i];
        sum.lots += one.lots;
        sum.amount += one.amount;
        sum.circulating += one.circulating;
      }
    }
  }
  return out;
}

std::optional<int> Market::Impl::claim_index_totals(int last_block) {
  std::unique_lock lock(totals_mutex);
  for (;;) {
    bool complete = true;
    for (int block = base.days.first() / kBlock; block <= last_block; ++block) {
      const auto at = static_cast<std::size_t>(block);
      if (totals[at] != nullptr) {
        continue;
      }
      complete = false;
      if (!totals_claimed[at]) {
        totals_claimed[at] = true;
        return block;
      }
    }
    if (complete) {
      return std::nullopt;
    }
    totals_changed.wait(lock);
  }
}

void Market::Impl::settle_index_totals(int block, std::shared_ptr<const IndexTotals> made) {
  {
    const std::lock_guard lock(totals_mutex);
    totals[static_cast<std::size_t>(block)] = std::move(made);
    totals_claimed[static_cast<std::size_t>(block)] = false;
  }
  totals_changed.notify_all();
}

void Market::Impl::work_on_index_totals(int last_block) {
  while (const auto block = claim_index_totals(last_block)) {
    try {
      settle_index_totals(*block, new_index_totals(*block));
    } catch (...) {
      settle_index_totals(*block, nullptr);  // for the next who needs it
      throw;
    }
  }
}

void Market::Impl::make_index_totals(int last_block) {
  // Blocks are independent of each other; a handful of threads shares a long row of them.
  const auto help = [this, last_block] {
    try {
      work_on_index_totals(last_block);
    } catch (const std::exception&) {
      // This helper ends; the thread that was asked goes on, or fails by itself.
    }
  };
  std::vector<std::jthread> helpers;
  if (std::unique_lock lock(totals_mutex); totals[static_cast<std::size_t>(last_block)] == nullptr) {
    lock.unlock();
    const unsigned most = std::min(std::thread::hardware_concurrency(), 4U);
    try {
      for (unsigned i = 1; i < most; ++i) {
        helpers.emplace_back(help);
      }
    } catch (const std::system_error&) {
      // No thread to be had: this one does the work alone.
    }
  }
  work_on_index_totals(last_block);
}

void Market::prepare_history(Instant time) const {
  impl_->work_on_index_totals(impl_->moment(time).day / kBlock);
}

void Market::cease() const {
  impl_->ceased = true;
}

std::shared_ptr<const IndexTotals> Market::Impl::index_totals(int block) {
  const std::lock_guard lock(totals_mutex);
  return totals[static_cast<std::size_t>(block)];
}

std::shared_ptr<const DaySeries> Market::Impl::day_series(const Security& security, int through) {
  const std::pair key{static_cast<int>(security.kind), security.number};
  if (auto held = series.find(key); held != nullptr && held->through >= through) {
    return held;
  }
  auto out = std::make_shared<DaySeries>();
  out->through = through;
  if (security.kind == Kind::index) {
    make_index_totals(through / kBlock);
    const int number = static_cast<int>(security.number);
    std::array<std::int32_t, kPoints> prices{};
    Deviations market{};
    std::shared_ptr<const IndexTotals> sums;
    for (int day = base.days.first(); day <= through; ++day) {
      if (sums == nullptr || day % kBlock == 0) {
        sums = index_totals(day / kBlock);
      }
      const DayShape shape = base.paths.index_shape(number, day);
      base.factors.minutes(base.factors.market(), day, market);
      base.paths.index_minutes(number, day, shape, market, prices.data());
      DaySeries::Row row;
      row.day = day;
      row.candle = candle_of(base.days.date(day), base.paths.index_close(number, day - 1), prices.data());
      row.previous_close = row.candle.preclose;
      const IndexTotals::Day& sum = sums->indices[security.number][static_cast<std::size_t>(day % kBlock)];
      set_volume(sum.lots, sum.amount, sum.circulating, row.candle);
      out->rows.push_back(row);
    }
  } else if (security.kind == Kind::stock) {
    const Stock& stock = base.universe.stock(security);
    const int first = std::max(stock.listed, base.days.first());
    std::array<std::int32_t, kPoints> prices{};
    std::array<std::uint32_t, kPoints> lots{};
    std::array<std::int64_t, kPoints> amounts{};
    Deviations market{};
    Deviations industry{};
    BlockPrices block;
    std::int32_t previous = 0;
    for (int day = first; day <= through; ++day) {
      if (day == first || day % kBlock == 0) {
        block = base.paths.block(stock, day / kBlock);
      }
      const DayPrices& figures = block[static_cast<std::size_t>(day % kBlock)];
      if (figures.traded) {
        const DayShape shape =
            base.paths.shape(stock, day, figures, base.factors.half_hours(base.factors.market(), day),
                             base.factors.half_hours(stock.industry, day));
        base.factors.minutes(base.factors.market(), day, market);
        base.factors.minutes(stock.industry, day, industry);
        base.paths.minutes(stock, day, figures, shape, market, industry,
                           {prices.data(), lots.data(), amounts.data()});
        DaySeries::Row row;
        row.day = day;
        row.candle = candle_of(base.days.date(day), figures.preclose, prices.data());
        row.previous_close =
            figures.status == Status::ex_rights && previous > 0 ? hundredths(previous) : row.candle.preclose;
        set_volume(lots[kMinutes], amounts[kMinutes], stock.circulating_on(day), row.candle);
        out->rows.push_back(row);
      }
      previous = figures.close;
    }
  }
  std::shared_ptr<const DaySeries> done = std::move(out);
  series.put(key, done);
  return done;
}

std::vector<Candle> Market::candles(const Security& security, Period period, Adjustment adjustment,
                                    Date through) const {
  const Days& days = impl_->base.days;
  const auto all = trading_days();
  const auto after = std::upper_bound(all.begin(), all.end(), through);
  std::vector<Candle> out;
  if (after == all.begin() || security.kind == Kind::plate) {
    return out;
  }
  const int last = days.number(*(after - 1));
  const auto series = impl_->day_series(security, last);
  std::vector<DaySeries::Row> rows(series->rows.begin(),
                                   std::find_if(series->rows.begin(), series->rows.end(),
                                                [&](const DaySeries::Row& row) { return row.day > last; }));
  adjust(rows, adjustment);
  int group = -1;
  for (const DaySeries::Row& row : rows) {
    const int own = period == Period::day    ? row.day
                    : period == Period::week ? impl_->weeks[static_cast<std::size_t>(row.day)]
                                             : static_cast<int>(row.candle.date / 100);
    if (own != group) {
      group = own;
      out.push_back(row.candle);
      continue;
    }
    Candle& candle = out.back();
    candle.date = row.candle.date;
    candle.high = std::max(candle.high, row.candle.high);
    candle.low = std::min(candle.low, row.candle.low);
    candle.close = row.candle.close;
    candle.vol += row.candle.vol;
    candle.amt = to_hundredths(candle.amt + row.candle.amt);
    candle.tr = to_hundredths(candle.tr + row.candle.tr);
  }
  return out;
}

std::string Market::kline_version(Instant time) const {
  return eight_digits(package_date(time));
}

std::optional<Date> Market::kline_version_date(std::string_view version) {
  Date date = 0;
  const char* const end = version.data() + version.size();
  const auto [stop, error] = std::from_chars(version.data(), end, date);
  if (version.size() != 8 || error != std::errc{} || stop != end || day_number(date) < 0) {
    return std::nullopt;
  }
  return date;
}

KLineCounts Market::Impl::kline_counts(const Security& security, int through) const {
  KLineCounts out;
  out.security = &security;
  int first = base.days.first();
  const Stock* stock = nullptr;
  if (security.kind == Kind::stock) {
    stock = &base.universe.stock(security);
    first = std::max(first, stock->listed);
  }
  if (first > through) {
    return out;
  }
  const auto week = [this](int day) { return weeks[static_cast<std::size_t>(day)]; };
  const auto month = [this](int day) {
    return static_cast<int>(base.days.date(day) / 100 % 100 + base.days.date(day) / 10000 * 12);
  };
  int counted = through - first + 1;
  int whole_weeks = week(through) - week(first) + 1;
  int whole_months = month(through) - month(first) + 1;
  if (stock != nullptr) {
    // A period counts unless every day of it that could have been traded was lost to a suspension.
    const auto lost = [&](int day, const auto& period) {
      int from = day;
      int to = day;
      while (from > first && period(from - 1) == period(day)) {
        --from;
      }
      while (to < through && period(to + 1) == period(day)) {
        ++to;
      }
      for (int d = from; d <= to; ++d) {
        if (stock->suspended(d) == nullptr) {
          return false;
        }
      }
      return true;
    };
    int last_week = -1;
    int last_month = -1;
    for (const Suspension& s : stock->suspensions) {
      for (int day = std::max(s.first, first); day < s.first + s.length && day <= through; ++day) {
        --counted;
        if (week(day) != last_week) {
          last_week = week(day);
          whole_weeks -= lost(day, week) ? 1 : 0;
        }
        if (month(day) != last_month) {
          last_month = month(day);
          whole_months -= lost(day, month) ? 1 : 0;
        }
      }
    }
  }
  out.day = static_cast<std::uint32_t>(counted);
  out.week = static_cast<std::uint32_t>(whole_weeks);
  out.month = static_cast<std::uint32_t>(whole_months);
  return out;
}

KLineMetadata Market::kline_metadata(Instant time) const {
  KLineMetadata out;
  out.version = kline_version(time);
  const Date date = package_date(time);
  if (date == 0) {
    return out;
  }
  const int through = impl_->base.days.number(date);
  for (const auto* list : {&impl_->base.universe.indices, &impl_->base.universe.stock_securities}) {
    for (const Security& security : *list) {
      const KLineCounts counts = impl_->kline_counts(security, through);
      if (counts.day > 0) {
        out.counts.push_back(counts);
      }
    }
  }
  return out;
}

}  // namespace market_server::model

// Minute lines, candles and K-line packages of Market.
#include <algorithm>
#include <charconv>
#include <exception>
#include <system_error>
#include <thread>

#include "market_server/model/market_impl.h"

namespace market_server::model {
namespace {

constexpr int kPackagesSecond = 18 * 3600;  // of a session's day: its candle joins the packages

std::string EightDigits(Date date) {
  std::string text = std::to_string(date);
  return std::string(8 - std::min<std::size_t>(text.size(), 8), '0') + text;
}

/// The last day that the packages hold at an instant; 0 before the first.
Date PackageDate(Instant time) {
  const Date today = std::min(DateOf(time), kLastTradingDay);
  if (today < kFirstTradingDay) {
    return 0;
  }
  if (IsTradingDay(today) && (DateOf(time) > today || SecondOfDay(time) >= kPackagesSecond)) {
    return today;
  }
  const Date before = PreviousTradingDay(today);
  return before < kFirstTradingDay ? 0 : before;
}

Candle CandleOf(Date date, std::int32_t preclose, const std::int32_t* prices) {
  Candle out;
  out.date = date;
  out.preclose = Hundredths(preclose);
  out.open = Hundredths(prices[0]);
  out.high = Hundredths(*std::max_element(prices, prices + kPoints));
  out.low = Hundredths(*std::min_element(prices, prices + kPoints));
  out.close = Hundredths(prices[kMinutes]);
  return out;
}

void SetVolume(std::uint64_t lots, std::int64_t amount, std::uint64_t circulating, Candle& out) {
  out.vol = lots * 100;
  out.amt = Hundredths(amount);
  out.tr = circulating > 0
               ? ToHundredths(static_cast<double>(out.vol) * 100 / static_cast<double>(circulating))
               : 0;
}

/// Adjusted prices are quotients and no amounts of money: they have four decimals.
double ToTenThousandths(double x) {
  return static_cast<double>(Nearest(x * 10000)) / 10000;
}

/// Prices as if every dividend and split had always been, or had never been.
void Adjust(std::vector<DaySeries::Row>& rows, Adjustment adjustment) {
  const auto apply = [](Candle& candle, double factor) {
    for (double* const price : {&candle.preclose, &candle.open, &candle.high, &candle.close, &candle.low}) {
      *price = ToTenThousandths(*price * factor);
    }
  };
  double factor = 1;
  if (adjustment == Adjustment::kForward) {
    for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
      const double step = row->candle.preclose / row->previous_close;
      apply(row->candle, factor);
      factor *= step;
    }
  } else if (adjustment == Adjustment::kBackward) {
    for (DaySeries::Row& row : rows) {
      factor *= row.previous_close / row.candle.preclose;
      apply(row.candle, factor);
    }
  }
}

}  // namespace

MinuteLine Market::MinuteLineOf(const Security& security, Date date, Instant time) const {
  MinuteLine out;
  out.date = date;
  Moment moment;
  if (!impl_->MomentOn(date, time, moment) || !IsListed(security, date)) {
    return out;
  }
  const auto point = [](int minute, std::int32_t price, std::uint64_t lots, std::int64_t amount,
                        double usual) {
    MinutePoint p;
    p.minute = ClockOf(minute);
    p.last = Hundredths(price);
    p.vol = lots * 100;
    p.amt = Hundredths(amount);
    p.qrr = usual > 0 ? ToHundredths(static_cast<double>(lots) / (usual * std::max(minute, 1))) : 0;
    return p;
  };
  if (security.kind == Kind::kStock) {
    const Stock& stock = impl_->base.universe.StockOf(security);
    impl_->WithStockDay(stock, moment.day, [&](const StockDay& figures, const MinuteView& minutes) {
      out.preclose = Hundredths(figures.prices.preclose);
      if (!figures.prices.traded || moment.auction) {
        return;
      }
      for (int m = 0; m <= moment.minute; ++m) {
        out.points.push_back(
            point(m, minutes.price[m], minutes.lots[m], minutes.amount[m], figures.usual_lots));
      }
      if (moment.tick > 0) {
        const Live now = impl_->LiveOf(stock, figures, minutes, moment);
        out.points.push_back(point(moment.minute + 1, now.last, now.lots, now.amount, figures.usual_lots));
      }
    });
    return out;
  }

  const auto day = impl_->MarketDayOf(moment);
  const bool index = security.kind == Kind::kIndex;
  const std::int32_t* const prices =
      index ? day->IndexPrices(security.number) : day->PlatePrices(security.number);
  out.preclose =
      Hundredths(index ? day->IndexPreclose(security.number) : day->PlatePreclose(security.number));
  if (moment.auction) {
    return out;
  }
  const auto& members = index ? impl_->base.universe.index_members[security.number]
                              : impl_->base.universe.plate_members[security.number];
  std::vector<std::uint64_t> lots(kPoints);
  std::vector<std::int64_t> amounts(kPoints);
  double usual = 0;
  for (const std::uint32_t member : members) {
    const StockDay& figures = day->StockOf(member);
    if (!figures.prices.traded) {
      continue;
    }
    usual += figures.usual_lots;
    const MinuteView minutes = day->Minutes(member);
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
    const Quote now = QuoteOf(security, time);
    MinutePoint p;
    p.minute = ClockOf(moment.minute + 1);
    p.last = now.last;
    p.vol = now.vol;
    p.amt = now.amt;
    p.qrr = now.qrr;
    out.points.push_back(p);
  }
  return out;
}

std::optional<Candle> Market::DayCandle(const Security& security, Instant time) const {
  const Quote now = QuoteOf(security, time);
  if (!Trades(now.status) || now.open <= 0) {
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

std::shared_ptr<const IndexTotals> Market::Impl::NewIndexTotals(int block) const {
  auto out = std::make_shared<IndexTotals>();
  out->indices.resize(base.universe.indices.size());
  const int market = base.factors.market();
  std::vector<std::array<HalfHours, kBlock>> half_hours(static_cast<std::size_t>(base.factors.count()));
  const int days = std::min(kBlock, base.days.count() - block * kBlock);
  for (int f = 0; f < base.factors.count(); ++f) {
    for (int i = 0; i < days; ++i) {
      half_hours[static_cast<std::size_t>(f)][static_cast<std::size_t>(i)] =
          base.factors.HalfHoursOf(f, block * kBlock + i);
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
    const BlockPrices prices = base.paths.BlockOf(stock, block);
    for (std::size_t i = 0; i < static_cast<std::size_t>(days); ++i) {
      const int day = block * kBlock + static_cast<int>(i);
      if (day < stock.listed) {
        continue;
      }
      IndexTotals::Day one;
      one.circulating = stock.CirculatingOn(day);
      if (prices[i].traded) {
        const DayShape shape =
            base.paths.Shape(stock, day, prices[i], half_hours[static_cast<std::size_t>(market)][i],
                             half_hours[static_cast<std::size_t>(stock.industry)][i]);
        one.lots = shape.lots[kSegments];
        one.amount = shape.Amount();
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

std::optional<int> Market::Impl::ClaimIndexTotals(int last_block) {
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

void Market::Impl::SettleIndexTotals(int block, std::shared_ptr<const IndexTotals> made) {
  {
    const std::lock_guard lock(totals_mutex);
    totals[static_cast<std::size_t>(block)] = std::move(made);
    totals_claimed[static_cast<std::size_t>(block)] = false;
  }
  totals_changed.notify_all();
}

void Market::Impl::WorkOnIndexTotals(int last_block) {
  while (const auto block = ClaimIndexTotals(last_block)) {
    try {
      SettleIndexTotals(*block, NewIndexTotals(*block));
    } catch (...) {
      SettleIndexTotals(*block, nullptr);  // for the next who needs it
      throw;
    }
  }
}

void Market::Impl::MakeIndexTotals(int last_block) {
  // Blocks are independent of each other; a handful of threads shares a long row of them.
  const auto help = [this, last_block] {
    try {
      WorkOnIndexTotals(last_block);
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
  WorkOnIndexTotals(last_block);
}

void Market::PrepareHistory(Instant time) const {
  impl_->WorkOnIndexTotals(impl_->MomentAt(time).day / kBlock);
}

void Market::Cease() const {
  impl_->ceased = true;
}

std::shared_ptr<const IndexTotals> Market::Impl::IndexTotalsOf(int block) {
  const std::lock_guard lock(totals_mutex);
  return totals[static_cast<std::size_t>(block)];
}

std::shared_ptr<const DaySeries> Market::Impl::DaySeriesOf(const Security& security, int through) {
  const std::pair key{static_cast<int>(security.kind), security.number};
  if (auto held = series.Find(key); held != nullptr && held->through >= through) {
    return held;
  }
  auto out = std::make_shared<DaySeries>();
  out->through = through;
  if (security.kind == Kind::kIndex) {
    MakeIndexTotals(through / kBlock);
    const int number = static_cast<int>(security.number);
    std::array<std::int32_t, kPoints> prices{};
    Deviations market{};
    std::shared_ptr<const IndexTotals> sums;
    for (int day = base.days.first(); day <= through; ++day) {
      if (sums == nullptr || day % kBlock == 0) {
        sums = IndexTotalsOf(day / kBlock);
      }
      const DayShape shape = base.paths.IndexShape(number, day);
      base.factors.Minutes(base.factors.market(), day, market);
      base.paths.IndexMinutes(number, day, shape, market, prices.data());
      DaySeries::Row row;
      row.day = day;
      row.candle = CandleOf(base.days.DateAt(day), base.paths.IndexClose(number, day - 1), prices.data());
      row.previous_close = row.candle.preclose;
      const IndexTotals::Day& sum = sums->indices[security.number][static_cast<std::size_t>(day % kBlock)];
      SetVolume(sum.lots, sum.amount, sum.circulating, row.candle);
      out->rows.push_back(row);
    }
  } else if (security.kind == Kind::kStock) {
    const Stock& stock = base.universe.StockOf(security);
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
        block = base.paths.BlockOf(stock, day / kBlock);
      }
      const DayPrices& figures = block[static_cast<std::size_t>(day % kBlock)];
      if (figures.traded) {
        const DayShape shape =
            base.paths.Shape(stock, day, figures, base.factors.HalfHoursOf(base.factors.market(), day),
                             base.factors.HalfHoursOf(stock.industry, day));
        base.factors.Minutes(base.factors.market(), day, market);
        base.factors.Minutes(stock.industry, day, industry);
        base.paths.Minutes(stock, day, figures, shape, market, industry,
                           {prices.data(), lots.data(), amounts.data()});
        DaySeries::Row row;
        row.day = day;
        row.candle = CandleOf(base.days.DateAt(day), figures.preclose, prices.data());
        row.previous_close =
            figures.status == Status::kExRights && previous > 0 ? Hundredths(previous) : row.candle.preclose;
        SetVolume(lots[kMinutes], amounts[kMinutes], stock.CirculatingOn(day), row.candle);
        out->rows.push_back(row);
      }
      previous = figures.close;
    }
  }
  std::shared_ptr<const DaySeries> done = std::move(out);
  series.Put(key, done);
  return done;
}

std::vector<Candle> Market::Candles(const Security& security, Period period, Adjustment adjustment,
                                    Date through) const {
  const Days& days = impl_->base.days;
  const auto all = TradingDays();
  const auto after = std::upper_bound(all.begin(), all.end(), through);
  std::vector<Candle> out;
  if (after == all.begin() || security.kind == Kind::kPlate) {
    return out;
  }
  const int last = days.NumberOf(*(after - 1));
  const auto series = impl_->DaySeriesOf(security, last);
  std::vector<DaySeries::Row> rows(series->rows.begin(),
                                   std::find_if(series->rows.begin(), series->rows.end(),
                                                [&](const DaySeries::Row& row) { return row.day > last; }));
  Adjust(rows, adjustment);
  int group = -1;
  for (const DaySeries::Row& row : rows) {
    const int own = period == Period::kDay    ? row.day
                    : period == Period::kWeek ? impl_->weeks[static_cast<std::size_t>(row.day)]
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
    candle.amt = ToHundredths(candle.amt + row.candle.amt);
    candle.tr = ToHundredths(candle.tr + row.candle.tr);
  }
  return out;
}

std::string Market::KLineVersionAt(Instant time) const {
  return EightDigits(PackageDate(time));
}

std::optional<Date> Market::KLineVersionDate(std::string_view version) {
  Date date = 0;
  const char* const end = version.data() + version.size();
  const auto [stop, error] = std::from_chars(version.data(), end, date);
  if (version.size() != 8 || error != std::errc{} || stop != end || DayNumber(date) < 0) {
    return std::nullopt;
  }
  return date;
}

KLineCounts Market::Impl::KLineCountsOf(const Security& security, int through) const {
  KLineCounts out;
  out.security = &security;
  int first = base.days.first();
  const Stock* stock = nullptr;
  if (security.kind == Kind::kStock) {
    stock = &base.universe.StockOf(security);
    first = std::max(first, stock->listed);
  }
  if (first > through) {
    return out;
  }
  const auto week = [this](int day) { return weeks[static_cast<std::size_t>(day)]; };
  const auto month = [this](int day) {
    return static_cast<int>(base.days.DateAt(day) / 100 % 100 + base.days.DateAt(day) / 10000 * 12);
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
        if (stock->SuspendedOn(d) == nullptr) {
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

bool Market::HasPackages(const Security& security, Date through) const {
  constexpr std::uint32_t kFirstDays = 5;
  const int last = DayNumber(through) < 0 ? -1 : impl_->base.days.NumberOf(through);
  return last >= 0 && security.kind != Kind::kPlate &&
         impl_->KLineCountsOf(security, last).day >= (security.kind == Kind::kStock ? kFirstDays : 1);
}

KLineMetadata Market::KLineMetadataAt(Instant time) const {
  KLineMetadata out;
  out.version = KLineVersionAt(time);
  const Date date = PackageDate(time);
  if (date == 0) {
    return out;
  }
  const int through = impl_->base.days.NumberOf(date);
  for (const auto* list : {&impl_->base.universe.indices, &impl_->base.universe.stock_securities}) {
    for (const Security& security : *list) {
      if (HasPackages(security, date)) {
        out.counts.push_back(impl_->KLineCountsOf(security, through));
      }
    }
  }
  return out;
}

}  // namespace market_server::model

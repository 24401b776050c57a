// Flows, breadth, distribution, events, margin balances and new shares of Market.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "market_server/model/market_impl.h"
#include "market_server/model/names.h"
#include "market_server/model/random.h"

namespace market_server::model {
namespace {

std::string Percent(std::int64_t hundredths_of_percent) {
  const std::int64_t n = std::abs(hundredths_of_percent);
  std::string fraction = std::to_string(n % 100);
  return std::to_string(n / 100) + "." + (fraction.size() < 2 ? "0" + fraction : fraction) + "%";
}

FlowAmounts SumOf(const FlowSum& a, const FlowSum& b) {
  return {a.big_in + b.big_in, a.big_out + b.big_out, a.small_in + b.small_in, a.small_out + b.small_out};
}

/// Stocks counted one after the other; `average` is the mean of their changes in percent, four decimals.
class BreadthCount {
 public:
  void Add(std::int32_t price, std::int32_t preclose) {
    ++(price > preclose ? row_.up : price < preclose ? row_.down : row_.unchanged);
    sum_ += ChangeOf(price, preclose);
  }
  [[nodiscard]] Breadth Row(int minute) const {
    Breadth out = row_;
    out.minute = ClockOf(minute);
    const std::int64_t count = std::int64_t{out.up} + out.unchanged + out.down;
    out.average =
        count > 0
            ? static_cast<double>(Nearest(static_cast<double>(sum_) * 100 / static_cast<double>(count))) /
                  10000
            : 0;
    return out;
  }

 private:
  Breadth row_;
  std::int64_t sum_ = 0;
};

Instant EndOfMinute(Date date, int minute) {
  if (minute == 0) {
    return InstantOf(date, 9, 25, 0);
  }
  const std::int32_t clock = ClockOf(minute);
  return InstantOf(date, clock / 100, clock % 100, 0);
}

}  // namespace

Flows Market::FlowsOf(const Security& security, Instant time) const {
  Flows out;
  const Moment moment = impl_->MomentAt(time);
  out.time = moment.time;
  if (security.kind != Kind::kStock) {
    return out;
  }
  const Stock& stock = impl_->base.universe.StockOf(security);
  if (moment.day < stock.listed) {
    return out;
  }
  impl_->WithStockDay(stock, moment.day, [&](const StockDay& figures, const MinuteView& minutes) {
    const Live now = impl_->LiveOf(stock, figures, minutes, moment);
    FlowSum today;
    if (now.traded) {
      today =
          FlowSharesOf(stock, moment.day, figures.prices).Of(static_cast<std::uint64_t>(now.amount / 100));
    }
    out.d1 = SumOf(today, {});
    out.d5 = SumOf(today, figures.four_before);
    out.d10 = SumOf(today, figures.nine_before);
  });
  return out;
}

std::vector<Breadth> Market::Impl::WholeBreadth(const Moment& moment) {
  const int day = moment.day;
  const auto whole = MarketDayOf(moment);
  std::vector<BreadthCount> counts(kPoints);
  for (const Stock& stock : base.universe.stocks) {
    const std::uint32_t number = stock.security->number;
    const DayPrices& prices = whole->StockOf(number).prices;
    if (day < stock.listed || !prices.traded) {
      continue;
    }
    const MinuteView minutes = whole->Minutes(number);
    for (std::size_t m = 0; m < kPoints; ++m) {
      counts[m].Add(minutes.price[m], prices.preclose);
    }
  }
  std::vector<Breadth> out;
  out.reserve(kPoints);
  for (int m = 0; m <= kMinutes; ++m) {
    out.push_back(counts[static_cast<std::size_t>(m)].Row(m));
  }
  return out;
}

std::vector<Breadth> Market::BreadthOn(Date date, Instant time) const {
  Moment moment;
  if (!impl_->MomentOn(date, time, moment) || moment.auction) {
    return {};
  }
  const auto whole = impl_->breadths.Get(
      moment.day, [&] { return std::make_shared<const std::vector<Breadth>>(impl_->WholeBreadth(moment)); });
  std::vector<Breadth> out(whole->begin(), whole->begin() + moment.minute + 1);
  if (moment.tick > 0) {
    const auto board = impl_->BoardAt(moment);
    BreadthCount count;
    for (const Quote& quote : board->stocks) {
      if (Trades(quote.status)) {
        count.Add(static_cast<std::int32_t>(Nearest(quote.last * 100)),
                  static_cast<std::int32_t>(Nearest(quote.preclose * 100)));
      }
    }
    out.push_back(count.Row(moment.minute + 1));
  }
  return out;
}

Distribution Market::DistributionOn(Date date, Instant time) const {
  Distribution out;
  Moment moment;
  if (!impl_->MomentOn(date, time, moment)) {
    return out;
  }
  const auto board = impl_->BoardAt(moment);
  for (const Quote& quote : board->stocks) {
    if (!Trades(quote.status)) {
      continue;
    }
    const double size = std::abs(quote.change);
    const bool up = quote.last > quote.preclose;
    if (quote.last == quote.preclose) {
      ++out.unchanged;
      continue;
    }
    const bool at_limit = quote.last == (up ? quote.limit_up : quote.limit_down);
    const std::size_t far = at_limit ? 4 : size > 7 ? 3 : size > 5 ? 2 : size > 3 ? 1 : 0;
    ++(up ? out.up : out.down);
    ++out.buckets[up ? 5 + far : 4 - far];
  }
  return out;
}

std::vector<MarketEvent> Market::Impl::WholeEvents(const Moment& moment) {
  const int day = moment.day;
  const auto whole = MarketDayOf(moment);
  const Date date = base.days.DateAt(day);
  std::vector<std::vector<std::string>> by_minute(kPoints);
  const auto report = [&](int minute, std::string text) {
    by_minute[static_cast<std::size_t>(minute)].push_back(std::move(text));
  };

  const Universe& universe = base.universe;
  for (std::uint32_t i = 0; i < universe.indices.size(); ++i) {
    const Security& index = universe.indices[i];
    if (index.code != "sh000001" && index.code != "sz399001" && index.code != "sz399006") {
      continue;
    }
    // Each whole percent, once on each side.
    const std::int32_t* const prices = whole->IndexPrices(i);
    std::int64_t highest = 0;
    std::int64_t lowest = 0;
    for (int m = 0; m <= kMinutes; ++m) {
      const std::int64_t change = ChangeOf(prices[m], whole->IndexPreclose(i));
      if (change / 100 > highest) {
        highest = change / 100;
        report(m, index.name + "涨幅扩大至" + Percent(change));
      } else if (-change / 100 > lowest) {
        lowest = -change / 100;
        report(m, index.name + "跌幅扩大至" + Percent(change));
      }
    }
  }
  constexpr int kWindow = 5;
  constexpr std::int64_t kSwift = 80;  // hundredths of a percent within the window
  for (std::uint32_t i = 0; i < universe.plates.size(); ++i) {
    const Security& plate = universe.plates[i];
    if (plate.plate_kind != 1) {
      continue;
    }
    const std::int32_t* const prices = whole->PlatePrices(i);
    int quiet_until = kWindow;
    for (int m = kWindow; m <= kMinutes; ++m) {
      const std::int64_t change = ChangeOf(prices[m], prices[m - kWindow]);
      if (m >= quiet_until && std::abs(change) >= kSwift) {
        report(m, plate.name + (change > 0 ? "板块5分钟拉升" : "板块5分钟跳水") + Percent(change));
        quiet_until = m + 30;
      }
    }
  }
  constexpr std::size_t kMostPerMinute = 6;
  for (const Stock& stock : universe.stocks) {
    const std::uint32_t number = stock.security->number;
    const DayPrices& figures = whole->StockOf(number).prices;
    if (day < stock.listed || !figures.traded || figures.limit_up == 0) {
      continue;
    }
    const std::int32_t* const prices = whole->Minutes(number).price;
    for (int m = 0; m <= kMinutes; ++m) {
      const auto at = [&](int minute) {
        return minute < 0                             ? 0
               : prices[minute] == figures.limit_up   ? 1
               : prices[minute] == figures.limit_down ? -1
                                                      : 0;
      };
      if (at(m) == at(m - 1) || by_minute[static_cast<std::size_t>(m)].size() >= kMostPerMinute) {
        continue;
      }
      const std::string who = stock.security->name + "(" + stock.security->code.substr(2) + ")";
      if (at(m) != 0) {
        report(m, who + (at(m) > 0 ? "封涨停板" : "封跌停板"));
      } else {
        report(m, who + (at(m - 1) > 0 ? "打开涨停板" : "打开跌停板"));
      }
    }
  }
  const std::vector<Breadth> breadth = WholeBreadth(moment);
  for (const int m : {kMinutes / 2, kMinutes}) {
    const Breadth& row = breadth[static_cast<std::size_t>(m)];
    report(m, std::string(m == kMinutes ? "收盘：" : "午间收盘：") + "上涨" + std::to_string(row.up) +
                  "家，平盘" + std::to_string(row.unchanged) + "家，下跌" + std::to_string(row.down) + "家");
  }

  std::vector<MarketEvent> out;
  for (int m = kMinutes; m >= 0; --m) {
    auto& texts = by_minute[static_cast<std::size_t>(m)];
    for (auto text = texts.rbegin(); text != texts.rend(); ++text) {
      out.push_back({EndOfMinute(date, m), std::move(*text)});
    }
  }
  return out;
}

std::vector<MarketEvent> Market::Events(Date date, Instant time) const {
  Moment moment;
  if (!impl_->MomentOn(date, time, moment) || moment.auction) {
    return {};
  }
  const auto whole = impl_->events.Get(moment.day, [&] {
    return std::make_shared<const std::vector<MarketEvent>>(impl_->WholeEvents(moment));
  });
  const auto first = std::find_if(whole->begin(), whole->end(),
                                  [&](const MarketEvent& event) { return event.time <= moment.time; });
  return {first, whole->end()};
}

std::vector<MarginDay> Market::Margin(Instant time, std::size_t days) const {
  const Foundation& base = impl_->base;
  const Factors& factors = base.factors;
  const auto number_of = [&](std::string_view code) {
    return static_cast<int>(base.universe.Find(code)->number);
  };
  const int shanghai = number_of("sh000001");
  const int shenzhen = number_of("sz399001");
  std::vector<MarginDay> out;
  for (int day = impl_->MomentAt(time).day - 1; day >= base.days.first() && out.size() < days; --day) {
    // Credit follows the market's level with its own moods.
    const auto balance = [&](double middle, std::uint64_t key) {
      const std::uint64_t own = Mix(Mix(base.options.seed, 0x3a461), key);
      double level = 0;
      for (int d = day; d > day - 8; --d) {
        level += static_cast<double>(factors.Level(factors.market(), d)) / kOne / 8;
      }
      const double yuan = middle * (1 + 0.4 * level) * (1 + 0.05 * SmoothNoise(own, day, 30)) *
                          (1 + 0.002 * (Unit(Mix(own, static_cast<std::uint64_t>(day) + (1U << 20))) - 0.5));
      return static_cast<std::uint64_t>(Nearest(yuan));
    };
    MarginDay row;
    row.date = base.days.DateAt(day);
    row.sh_close = Hundredths(base.paths.IndexClose(shanghai, day));
    row.sz_close = Hundredths(base.paths.IndexClose(shenzhen, day));
    row.sh_balance = balance(7.9e11, 1);
    row.sz_balance = balance(7.2e11, 2);
    out.push_back(row);
  }
  return out;
}

std::vector<NewShare> Market::NewShares(Instant time) const {
  constexpr int kDaysToListing = 8;  // from the online subscription
  constexpr int kDaysOfNotice = 5;   // before it
  constexpr int kDaysShown = 60;
  const Foundation& base = impl_->base;
  const int today = impl_->MomentAt(time).day;
  std::vector<std::pair<int, NewShare>> found;
  for (const Stock& stock : base.universe.stocks) {
    const int online = stock.listed - kDaysToListing;
    if (online - kDaysOfNotice < base.days.first() || online - kDaysOfNotice > today ||
        online < today - kDaysShown) {
      continue;
    }
    const Security& security = *stock.security;
    const std::uint64_t h = Mix(stock.key, 0x1b0);
    NewShare row;
    row.security = &security;
    const std::string digits = security.code.substr(2);
    const bool shanghai = security.code[1] == 'h';
    const char* const prefix = security.board == Board::kStar ? "787" : "730";
    row.buy_code = shanghai ? prefix + digits.substr(3) : digits;
    row.publish = base.days.DateAt(online - kDaysOfNotice);
    row.publish_online = base.days.DateAt(online);
    row.publish_num = std::floor(static_cast<double>(stock.total) / 40000);
    row.publish_online_num = static_cast<double>(Nearest(row.publish_num * (0.25 + 0.5 * Unit(h))));
    const std::int32_t issue = base.issue_prices[security.number];
    row.publish_price = Hundredths(issue);
    row.pe = stock.pe > 0 ? ToHundredths(static_cast<double>(stock.total) * issue * stock.pe /
                                         base.paths.YearlyCapitalisation(stock, stock.listed))
                          : 0;
    row.buy_limit = Hundredths(5 * std::max<std::int64_t>(Nearest(row.publish_online_num / 50), 1));
    row.total_price = static_cast<double>(Nearest(row.publish_num * row.publish_price)) / 10000;
    row.chance =
        online < today ? static_cast<double>(Nearest((0.012 + 0.05 * Unit(Mix(h, 1))) * 10000)) / 10000 : 0;
    found.emplace_back(online, std::move(row));
  }
  std::stable_sort(found.begin(), found.end(),
                   [](const auto& a, const auto& b) { return a.first > b.first; });
  std::vector<NewShare> out;
  out.reserve(found.size());
  for (auto& [online, row] : found) {
    out.push_back(std::move(row));
  }
  return out;
}

}  // namespace market_server::model

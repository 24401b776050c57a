#include "market_server/model/price_path.h"

#include <algorithm>
#include <cstdlib>

#include "market_server/model/logarithm.h"
#include "market_server/model/names.h"
#include "market_server/model/random.h"

namespace market_server::model {
namespace {

constexpr std::int32_t Fixed(double x) {
  return static_cast<std::int32_t>(x * kOne);
}

constexpr Date kNoLimitOnFirstDay = 20230410;  // before, main boards opened at most 44 % above the issue
constexpr int kMostLimitDays = 4;  // net, in one block: its end must stay within reach of its anchor

struct LimitSteps {
  std::int32_t up, down;  // logarithms of the limit moves
};
constexpr LimitSteps kTenPercent{Fixed(0.0953101798), Fixed(-0.1053605157)};
constexpr LimitSteps kTwentyPercent{Fixed(0.1823215568), Fixed(-0.2231435513)};

std::int32_t Scale(std::int32_t beta, std::int32_t x) {
  return static_cast<std::int32_t>((static_cast<std::int64_t>(beta) * x) >> 8);
}

/// Moves beyond two thirds of the limit become rare: the limit itself is reached by force only.
std::int32_t Soften(std::int64_t x, std::int32_t limit) {
  const std::int64_t knee = limit * 2 / 3;
  const std::int64_t most = static_cast<std::int64_t>(limit) * 17 / 20;
  if (x > knee) {
    x = std::min(knee + (x - knee) / 4, most);
  } else if (x < -knee) {
    x = std::max(-knee + (x + knee) / 4, -most);
  }
  return static_cast<std::int32_t>(x);
}

std::int32_t Cents(double log_price, double split_factor) {
  return static_cast<std::int32_t>(
      std::max<std::int64_t>(Nearest(Exponential(log_price) * 100 / split_factor), 1));
}

std::uint64_t DayHash(const Stock& stock, int day) {
  return Mix(stock.key, static_cast<std::uint64_t>(day));
}

/// The half hour's end at which a limit day is sealed; 0: from the open.
int SealOf(const Stock& stock, int day) {
  const std::uint64_t h = Mix(DayHash(stock, day), 0x5ea1);
  return Below(h, 100) < 14 ? 0 : 1 + static_cast<int>(Below(Mix(h), kSegments));
}

std::int32_t LimitPrice(std::int32_t preclose, int percent) {
  const auto price =
      static_cast<std::int32_t>((static_cast<std::int64_t>(preclose) * (100 + percent) + 50) / 100);
  return percent > 0 ? std::max(price, preclose + 1) : std::max(std::min(price, preclose - 1), 1);
}

std::int32_t Moved(std::int32_t price, std::int64_t x) {
  return price + static_cast<std::int32_t>((price * x + kOne / 2) >> 24);
}

/// What a stock was issued at that closes its first day at `close`.
std::int32_t IssuePriceFor(const Stock& stock, std::int32_t close) {
  const Board board = stock.security->board;
  const bool main_board = board != Board::kStar && board != Board::kGrowth;
  const std::uint64_t h = Mix(stock.key, 0x155e);
  const double rise = main_board && stock.security->listed < kNoLimitOnFirstDay ? 1.44 : 1.15 + 1.1 * Unit(h);
  return std::max(static_cast<std::int32_t>(close / rise) + 1, 1);
}

std::int64_t MoveBetween(std::int32_t from, std::int32_t to) {
  return static_cast<std::int64_t>(to - from) * kOne / from;
}

}  // namespace

std::int64_t DayShape::Amount() const {
  std::int64_t sum = std::int64_t{lots[0]} * 100 * price[0];
  for (std::size_t k = 1; k < price.size(); ++k) {
    sum += std::int64_t{lots[k] - lots[k - 1]} * 50 * (price[k - 1] + price[k]);
  }
  return sum;
}

PricePath::PricePath(const Options& options, const Days& days, const Factors& factors)
    : days_(days), factors_(factors), scenario_(options.scenario), index_key_(Mix(options.seed, 0x1d3c5)) {}

/// Logarithm of the price, splits undone, at the end of the day before the block.
std::int32_t PricePath::Anchor(const Stock& stock, int block) const {
  const auto follow = [&](int b) {
    const int day = b * kBlock - 1;
    const double own = 0.08 * SmoothNoise(Mix(stock.key, 0xa1), b, 4) +
                       0.2 * SmoothNoise(Mix(stock.key, 0xa2), b, 16) +
                       0.4 * SmoothNoise(Mix(stock.key, 0xa3), b, 64);
    return static_cast<double>(Scale(stock.beta, factors_.Level(factors_.market(), day)) +
                               factors_.Level(stock.industry, day)) /
               kOne +
           own;
  };
  const double all_splits = stock.ex_rights.empty() ? 1 : stock.ex_rights.back().factor;
  const double lowest = Logarithm(1.9 * all_splits);
  const double value = stock.base + follow(block) - follow(stock.listed / kBlock);
  return Fixed(std::max(value, lowest));
}

BlockPrices PricePath::BlockOf(const Stock& stock, int number) const {
  BlockPrices out;
  const int first = number * kBlock;
  const bool lists_here = stock.listed > 0 && stock.listed / kBlock == number;
  if (stock.listed / kBlock > number) {
    const std::int32_t price = IssuePrice(stock);  // not listed yet
    for (DayPrices& day : out) {
      day.preclose = day.close = price;
      day.status = Status::kAwaiting;
    }
    return out;
  }

  std::array<const ExRights*, kBlock> ex{};
  for (const ExRights& e : stock.ex_rights) {
    if (e.day >= first && e.day < first + kBlock) {
      ex[static_cast<std::size_t>(e.day - first)] = &e;
    }
  }
  int last_traded = -1;
  for (int i = 0; i < kBlock; ++i) {
    DayPrices& day = out[static_cast<std::size_t>(i)];
    day.traded = first + i >= stock.listed;
    day.status = day.traded ? Status::kTrading : Status::kAwaiting;
  }
  for (const Suspension& s : stock.suspensions) {
    for (int d = std::max(s.first, first); d < std::min(s.first + s.length, first + kBlock); ++d) {
      out[static_cast<std::size_t>(d - first)].traded = false;
      out[static_cast<std::size_t>(d - first)].status = s.status;
    }
  }
  for (int i = 0; i < kBlock; ++i) {
    last_traded = out[static_cast<std::size_t>(i)].traded ? i : last_traded;
  }

  // First pass: draw the returns.
  std::array<std::int32_t, kBlock> returns{};
  std::int64_t sum = 0;
  std::int64_t free_days = 0;
  int net = 0;
  int run = 0;
  for (int i = 0; i <= last_traded; ++i) {
    DayPrices& day = out[static_cast<std::size_t>(i)];
    const int n = first + i;
    if (!day.traded || (lists_here && n == stock.listed)) {
      continue;
    }
    const bool wide = LimitPercent(stock.security->board, days_.DateAt(n)) == 20;
    const LimitSteps& steps = wide ? kTwentyPercent : kTenPercent;
    const std::int32_t market = factors_.DayReturn(factors_.market(), n);
    const std::uint64_t h = DayHash(stock, n);
    const bool calm = scenario_ == Scenario::kCalm && n == days_.scripted();
    std::int64_t own = Normal(stock.deviation, h);
    if (Below(Mix(h, 2), 40) == 0) {
      own *= 2;  // news
    }
    std::int64_t r =
        Scale(stock.beta, market) + factors_.DayReturn(stock.industry, n) + (calm ? own / 4 : own);
    const std::uint64_t luck = Mix(h, 1);
    const auto chance = [&](double base, std::int32_t move) {
      return static_cast<std::uint32_t>((base + 4.0 * std::max(move - Fixed(0.01), 0) / kOne) *
                                        (wide ? 16384 : 65536));
    };
    int forced = 0;
    if (!calm && i != last_traded && ex[static_cast<std::size_t>(i)] == nullptr) {
      const std::uint32_t up = run > 0 ? 20000 : chance(0.0035, market);
      const std::uint32_t down = run < 0 ? 14000 : chance(0.0012, -market);
      if ((luck & 0xffff) < up && net < kMostLimitDays) {
        forced = 1;
      } else if (((luck >> 16) & 0xffff) < down && net > -kMostLimitDays) {
        forced = -1;
      }
    }
    run = forced;
    net += forced * (wide ? 2 : 1);
    day.at_limit = forced;
    if (forced != 0) {
      r = forced > 0 ? steps.up : steps.down;
    } else {
      if (i == last_traded) {
        r /= 4;
      } else if (ex[static_cast<std::size_t>(i)] != nullptr) {
        r /= 2;
      }
      r = Soften(r, steps.up);
      ++free_days;
    }
    returns[static_cast<std::size_t>(i)] = static_cast<std::int32_t>(r);
    sum += r;
  }

  // Second pass: shift the free returns so that the block ends at its anchor, and walk.
  const std::int64_t end = Anchor(stock, number + 1);
  std::int64_t level = lists_here ? end - sum : Anchor(stock, number);
  const std::int64_t missing = lists_here ? 0 : end - level - sum;
  std::int64_t part = 0;
  double factor = stock.SplitFactor(first - 1);
  std::int32_t price = Cents(static_cast<double>(level) / kOne, factor);
  const std::int32_t first_close = price;
  if (lists_here) {
    price = IssuePriceFor(stock, first_close);
  }
  for (int i = 0; i < kBlock; ++i) {
    DayPrices& day = out[static_cast<std::size_t>(i)];
    const int n = first + i;
    day.preclose = price;
    day.close = price;
    if (!day.traded) {
      continue;
    }
    if (n == stock.listed && lists_here) {
      day.status = Status::kNewListing;
      day.close = price = first_close;
      continue;
    }
    if (const ExRights* e = ex[static_cast<std::size_t>(i)]) {
      day.status = Status::kExRights;
      factor = e->factor;
      const std::int64_t cash = Nearest(price * e->yield);
      day.preclose = static_cast<std::int32_t>(((price - cash) * 10 + (10 + e->bonus) / 2) / (10 + e->bonus));
    }
    const int percent = LimitPercent(stock.security->board, days_.DateAt(n));
    day.limit_up = LimitPrice(day.preclose, percent);
    day.limit_down = LimitPrice(day.preclose, -percent);
    level += returns[static_cast<std::size_t>(i)];
    if (day.at_limit != 0) {
      price = day.at_limit > 0 ? day.limit_up : day.limit_down;
    } else {
      if (free_days > 0) {
        level += missing * (part + 1) / free_days - missing * part / free_days;
        ++part;
      }
      price = std::clamp(Cents(static_cast<double>(level) / kOne, factor), day.limit_down, day.limit_up);
    }
    day.close = price;
  }
  return out;
}

std::int32_t PricePath::IssuePrice(const Stock& stock) const {
  return stock.listed == 0 ? Cents(static_cast<double>(Anchor(stock, 0)) / kOne, 1)
                           : day(stock, stock.listed).preclose;
}

double PricePath::YearlyCapitalisation(const Stock& stock, int day) const {
  const Date year = days_.DateAt(day) / 10000;
  const Date first_of_year = year * 10000 + 101;
  const auto all = TradingDays();
  const auto position = std::lower_bound(all.begin(), all.end(), first_of_year) - all.begin();
  const int block = std::max((static_cast<int>(position) + days_.first()) / kBlock, stock.listed / kBlock);
  return Exponential(static_cast<double>(Anchor(stock, block)) / kOne) * 100 *
         static_cast<double>(stock.total);
}

std::int32_t PricePath::IntradayDeviation(const Stock& stock, int day) const {
  const bool calm = scenario_ == Scenario::kCalm && day == days_.scripted();
  return calm ? stock.deviation / 6 : stock.deviation * 5 / 8;
}

std::uint32_t PricePath::DayLots(const Stock& stock, int day, const DayPrices& prices) const {
  const std::uint64_t h = Mix(DayHash(stock, day), 0x701);
  const double move = static_cast<double>(std::abs(prices.close - prices.preclose)) / prices.preclose;
  double turnover = stock.turnover * (0.6 + 0.8 * Unit(h)) *
                    (1 + 0.5 * SmoothNoise(Mix(stock.key, 0x702), day, 9)) * factors_.Activity(day) *
                    (1 + 7 * std::min(move, 0.4));
  const std::uint64_t luck = Mix(h);
  if (Below(luck, 24) == 0) {
    turnover *= 1.5 + 1.5 * Unit(Mix(luck));
  }
  if (prices.status == Status::kNewListing) {
    turnover = 0.3 + 0.4 * Unit(luck);
  } else if (prices.at_limit != 0 && SealOf(stock, day) == 0) {
    turnover *= 0.25;
  }
  const double lots = static_cast<double>(stock.CirculatingOn(day)) * std::min(turnover, 0.7) / 100;
  return static_cast<std::uint32_t>(std::clamp<std::int64_t>(Nearest(lots), 400, 1'000'000'000));
}

DayShape PricePath::Shape(const Stock& stock, int day, const DayPrices& prices, const HalfHours& market,
                          const HalfHours& industry) const {
  DayShape out;
  const std::uint64_t h = Mix(DayHash(stock, day), 0x54a9e);
  const std::int32_t deviation = IntradayDeviation(stock, day);
  const std::int32_t preclose = prices.preclose;
  const std::int64_t close_move = MoveBetween(preclose, prices.close);

  HalfHours common{};
  for (std::size_t k = 0; k < common.size(); ++k) {
    common[k] = Scale(stock.beta, market[k]) + industry[k];
  }
  HalfHours own{};
  own[kSegments] = static_cast<std::int32_t>(
      std::clamp<std::int64_t>(close_move - common[kSegments], -2 * kOne, 64 * kOne));
  own[0] = own[kSegments] / 4 + Normal(deviation / 3, Mix(h, 1));
  Bridge(own, deviation, h);

  const int seal = prices.at_limit != 0 ? SealOf(stock, day) : kSegments + 1;
  out.sealed_from = seal;
  const std::int32_t lowest = prices.limit_down > 0 ? prices.limit_down : std::max(preclose / 3, 1);
  const std::int32_t highest = prices.limit_up > 0 ? prices.limit_up : preclose * 6;
  const std::int64_t open_move = common[0] + own[0];
  for (int k = 0; k <= kSegments; ++k) {
    const auto at = static_cast<std::size_t>(k);
    std::int64_t x = std::int64_t{common[at]} + own[at];
    if (seal > 0 && seal < kSegments) {  // reach the limit earlier than the close
      x += (close_move - open_move) * k / seal - (close_move - open_move) * k / kSegments;
    }
    out.price[at] = k >= seal ? prices.close : std::clamp(Moved(preclose, x), lowest, highest);
  }
  out.price[kSegments] = prices.close;

  constexpr std::array<std::uint32_t, kSegments> kWeights{20, 13, 10, 9, 10, 9, 11, 18};
  std::array<std::uint64_t, kSegments + 1> sums{};
  std::uint64_t dice = Mix(h, 2);
  for (std::size_t k = 0; k < kSegments; ++k) {
    std::uint64_t weight = kWeights[k] * (96 + (dice & 0xff) / 2);
    dice >>= 8;
    if (static_cast<int>(k) >= seal) {
      weight /= 3;
    }
    sums[k + 1] = sums[k] + weight;
  }
  const std::uint32_t lots = DayLots(stock, day, prices);
  const std::uint32_t opening = std::max<std::uint32_t>(
      static_cast<std::uint32_t>(std::uint64_t{lots} * (5 + Below(Mix(h, 3), 20)) / 1000), 1);
  const double for_weight = static_cast<double>(lots - opening) / static_cast<double>(sums[kSegments]);
  for (std::size_t k = 0; k < kSegments; ++k) {
    out.lots[k] = opening + static_cast<std::uint32_t>(for_weight * static_cast<double>(sums[k]));
  }
  out.lots[kSegments] = lots;
  return out;
}

void PricePath::Minutes(const Stock& stock, int day, const DayPrices& prices, const DayShape& shape,
                        const Deviations& market, const Deviations& industry, const MinutePath& out) const {
  const std::uint64_t h = Mix(DayHash(stock, day), 0x314);
  Deviations own;
  WalkMinutes(IntradayDeviation(stock, day), h, own);
  Stream stream(Mix(h));
  const std::int32_t lowest = prices.limit_down > 0 ? prices.limit_down : 1;
  const std::int32_t highest = prices.limit_up > 0 ? prices.limit_up : INT32_MAX;
  out.price[0] = shape.price[0];
  out.lots[0] = shape.lots[0];
  out.amount[0] = std::int64_t{shape.lots[0]} * 100 * shape.price[0];
  std::int32_t low = shape.price[0];
  std::int32_t high = shape.price[0];

  for (int segment = 0; segment < kSegments; ++segment) {
    const auto k = static_cast<std::size_t>(segment);
    const std::int32_t from = shape.price[k];
    const std::int32_t to = shape.price[k + 1];
    const std::uint32_t lots = shape.lots[k + 1] - shape.lots[k];
    std::int32_t* const price = out.price + segment * kSegmentMinutes;  // [0] is the segment's start
    std::uint32_t* const run = out.lots + segment * kSegmentMinutes;
    std::int64_t* const amount = out.amount + segment * kSegmentMinutes;

    std::array<std::uint32_t, kSegmentMinutes + 1> weights{};
    for (std::uint32_t j = 1; j <= kSegmentMinutes; ++j) {
      std::uint32_t weight = 24 + (stream.Next() >> 25);
      if (segment == 0) {
        weight += (kSegmentMinutes - j) * 6;
      } else if (segment == kSegments - 1) {
        weight += j * 4;
      }
      weights[j] = weights[j - 1] + weight;
    }
    for (std::size_t j = 1; j <= kSegmentMinutes; ++j) {
      run[j] =
          run[0] + static_cast<std::uint32_t>(std::uint64_t{lots} * weights[j] / weights[kSegmentMinutes]);
    }
    if (from != to && run[kSegmentMinutes - 1] == run[kSegmentMinutes] && lots > 0) {
      // The last minute needs a trade to arrive at its price.
      for (std::size_t j = kSegmentMinutes - 1; j > 0 && run[j] == run[kSegmentMinutes]; --j) {
        --run[j];
      }
    }

    if (segment >= shape.sealed_from) {
      for (std::size_t j = 1; j <= kSegmentMinutes; ++j) {
        price[j] = to;
      }
    } else {
      // Prices with 8 fractional bits, bent so that their mean by volume is the middle of the two ends.
      std::array<std::int64_t, kSegmentMinutes + 1> path{};
      path[0] = std::int64_t{from} * 256;
      std::int64_t bent = 0;
      std::int64_t bend = 0;
      for (int j = 1; j <= kSegmentMinutes; ++j) {
        const auto at = static_cast<std::size_t>(segment * kSegmentMinutes + j - 1);
        const std::int64_t x = Scale(stock.beta, market[at]) + industry[at] + own[at];
        path[static_cast<std::size_t>(j)] = std::int64_t{from} * 256 +
                                            std::int64_t{to - from} * 256 * j / kSegmentMinutes +
                                            ((prices.preclose * x) >> 16);
        const std::int64_t traded = run[j] - run[j - 1];
        bent += traded * (path[static_cast<std::size_t>(j - 1)] + path[static_cast<std::size_t>(j)]);
        bend += traded * ((j - 1) * (kSegmentMinutes - j + 1) + j * (kSegmentMinutes - j));
      }
      const std::int64_t missing = std::int64_t{lots} * (std::int64_t{from} + to) * 256 - bent;
      const double slope = bend > 0 ? static_cast<double>(missing) / static_cast<double>(bend) : 0;
      for (int j = 1; j < kSegmentMinutes; ++j) {
        const std::int64_t y =
            path[static_cast<std::size_t>(j)] + Nearest(slope * (j * (kSegmentMinutes - j)));
        price[j] = run[j] == run[j - 1]
                       ? price[j - 1]
                       : static_cast<std::int32_t>(std::clamp<std::int64_t>((y + 128) >> 8, lowest, highest));
      }
      price[kSegmentMinutes] = to;
    }

    // What rounding leaves of the half hour's amount is spread by volume, within the range of the day so far.
    std::int64_t raw = 0;
    for (std::size_t j = 1; j <= kSegmentMinutes; ++j) {
      raw += std::int64_t{run[j] - run[j - 1]} * 50 * (price[j - 1] + price[j]);
    }
    const std::int64_t whole = std::int64_t{lots} * 50 * (from + to);
    const std::int64_t left = whole - raw;
    const std::int64_t end = amount[0] + whole;
    std::int64_t plain = amount[0];
    for (std::size_t j = 1; j <= kSegmentMinutes; ++j) {
      plain += std::int64_t{run[j] - run[j - 1]} * 50 * (price[j - 1] + price[j]);
      low = std::min(low, price[j]);
      high = std::max(high, price[j]);
      const std::int64_t share =
          lots == 0 ? 0 : Nearest(static_cast<double>(left) * static_cast<double>(run[j] - run[0]) / lots);
      const std::int64_t least = std::max(amount[j - 1], std::int64_t{run[j]} * 100 * low);
      const std::int64_t most = std::int64_t{run[j]} * 100 * high;
      amount[j] = std::min({std::max(plain + share, least), most, end});
    }
    amount[kSegmentMinutes] = end;
  }
}

namespace {

struct IndexWeights {
  std::int32_t beta;
  int first, last;  // industries; last < first: none
};

IndexWeights WeightsOf(int index) {
  const IndexRule& rule = IndexRules()[static_cast<std::size_t>(index)];
  return {static_cast<std::int32_t>(rule.beta * 256), std::max(rule.first_industry, 0),
          rule.first_industry < 0 ? -1 : rule.last_industry};
}

}  // namespace

std::int32_t PricePath::IndexClose(int index, int day) const {
  const IndexWeights weights = WeightsOf(index);
  std::int64_t level = Scale(weights.beta, factors_.Level(factors_.market(), day));
  if (weights.last >= weights.first) {
    std::int64_t sum = 0;
    for (int f = weights.first; f <= weights.last; ++f) {
      sum += factors_.Level(f, day);
    }
    level += sum / (weights.last - weights.first + 1);
  }
  const std::uint64_t h =
      Mix(Mix(index_key_, static_cast<std::uint64_t>(index)), static_cast<std::uint64_t>(day));
  level += Normal(Fixed(0.0006), h);
  return Cents(
      static_cast<double>(level) / kOne + Logarithm(IndexRules()[static_cast<std::size_t>(index)].base), 1);
}

DayShape PricePath::IndexShape(int index, int day) const {
  const IndexWeights weights = WeightsOf(index);
  const std::int32_t preclose = IndexClose(index, day - 1);
  const std::int32_t close = IndexClose(index, day);
  const std::uint64_t h =
      Mix(Mix(index_key_, 0x54a9e + static_cast<std::uint64_t>(index)), static_cast<std::uint64_t>(day));
  HalfHours common = factors_.HalfHoursOf(factors_.market(), day);
  for (std::int32_t& x : common) {
    x = Scale(weights.beta, x);
  }
  if (weights.last >= weights.first) {
    std::array<std::int64_t, kSegments + 1> sums{};
    for (int f = weights.first; f <= weights.last; ++f) {
      const HalfHours industry = factors_.HalfHoursOf(f, day);
      for (std::size_t k = 0; k < sums.size(); ++k) {
        sums[k] += industry[k];
      }
    }
    for (std::size_t k = 0; k < sums.size(); ++k) {
      common[k] += static_cast<std::int32_t>(sums[k] / (weights.last - weights.first + 1));
    }
  }
  HalfHours own{};
  own[kSegments] = static_cast<std::int32_t>(MoveBetween(preclose, close)) - common[kSegments];
  own[0] = own[kSegments] / 4 + Normal(Fixed(0.0003), Mix(h, 1));
  Bridge(own, Fixed(0.0006), h);
  DayShape out;
  for (std::size_t k = 0; k < out.price.size(); ++k) {
    out.price[k] = Moved(preclose, std::int64_t{common[k]} + own[k]);
  }
  out.price[kSegments] = close;
  return out;
}

void PricePath::IndexMinutes(int index, int day, const DayShape& shape, const Deviations& market,
                             std::int32_t* price) const {
  const std::int32_t beta = WeightsOf(index).beta;
  Deviations own;
  WalkMinutes(
      Fixed(0.0005),
      Mix(Mix(index_key_, 0x314 + static_cast<std::uint64_t>(index)), static_cast<std::uint64_t>(day)), own);
  price[0] = shape.price[0];
  for (int m = 1; m <= kMinutes; ++m) {
    const auto k = static_cast<std::size_t>((m - 1) / kSegmentMinutes);
    const int j = (m - 1) % kSegmentMinutes + 1;
    const std::int32_t from = shape.price[k];
    const std::int32_t to = shape.price[k + 1];
    const std::int64_t x =
        Scale(beta, market[static_cast<std::size_t>(m - 1)]) + own[static_cast<std::size_t>(m - 1)];
    price[m] =
        from + static_cast<std::int32_t>(std::int64_t{to - from} * j / kSegmentMinutes + ((from * x) >> 24));
  }
}

}  // namespace market_server::model

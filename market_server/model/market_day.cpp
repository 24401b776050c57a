#include "market_server/model/market_day.h"

#include <algorithm>
#include <utility>

#include "market_server/model/logarithm.h"
#include "market_server/model/random.h"

namespace market_server::model {
namespace {

std::int32_t LevelOf(std::int64_t capitalisation, double base) {
  return base > 0 ? static_cast<std::int32_t>(Nearest(static_cast<double>(capitalisation) * 100000 / base))
                  : 100000;
}

std::int64_t Capitalisation(std::uint64_t shares, std::int32_t price) {
  return static_cast<std::int64_t>(shares) * price;
}

}  // namespace

Foundation::Foundation(const Options& chosen)
    : options(chosen),
      days(chosen.scenario == Scenario::kNone ? 0 : chosen.scenario_date),
      universe(chosen, days),
      factors(chosen, days),
      paths(chosen, days, factors) {
  issue_prices.reserve(universe.stocks.size());
  for (const Stock& stock : universe.stocks) {
    issue_prices.push_back(paths.IssuePrice(stock));
  }
  for (const auto& members : universe.plate_members) {
    double sum = 0;
    for (const std::uint32_t member : members) {
      sum += static_cast<double>(Capitalisation(universe.stocks[member].total, issue_prices[member]));
    }
    plate_bases.push_back(sum);
  }
}

FlowSum FlowShares::Of(std::uint64_t yuan) const {
  FlowSum out;
  const auto part = [](std::uint64_t whole, double share) {
    return std::min(static_cast<std::uint64_t>(static_cast<double>(whole) * share), whole);
  };
  const std::uint64_t big_all = part(yuan, big);
  out.big_in = part(big_all, big_in);
  out.big_out = big_all - out.big_in;
  out.small_in = part(yuan - big_all, small_in);
  out.small_out = yuan - big_all - out.small_in;
  return out;
}

FlowShares FlowSharesOf(const Stock& stock, int day, const DayPrices& prices) {
  const std::uint64_t h = Mix(Mix(stock.key, static_cast<std::uint64_t>(day)), 0xf10);
  const double move = static_cast<double>(prices.close - prices.preclose) / prices.preclose;
  const double tilt = std::clamp(move * 2.5, -0.2, 0.2);
  FlowShares out;
  out.big = 0.25 + 0.35 * Unit(h);
  out.big_in = 0.5 + tilt + 0.16 * (Unit(Mix(h, 1)) - 0.5);
  out.small_in = 0.5 - tilt / 2 + 0.1 * (Unit(Mix(h, 2)) - 0.5);
  return out;
}

DayFactors::DayFactors(const Foundation& foundation, int day)
    : market_(foundation.factors.market()),
      one_industry_(false),
      factors_(static_cast<std::size_t>(foundation.factors.count())) {
  for (int f = 0; f < foundation.factors.count(); ++f) {
    Make(foundation.factors, day, f, factors_[static_cast<std::size_t>(f)]);
  }
}

DayFactors::DayFactors(const Foundation& foundation, int day, int industry)
    : market_(foundation.factors.market()), one_industry_(true), factors_(2) {
  Make(foundation.factors, day, industry, factors_[0]);
  Make(foundation.factors, day, market_, factors_[1]);
}

void DayFactors::Make(const Factors& factors, int day, int factor, OneFactor& out) {
  for (int ago = 0; ago < 10 && day - ago >= 0; ++ago) {
    out.half_hours[static_cast<std::size_t>(ago)] = factors.HalfHoursOf(factor, day - ago);
  }
  factors.Minutes(factor, day, out.minutes);
}

StockDay MakeStockDay(const Foundation& foundation, const Stock& stock, int day, const DayFactors& factors,
                      PastCapitalisations& past) {
  StockDay out;
  const PricePath& paths = foundation.paths;
  const int block = day / kBlock;
  const BlockPrices here = paths.BlockOf(stock, block);
  const BlockPrices before =
      day % kBlock < kDaysBefore && block > 0 ? paths.BlockOf(stock, block - 1) : BlockPrices{};
  const auto prices_on = [&](int n) -> const DayPrices& {
    return (n / kBlock == block ? here : before)[static_cast<std::size_t>(n % kBlock)];
  };
  out.prices = prices_on(day);
  out.total = stock.TotalOn(day);
  out.circulating = stock.CirculatingOn(day);
  const double yearly = paths.YearlyCapitalisation(stock, day);
  out.earnings = yearly / stock.pe;
  out.book = yearly / stock.pb;

  const int market = foundation.factors.market();
  double lots = 0;
  int counted = 0;
  for (int ago = 1; ago <= kDaysBefore; ++ago) {
    const int n = day - ago;
    if (n < 0) {
      past[static_cast<std::size_t>(ago - 1)] =
          ago > 1 ? past[static_cast<std::size_t>(ago - 2)] : Capitalisation(out.total, out.prices.preclose);
      continue;
    }
    const DayPrices& prices = prices_on(n);
    past[static_cast<std::size_t>(ago - 1)] = Capitalisation(stock.TotalOn(n), prices.close);
    if (!prices.traded || ago > 9) {
      continue;
    }
    const DayShape shape = paths.Shape(stock, n, prices, factors.HalfHoursOf(market, ago),
                                       factors.HalfHoursOf(stock.industry, ago));
    if (counted < 5) {
      lots += shape.lots[kSegments];
      ++counted;
    }
    const FlowSum flow = FlowSharesOf(stock, n, prices).Of(static_cast<std::uint64_t>(shape.Amount() / 100));
    for (FlowSum* const sum : {&out.four_before, &out.nine_before}) {
      if (sum == &out.nine_before || ago <= 4) {
        sum->big_in += flow.big_in;
        sum->big_out += flow.big_out;
        sum->small_in += flow.small_in;
        sum->small_out += flow.small_out;
      }
    }
  }
  const double usual =
      counted > 0 ? lots / counted : static_cast<double>(out.circulating) * stock.turnover / 100;
  out.usual_lots = std::max(usual / kMinutes, 0.01);
  return out;
}

void MakeMinutes(const Foundation& foundation, const Stock& stock, int day, const StockDay& figures,
                 const DayFactors& factors, const MinutePath& out) {
  const int market = foundation.factors.market();
  const DayShape shape = foundation.paths.Shape(stock, day, figures.prices, factors.HalfHoursOf(market, 0),
                                                factors.HalfHoursOf(stock.industry, 0));
  foundation.paths.Minutes(stock, day, figures.prices, shape, factors.Minutes(market),
                           factors.Minutes(stock.industry), out);
}

MarketDay::MarketDay(const Foundation& foundation, int day) : day_(day) {
  const Universe& universe = foundation.universe;
  const std::size_t count = universe.stocks.size();
  stocks_.resize(count);
  prices_.resize(count * kPoints);
  lots_.resize(count * kPoints);
  amounts_.resize(count * kPoints);
  std::vector<PastCapitalisations> past(count);
  const DayFactors factors(foundation, day);
  for (std::size_t i = 0; i < count; ++i) {
    const Stock& stock = universe.stocks[i];
    if (day < stock.listed) {
      stocks_[i].prices.status = Status::kAwaiting;
      stocks_[i].prices.preclose = stocks_[i].prices.close = foundation.issue_prices[i];
      stocks_[i].total = stock.total;
      past[i].fill(Capitalisation(stock.total, foundation.issue_prices[i]));
      continue;
    }
    stocks_[i] = MakeStockDay(foundation, stock, day, factors, past[i]);
    if (stocks_[i].prices.traded) {
      MakeMinutes(foundation, stock, day, stocks_[i], factors,
                  {&prices_[i * kPoints], &lots_[i * kPoints], &amounts_[i * kPoints]});
    }
  }

  index_prices_.resize(universe.indices.size() * kPoints);
  for (std::size_t i = 0; i < universe.indices.size(); ++i) {
    const int number = static_cast<int>(i);
    const DayShape shape = foundation.paths.IndexShape(number, day);
    foundation.paths.IndexMinutes(number, day, shape, factors.Minutes(foundation.factors.market()),
                                  &index_prices_[i * kPoints]);
    index_precloses_.push_back(foundation.paths.IndexClose(number, day - 1));
  }
  MakePlates(foundation, past);
}

MinuteView MarketDay::Minutes(std::uint32_t number) const {
  const std::size_t at = number * kPoints;
  return {&prices_[at], &lots_[at], &amounts_[at]};
}

void MarketDay::MakePlates(const Foundation& foundation, const std::vector<PastCapitalisations>& past) {
  const auto& plates = foundation.universe.plate_members;
  plate_prices_.resize(plates.size() * kPoints);
  std::vector<std::int64_t> sums(kPoints);
  for (std::size_t p = 0; p < plates.size(); ++p) {
    std::fill(sums.begin(), sums.end(), 0);
    std::int64_t still = 0;
    PastCapitalisations closes{};
    for (const std::uint32_t member : plates[p]) {
      const StockDay& figures = stocks_[member];
      const auto shares = static_cast<std::int64_t>(figures.total);
      for (std::size_t ago = 0; ago < closes.size(); ++ago) {
        closes[ago] += past[member][ago];
      }
      if (!figures.prices.traded) {
        still += shares * figures.prices.close;
        continue;
      }
      const std::int32_t* const price = &prices_[member * kPoints];
      for (std::size_t m = 0; m < kPoints; ++m) {
        sums[m] += shares * price[m];
      }
    }
    const double base = foundation.plate_bases[p];
    for (std::size_t m = 0; m < kPoints; ++m) {
      plate_prices_[p * kPoints + m] = LevelOf(sums[m] + still, base);
    }
    plate_precloses_.push_back(LevelOf(closes[0], base));
    int run = 0;
    for (std::size_t ago = 0; ago + 1 < closes.size(); ++ago) {
      const std::int32_t close = LevelOf(closes[ago], base);
      const std::int32_t earlier = LevelOf(closes[ago + 1], base);
      const int direction = close > earlier ? 1 : close < earlier ? -1 : 0;
      if (direction == 0 || (run != 0 && (run > 0) != (direction > 0))) {
        break;
      }
      run += direction;
    }
    plate_runs_.push_back(run);
  }
}

}  // namespace market_server::model

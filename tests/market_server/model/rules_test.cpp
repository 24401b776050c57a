// The rules of the exchanges: ticks, limits, sessions, the order book, suspensions, listings, dividends and
// splits.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "small_market.h"

namespace market_server::model {
namespace {

const Market& market() {
  static const Market& shared = *new Market(Small(5));
  return shared;
}

// A limit price: the percentage of the previous close, rounded half up to a cent, by integers.
std::int64_t Limit(double preclose, int percent) {
  return (InCents(preclose) * (100 + percent) + 50) / 100;
}

int PercentOf(const Security& stock, Date date) {
  return stock.board == Board::kStar || (stock.board == Board::kGrowth && date >= 20200824) ? 20 : 10;
}

void ExpectWholeCents(double price, const Security& security) {
  EXPECT_EQ(price, static_cast<double>(InCents(price)) / 100) << security.code;
}

TEST(Rules, everyPriceIsAWholeNumberOfCents) {
  for (const Instant time : InstantsOfAllKinds()) {
    const auto board = market().BoardAt(time);
    for (const auto* rows : {&board->stocks, &board->indices, &board->plates}) {
      for (const Quote& q : *rows) {
        for (const double price :
             {q.last, q.open, q.high, q.low, q.preclose, q.diff, q.limit_up, q.limit_down}) {
          ExpectWholeCents(price, *q.security);
        }
        for (std::size_t level = 0; level < 5; ++level) {
          ExpectWholeCents(q.bids[level].price, *q.security);
          ExpectWholeCents(q.asks[level].price, *q.security);
        }
      }
    }
  }
}

TEST(Rules, noPriceLeavesItsLimits) {
  std::map<int, int> seen;
  for (const Instant time : InstantsOfAllKinds()) {
    const auto board = market().BoardAt(time);
    for (const Quote& q : board->stocks) {
      if (q.status != Status::kTrading && q.status != Status::kExRights) {
        continue;
      }
      const int percent = PercentOf(*q.security, q.date);
      ++seen[percent];
      EXPECT_EQ(InCents(q.limit_up), Limit(q.preclose, percent)) << At(*q.security, time);
      EXPECT_EQ(InCents(q.limit_down), Limit(q.preclose, -percent)) << At(*q.security, time);
      EXPECT_LE(q.last, q.limit_up) << At(*q.security, time);
      EXPECT_GE(q.last, q.limit_down) << At(*q.security, time);
      EXPECT_LE(q.high, q.limit_up) << At(*q.security, time);
      if (q.low > 0) {
        EXPECT_GE(q.low, q.limit_down) << At(*q.security, time);
      }
    }
  }
  EXPECT_GT(seen[10], 1000);
  EXPECT_GT(seen[20], 500);
}

TEST(Rules, someStocksCloseAtTheirLimits) {
  int up = 0;
  int down = 0;
  for (int day = 0; day < 40; ++day) {
    const auto board =
        market().BoardAt(InstantOf(TradingDays()[static_cast<std::size_t>(day * 60 + 11)], 15, 0, 0));
    for (const Quote& q : board->stocks) {
      up += Trades(q.status) && q.last == q.limit_up ? 1 : 0;
      down += Trades(q.status) && q.last == q.limit_down ? 1 : 0;
    }
  }
  EXPECT_GT(up, 20);
  EXPECT_GT(down, 8);
}

TEST(Rules, theBookStandsAroundTheLastPrice) {
  for (const Instant time : TradingInstants()) {
    const auto board = market().BoardAt(time);
    for (const Quote& q : board->stocks) {
      if (!Trades(q.status)) {
        continue;
      }
      const double bid = q.bids[0].price;
      const double ask = q.asks[0].price;
      const std::string where = At(*q.security, time);
      EXPECT_TRUE(bid == q.last || ask == q.last) << where;
      if (q.limit_up > 0 && q.last == q.limit_up) {
        EXPECT_EQ(bid, q.last) << where;
        EXPECT_EQ(q.asks, (std::array<BookLevel, 5>{})) << where;
      } else if (q.limit_up > 0 && q.last == q.limit_down) {
        EXPECT_EQ(ask, q.last) << where;
        EXPECT_EQ(q.bids, (std::array<BookLevel, 5>{})) << where;
      } else {
        EXPECT_LT(bid, ask) << where;
        EXPECT_LE(bid, q.last) << where;
        EXPECT_GE(ask, q.last) << where;
        EXPECT_GT(bid, 0) << where;
      }
      for (std::size_t level = 0; level < 5; ++level) {
        for (const BookLevel& side : {q.bids[level], q.asks[level]}) {
          EXPECT_EQ(side.price == 0, side.volume == 0) << where;
          EXPECT_EQ(side.volume % 100, 0u) << where;
          if (side.price > 0 && q.limit_up > 0) {
            EXPECT_GE(side.price, q.limit_down) << where;
            EXPECT_LE(side.price, q.limit_up) << where;
          }
        }
        if (level > 0 && q.bids[level].price > 0) {
          EXPECT_LT(q.bids[level].price, q.bids[level - 1].price) << where;
        }
        if (level > 0 && q.asks[level].price > 0) {
          EXPECT_GT(q.asks[level].price, q.asks[level - 1].price) << where;
        }
      }
    }
  }
}

TEST(Rules, aDayOnlyRunsForward) {
  for (const Security* stock : SomeStocks(market(), InstantOf(20261120, 10, 0, 0), 60)) {
    Quote before;
    for (int second = 9 * 3600 + 25 * 60; second <= 15 * 3600; second += 3) {
      const Quote now = market().QuoteOf(*stock, InstantOf(20261120, 0, 0, 0) + second);
      ASSERT_LE(before.time, now.time) << At(*stock, now.time);
      if (before.open > 0) {
        ASSERT_GE(now.vol, before.vol) << At(*stock, now.time);
        ASSERT_GE(now.amt, before.amt) << At(*stock, now.time);
        ASSERT_GE(now.high, before.high) << At(*stock, now.time);
        ASSERT_LE(now.low, before.low) << At(*stock, now.time);
        ASSERT_EQ(now.open, before.open) << At(*stock, now.time);
        if (now.vol == before.vol) {
          ASSERT_EQ(now.last, before.last) << "without a trade " << At(*stock, now.time);
        }
      }
      before = now;
    }
  }
}

TEST(Rules, theAverageTradeLiesBetweenLowAndHigh) {
  for (const Date date : {20160107u, 20200703u, 20261120u}) {
    for (const Security* stock : SomeStocks(market(), InstantOf(date, 10, 0, 0), 11)) {
      const MinuteLine line = market().MinuteLineOf(*stock, date, InstantOf(date, 16, 0, 0));
      double low = 1e9;
      double high = 0;
      for (const MinutePoint& point : line.points) {
        low = std::min(low, point.last);
        high = std::max(high, point.last);
        ASSERT_GT(point.vol, 0u);
        const double average = point.amt / static_cast<double>(point.vol);
        ASSERT_GE(average, low - 1e-9) << stock->code << " " << date << " " << point.minute;
        ASSERT_LE(average, high + 1e-9) << stock->code << " " << date << " " << point.minute;
      }
    }
  }
}

TEST(Rules, tradesOfAMinuteHappenNearItsPrices) {
  int far = 0;
  int minutes = 0;
  for (const Security* stock : SomeStocks(market(), InstantOf(20261120, 10, 0, 0), 7)) {
    const MinuteLine line = market().MinuteLineOf(*stock, 20261120, InstantOf(20261120, 16, 0, 0));
    for (std::size_t i = 1; i < line.points.size(); ++i) {
      const MinutePoint& a = line.points[i - 1];
      const MinutePoint& b = line.points[i];
      if (b.vol > a.vol) {
        const double average = (b.amt - a.amt) / static_cast<double>(b.vol - a.vol);
        ++minutes;
        far += average < std::min(a.last, b.last) * 0.997 - 0.01 ||
               average > std::max(a.last, b.last) * 1.003 + 0.01;
      }
    }
  }
  EXPECT_GT(minutes, 8000);
  EXPECT_LT(far, minutes / 100);
}

TEST(Rules, volumesAreWholeLotsAndPricesMoveEverywhere) {
  const auto board = market().BoardAt(InstantOf(20261120, 15, 0, 0));
  for (const Quote& q : board->stocks) {
    EXPECT_EQ(q.vol % 100, 0u) << q.security->code;
    if (Trades(q.status)) {
      EXPECT_GT(q.vol, 0u) << q.security->code;
      EXPECT_GT(q.last, 0.5) << q.security->code;
      EXPECT_LT(q.last, 5000) << q.security->code;
    }
  }
}

TEST(Rules, theIndicativePriceEndsNearTheOpen) {
  double early = 0;
  double late = 0;
  const auto open = market().BoardAt(InstantOf(20261120, 9, 25, 0));
  const auto first = market().BoardAt(InstantOf(20261120, 9, 15, 0));
  const auto last = market().BoardAt(InstantOf(20261120, 9, 24, 58));
  for (std::size_t i = 0; i < open->stocks.size(); ++i) {
    if (Trades(open->stocks[i].status)) {
      early += std::abs(first->stocks[i].last / open->stocks[i].last - 1);
      late += std::abs(last->stocks[i].last / open->stocks[i].last - 1);
    }
  }
  EXPECT_LT(late, early / 4);
}

TEST(Rules, aSuspendedStockShowsItsLastCloseAndNothingElse) {
  int seen = 0;
  for (int day = 300; day < 2900; day += 100) {
    const Date date = TradingDays()[static_cast<std::size_t>(day)];
    const Instant time = InstantOf(date, 14, 0, 0);
    const auto board = market().BoardAt(time);
    for (const Quote& q : board->stocks) {
      if (Trades(q.status)) {
        continue;
      }
      ++seen;
      EXPECT_EQ(q.last, q.preclose);
      EXPECT_EQ(q.diff, 0);
      EXPECT_EQ(q.change, 0);
      EXPECT_EQ(q.vol, 0u);
      EXPECT_EQ(q.open, 0);
      EXPECT_EQ(q.bids, (std::array<BookLevel, 5>{}));
      EXPECT_EQ(q.asks, (std::array<BookLevel, 5>{}));
      EXPECT_TRUE(market().MinuteLineOf(*q.security, date, time).points.empty());
      EXPECT_FALSE(market().DayCandle(*q.security, time).has_value());
      EXPECT_EQ(market().FlowsOf(*q.security, time).d1, FlowAmounts{});
    }
  }
  EXPECT_GT(seen, 20);
}

TEST(Rules, theLastDayOfASuspensionSaysSo) {
  int ends = 0;
  const auto days = TradingDays();
  for (std::size_t day = 500; day < 700; ++day) {
    const auto board = market().BoardAt(InstantOf(days[day], 15, 0, 0));
    const auto next = market().BoardAt(InstantOf(days[day + 1], 15, 0, 0));
    for (const Quote& q : board->stocks) {
      if (!Trades(q.status)) {
        const auto after = std::find_if(next->stocks.begin(), next->stocks.end(),
                                        [&](const Quote& n) { return n.security == q.security; });
        EXPECT_EQ(Trades(after->status), q.status == Status::kAwaiting) << At(*q.security, q.time);
        ends += q.status == Status::kAwaiting ? 1 : 0;
      }
    }
  }
  EXPECT_GT(ends, 10);
}

TEST(Rules, aStockHasNoLimitOnItsFirstDayAndNoQuoteBefore) {
  int seen = 0;
  for (const Security* stock : market().Stocks(InstantOf(20261120, 10, 0, 0))) {
    if (stock->listed <= 20160101) {
      continue;
    }
    const Quote before = market().QuoteOf(*stock, InstantOf(PreviousTradingDay(stock->listed), 14, 0, 0));
    EXPECT_EQ(before.last, 0) << stock->code;
    EXPECT_EQ(before.status, Status::kAwaiting) << stock->code;
    const Quote first = market().QuoteOf(*stock, InstantOf(stock->listed, 15, 0, 0));
    EXPECT_EQ(first.status, Status::kNewListing) << stock->code;
    EXPECT_EQ(first.limit_up, 0) << stock->code;
    EXPECT_GT(first.last, first.preclose) << stock->code;
    EXPECT_GT(first.tr, 20) << stock->code;
    const bool main_board = stock->board != Board::kStar && stock->board != Board::kGrowth;
    if (main_board && stock->listed < 20230410) {
      EXPECT_NEAR(first.change, 44, 1) << stock->code;
      EXPECT_LE(first.change, 44) << stock->code;
    }
    const Quote second = market().QuoteOf(*stock, InstantOf(NextTradingDay(stock->listed), 15, 0, 0));
    EXPECT_EQ(second.preclose, first.last) << stock->code;
    EXPECT_GT(second.limit_up, 0) << stock->code;
    ++seen;
  }
  EXPECT_GT(seen, 60);
}

TEST(Rules, volumeHasTheShapeOfADay) {
  const Security& all = *market().Find("sh000001");
  const MinuteLine line = market().MinuteLineOf(all, 20261120, InstantOf(20261120, 16, 0, 0));
  const auto half_hour = [&](std::size_t k) {
    return static_cast<double>(line.points[(k + 1) * 30].vol - line.points[k * 30].vol);
  };
  for (std::size_t k = 1; k < 7; ++k) {
    EXPECT_GT(half_hour(0), half_hour(k)) << k;
    EXPECT_GT(half_hour(7), half_hour(k) * 1.02) << k;
  }
  EXPECT_LT(half_hour(3), half_hour(0) * 0.65);
}

TEST(Rules, pricesHaveQuietDaysAndWildOnes) {
  const auto candles =
      market().Candles(*market().Find("sh000001"), Period::kDay, Adjustment::kNone, 20261119);
  int quiet = 0;
  int wild = 0;
  for (const Candle& candle : candles) {
    const double change = (candle.close / candle.preclose - 1) * 100;
    EXPECT_LT(std::abs(change), 9) << candle.date;
    quiet += std::abs(change) < 0.2 ? 1 : 0;
    wild += std::abs(change) > 3 ? 1 : 0;
  }
  EXPECT_GT(quiet, 200);
  EXPECT_GT(wild, 8);
  EXPECT_LT(wild, 250);
}

}  // namespace
}  // namespace market_server::model

// The rules of the exchanges: ticks, limits, sessions, the order book, suspensions, listings, dividends and
// splits.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "small_market.h"

namespace market_server::model {
namespace {

const Market& market() {
  static const Market& shared = *new Market(small(5));
  return shared;
}

// A limit price: the percentage of the previous close, rounded half up to a cent, by integers.
std::int64_t limit(double preclose, int percent) {
  return (in_cents(preclose) * (100 + percent) + 50) / 100;
}

int percent_of(const Security& stock, Date date) {
  return stock.board == Board::star || (stock.board == Board::growth && date >= 20200824) ? 20 : 10;
}

void expect_whole_cents(double price, const Security& security) {
  EXPECT_EQ(price, static_cast<double>(in_cents(price)) / 100) << security.code;
}

TEST(Rules, everyPriceIsAWholeNumberOfCents) {
  for (const Instant time : instants_of_all_kinds()) {
    const auto board = market().board(time);
    for (const auto* rows : {&board->stocks, &board->indices, &board->plates}) {
      for (const Quote& q : *rows) {
        for (const double price :
             {q.last, q.open, q.high, q.low, q.preclose, q.diff, q.limit_up, q.limit_down}) {
          expect_whole_cents(price, *q.security);
        }
        for (std::size_t level = 0; level < 5; ++level) {
          expect_whole_cents(q.bids[level].price, *q.security);
          expect_whole_cents(q.asks[level].price, *q.security);
        }
      }
    }
  }
}

TEST(Rules, noPriceLeavesItsLimits) {
  std::map<int, int> seen;
  for (const Instant time : instants_of_all_kinds()) {
    const auto board = market().board(time);
    for (const Quote& q : board->stocks) {
      if (q.status != Status::trading && q.status != Status::ex_rights) {
        continue;
      }
      const int percent = percent_of(*q.security, q.date);
      ++seen[percent];
      EXPECT_EQ(in_cents(q.limit_up), limit(q.preclose, percent)) << at(*q.security, time);
      EXPECT_EQ(in_cents(q.limit_down), limit(q.preclose, -percent)) << at(*q.security, time);
      EXPECT_LE(q.last, q.limit_up) << at(*q.security, time);
      EXPECT_GE(q.last, q.limit_down) << at(*q.security, time);
      EXPECT_LE(q.high, q.limit_up) << at(*q.security, time);
      if (q.low > 0) {
        EXPECT_GE(q.low, q.limit_down) << at(*q.security, time);
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
        market().board(instant_of(trading_days()[static_cast<std::size_t>(day * 60 + 11)], 15, 0, 0));
    for (const Quote& q : board->stocks) {
      up += trades(q.status) && q.last == q.limit_up ? 1 : 0;
      down += trades(q.status) && q.last == q.limit_down ? 1 : 0;
    }
  }
  EXPECT_GT(up, 20);
  EXPECT_GT(down, 8);
}

TEST(Rules, theBookStandsAroundTheLastPrice) {
  for (const Instant time : trading_instants()) {
    const auto board = market().board(time);
    for (const Quote& q : board->stocks) {
      if (!trades(q.status)) {
        continue;
      }
      const double bid = q.bids[0].price;
      const double ask = q.asks[0].price;
      const std::string where = at(*q.security, time);
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
  for (const Security* stock : some_stocks(market(), instant_of(20261120, 10, 0, 0), 60)) {
    Quote before;
    for (int second = 9 * 3600 + 25 * 60; second <= 15 * 3600; second += 3) {
      const Quote now = market().quote(*stock, instant_of(20261120, 0, 0, 0) + second);
      ASSERT_LE(before.time, now.time) << at(*stock, now.time);
      if (before.open > 0) {
        ASSERT_GE(now.vol, before.vol) << at(*stock, now.time);
        ASSERT_GE(now.amt, before.amt) << at(*stock, now.time);
        ASSERT_GE(now.high, before.high) << at(*stock, now.time);
        ASSERT_LE(now.low, before.low) << at(*stock, now.time);
        ASSERT_EQ(now.open, before.open) << at(*stock, now.time);
        if (now.vol == before.vol) {
          ASSERT_EQ(now.last, before.last) << "without a trade " << at(*stock, now.time);
        }
      }
      before = now;
    }
  }
}

TEST(Rules, theAverageTradeLiesBetweenLowAndHigh) {
  for (const Date date : {20160107u, 20200703u, 20261120u}) {
    for (const Security* stock : some_stocks(market(), instant_of(date, 10, 0, 0), 11)) {
      const MinuteLine line = market().minute_line(*stock, date, instant_of(date, 16, 0, 0));
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
  for (const Security* stock : some_stocks(market(), instant_of(20261120, 10, 0, 0), 7)) {
    const MinuteLine line = market().minute_line(*stock, 20261120, instant_of(20261120, 16, 0, 0));
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
  const auto board = market().board(instant_of(20261120, 15, 0, 0));
  for (const Quote& q : board->stocks) {
    EXPECT_EQ(q.vol % 100, 0u) << q.security->code;
    if (trades(q.status)) {
      EXPECT_GT(q.vol, 0u) << q.security->code;
      EXPECT_GT(q.last, 0.5) << q.security->code;
      EXPECT_LT(q.last, 5000) << q.security->code;
    }
  }
}

TEST(Rules, theCallAuctionIsIndicative) {
  for (const Instant time :
       {instant_of(20261120, 9, 15, 0), instant_of(20261120, 9, 20, 31), instant_of(20261120, 9, 24, 59)}) {
    const auto board = market().board(time);
    EXPECT_EQ(board->date, 20261120u);
    for (const Quote& q : board->stocks) {
      EXPECT_EQ(q.vol, 0u) << at(*q.security, time);
      EXPECT_EQ(q.amt, 0) << at(*q.security, time);
      EXPECT_EQ(q.open, 0) << at(*q.security, time);
      EXPECT_EQ(q.high, 0) << at(*q.security, time);
      EXPECT_EQ(q.low, 0) << at(*q.security, time);
      EXPECT_GT(q.last, 0) << at(*q.security, time);
      if (trades(q.status)) {
        EXPECT_EQ(q.bids[0].price, q.last) << at(*q.security, time);
        EXPECT_EQ(q.asks[0].price, q.last) << at(*q.security, time);
      }
    }
    for (const Quote& q : board->indices) {
      EXPECT_EQ(q.last, q.preclose) << q.security->code;
      EXPECT_EQ(q.vol, 0u) << q.security->code;
    }
    EXPECT_TRUE(market().breadth(20261120, time).empty());
    EXPECT_TRUE(market().events(20261120, time).empty());
  }
}

TEST(Rules, theIndicativePriceEndsNearTheOpen) {
  double early = 0;
  double late = 0;
  const auto open = market().board(instant_of(20261120, 9, 25, 0));
  const auto first = market().board(instant_of(20261120, 9, 15, 0));
  const auto last = market().board(instant_of(20261120, 9, 24, 58));
  for (std::size_t i = 0; i < open->stocks.size(); ++i) {
    if (trades(open->stocks[i].status)) {
      early += std::abs(first->stocks[i].last / open->stocks[i].last - 1);
      late += std::abs(last->stocks[i].last / open->stocks[i].last - 1);
    }
  }
  EXPECT_LT(late, early / 4);
}

TEST(Rules, theOpeningAuctionTradesAtFiveMinutesToHalfPastNine) {
  for (const Instant time : {instant_of(20261120, 9, 25, 0), instant_of(20261120, 9, 29, 59)}) {
    const auto board = market().board(time);
    for (const Quote& q : board->stocks) {
      if (trades(q.status)) {
        EXPECT_EQ(q.open, q.last) << at(*q.security, time);
        EXPECT_EQ(q.high, q.last) << at(*q.security, time);
        EXPECT_EQ(q.low, q.last) << at(*q.security, time);
        EXPECT_GT(q.vol, 0u) << at(*q.security, time);
        EXPECT_NEAR(q.amt, static_cast<double>(q.vol) * q.open, 0.01) << at(*q.security, time);
        const MinuteLine line = market().minute_line(*q.security, 20261120, time);
        ASSERT_EQ(line.points.size(), 1u);
        EXPECT_EQ(line.points[0].minute, 930);
      }
    }
  }
}

TEST(Rules, theMinutesOfADayAreTheClockOfItsSessions) {
  const MinuteLine line =
      market().minute_line(*market().find("sh600000"), 20261120, instant_of(20261120, 16, 0, 0));
  ASSERT_EQ(line.points.size(), 241u);
  EXPECT_EQ(line.points[0].minute, 930);
  EXPECT_EQ(line.points[1].minute, 931);
  EXPECT_EQ(line.points[30].minute, 1000);
  EXPECT_EQ(line.points[120].minute, 1130);
  EXPECT_EQ(line.points[121].minute, 1301);
  EXPECT_EQ(line.points[240].minute, 1500);
  for (std::size_t i = 1; i < line.points.size(); ++i) {
    EXPECT_LT(line.points[i - 1].minute, line.points[i].minute);
    EXPECT_LE(line.points[i - 1].vol, line.points[i].vol);
    EXPECT_LE(line.points[i - 1].amt, line.points[i].amt);
  }
}

TEST(Rules, theMinuteUnderWayIsTheLastPoint) {
  const MinuteLine line =
      market().minute_line(*market().find("sh000001"), 20261120, instant_of(20261120, 13, 5, 12));
  ASSERT_EQ(line.points.size(), 127u);
  EXPECT_EQ(line.points[125].minute, 1305);
  EXPECT_EQ(line.points[126].minute, 1306);
}

TEST(Rules, aSuspendedStockShowsItsLastCloseAndNothingElse) {
  int seen = 0;
  for (int day = 300; day < 2900; day += 100) {
    const Date date = trading_days()[static_cast<std::size_t>(day)];
    const Instant time = instant_of(date, 14, 0, 0);
    const auto board = market().board(time);
    for (const Quote& q : board->stocks) {
      if (trades(q.status)) {
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
      EXPECT_TRUE(market().minute_line(*q.security, date, time).points.empty());
      EXPECT_FALSE(market().day_candle(*q.security, time).has_value());
      EXPECT_EQ(market().flows(*q.security, time).d1, FlowAmounts{});
    }
  }
  EXPECT_GT(seen, 20);
}

TEST(Rules, theLastDayOfASuspensionSaysSo) {
  int ends = 0;
  const auto days = trading_days();
  for (std::size_t day = 500; day < 700; ++day) {
    const auto board = market().board(instant_of(days[day], 15, 0, 0));
    const auto next = market().board(instant_of(days[day + 1], 15, 0, 0));
    for (const Quote& q : board->stocks) {
      if (!trades(q.status)) {
        const auto after = std::find_if(next->stocks.begin(), next->stocks.end(),
                                        [&](const Quote& n) { return n.security == q.security; });
        EXPECT_EQ(trades(after->status), q.status == Status::awaiting) << at(*q.security, q.time);
        ends += q.status == Status::awaiting ? 1 : 0;
      }
    }
  }
  EXPECT_GT(ends, 10);
}

TEST(Rules, aStockHasNoLimitOnItsFirstDayAndNoQuoteBefore) {
  int seen = 0;
  for (const Security* stock : market().stocks(instant_of(20261120, 10, 0, 0))) {
    if (stock->listed <= 20160101) {
      continue;
    }
    const Quote before = market().quote(*stock, instant_of(previous_trading_day(stock->listed), 14, 0, 0));
    EXPECT_EQ(before.last, 0) << stock->code;
    EXPECT_EQ(before.status, Status::awaiting) << stock->code;
    const Quote first = market().quote(*stock, instant_of(stock->listed, 15, 0, 0));
    EXPECT_EQ(first.status, Status::new_listing) << stock->code;
    EXPECT_EQ(first.limit_up, 0) << stock->code;
    EXPECT_GT(first.last, first.preclose) << stock->code;
    EXPECT_GT(first.tr, 20) << stock->code;
    const bool main_board = stock->board != Board::star && stock->board != Board::growth;
    if (main_board && stock->listed < 20230410) {
      EXPECT_NEAR(first.change, 44, 1) << stock->code;
      EXPECT_LE(first.change, 44) << stock->code;
    }
    const Quote second = market().quote(*stock, instant_of(next_trading_day(stock->listed), 15, 0, 0));
    EXPECT_EQ(second.preclose, first.last) << stock->code;
    EXPECT_GT(second.limit_up, 0) << stock->code;
    ++seen;
  }
  EXPECT_GT(seen, 60);
}

TEST(Rules, volumeHasTheShapeOfADay) {
  const Security& all = *market().find("sh000001");
  const MinuteLine line = market().minute_line(all, 20261120, instant_of(20261120, 16, 0, 0));
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
  const auto candles = market().candles(*market().find("sh000001"), Period::day, Adjustment::none, 20261119);
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

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "small_market.h"

namespace market_server::model {
namespace {

constexpr Date kScripted = 20261118;
const Instant kClose = instant_of(kScripted, 15, 0, 0);

struct Share {
  double limit_up = 0, limit_down = 0, within_half_percent = 0, average = 0;
};

Share share_of(const Market& market, Instant time) {
  Share out;
  double count = 0;
  const auto board = market.board(time);
  for (const Quote& q : board->stocks) {
    if (trades(q.status) && q.status != Status::new_listing) {
      ++count;
      out.limit_up += q.last == q.limit_up;
      out.limit_down += q.last == q.limit_down;
      out.within_half_percent += std::abs(q.change) <= 2;
      out.average += q.change;
    }
  }
  return {out.limit_up / count, out.limit_down / count, out.within_half_percent / count, out.average / count};
}

TEST(Scenario, namesAreReadAsTheyAreWritten) {
  ASSERT_EQ(scenario_names().size(), 6u);
  for (std::size_t i = 0; i < scenario_names().size(); ++i) {
    EXPECT_EQ(scenario_named(scenario_names()[i]), static_cast<Scenario>(i));
  }
  EXPECT_EQ(scenario_named("crash"), Scenario::crash);
  EXPECT_EQ(scenario_named("limit-up"), Scenario::limit_up);
  EXPECT_EQ(scenario_named("Crash"), std::nullopt);
  EXPECT_EQ(scenario_named(""), std::nullopt);
}

TEST(Scenario, aCrashTakesTheWholeMarketDown) {
  for (const std::uint64_t seed : {1U, 2U, 3U}) {
    const Market market(small(seed, Scenario::crash, kScripted));
    EXPECT_LT(market.quote(*market.find("sh000001"), kClose).change, -6);
    const Share share = share_of(market, kClose);
    EXPECT_GT(share.limit_down, 0.08);
    EXPECT_LT(share.average, -6);
    EXPECT_GT(market.distribution(kScripted, kClose).down, market.distribution(kScripted, kClose).up * 20);
  }
}

TEST(Scenario, aLimitUpDayTakesItUp) {
  for (const std::uint64_t seed : {1U, 2U, 3U}) {
    const Market market(small(seed, Scenario::limit_up, kScripted));
    EXPECT_GT(market.quote(*market.find("sh000001"), kClose).change, 4.5);
    EXPECT_GT(share_of(market, kClose).limit_up, 0.06);
  }
}

TEST(Scenario, aCalmDayHardlyMoves) {
  for (const std::uint64_t seed : {1U, 2U, 3U}) {
    const Market market(small(seed, Scenario::calm, kScripted));
    EXPECT_LT(std::abs(market.quote(*market.find("sh000001"), kClose).change), 0.3);
    const Share share = share_of(market, kClose);
    EXPECT_GT(share.within_half_percent, 0.9);
    EXPECT_EQ(share.limit_up, 0);
    EXPECT_EQ(share.limit_down, 0);
  }
}

TEST(Scenario, aScriptedDayFitsBetweenItsNeighbours) {
  const Market market(small(4, Scenario::crash, kScripted));
  const auto before = market.board(instant_of(previous_trading_day(kScripted), 15, 0, 0));
  const auto after = market.board(instant_of(next_trading_day(kScripted), 15, 0, 0));
  const auto day = market.board(kClose);
  for (std::size_t i = 0; i < before->stocks.size(); ++i) {
    const auto own = std::find_if(day->stocks.begin(), day->stocks.end(),
                                  [&](const Quote& q) { return q.security == before->stocks[i].security; });
    EXPECT_EQ(own->preclose, before->stocks[i].last) << own->security->code;
  }
  EXPECT_GT(share_of(market, after->time).average, -4);
}

TEST(Scenario, theFeedIsDownForHalfADay) {
  const Market market(small(1, Scenario::outage, kScripted));
  EXPECT_FALSE(market.feed_down(instant_of(kScripted, 9, 59, 59)));
  EXPECT_TRUE(market.feed_down(instant_of(kScripted, 10, 0, 0)));
  EXPECT_TRUE(market.feed_down(instant_of(kScripted, 12, 59, 59)));
  EXPECT_FALSE(market.feed_down(instant_of(kScripted, 13, 0, 0)));
  EXPECT_FALSE(market.feed_down(instant_of(next_trading_day(kScripted), 10, 30, 0)));
  EXPECT_EQ(market.feed_time(instant_of(kScripted, 11, 0, 0)), instant_of(kScripted, 10, 0, 0));
  EXPECT_EQ(market.feed_time(instant_of(kScripted, 14, 0, 0)), instant_of(kScripted, 14, 0, 0));
}

TEST(Scenario, otherDaysHaveNoOutage) {
  const Market market(small(1));
  EXPECT_FALSE(market.feed_down(instant_of(kScripted, 10, 30, 0)));
  EXPECT_EQ(market.feed_time(instant_of(kScripted, 10, 30, 0)), instant_of(kScripted, 10, 30, 0));
}

TEST(Scenario, theHeadlineStockIsSuspendedForTheDay) {
  const Market market(small(1, Scenario::suspended, kScripted));
  const Security& stock = *market.find("sh600000");
  EXPECT_EQ(market.quote(stock, kClose).status, Status::suspended);
  EXPECT_TRUE(trades(market.quote(stock, instant_of(previous_trading_day(kScripted), 15, 0, 0)).status));
  EXPECT_TRUE(trades(market.quote(stock, instant_of(next_trading_day(kScripted), 15, 0, 0)).status));
  const auto candles = market.candles(stock, Period::day, Adjustment::none, 20261120);
  EXPECT_TRUE(
      std::none_of(candles.begin(), candles.end(), [](const Candle& c) { return c.date == kScripted; }));
}

TEST(Scenario, everyScenarioHoldsForEveryPositionOfItsDay) {
  // Whatever day is scripted, its prices stay within the limits and join the next day's.
  for (const Date date : {20150105u, 20150106u, 20200203u, 20271231u, 20261009u}) {
    for (const Scenario scenario :
         {Scenario::crash, Scenario::limit_up, Scenario::suspended, Scenario::calm}) {
      const Market market(small(8, scenario, date));
      const auto day = market.board(instant_of(date, 15, 0, 0));
      const auto next = market.board(instant_of(next_trading_day(date), 15, 0, 0));
      EXPECT_EQ(day->date, date);
      std::size_t row = 0;
      for (const Quote& q : day->stocks) {
        while (next->stocks[row].security != q.security) {
          ++row;
        }
        if (next->stocks[row].status != Status::ex_rights) {
          EXPECT_EQ(next->stocks[row].preclose, q.last) << at(*q.security, q.time);
        }
        if (q.limit_up > 0) {
          EXPECT_LE(q.high, q.limit_up) << at(*q.security, q.time);
        }
      }
    }
  }
}

TEST(Scenario, aDateThatIsNoTradingDayScriptsNothing) {
  const Market plain(small(6));
  for (const Date date : {0u, 20261121u, 20261001u, 20991231u}) {
    const Market market(small(6, Scenario::crash, date));
    const auto a = plain.board(instant_of(20261120, 15, 0, 0));
    const auto b = market.board(instant_of(20261120, 15, 0, 0));
    ASSERT_EQ(a->stocks.size(), b->stocks.size());
    for (std::size_t i = 0; i < a->stocks.size(); ++i) {
      EXPECT_EQ(a->stocks[i].last, b->stocks[i].last);
    }
  }
}

}  // namespace
}  // namespace market_server::model

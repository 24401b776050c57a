#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "small_market.h"

namespace market_server::model {
namespace {

constexpr Date kScripted = 20261118;
const Instant kClose = InstantOf(kScripted, 15, 0, 0);

struct Share {
  double limit_up = 0, limit_down = 0, within_half_percent = 0, average = 0;
};

Share ShareOf(const Market& market, Instant time) {
  Share out;
  double count = 0;
  const auto board = market.BoardAt(time);
  for (const Quote& q : board->stocks) {
    if (Trades(q.status) && q.status != Status::kNewListing) {
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
  ASSERT_EQ(ScenarioNames().size(), 6u);
  for (std::size_t i = 0; i < ScenarioNames().size(); ++i) {
    EXPECT_EQ(ScenarioNamed(ScenarioNames()[i]), static_cast<Scenario>(i));
  }
  EXPECT_EQ(ScenarioNamed("crash"), Scenario::kCrash);
  EXPECT_EQ(ScenarioNamed("limit-up"), Scenario::kLimitUp);
  EXPECT_EQ(ScenarioNamed("Crash"), std::nullopt);
  EXPECT_EQ(ScenarioNamed(""), std::nullopt);
}

TEST(Scenario, aCrashTakesTheWholeMarketDown) {
  for (const std::uint64_t seed : {1U, 2U, 3U}) {
    const Market market(Small(seed, Scenario::kCrash, kScripted));
    EXPECT_LT(market.QuoteOf(*market.Find("sh000001"), kClose).change, -6);
    const Share share = ShareOf(market, kClose);
    EXPECT_GT(share.limit_down, 0.08);
    EXPECT_LT(share.average, -6);
    EXPECT_GT(market.DistributionOn(kScripted, kClose).down,
              market.DistributionOn(kScripted, kClose).up * 20);
  }
}

TEST(Scenario, aLimitUpDayTakesItUp) {
  for (const std::uint64_t seed : {1U, 2U, 3U}) {
    const Market market(Small(seed, Scenario::kLimitUp, kScripted));
    EXPECT_GT(market.QuoteOf(*market.Find("sh000001"), kClose).change, 4.5);
    EXPECT_GT(ShareOf(market, kClose).limit_up, 0.06);
  }
}

TEST(Scenario, aCalmDayHardlyMoves) {
  for (const std::uint64_t seed : {1U, 2U, 3U}) {
    const Market market(Small(seed, Scenario::kCalm, kScripted));
    EXPECT_LT(std::abs(market.QuoteOf(*market.Find("sh000001"), kClose).change), 0.3);
    const Share share = ShareOf(market, kClose);
    EXPECT_GT(share.within_half_percent, 0.9);
    EXPECT_EQ(share.limit_up, 0);
    EXPECT_EQ(share.limit_down, 0);
  }
}

TEST(Scenario, aScriptedDayFitsBetweenItsNeighbours) {
  const Market market(Small(4, Scenario::kCrash, kScripted));
  const auto before = market.BoardAt(InstantOf(PreviousTradingDay(kScripted), 15, 0, 0));
  const auto after = market.BoardAt(InstantOf(NextTradingDay(kScripted), 15, 0, 0));
  const auto day = market.BoardAt(kClose);
  for (std::size_t i = 0; i < before->stocks.size(); ++i) {
    const auto own = std::find_if(day->stocks.begin(), day->stocks.end(),
                                  [&](const Quote& q) { return q.security == before->stocks[i].security; });
    EXPECT_EQ(own->preclose, before->stocks[i].last) << own->security->code;
  }
  EXPECT_GT(ShareOf(market, after->time).average, -4);
}

TEST(Scenario, theFeedIsDownForHalfADay) {
  const Market market(Small(1, Scenario::kOutage, kScripted));
  EXPECT_FALSE(market.FeedDown(InstantOf(kScripted, 9, 59, 59)));
  EXPECT_TRUE(market.FeedDown(InstantOf(kScripted, 10, 0, 0)));
  EXPECT_TRUE(market.FeedDown(InstantOf(kScripted, 12, 59, 59)));
  EXPECT_FALSE(market.FeedDown(InstantOf(kScripted, 13, 0, 0)));
  EXPECT_FALSE(market.FeedDown(InstantOf(NextTradingDay(kScripted), 10, 30, 0)));
  EXPECT_EQ(market.FeedTime(InstantOf(kScripted, 11, 0, 0)), InstantOf(kScripted, 10, 0, 0));
  EXPECT_EQ(market.FeedTime(InstantOf(kScripted, 14, 0, 0)), InstantOf(kScripted, 14, 0, 0));
}

TEST(Scenario, otherDaysHaveNoOutage) {
  const Market market(Small(1));
  EXPECT_FALSE(market.FeedDown(InstantOf(kScripted, 10, 30, 0)));
  EXPECT_EQ(market.FeedTime(InstantOf(kScripted, 10, 30, 0)), InstantOf(kScripted, 10, 30, 0));
}

TEST(Scenario, theHeadlineStockIsSuspendedForTheDay) {
  const Market market(Small(1, Scenario::kSuspended, kScripted));
  const Security& stock = *market.Find("sh600000");
  EXPECT_EQ(market.QuoteOf(stock, kClose).status, Status::kSuspended);
  EXPECT_TRUE(Trades(market.QuoteOf(stock, InstantOf(PreviousTradingDay(kScripted), 15, 0, 0)).status));
  EXPECT_TRUE(Trades(market.QuoteOf(stock, InstantOf(NextTradingDay(kScripted), 15, 0, 0)).status));
  const auto candles = market.Candles(stock, Period::kDay, Adjustment::kNone, 20261120);
  EXPECT_TRUE(
      std::none_of(candles.begin(), candles.end(), [](const Candle& c) { return c.date == kScripted; }));
}

TEST(Scenario, everyScenarioHoldsForEveryPositionOfItsDay) {
  // Whatever day is scripted, its prices stay within the limits and join the next day's.
  for (const Date date : {20150105u, 20150106u, 20200203u, 20271231u, 20261009u}) {
    for (const Scenario scenario :
         {Scenario::kCrash, Scenario::kLimitUp, Scenario::kSuspended, Scenario::kCalm}) {
      const Market market(Small(8, scenario, date));
      const auto day = market.BoardAt(InstantOf(date, 15, 0, 0));
      const auto next = market.BoardAt(InstantOf(NextTradingDay(date), 15, 0, 0));
      EXPECT_EQ(day->date, date);
      std::size_t row = 0;
      for (const Quote& q : day->stocks) {
        while (next->stocks[row].security != q.security) {
          ++row;
        }
        if (next->stocks[row].status != Status::kExRights) {
          EXPECT_EQ(next->stocks[row].preclose, q.last) << At(*q.security, q.time);
        }
        if (q.limit_up > 0) {
          EXPECT_LE(q.high, q.limit_up) << At(*q.security, q.time);
        }
      }
    }
  }
}

TEST(Scenario, aDateThatIsNoTradingDayScriptsNothing) {
  const Market plain(Small(6));
  for (const Date date : {0u, 20261121u, 20261001u, 20991231u}) {
    const Market market(Small(6, Scenario::kCrash, date));
    const auto a = plain.BoardAt(InstantOf(20261120, 15, 0, 0));
    const auto b = market.BoardAt(InstantOf(20261120, 15, 0, 0));
    ASSERT_EQ(a->stocks.size(), b->stocks.size());
    for (std::size_t i = 0; i < a->stocks.size(); ++i) {
      EXPECT_EQ(a->stocks[i].last, b->stocks[i].last);
    }
  }
}

}  // namespace
}  // namespace market_server::model

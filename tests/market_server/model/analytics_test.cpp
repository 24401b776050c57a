// Flows, breadth, distribution, events, margin balances and new shares, each against the quotes they stand
// for.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "small_market.h"

namespace market_server::model {
namespace {

const Market& market() {
  static const Market& shared = *new Market(Small(31));
  return shared;
}

std::uint64_t Sum(const FlowAmounts& flow) {
  return flow.big_in + flow.big_out + flow.small_in + flow.small_out;
}

TEST(Flows, ofADayAddUpToItsAmount) {
  for (const Instant time : InstantsOfAllKinds()) {
    for (const Security* stock : SomeStocks(market(), time)) {
      const Flows flows = market().FlowsOf(*stock, time);
      EXPECT_EQ(Sum(flows.d1),
                static_cast<std::uint64_t>(std::floor(market().QuoteOf(*stock, time).amt + 1e-6)))
          << At(*stock, time);
      EXPECT_GE(Sum(flows.d5), Sum(flows.d1));
      EXPECT_GE(Sum(flows.d10), Sum(flows.d5));
    }
  }
}

TEST(Flows, ofSeveralDaysAreTheSumOfTheDays) {
  const Instant time = InstantOf(20261120, 10, 17, 40);
  for (const Security* stock : SomeStocks(market(), time)) {
    const Flows flows = market().FlowsOf(*stock, time);
    FlowAmounts total = flows.d1;
    Date day = 20261120;
    for (int ago = 1; ago <= 9; ++ago) {
      day = PreviousTradingDay(day);
      const FlowAmounts one = market().FlowsOf(*stock, InstantOf(day, 20, 0, 0)).d1;
      total.big_in += one.big_in;
      total.big_out += one.big_out;
      total.small_in += one.small_in;
      total.small_out += one.small_out;
      if (ago == 4) {
        EXPECT_EQ(flows.d5, total) << stock->code;
      }
    }
    EXPECT_EQ(flows.d10, total) << stock->code;
  }
}

TEST(Flows, ofAPlateAreThoseOfItsMembers) {
  const Instant time = InstantOf(20261120, 14, 0, 0);
  for (const char* code : {"bk1003", "bk2044"}) {
    const Security& plate = *market().Find(code);
    double net = 0;
    for (const Security* member : market().Members(plate)) {
      const FlowAmounts flow = market().FlowsOf(*member, time).d1;
      net += static_cast<double>(flow.big_in) - static_cast<double>(flow.big_out);
    }
    EXPECT_EQ(market().QuoteOf(plate, time).bpin, net) << code;
  }
}

TEST(Plates, countTheDaysInARow) {
  const Date today = 20261120;
  int longest = 0;
  const auto board = market().BoardAt(InstantOf(today, 15, 0, 0));
  for (const Quote& plate : board->plates) {
    int run = 0;
    Date day = today;
    for (int ago = 0; ago < 10; ++ago) {
      const double diff = market().QuoteOf(*plate.security, InstantOf(day, 15, 0, 0)).diff;
      const int direction = diff > 0 ? 1 : diff < 0 ? -1 : 0;
      if (direction == 0 || (run != 0 && (run > 0) != (direction > 0))) {
        break;
      }
      run += direction;
      day = PreviousTradingDay(day);
    }
    EXPECT_EQ(plate.cud, run) << plate.security->code;
    longest = std::max(longest, std::abs(run));
    if (plate.security->number >= 4) {
      break;  // each asks for ten days of the market
    }
  }
  EXPECT_GE(longest, 1);
}

TEST(Breadth, ofAMinuteIsTheDistributionAtItsEnd) {
  const Date date = 20261119;
  const auto rows = market().BreadthOn(date, InstantOf(20261120, 10, 0, 0));
  ASSERT_EQ(rows.size(), 241u);
  for (std::size_t i = 0; i < rows.size(); i += 24) {
    const Distribution counts =
        market().DistributionOn(date, InstantOf(date, rows[i].minute / 100, rows[i].minute % 100, 0));
    EXPECT_EQ(rows[i].up, counts.up) << rows[i].minute;
    EXPECT_EQ(rows[i].unchanged, counts.unchanged) << rows[i].minute;
    EXPECT_EQ(rows[i].down, counts.down) << rows[i].minute;
  }
}

TEST(Breadth, growsAsTheDayDoes) {
  const Date date = 20261120;
  const auto whole = market().BreadthOn(date, InstantOf(date, 16, 0, 0));
  const auto part = market().BreadthOn(date, InstantOf(date, 10, 0, 0));
  ASSERT_EQ(part.size(), 31u);
  EXPECT_TRUE(std::equal(part.begin(), part.end(), whole.begin()));
}

TEST(PastDays, areWholeAndFutureOnesEmpty) {
  const Instant now = InstantOf(20261119, 10, 0, 0);
  EXPECT_EQ(market().BreadthOn(20261118, now), market().BreadthOn(20261118, InstantOf(20261118, 15, 0, 0)));
  EXPECT_EQ(market().DistributionOn(20261118, now),
            market().DistributionOn(20261118, InstantOf(20261118, 15, 0, 0)));
  EXPECT_EQ(market().Events(20261118, now), market().Events(20261118, InstantOf(20261118, 15, 0, 0)));
  for (const Date date : {20261120u, 20261121u, 20261001u, 20140103u, 0u, 99999999u, 20261345u}) {
    EXPECT_TRUE(market().BreadthOn(date, now).empty()) << date;
    EXPECT_EQ(market().DistributionOn(date, now), Distribution{}) << date;
    EXPECT_TRUE(market().Events(date, now).empty()) << date;
    EXPECT_TRUE(market().MinuteLineOf(*market().Find("sh600000"), date, now).points.empty()) << date;
  }
}

TEST(Events, stockAtItsLimitIsThereWhenReported) {
  int checked = 0;
  for (const Date date : {20260708u, 20261118u, 20261119u, 20261120u}) {
    const auto events = market().Events(date, InstantOf(date, 16, 0, 0));
    for (const MarketEvent& event : events) {
      const bool up = event.content.find("封涨停板") != std::string::npos;
      const bool down = event.content.find("封跌停板") != std::string::npos;
      const std::size_t open = event.content.find('(');
      if ((!up && !down) || open == std::string::npos) {
        continue;
      }
      const std::string digits = event.content.substr(open + 1, 6);
      const Security* stock = market().Find((digits[0] == '6' ? "sh" : "sz") + digits);
      ASSERT_NE(stock, nullptr) << event.content;
      EXPECT_EQ(event.content.substr(0, stock->name.size()), stock->name);
      const Quote quote = market().QuoteOf(*stock, event.time);
      EXPECT_EQ(quote.last, up ? quote.limit_up : quote.limit_down) << event.content;
      ++checked;
    }
  }
  EXPECT_GT(checked, 3);
}

TEST(Events, comeNewestFirstAndNeverBeforeTheirTime) {
  const Date date = 20261120;
  const auto whole = market().Events(date, InstantOf(date, 16, 0, 0));
  ASSERT_GE(whole.size(), 2u);
  for (std::size_t i = 1; i < whole.size(); ++i) {
    EXPECT_GE(whole[i - 1].time, whole[i].time);
  }
  const Instant noon = InstantOf(date, 11, 29, 30);
  const auto part = market().Events(date, noon);
  EXPECT_EQ(static_cast<long>(part.size()),
            std::count_if(whole.begin(), whole.end(), [&](const MarketEvent& e) { return e.time <= noon; }));
  EXPECT_TRUE(std::equal(part.rbegin(), part.rend(), whole.rbegin()));
}

TEST(Events, theCloseIsReportedWithItsCounts) {
  const Date date = 20261120;
  const auto events = market().Events(date, InstantOf(date, 16, 0, 0));
  const Distribution counts = market().DistributionOn(date, InstantOf(date, 16, 0, 0));
  const std::string expected = "收盘：上涨" + std::to_string(counts.up) + "家，平盘" +
                               std::to_string(counts.unchanged) + "家，下跌" + std::to_string(counts.down) +
                               "家";
  EXPECT_EQ(events.front().content, expected);
  EXPECT_EQ(events.front().time, InstantOf(date, 15, 0, 0));
}

TEST(Margin, isToldWithTheClosesOfTheIndices) {
  const auto rows = market().Margin(InstantOf(20261120, 10, 0, 0), 60);
  ASSERT_EQ(rows.size(), 60u);
  EXPECT_EQ(rows[0].date, 20261119u);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const Instant close = InstantOf(rows[i].date, 15, 0, 0);
    if (i % 12 == 0) {
      EXPECT_EQ(rows[i].sh_close, market().QuoteOf(*market().Find("sh000001"), close).last);
      EXPECT_EQ(rows[i].sz_close, market().QuoteOf(*market().Find("sz399001"), close).last);
    }
    EXPECT_GT(rows[i].sh_balance, 3e11);
    EXPECT_LT(rows[i].sh_balance, 3e12);
    EXPECT_GT(rows[i].sz_balance, 3e11);
    if (i > 0) {
      EXPECT_EQ(rows[i].date, PreviousTradingDay(rows[i - 1].date));
      EXPECT_NEAR(static_cast<double>(rows[i].sh_balance) / static_cast<double>(rows[i - 1].sh_balance), 1,
                  0.05);
    }
  }
}

TEST(Margin, doesNotChangeOnceTold) {
  const auto early = market().Margin(InstantOf(20261118, 10, 0, 0), 5);
  const auto late = market().Margin(InstantOf(20261120, 10, 0, 0), 7);
  ASSERT_EQ(late.size(), 7u);
  EXPECT_TRUE(std::equal(early.begin(), early.end(), late.begin() + 2));
}

TEST(Margin, hasNothingBeforeTheFirstDay) {
  EXPECT_TRUE(market().Margin(InstantOf(20150105, 10, 0, 0), 10).empty());
  EXPECT_EQ(market().Margin(InstantOf(20150108, 10, 0, 0), 10).size(), 3u);
}

TEST(NewShares, areIssuedAtThePriceFromWhichTheyStart) {
  const Market full;
  const Instant now = InstantOf(20261120, 10, 0, 0);
  const auto rows = full.NewShares(now);
  ASSERT_GE(rows.size(), 5u);
  bool ahead = false;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const NewShare& row = rows[i];
    EXPECT_LT(row.publish, row.publish_online) << row.security->code;
    EXPECT_LT(row.publish_online, row.security->listed) << row.security->code;
    EXPECT_LE(row.publish, 20261120u) << row.security->code;
    EXPECT_EQ(row.buy_code.size(), 6u);
    EXPECT_LE(row.publish_online_num, row.publish_num);
    EXPECT_NEAR(row.total_price, row.publish_num * row.publish_price / 1e4, 0.0001);
    EXPECT_EQ(row.chance > 0, row.publish_online < 20261120u) << row.security->code;
    ahead = ahead || row.publish_online > 20261120;
    const Quote first = full.QuoteOf(*row.security, InstantOf(row.security->listed, 15, 0, 0));
    EXPECT_EQ(first.preclose, row.publish_price) << row.security->code;
    if (i > 0) {
      EXPECT_LE(row.publish_online, rows[i - 1].publish_online);
    }
  }
  EXPECT_TRUE(ahead);
}

}  // namespace
}  // namespace market_server::model

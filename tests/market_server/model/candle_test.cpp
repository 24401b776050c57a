// Candles of days, weeks and months, their adjustment, and the K-line packages' version and counts.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "small_market.h"

namespace market_server::model {
namespace {

const Market& market() {
  static const Market& shared = *new Market(Small(9));
  return shared;
}
constexpr Date kThrough = 20261118;

// Days since a Monday long ago, to tell weeks apart.
int WeekOf(Date date) {
  const double days = (InstantOf(date, 12, 0, 0) - InstantOf(20000103, 12, 0, 0)) / 86400;
  return static_cast<int>(std::llround(days)) / 7;
}

std::vector<Candle> Joined(const std::vector<Candle>& days, bool weeks) {
  std::vector<Candle> out;
  int group = -1;
  for (const Candle& day : days) {
    const int own = weeks ? WeekOf(day.date) : static_cast<int>(day.date / 100);
    if (own != group) {
      out.push_back(day);
      group = own;
      continue;
    }
    Candle& sum = out.back();
    sum.date = day.date;
    sum.high = std::max(sum.high, day.high);
    sum.low = std::min(sum.low, day.low);
    sum.close = day.close;
    sum.vol += day.vol;
    sum.amt += day.amt;
    sum.tr += day.tr;
  }
  return out;
}

TEST(Candles, weeksAndMonthsAreTheirDays) {
  for (const char* code : {"sh600000", "sz002001", "sh000001", "sh688001"}) {
    for (const Adjustment adjustment : {Adjustment::kNone, Adjustment::kForward, Adjustment::kBackward}) {
      const auto days = market().Candles(*market().Find(code), Period::kDay, adjustment, kThrough);
      for (const bool weeks : {true, false}) {
        const auto expected = Joined(days, weeks);
        const auto got = market().Candles(*market().Find(code), weeks ? Period::kWeek : Period::kMonth,
                                          adjustment, kThrough);
        ASSERT_EQ(got.size(), expected.size()) << code;
        for (std::size_t i = 0; i < got.size(); ++i) {
          EXPECT_EQ(got[i].date, expected[i].date) << code;
          EXPECT_EQ(got[i].preclose, expected[i].preclose) << code << got[i].date;
          EXPECT_EQ(got[i].open, expected[i].open) << code << got[i].date;
          EXPECT_EQ(got[i].high, expected[i].high) << code << got[i].date;
          EXPECT_EQ(got[i].low, expected[i].low) << code << got[i].date;
          EXPECT_EQ(got[i].close, expected[i].close) << code << got[i].date;
          EXPECT_EQ(got[i].vol, expected[i].vol) << code << got[i].date;
          EXPECT_NEAR(got[i].amt, expected[i].amt, 0.01) << code << got[i].date;
          EXPECT_NEAR(got[i].tr, expected[i].tr, 0.006) << code << got[i].date;
        }
      }
    }
  }
}

TEST(Candles, daysAscendAndEndWhereAsked) {
  for (const Security* stock : SomeStocks(market(), InstantOf(kThrough, 16, 0, 0), 90)) {
    const auto candles = market().Candles(*stock, Period::kDay, Adjustment::kNone, kThrough);
    ASSERT_FALSE(candles.empty());
    EXPECT_GE(candles.front().date, std::max(stock->listed, kFirstTradingDay));
    EXPECT_LE(candles.back().date, kThrough);
    for (std::size_t i = 0; i < candles.size(); ++i) {
      EXPECT_TRUE(IsTradingDay(candles[i].date));
      EXPECT_TRUE(i == 0 || candles[i - 1].date < candles[i].date);
      EXPECT_LE(candles[i].low, std::min(candles[i].open, candles[i].close));
      EXPECT_GE(candles[i].high, std::max(candles[i].open, candles[i].close));
      EXPECT_GT(candles[i].vol, 0u);
      EXPECT_GE(candles[i].amt, candles[i].low * static_cast<double>(candles[i].vol) - 0.01);
      EXPECT_LE(candles[i].amt, candles[i].high * static_cast<double>(candles[i].vol) + 0.01);
    }
  }
}

TEST(Candles, anEarlierEndIsABeginningOfTheSameSeries) {
  const Security& stock = *market().Find("sz000001");
  const auto whole = market().Candles(stock, Period::kDay, Adjustment::kBackward, kThrough);
  const auto part = market().Candles(stock, Period::kDay, Adjustment::kBackward, 20200110);
  ASSERT_LT(part.size(), whole.size());
  EXPECT_TRUE(std::equal(part.begin(), part.end(), whole.begin()));
  EXPECT_LE(part.back().date, 20200110u);
}

TEST(Candles, adjustmentLeavesOneEndAsItIs) {
  const Security& stock = *market().Find("sh600000");
  const auto plain = market().Candles(stock, Period::kDay, Adjustment::kNone, kThrough);
  const auto forward = market().Candles(stock, Period::kDay, Adjustment::kForward, kThrough);
  const auto backward = market().Candles(stock, Period::kDay, Adjustment::kBackward, kThrough);
  ASSERT_EQ(plain.size(), forward.size());
  ASSERT_EQ(plain.size(), backward.size());
  EXPECT_EQ(forward.back(), plain.back());
  EXPECT_EQ(backward.front(), plain.front());
  for (std::size_t i = 0; i < plain.size(); ++i) {
    EXPECT_LE(forward[i].close, plain[i].close);
    EXPECT_GE(backward[i].close, plain[i].close);
    EXPECT_EQ(forward[i].vol, plain[i].vol);
    EXPECT_EQ(backward[i].amt, plain[i].amt);
  }
}

TEST(Candles, adjustedPricesHaveNoGapAtDividendsAndSplits) {
  int events = 0;
  int splits = 0;
  for (const Security* stock : SomeStocks(market(), InstantOf(kThrough, 16, 0, 0), 9)) {
    const auto plain = market().Candles(*stock, Period::kDay, Adjustment::kNone, kThrough);
    const auto forward = market().Candles(*stock, Period::kDay, Adjustment::kForward, kThrough);
    const auto backward = market().Candles(*stock, Period::kDay, Adjustment::kBackward, kThrough);
    for (std::size_t i = 1; i < plain.size(); ++i) {
      const double gap = plain[i].preclose / plain[i - 1].close;
      EXPECT_LE(gap, 1.000001) << stock->code << " " << plain[i].date;
      events += gap < 0.9999 ? 1 : 0;
      splits += gap < 0.85 ? 1 : 0;
      // Rounding to cents is all that may part them.
      EXPECT_NEAR(forward[i].preclose, forward[i - 1].close, 0.0101) << stock->code << " " << plain[i].date;
      EXPECT_NEAR(backward[i].preclose, backward[i - 1].close, 0.0101) << stock->code << " " << plain[i].date;
      const double change = plain[i].close / plain[i].preclose;
      EXPECT_NEAR(backward[i].close / backward[i].preclose, change, 0.011 / backward[i].preclose)
          << stock->code << " " << plain[i].date;
    }
  }
  EXPECT_GT(events, 50);
  EXPECT_GT(splits, 3);
}

TEST(Candles, aSplitRaisesTheSharesAsItLowersThePrice) {
  int splits = 0;
  for (const Security* stock : market().Stocks(InstantOf(kThrough, 16, 0, 0))) {
    const auto candles = market().Candles(*stock, Period::kDay, Adjustment::kNone, kThrough);
    for (std::size_t i = 1; i < candles.size() && splits < 6; ++i) {
      const double ratio = candles[i - 1].close / candles[i].preclose;
      if (ratio > 1.15) {
        const Quote before = market().QuoteOf(*stock, InstantOf(candles[i - 1].date, 15, 0, 0));
        const Quote after = market().QuoteOf(*stock, InstantOf(candles[i].date, 15, 0, 0));
        EXPECT_EQ(after.status, Status::kExRights) << stock->code;
        const double shares = static_cast<double>(after.tso) / static_cast<double>(before.tso);
        EXPECT_GT(shares, 1.15) << stock->code;
        EXPECT_NEAR(ratio / shares, 1.015, 0.03) << stock->code;  // the rest is cash
        ++splits;
      }
    }
    if (splits >= 6) {
      break;
    }
  }
  EXPECT_EQ(splits, 6);
}

TEST(Candles, platesHaveNone) {
  EXPECT_TRUE(market().Candles(*market().Find("bk1001"), Period::kDay, Adjustment::kNone, kThrough).empty());
}

TEST(Candles, thereAreNoneBeforeTheFirstDay) {
  EXPECT_TRUE(
      market().Candles(*market().Find("sh600000"), Period::kDay, Adjustment::kNone, 20150101).empty());
  EXPECT_EQ(market().Candles(*market().Find("sh600000"), Period::kDay, Adjustment::kNone, 20150105).size(),
            1u);
  EXPECT_EQ(market().Candles(*market().Find("sh000001"), Period::kDay, Adjustment::kNone, 20150106).size(),
            2u);
}

TEST(Candles, theMetadataCountsTheRowsOfThePackages) {
  const Instant time = InstantOf(20261119, 10, 0, 0);
  const KLineMetadata metadata = market().KLineMetadataAt(time);
  EXPECT_EQ(metadata.version, "20261118");
  EXPECT_EQ(metadata.counts.size(),
            market().Stocks(InstantOf(20261118, 15, 0, 0)).size() + market().indices().size());
  const Date through = *Market::KLineVersionDate(metadata.version);
  for (std::size_t i = 0; i < metadata.counts.size(); i += 5) {
    const KLineCounts& row = metadata.counts[i];
    for (const auto& [period, count] :
         {std::pair{Period::kDay, row.day}, {Period::kWeek, row.week}, {Period::kMonth, row.month}}) {
      for (const Adjustment adjustment : {Adjustment::kNone, Adjustment::kForward}) {
        EXPECT_EQ(market().Candles(*row.security, period, adjustment, through).size(), count)
            << row.security->code << " period " << static_cast<int>(period);
      }
    }
  }
}

TEST(Candles, packagesTakeInADayAtSixInTheEvening) {
  EXPECT_EQ(market().KLineVersionAt(InstantOf(20261120, 17, 59, 59)), "20261119");
  EXPECT_EQ(market().KLineVersionAt(InstantOf(20261120, 18, 0, 0)), "20261120");
  EXPECT_EQ(market().KLineVersionAt(InstantOf(20261122, 12, 0, 0)), "20261120");
  EXPECT_EQ(market().KLineVersionAt(InstantOf(20261123, 9, 30, 0)), "20261120");
  EXPECT_EQ(market().KLineVersionAt(InstantOf(20261001, 19, 0, 0)), "20260930");
  EXPECT_EQ(market().KLineVersionAt(InstantOf(20140101, 19, 0, 0)), "00000000");
  EXPECT_TRUE(market().KLineMetadataAt(InstantOf(20140101, 19, 0, 0)).counts.empty());
}

TEST(Candles, onlyATradingDayIsAVersion) {
  EXPECT_EQ(Market::KLineVersionDate("20261120"), std::optional<Date>(20261120));
  for (const char* text :
       {"", "2026112", "202611200", "20261121", "2026112x", "-2026112", "00000000", " 2026112"}) {
    EXPECT_EQ(Market::KLineVersionDate(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace market_server::model

// Times and phases in words.
#include "cli/format/china_time.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace cli {
namespace {

constexpr std::int64_t kOpening = 1710466200;  // 2024-03-15 09:30:00 in China

TEST(IsoTime, isChinaTimeWhateverTheZoneOfTheMachine) {
  for (const char* zone : {"UTC", "America/New_York", "Pacific/Kiritimati"}) {
    setenv("TZ", zone, 1);
    tzset();
    EXPECT_EQ(IsoTime(kOpening), "2024-03-15T09:30:00+08:00") << zone;
  }
  unsetenv("TZ");
  tzset();
}

TEST(IsoTime, goesOverMidnightAndBackBefore1970) {
  EXPECT_EQ(IsoTime(kOpening + 14 * 3600 + 1800), "2024-03-16T00:00:00+08:00");
  EXPECT_EQ(IsoTime(0), "1970-01-01T08:00:00+08:00");
  EXPECT_EQ(IsoTime(-8 * 3600 - 1), "1969-12-31T23:59:59+08:00");
}

TEST(ClockTime, isTheTimeOfDayAlone) {
  EXPECT_EQ(ClockTime(kOpening + 3), "09:30:03");
  EXPECT_EQ(DateAndTime(kOpening + 3), "2024-03-15 09:30:03");
}

TEST(PhaseName, isKnownForEveryPhase) {
  EXPECT_EQ(PhaseName(stock::kMarketMorning), "morning session");
  for (int phase = stock::kMarketNotOpened; phase <= stock::kMarketClosed; ++phase) {
    EXPECT_NE(PhaseName(static_cast<stock::MarketStatus>(phase)), "unknown phase") << phase;
  }
  EXPECT_EQ(PhaseName(stock::kMarketUnknown), "unknown phase");
}

TEST(IsClosed, isTrueOutsideTheTradingDayOnly) {
  EXPECT_TRUE(IsClosed(stock::kMarketNotOpened));
  EXPECT_TRUE(IsClosed(stock::kMarketClosed));
  EXPECT_FALSE(IsClosed(stock::kMarketPreparing));
  EXPECT_FALSE(IsClosed(stock::kMarketLunchBreak));
}

TEST(Span, usesTheLargestUnitThatFits) {
  EXPECT_EQ(Span(0), "0 s");
  EXPECT_EQ(Span(59), "59 s");
  EXPECT_EQ(Span(60), "1 min");
  EXPECT_EQ(Span(3599), "59 min");
  EXPECT_EQ(Span(7300), "2 h");
  EXPECT_EQ(ClockDifference(-119.4), "119 s");
  EXPECT_EQ(ClockDifference(120), "2 min");
  EXPECT_EQ(ClockDifference(3599), "1 h");
  EXPECT_EQ(ClockDifference(7198.6), "2 h");
  EXPECT_EQ(ClockDifference(-5405), "1 h 30 min");
}

TEST(DateText, separatesADate) {
  EXPECT_EQ(DateText(20240315), "2024-03-15");
  EXPECT_EQ(DateText(0), "0000-00-00");
}

TEST(MinuteText, readsMinutesAsFeedsWriteThem) {
  EXPECT_EQ(MinuteText(930), "09:30");
  EXPECT_EQ(MinuteText(1500), "15:00");
  EXPECT_EQ(MinuteText(0), "00:00");
  EXPECT_EQ(MinuteText(93000), "93000");
  EXPECT_EQ(MinuteText(-5), "-5");
  EXPECT_EQ(MinuteText(975), "975");
}

}  // namespace
}  // namespace cli

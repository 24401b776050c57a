// The server's clock: how its text is read and how it runs.
#include "market_server/clock.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "market_server/model/calendar.h"

namespace market_server {
namespace {

using model::InstantOf;

const double kFridayMorning = InstantOf(20240315, 10, 30, 0);
const double kFridayEvening = InstantOf(20240315, 20, 0, 0);
const double kSunday = InstantOf(20240317, 10, 30, 0);

TEST(Clock, isRealWhileTheMarketTrades) {
  EXPECT_EQ(ParseClock("", kFridayMorning), kFridayMorning);
  EXPECT_EQ(ParseClock("", InstantOf(20240315, 9, 15, 0)), InstantOf(20240315, 9, 15, 0));
  EXPECT_EQ(ParseClock("", InstantOf(20240315, 12, 0, 0)), InstantOf(20240315, 12, 0, 0));
}

TEST(Clock, replaysTodaysSessionInTheEvening) {
  EXPECT_EQ(ParseClock("", kFridayEvening), InstantOf(20240315, 10, 30, 0));
  EXPECT_EQ(ParseClock("", InstantOf(20240315, 15, 0, 0)), InstantOf(20240315, 10, 30, 0));
}

TEST(Clock, replaysTheSessionBeforeInTheEarlyMorningAndAtTheWeekEnd) {
  EXPECT_EQ(ParseClock("", InstantOf(20240315, 9, 14, 59)), InstantOf(20240314, 10, 30, 0));
  EXPECT_EQ(ParseClock("", kSunday), InstantOf(20240315, 10, 30, 0));
  EXPECT_EQ(ParseClock("replay", kFridayMorning), InstantOf(20240314, 9, 30, 0));
}

TEST(Clock, replaysTheLastSessionBeforeAHoliday) {
  EXPECT_EQ(ParseClock("", InstantOf(20240405, 11, 0, 0)), InstantOf(20240403, 10, 30, 0));
}

TEST(Clock, readsATimeOfDay) {
  EXPECT_EQ(ParseClock("13:05", kFridayMorning), InstantOf(20240315, 13, 5, 0));
  EXPECT_EQ(ParseClock("09:15:30", kFridayMorning), InstantOf(20240315, 9, 15, 30));
  EXPECT_EQ(ParseClock("13:05", kSunday), InstantOf(20240315, 13, 5, 0));
}

TEST(Clock, readsADateWithAndWithoutTime) {
  const double there = InstantOf(20200203, 14, 59, 58);
  EXPECT_EQ(ParseClock("2020-02-03 14:59:58", kSunday), there);
  EXPECT_EQ(ParseClock("2020-02-03T14:59:58", kSunday), there);
  EXPECT_EQ(ParseClock("20200203 14:59:58", kSunday), there);
  EXPECT_EQ(ParseClock("2020-02-03 14:59", kSunday), there - 58);
  EXPECT_EQ(ParseClock("2020-02-03", kSunday), InstantOf(20200203, 9, 30, 0));
}

TEST(Clock, readsSecondsAndNow) {
  EXPECT_EQ(ParseClock("@1710469800", kSunday), kFridayMorning);
  EXPECT_EQ(ParseClock("now", kSunday), kSunday);
}

TEST(Clock, refusesWhatIsNoTime) {
  for (const char* text :
       {"yesterday", "25:00", "10:60", "10", "10:30:61", "2024-02-30", "2024-13-01 10:00", "2024-03-15x10:00",
        "2024-03-15 10:00:00x", "@", "@x", "@-5", "@12x", "2024-0315 10:00", "now "}) {
    EXPECT_THROW((void)ParseClock(text, kSunday), std::runtime_error) << text;
  }
}

TEST(Clock, writesTheDateHeader) {
  EXPECT_EQ(HttpDate(kFridayMorning), "Fri, 15 Mar 2024 02:30:00 GMT");
  EXPECT_EQ(HttpDate(kFridayMorning + 0.999), "Fri, 15 Mar 2024 02:30:00 GMT");
  EXPECT_EQ(HttpDate(0), "Thu, 01 Jan 1970 00:00:00 GMT");
  EXPECT_EQ(HttpDate(951782399), "Mon, 28 Feb 2000 23:59:59 GMT");
}

TEST(Clock, standsStillAtSpeedZero) {
  const ServerClock clock("2024-03-15 10:30:00", 0);
  const double first = clock.Now();
  EXPECT_EQ(first, kFridayMorning);
  EXPECT_EQ(clock.Now(), first);
}

TEST(Clock, keepsItsTimeWhenTheSpeedChanges) {
  ServerClock clock("2024-03-15 10:30:00", 0);
  clock.SetSpeed(0);
  EXPECT_EQ(clock.Now(), kFridayMorning);
  clock.SetSpeed(100'000);
  EXPECT_GE(clock.Now(), kFridayMorning);
  clock.SetSpeed(0);
  EXPECT_GE(clock.Now(), kFridayMorning);
  EXPECT_EQ(clock.speed(), 0);
}

TEST(Clock, refusesSpeedsThatAreNone) {
  ServerClock clock("now", 1);
  for (const double speed : {-1.0, 1e9, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_THROW(clock.SetSpeed(speed), std::runtime_error);
  }
  EXPECT_EQ(clock.speed(), 1);
}

}  // namespace
}  // namespace market_server

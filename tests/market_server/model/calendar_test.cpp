#include "market_server/model/calendar.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace market_server::model {
namespace {

TEST(Calendar, tellsDateAndTimeInChina) {
  EXPECT_EQ(DateOf(0), 19700101u);
  EXPECT_EQ(SecondOfDay(0), 8 * 3600);
  EXPECT_EQ(DateOf(1511193600), 20171121u);  // 16:00 UTC is midnight in China
  EXPECT_EQ(DateOf(1511193599.9), 20171120u);
  EXPECT_EQ(SecondOfDay(1511193599.9), 86399);
}

TEST(Calendar, makesTheInstantThatItReads) {
  for (const Date date : {20150105u, 20160229u, 20191231u, 20240229u, 20351231u}) {
    const Instant time = InstantOf(date, 14, 57, 3);
    EXPECT_EQ(DateOf(time), date);
    EXPECT_EQ(SecondOfDay(time), 14 * 3600 + 57 * 60 + 3);
  }
}

TEST(Calendar, survivesInstantsThatAreNoTime) {
  for (const Instant time : {std::nan(""), std::numeric_limits<double>::infinity(),
                             -std::numeric_limits<double>::infinity(), 1e300, -1e300}) {
    EXPECT_GE(SessionDate(time), kFirstTradingDay);
    EXPECT_LE(SessionDate(time), kLastTradingDay);
    EXPECT_GE(SecondOfDay(time), 0);
  }
}

TEST(Calendar, knowsWhatIsADate) {
  EXPECT_TRUE(IsDate(20240229));
  EXPECT_FALSE(IsDate(20230229));
  EXPECT_FALSE(IsDate(20231301));
  EXPECT_FALSE(IsDate(20230100));
  EXPECT_FALSE(IsDate(0));
  EXPECT_FALSE(IsDate(4294967295u));
}

TEST(Calendar, hasTheWeekdaysRight) {
  EXPECT_EQ(Weekday(20261121), 6);
  EXPECT_EQ(Weekday(20261122), 0);
  EXPECT_EQ(Weekday(20150105), 1);
}

// The numbers of trading days that the exchanges had.
TEST(Calendar, hasAsManyTradingDaysAsTheExchangesHad) {
  constexpr std::pair<Date, int> kYears[] = {{2016, 244}, {2017, 244}, {2018, 243}, {2019, 244}, {2020, 243},
                                             {2021, 243}, {2022, 242}, {2023, 242}, {2024, 242}, {2025, 243}};
  for (const auto& [year, count] : kYears) {
    const auto days = TradingDays();
    EXPECT_EQ(std::count_if(days.begin(), days.end(), [&, y = year](Date d) { return d / 10000 == y; }),
              count)
        << year;
  }
}

TEST(Calendar, closesForEveryFestivalOfEveryYear) {
  for (int year = 2015; year <= 2027; ++year) {
    const auto closed = Holidays(year);
    EXPECT_TRUE(std::is_sorted(closed.begin(), closed.end())) << year;
    EXPECT_GE(closed.size(), 16u) << year;
    EXPECT_LE(closed.size(), 21u) << year;
    const auto within = [&](unsigned first, unsigned last) {
      return std::count_if(closed.begin(), closed.end(),
                           [&](Date d) { return d % 10000 >= first && d % 10000 <= last; });
    };
    EXPECT_GE(within(101, 228), 5) << "Spring Festival of " << year;
    EXPECT_GE(within(403, 407), 1) << "Qingming of " << year;
    EXPECT_GE(within(430, 505), 1) << "Labour Day of " << year;
    EXPECT_GE(within(528, 626), 1) << "Dragon Boat Festival of " << year;
    EXPECT_GE(within(901, 1008), 4) << "Mid-Autumn and National Day of " << year;
    for (const Date day : closed) {
      EXPECT_FALSE(IsTradingDay(day)) << day;
      EXPECT_NE(Weekday(day), 0) << day;
      EXPECT_NE(Weekday(day), 6) << day;
    }
  }
}

TEST(Calendar, hasNoHolidaysForAYearThatIsNone) {
  EXPECT_TRUE(Holidays(0).empty());
  EXPECT_TRUE(Holidays(-5).empty());
  EXPECT_TRUE(Holidays(10000).empty());
}

TEST(Calendar, neverTradesAtTheWeekend) {
  for (const Date day : TradingDays()) {
    EXPECT_NE(Weekday(day), 0) << day;
    EXPECT_NE(Weekday(day), 6) << day;
  }
}

TEST(Calendar, stepsOverWeekendsAndHolidays) {
  EXPECT_EQ(PreviousTradingDay(20261009), 20261008u);
  EXPECT_EQ(PreviousTradingDay(20261008), 20260930u);
  EXPECT_EQ(NextTradingDay(20260213), 20260224u);
  EXPECT_EQ(NextTradingDay(20261120), 20261123u);
}

TEST(Calendar, numbersTradingDaysInOrder) {
  EXPECT_EQ(DayNumber(kFirstTradingDay), 0);
  EXPECT_EQ(DayNumber(20150106), 1);
  EXPECT_EQ(DayNumber(20150110), -1);
  EXPECT_EQ(DayNumber(20141231), -1);
}

TEST(Calendar, walksThroughThePhasesOfATradingDay) {
  const auto phase = [](int hour, int minute, int second) {
    return PhaseAt(InstantOf(20261120, hour, minute, second));
  };
  EXPECT_EQ(phase(8, 59, 59), Phase::kClosed);
  EXPECT_EQ(phase(9, 0, 0), Phase::kPreparing);
  EXPECT_EQ(phase(9, 14, 59), Phase::kPreparing);
  EXPECT_EQ(phase(9, 15, 0), Phase::kCallAuction);
  EXPECT_EQ(phase(9, 30, 0), Phase::kMorning);
  EXPECT_EQ(phase(11, 29, 59), Phase::kMorning);
  EXPECT_EQ(phase(11, 30, 0), Phase::kLunch);
  EXPECT_EQ(phase(13, 0, 0), Phase::kAfternoon);
  EXPECT_EQ(phase(15, 0, 0), Phase::kAfterClose);
  EXPECT_EQ(PhaseAt(InstantOf(20261121, 10, 0, 0)), Phase::kClosed);
  EXPECT_EQ(PhaseAt(InstantOf(20261001, 10, 0, 0)), Phase::kClosed);
}

TEST(Calendar, isOpenDuringAuctionAndSessionsOnly) {
  EXPECT_TRUE(IsOpen(InstantOf(20261120, 9, 15, 0)));
  EXPECT_TRUE(IsOpen(InstantOf(20261120, 14, 59, 59)));
  EXPECT_FALSE(IsOpen(InstantOf(20261120, 12, 0, 0)));
  EXPECT_FALSE(IsOpen(InstantOf(20261120, 15, 0, 0)));
  EXPECT_FALSE(IsOpen(InstantOf(20261122, 10, 0, 0)));
}

TEST(Calendar, beginsASessionAtAQuarterPastNine) {
  EXPECT_EQ(SessionDate(InstantOf(20261120, 9, 14, 59)), 20261119u);
  EXPECT_EQ(SessionDate(InstantOf(20261120, 9, 15, 0)), 20261120u);
  EXPECT_EQ(SessionDate(InstantOf(20261122, 12, 0, 0)), 20261120u);
  EXPECT_EQ(SessionDate(InstantOf(20261004, 12, 0, 0)), 20260930u);
  EXPECT_EQ(SessionDate(InstantOf(20100101, 12, 0, 0)), kFirstTradingDay);
  EXPECT_EQ(SessionDate(InstantOf(20400101, 12, 0, 0)), TradingDays().back());
}

}  // namespace
}  // namespace market_server::model

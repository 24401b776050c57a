#include "market_server/model/calendar.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace market_server::model {
namespace {

TEST(Calendar, tellsDateAndTimeInChina) {
  EXPECT_EQ(date_of(0), 19700101u);
  EXPECT_EQ(second_of_day(0), 8 * 3600);
  EXPECT_EQ(date_of(1511193600), 20171121u);  // 16:00 UTC is midnight in China
  EXPECT_EQ(date_of(1511193599.9), 20171120u);
  EXPECT_EQ(second_of_day(1511193599.9), 86399);
}

TEST(Calendar, makesTheInstantThatItReads) {
  for (const Date date : {20150105u, 20160229u, 20191231u, 20240229u, 20351231u}) {
    const Instant time = instant_of(date, 14, 57, 3);
    EXPECT_EQ(date_of(time), date);
    EXPECT_EQ(second_of_day(time), 14 * 3600 + 57 * 60 + 3);
  }
}

TEST(Calendar, survivesInstantsThatAreNoTime) {
  for (const Instant time : {std::nan(""), std::numeric_limits<double>::infinity(),
                             -std::numeric_limits<double>::infinity(), 1e300, -1e300}) {
    EXPECT_GE(session_date(time), kFirstTradingDay);
    EXPECT_LE(session_date(time), kLastTradingDay);
    EXPECT_GE(second_of_day(time), 0);
  }
}

TEST(Calendar, knowsWhatIsADate) {
  EXPECT_TRUE(is_date(20240229));
  EXPECT_FALSE(is_date(20230229));
  EXPECT_FALSE(is_date(20231301));
  EXPECT_FALSE(is_date(20230100));
  EXPECT_FALSE(is_date(0));
  EXPECT_FALSE(is_date(4294967295u));
}

TEST(Calendar, hasTheWeekdaysRight) {
  EXPECT_EQ(weekday(20261121), 6);
  EXPECT_EQ(weekday(20261122), 0);
  EXPECT_EQ(weekday(20150105), 1);
}

// The numbers of trading days that the exchanges had.
TEST(Calendar, hasAsManyTradingDaysAsTheExchangesHad) {
  constexpr std::pair<Date, int> kYears[] = {{2016, 244}, {2017, 244}, {2018, 243}, {2019, 244}, {2020, 243},
                                             {2021, 243}, {2022, 242}, {2023, 242}, {2024, 242}, {2025, 243}};
  for (const auto& [year, count] : kYears) {
    const auto days = trading_days();
    EXPECT_EQ(std::count_if(days.begin(), days.end(), [&, y = year](Date d) { return d / 10000 == y; }),
              count)
        << year;
  }
}

TEST(Calendar, closesForEveryFestivalOfEveryYear) {
  for (int year = 2015; year <= 2027; ++year) {
    const auto closed = holidays(year);
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
      EXPECT_FALSE(is_trading_day(day)) << day;
      EXPECT_NE(weekday(day), 0) << day;
      EXPECT_NE(weekday(day), 6) << day;
    }
  }
}

TEST(Calendar, hasNoHolidaysForAYearThatIsNone) {
  EXPECT_TRUE(holidays(0).empty());
  EXPECT_TRUE(holidays(-5).empty());
  EXPECT_TRUE(holidays(10000).empty());
}

TEST(Calendar, neverTradesAtTheWeekend) {
  for (const Date day : trading_days()) {
    EXPECT_NE(weekday(day), 0) << day;
    EXPECT_NE(weekday(day), 6) << day;
  }
}

TEST(Calendar, stepsOverWeekendsAndHolidays) {
  EXPECT_EQ(previous_trading_day(20261009), 20261008u);
  EXPECT_EQ(previous_trading_day(20261008), 20260930u);
  EXPECT_EQ(next_trading_day(20260213), 20260224u);
  EXPECT_EQ(next_trading_day(20261120), 20261123u);
}

TEST(Calendar, numbersTradingDaysInOrder) {
  EXPECT_EQ(day_number(kFirstTradingDay), 0);
  EXPECT_EQ(day_number(20150106), 1);
  EXPECT_EQ(day_number(20150110), -1);
  EXPECT_EQ(day_number(20141231), -1);
}

TEST(Calendar, walksThroughThePhasesOfATradingDay) {
  const auto phase = [](int hour, int minute, int second) {
    return phase_at(instant_of(20261120, hour, minute, second));
  };
  EXPECT_EQ(phase(8, 59, 59), Phase::closed);
  EXPECT_EQ(phase(9, 0, 0), Phase::preparing);
  EXPECT_EQ(phase(9, 14, 59), Phase::preparing);
  EXPECT_EQ(phase(9, 15, 0), Phase::call_auction);
  EXPECT_EQ(phase(9, 30, 0), Phase::morning);
  EXPECT_EQ(phase(11, 29, 59), Phase::morning);
  EXPECT_EQ(phase(11, 30, 0), Phase::lunch);
  EXPECT_EQ(phase(13, 0, 0), Phase::afternoon);
  EXPECT_EQ(phase(15, 0, 0), Phase::after_close);
  EXPECT_EQ(phase_at(instant_of(20261121, 10, 0, 0)), Phase::closed);
  EXPECT_EQ(phase_at(instant_of(20261001, 10, 0, 0)), Phase::closed);
}

TEST(Calendar, isOpenDuringAuctionAndSessionsOnly) {
  EXPECT_TRUE(is_open(instant_of(20261120, 9, 15, 0)));
  EXPECT_TRUE(is_open(instant_of(20261120, 14, 59, 59)));
  EXPECT_FALSE(is_open(instant_of(20261120, 12, 0, 0)));
  EXPECT_FALSE(is_open(instant_of(20261120, 15, 0, 0)));
  EXPECT_FALSE(is_open(instant_of(20261122, 10, 0, 0)));
}

TEST(Calendar, beginsASessionAtAQuarterPastNine) {
  EXPECT_EQ(session_date(instant_of(20261120, 9, 14, 59)), 20261119u);
  EXPECT_EQ(session_date(instant_of(20261120, 9, 15, 0)), 20261120u);
  EXPECT_EQ(session_date(instant_of(20261122, 12, 0, 0)), 20261120u);
  EXPECT_EQ(session_date(instant_of(20261004, 12, 0, 0)), 20260930u);
  EXPECT_EQ(session_date(instant_of(20100101, 12, 0, 0)), kFirstTradingDay);
  EXPECT_EQ(session_date(instant_of(20400101, 12, 0, 0)), trading_days().back());
}

}  // namespace
}  // namespace market_server::model

// Dates, phases and spans around every boundary, under odd time zones of the machine. The clock itself is
// clock_test.cpp's.
#include "calendar.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "clock.h"
#include "host/calendar.h"
#include "host/clock.h"
#include "host/singleton.h"
#include "log.h"
#include "running_host.h"

namespace {

using common::DateToTime;
using common::IsSameWeek;
using common::TimeToDate;
using stock::CheckMarketStatus;
using stock::GetLastTradingDate;
using stock::TimeSpanToNextMarketStatus;

constexpr std::uint32_t kFriday = 20240315;
constexpr std::uint32_t kMonday = 20240318;

std::uint32_t At(std::uint32_t date, int hour, int minute, int second) {
  return static_cast<std::uint32_t>(DateToTime(date, hour, minute, second));
}

void SetHolidays(int year, const std::vector<unsigned long>& days) {
  pattern::CSingleton<common::LegalHoliday>::GetInstance()->SetHolidays(year, days);
}

class Calendar : public testing::Test {
 protected:
  Calendar() {
    Clear();
    LearnClock();
  }
  ~Calendar() override {
    Clear();
    stock_host::ResetServerClock();
    unsetenv("TZ");
    tzset();
  }

  static void LearnClock() {
    (void)stock_host::ServerClock().Learn(DateToTime(kFriday, 12, 0, 0), 1, stock_host::Moment::Now());
  }

 private:
  static void Clear() {
    for (const int year : {2023, 2024, 2025}) {
      SetHolidays(year, {});
    }
  }
};

TEST_F(Calendar, dateChangesAtMidnightInChina) {
  // 2024-03-15 16:00 UTC is midnight of the 16th.
  EXPECT_EQ(TimeToDate(1710518399), 20240315U);
  EXPECT_EQ(TimeToDate(1710518400), 20240316U);
  EXPECT_EQ(TimeToDate(0), 19700101U);
  EXPECT_EQ(TimeToDate(-8 * 3600 - 1), 19691231U);
}

TEST_F(Calendar, timeOfADateIsThatOfChina) {
  EXPECT_EQ(DateToTime(20240316, 0, 0, 0), 1710518400);
  EXPECT_EQ(DateToTime(20240315, 9, 30, 0), 1710466200);
  EXPECT_EQ(DateToTime(19700101, 8, 0, 0), 0);
}

TEST_F(Calendar, zoneOfTheMachineDoesNotMatter) {
  for (const char* zone : {"America/New_York", "Pacific/Kiritimati", "Pacific/Pago_Pago", "Asia/Kathmandu",
                           "ABC-13:37", "EST5EDT,M3.2.0,M11.1.0", "nonsense", ":"}) {
    setenv("TZ", zone, 1);
    tzset();
    EXPECT_EQ(TimeToDate(1710518399), 20240315U) << zone;
    EXPECT_EQ(TimeToDate(1710518400), 20240316U) << zone;
    EXPECT_EQ(DateToTime(20240315, 9, 30, 0), 1710466200) << zone;
    EXPECT_EQ(CheckMarketStatus(1710466200), stock::kMarketMorning) << zone;
    EXPECT_EQ(CheckMarketStatus(1710466199), stock::kMarketCallAuction) << zone;
  }
}

TEST_F(Calendar, everyDayOfFourHundredYearsGoesThereAndBack) {
  std::int64_t time = DateToTime(19000101, 0, 0, 0);
  std::uint32_t before = 0;
  for (int day = 0; day < 146097; ++day, time += 86400) {
    const std::uint32_t date = TimeToDate(time);
    ASSERT_GT(date, before);
    ASSERT_EQ(DateToTime(date, 0, 0, 0), time) << date;
    before = date;
  }
  EXPECT_EQ(before, 22991231U);
}

TEST_F(Calendar, agreesWithTheSystemsCalendar) {
  for (std::int64_t time = -2000000000; time < 6000000000; time += 7654321) {
    const std::time_t shifted = time + 8 * 3600;
    std::tm parts{};
    gmtime_r(&shifted, &parts);
    EXPECT_EQ(TimeToDate(time), static_cast<std::uint32_t>((parts.tm_year + 1900) * 10000 +
                                                           (parts.tm_mon + 1) * 100 + parts.tm_mday));
  }
}

TEST_F(Calendar, wrongDateHasNoTime) {
  for (const std::uint32_t date : {0U, 1U, 20240230U, 20230229U, 19000229U, 20240001U, 20241301U, 20240100U,
                                   20240132U, 20240431U, 100000101U, 4294967295U}) {
    EXPECT_EQ(DateToTime(date, 9, 30, 0), 0) << date;
    EXPECT_EQ(GetLastTradingDate(date), 0U) << date;
    EXPECT_FALSE(IsSameWeek(date, date)) << date;
  }
  EXPECT_NE(DateToTime(20000229, 0, 0, 0), 0);
  EXPECT_NE(DateToTime(20240229, 0, 0, 0), 0);
}

TEST_F(Calendar, clockTimeBeyondTheDayGoesOn) {
  EXPECT_EQ(DateToTime(20240315, 24, 0, 0), DateToTime(20240316, 0, 0, 0));
  EXPECT_EQ(DateToTime(20240315, 0, 0, -1), DateToTime(20240314, 23, 59, 59));
  EXPECT_EQ(DateToTime(20240315, std::numeric_limits<int>::max(), 0, 0) - DateToTime(20240315, 0, 0, 0),
            std::int64_t{std::numeric_limits<int>::max()} * 3600);
}

TEST_F(Calendar, timeFarOutsideHasNoDate) {
  for (const std::int64_t time :
       {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max(),
        std::int64_t{300000000000}, std::int64_t{-100000000000}}) {
    EXPECT_EQ(TimeToDate(time), 0U) << time;
  }
  EXPECT_EQ(TimeToDate(253402271999), 99991231U);
  EXPECT_EQ(TimeToDate(253402272000), 0U);
}

TEST_F(Calendar, weekBeginsOnMonday) {
  EXPECT_TRUE(IsSameWeek(20240311, 20240317));
  EXPECT_TRUE(IsSameWeek(20240317, 20240311));
  EXPECT_FALSE(IsSameWeek(20240317, 20240318));
  EXPECT_FALSE(IsSameWeek(20240310, 20240311));
  EXPECT_FALSE(IsSameWeek(20240311, 20250311));
}

TEST_F(Calendar, weekReachesAcrossTheYear) {
  EXPECT_TRUE(IsSameWeek(20241230, 20250105));
  EXPECT_FALSE(IsSameWeek(20250105, 20250106));
}

TEST_F(Calendar, phasesChangeToTheSecond) {
  struct Boundary {
    int hour, minute;
    stock::MarketStatus before, from;
  };
  for (const Boundary& b : std::vector<Boundary>{
           {9, 0, stock::kMarketNotOpened, stock::kMarketPreparing},
           {9, 15, stock::kMarketPreparing, stock::kMarketCallAuction},
           {9, 30, stock::kMarketCallAuction, stock::kMarketMorning},
           {11, 30, stock::kMarketMorning, stock::kMarketLunchBreak},
           {13, 0, stock::kMarketLunchBreak, stock::kMarketAfternoon},
           {15, 0, stock::kMarketAfternoon, stock::kMarketClosed},
       }) {
    const std::uint32_t time = At(kFriday, b.hour, b.minute, 0);
    EXPECT_EQ(CheckMarketStatus(time - 1), b.before) << b.hour << ":" << b.minute;
    EXPECT_EQ(CheckMarketStatus(time), b.from) << b.hour << ":" << b.minute;
    EXPECT_EQ(TimeSpanToNextMarketStatus(time - 1), 1) << b.hour << ":" << b.minute;
  }
  EXPECT_EQ(CheckMarketStatus(At(kFriday, 0, 0, 0)), stock::kMarketNotOpened);
  EXPECT_EQ(CheckMarketStatus(At(kFriday, 23, 59, 59)), stock::kMarketClosed);
}

TEST_F(Calendar, spanReachesTheNextPhase) {
  EXPECT_EQ(TimeSpanToNextMarketStatus(At(kFriday, 0, 0, 0)), 9 * 3600);
  EXPECT_EQ(TimeSpanToNextMarketStatus(At(kFriday, 9, 0, 0)), 900);
  EXPECT_EQ(TimeSpanToNextMarketStatus(At(kFriday, 9, 30, 0)), 7200);
  EXPECT_EQ(TimeSpanToNextMarketStatus(At(kFriday, 13, 0, 0)), 7200);
  EXPECT_EQ(TimeSpanToNextMarketStatus(At(kFriday, 15, 0, 0)), 9 * 3600);
}

TEST_F(Calendar, spanReachesAcrossTheWeekEnd) {
  EXPECT_EQ(TimeSpanToNextMarketStatus(At(20240316, 0, 0, 0)), 2 * 86400 + 9 * 3600);
  EXPECT_EQ(TimeSpanToNextMarketStatus(At(20240317, 23, 59, 59)), 9 * 3600 + 1);
}

TEST_F(Calendar, spanReachesAcrossHolidays) {
  SetHolidays(2024, {20240318, 20240319});
  EXPECT_EQ(TimeSpanToNextMarketStatus(At(20240316, 12, 0, 0)), 4 * 86400 - 3 * 3600);
  EXPECT_EQ(TimeSpanToNextMarketStatus(At(20240318, 9, 30, 0)), 2 * 86400 - 1800);
}

// At each end of a span stands another phase, and none before.
TEST_F(Calendar, spanEndsWhereThePhaseChanges) {
  SetHolidays(2024, {20240404, 20240405, 20240501, 20240502, 20240503});
  std::uint32_t time = At(20240314, 0, 0, 0);
  const std::uint32_t end = At(20240601, 0, 0, 0);
  int changes = 0;
  while (time < end) {
    const std::int32_t span = TimeSpanToNextMarketStatus(time);
    ASSERT_GE(span, 1);
    const auto phase = CheckMarketStatus(time);
    EXPECT_EQ(CheckMarketStatus(time + static_cast<std::uint32_t>(span) - 1), phase) << time;
    EXPECT_NE(CheckMarketStatus(time + static_cast<std::uint32_t>(span)), phase) << time;
    time += static_cast<std::uint32_t>(span);
    ++changes;
  }
  EXPECT_GT(changes, 300);
}

TEST_F(Calendar, spanIsPositiveAtTheEndsOfTheClock) {
  EXPECT_GE(TimeSpanToNextMarketStatus(0), 1);
  EXPECT_GE(TimeSpanToNextMarketStatus(4294967295U), 1);
}

// Holidays of 2031 are told by no test.
TEST_F(Calendar, spanIsShortUntilTheHolidaysOfTheYearAreKnown) {
  EXPECT_EQ(TimeSpanToNextMarketStatus(At(20310314, 9, 0, 0)), 2);
  EXPECT_EQ(TimeSpanToNextMarketStatus(At(20310314, 9, 14, 58)), 2);
  EXPECT_EQ(TimeSpanToNextMarketStatus(At(20310314, 9, 14, 59)), 1);
  EXPECT_EQ(TimeSpanToNextMarketStatus(At(20310315, 9, 0, 0)), 2);
  EXPECT_EQ(TimeSpanToNextMarketStatus(At(kFriday, 9, 0, 0)), 900);
}

// A client whose calendar cannot be had must not ask for everything every two seconds for ever.
TEST(PhaseDoubt, thatLastsTakesAMinuteARound) {
  using namespace std::chrono_literals;
  stock_host::PhaseDoubt doubt;
  const auto span = [&](bool in_doubt, std::chrono::nanoseconds elapsed) {
    return doubt.LongestSpan(in_doubt, {elapsed, 0ns});
  };
  EXPECT_EQ(span(true, 100s), 2s);
  EXPECT_EQ(span(true, 100s + 59s), 2s);
  EXPECT_EQ(span(true, 100s + 60s), 60s);
  EXPECT_EQ(span(true, 100s + 24h), 60s);
  EXPECT_GT(span(false, 100s + 24h), 24h);
  EXPECT_EQ(span(true, 200s + 24h), 2s) << "a new doubt";
  EXPECT_EQ(span(true, 260s + 24h), 60s);
  int rounds = 0;
  stock_host::PhaseDoubt endless;
  for (std::chrono::nanoseconds now = 0s; now < 1h; now += endless.LongestSpan(true, {now, 0ns})) ++rounds;
  EXPECT_EQ(rounds, 30 + 59);
}

TEST_F(Calendar, spanIsShortUntilTheClockIsLearned) {
  stock_host::ResetServerClock();
  EXPECT_EQ(TimeSpanToNextMarketStatus(At(kFriday, 9, 0, 0)), 2);
  EXPECT_EQ(TimeSpanToNextMarketStatus(At(kFriday, 9, 14, 59)), 1);
  LearnClock();
  EXPECT_EQ(TimeSpanToNextMarketStatus(At(kFriday, 9, 0, 0)), 900);
  // Two answers that disagree: either may be wrong.
  const auto now = stock_host::Moment::Now();
  (void)stock_host::ServerClock().Learn(DateToTime(kMonday, 12, 0, 0), 1, now);
  EXPECT_EQ(TimeSpanToNextMarketStatus(At(kFriday, 9, 0, 0)), 2);
  (void)stock_host::ServerClock().Learn(DateToTime(kMonday, 12, 0, 0), 1, now);
  EXPECT_EQ(TimeSpanToNextMarketStatus(At(kFriday, 9, 0, 0)), 900);
}

TEST_F(Calendar, noPhasesOnDaysWithoutTrading) {
  SetHolidays(2024, {20240314});
  for (const std::uint32_t date : {20240316U, 20240317U, 20240314U}) {
    for (int hour = 0; hour < 24; ++hour) {
      EXPECT_EQ(CheckMarketStatus(At(date, hour, 20, 0)), stock::kMarketNotOpened) << date;
    }
  }
}

TEST_F(Calendar, lastTradingDateIsStrictlyBefore) {
  EXPECT_EQ(GetLastTradingDate(kFriday), 20240314U);
  EXPECT_EQ(GetLastTradingDate(20240316), kFriday);
  EXPECT_EQ(GetLastTradingDate(20240317), kFriday);
  EXPECT_EQ(GetLastTradingDate(kMonday), kFriday);
}

TEST_F(Calendar, lastTradingDateSkipsHolidaysAlsoAcrossTheYear) {
  SetHolidays(2024, {20241231});
  SetHolidays(2025, {20250101});
  EXPECT_EQ(GetLastTradingDate(20250102), 20241230U);
}

TEST_F(Calendar, holidaysOfAYearAreReplacedAsAWhole) {
  SetHolidays(2024, {20240314});
  EXPECT_EQ(GetLastTradingDate(kFriday), 20240313U);
  SetHolidays(2024, {20240313});
  EXPECT_EQ(GetLastTradingDate(kFriday), 20240314U);
  EXPECT_EQ(GetLastTradingDate(20240314), 20240312U);
}

TEST_F(Calendar, holidaysOfAnotherYearStay) {
  SetHolidays(2024, {20240314});
  SetHolidays(2025, {20250102});
  EXPECT_EQ(GetLastTradingDate(kFriday), 20240313U);
}

TEST_F(Calendar, holidayThatIsNoDateOfTheYearIsLeftOut) {
  SetHolidays(2024, {0, 20240230, 20230314, 99999999999UL, 20240314});
  EXPECT_EQ(GetLastTradingDate(kFriday), 20240313U);
  EXPECT_EQ(GetLastTradingDate(20230315), 20230314U);
}

TEST_F(Calendar, datesOfOtherYearsAreNamedInTheLog) {
  const host_test::TemporaryDirectory directory;
  std::string error;
  ASSERT_TRUE(stock_host::OpenLog(directory.Path(), false, "warn", error)) << error;
  const std::string before = host_test::ReadFile(directory.Path("csm.log"));  // lines of other tests
  SetHolidays(2024, {20240314});
  EXPECT_EQ(host_test::ReadFile(directory.Path("csm.log")), before);
  SetHolidays(2024, {20240230, 20240314, 20230314});
  stock_host::CloseLog();
  EXPECT_NE(host_test::ReadFile(directory.Path("csm.log"))
                .substr(before.size())
                .find("calendar: no dates of the year 2024, left out: 20240230, 20230314\n"),
            std::string::npos);
}

TEST_F(Calendar, calendarWithoutTradingIsNotSearchedForEver) {
  std::vector<std::pair<int, std::vector<unsigned long>>> years;
  for (int year = 2012; year <= 2036; ++year) {
    std::vector<unsigned long> days;
    for (std::int64_t time = DateToTime(static_cast<std::uint32_t>(year * 10000 + 101), 0, 0, 0);
         TimeToDate(time) / 10000 == static_cast<std::uint32_t>(year); time += 86400) {
      days.push_back(TimeToDate(time));
    }
    SetHolidays(year, days);
  }
  EXPECT_EQ(GetLastTradingDate(kFriday), 20240314U);
  EXPECT_GE(TimeSpanToNextMarketStatus(At(kFriday, 12, 0, 0)), 1);
  for (int year = 2012; year <= 2036; ++year) {
    SetHolidays(year, {});
  }
}

}  // namespace

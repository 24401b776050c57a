// The rounds of the refresh thread over long days: nights that the machine sleeps through, clocks that are
// learned late, years that end. The thread's own steps, without the thread and without waiting.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "answers.h"
#include "host/clock.h"
#include "reference/stock_common_service.h"
#include "scripted_ticks.h"

namespace {

using Years = std::vector<std::string>;

class RefreshRounds : public ::testing::Test {
 protected:
  // While the thread waits both clocks go on, ten seconds at every look.
  RefreshRounds() {
    steady.OnRead([this] {
      steady.Advance(10'000);
      host.Advance(10);
      Suspend();
    });
  }
  static std::int64_t Now() { return common::GetCurrentServerTime(); }
  static std::int64_t At(std::uint32_t date, int hour, int minute) {
    return common::DateToTime(date, hour, minute, 0);
  }
  // What a start loads.
  void Load() { service.FinishRound({1, true}); }
  void RunUntil(std::int64_t end) {
    while (Now() < end) {
      ASSERT_TRUE(service.RunRound());
    }
  }
  std::size_t Asked(const char* path) const { return host.RequestsTo(path).size(); }
  Years CalendarsAskedFor() const {
    Years years;
    for (const Request& request : host.RequestsTo(answers::kHolidayPath)) {
      years.push_back(request.parameters.at("date"));
    }
    return years;
  }

  std::map<std::int64_t, std::int64_t> nights;  // from when to when the machine is suspended

  ScriptedHost host;
  ScriptedSteady steady;
  reference::CStockCommon service;

 private:
  // The monotonic clock stands still meanwhile.
  void Suspend() {
    const auto night = nights.begin();
    if (night != nights.end() && Now() >= night->first) {
      host.SetTime(night->second);
      nights.erase(night);
    }
  }
};

// A machine that slept past 09:14 kept the lists of the day before, for as long as it was suspended every
// night.
TEST_F(RefreshRounds, loadTheListsEveryMorningOfAFortnightOfNights) {
  // From Monday, 4 March, to Sunday, 17 March. Every night but the third the machine sleeps; the second
  // weekend it is off.
  struct Day {
    std::uint32_t date;
    int wakes_hour, wakes_minute;  // after the night before it; -1 has no night, -2 is slept through
  };
  const std::vector<Day> days = {{20240305, 8, 30}, {20240306, 10, 0},  {20240307, -1, 0}, {20240308, 9, 13},
                                 {20240309, 9, 15}, {20240310, 14, 0},  {20240311, 7, 0},  {20240312, 9, 14},
                                 {20240313, 12, 0}, {20240314, 21, 30}, {20240315, 1, 0},  {20240316, -2, 0},
                                 {20240317, 11, 0}};
  std::vector<std::pair<std::int64_t, std::int64_t>> asleep;
  std::vector<std::int64_t> due;  // when each day's load is to come
  std::int64_t falls_asleep = At(20240304, 22, 0);
  for (const Day& day : days) {
    if (day.wakes_hour == -2) {
      continue;
    }
    if (day.wakes_hour >= 0) {
      const std::int64_t wakes = At(day.date, day.wakes_hour, day.wakes_minute);
      asleep.emplace_back(falls_asleep, wakes);
      due.push_back(std::max(wakes, At(day.date, 9, 14)));
    } else {
      due.push_back(At(day.date, 9, 14));
    }
    falls_asleep = At(day.date, 22, 0);
  }
  nights = {asleep.begin(), asleep.end()};

  std::map<std::string, std::vector<std::int64_t>> asked;  // when, by path
  for (const auto& [path, body] : {std::pair(answers::kBasicInfoPath, answers::kBasicInfo),
                                   std::pair(answers::kPlateListPath, answers::kPlateList),
                                   std::pair(answers::kIndexListPath, answers::kIndexList),
                                   std::pair(answers::kInPlatesPath, answers::kInPlates),
                                   std::pair(answers::kHolidayPath, answers::kHolidays),
                                   std::pair(answers::kVersionPath, answers::kVersion)}) {
    host.Allow(Script(path).Inline([&asked, body = body](const Request& request) {
      asked[request.path].push_back(Now());
      return Answer::Body(body);
    }));
  }
  host.Allow(Script(answers::kMetadataPath).Inline(Answer::Body(Gzip(answers::kMetadata))));

  host.SetTime(At(20240304, 10, 0));
  Load();
  RunUntil(At(20240317, 22, 0));

  for (const char* const path : {answers::kBasicInfoPath, answers::kPlateListPath, answers::kIndexListPath,
                                 answers::kInPlatesPath, answers::kHolidayPath}) {
    SCOPED_TRACE(path);
    std::vector<std::int64_t> final_loads;
    for (const std::int64_t moment : asked[path]) {
      if (moment >= At(common::TimeToDate(moment), 9, 14)) {
        final_loads.push_back(moment);
      }
    }
    ASSERT_EQ(final_loads.size(), due.size() + 1) << "one a day, that of the start included";
    for (std::size_t day = 0; day < due.size(); ++day) {
      EXPECT_GE(final_loads[day + 1], due[day]);
      EXPECT_LE(final_loads[day + 1], due[day] + 120) << common::TimeToDate(due[day]);
    }
  }
  for (const auto& [path, moments] : asked) {
    for (const std::int64_t moment : moments) {
      for (const auto& [from, to] : asleep) {
        EXPECT_FALSE(moment > from + 10 && moment < to) << path << " while asleep";
      }
    }
  }
}

// The network may be a while in coming back after a night.
TEST_F(RefreshRounds, loadTheListsAgainAfterAMorningOnWhichTheyFailed) {
  answers::Allow(host, answers::kIndexListPath);
  host.SetTime(20240314, 20, 0, 0);
  host.Expect(Script(answers::kIndexListPath).Inline(Answer::Body(answers::kIndexList)));
  Load();
  nights = {{At(20240314, 22, 0), At(20240315, 10, 0)}};
  host.Expect(Script(answers::kIndexListPath).Inline(Answer::Failed()));
  RunUntil(At(20240315, 10, 0));
  EXPECT_EQ(Asked(answers::kIndexListPath), 2U);
  host.Expect(Script(answers::kIndexListPath).Inline(Answer::Body(answers::kIndexList)));
  RunUntil(At(20240315, 23, 0));
  EXPECT_EQ(Asked(answers::kIndexListPath), 3U);
}

TEST_F(RefreshRounds, leaveTheListsOfTodayAlone) {
  answers::Allow(host);
  host.SetTime(20240315, 10, 0, 0);
  Load();
  RunUntil(At(20240315, 23, 30));
  EXPECT_EQ(Asked(answers::kBasicInfoPath), 1U);
  EXPECT_EQ(Asked(answers::kHolidayPath), 1U);
  EXPECT_GT(Asked(answers::kVersionPath), 6U);
}

// The machine's clock was right to the minute and a day behind.
TEST_F(RefreshRounds, loadTheListsWhenTheServersDateIsLearnedLate) {
  answers::Allow(host);
  host.SetTime(20240314, 15, 0, 0);
  Load();
  host.SetTime(20240315, 15, 0, 0);
  ASSERT_TRUE(service.RunRound());
  EXPECT_EQ(Asked(answers::kBasicInfoPath), 2U);
}

// The next wait was planned from the end of the work: what had come in between was left out until the next
// morning.
TEST_F(RefreshRounds, checkAtOnceWhatCameDueWhileARoundWasAtWork) {
  std::vector<std::int64_t> checks;
  host.Allow(Script(answers::kVersionPath).Inline([&](const Request&) {
    if (checks.empty()) {
      host.SetTime(20240315, 18, 31, 0);  // the machine slept before the answer came
    }
    checks.push_back(Now());
    return Answer::Body(answers::kVersion);
  }));
  answers::Allow(host, answers::kVersionPath);
  host.SetTime(20240315, 12, 44, 0);
  ASSERT_TRUE(service.RunRound());
  ASSERT_EQ(checks.size(), 1U);
  ASSERT_TRUE(service.RunRound());
  ASSERT_EQ(checks.size(), 2U);
  EXPECT_LE(checks[1], At(20240315, 18, 33));
  ASSERT_TRUE(service.RunRound());
  ASSERT_EQ(checks.size(), 3U);
  EXPECT_GE(checks[2], checks[1] + 7200 - 60) << "once is enough";
}

// --- The calendar ---

TEST_F(RefreshRounds, askForTheCalendarOfTheNewYear) {
  answers::Allow(host);
  host.SetTime(20241231, 20, 0, 0);
  Load();
  RunUntil(At(20250101, 6, 0));
  // Rounds that begin after midnight load everything anew, the calendar included.
  const Years years = CalendarsAskedFor();
  ASSERT_GE(years.size(), 2U);
  EXPECT_EQ(years[0], "2024");
  EXPECT_EQ(years[1], "2025");
  EXPECT_EQ(Asked(answers::kBasicInfoPath), years.size() - 1) << "the first wake asks for nothing else";
}

// A machine a year behind or ahead: whole days had the phases of another year's holidays.
TEST_F(RefreshRounds, askForTheCalendarOfTheYearThatIsLearnedLate) {
  for (const std::uint32_t machine : {20230315U, 20250315U}) {
    reference::CStockCommon late;
    answers::Allow(host);
    host.ForgetRequests();
    host.SetTime(machine, 10, 0, 0);
    late.FinishRound({1, true});
    nights = {{At(machine, 10, 1), At(20240315, 1, 0)}};  // the clock is put right during the wait
    ASSERT_TRUE(late.RunRound());
    EXPECT_EQ(Asked(answers::kBasicInfoPath), 1U) << "it is too early for the lists";
    EXPECT_EQ(CalendarsAskedFor(), (Years{std::to_string(machine / 10000), "2024"})) << machine;
  }
}

// A machine a year fast waited its two hours before it asked: the clock that is put back ends no wait.
TEST_F(RefreshRounds, askForTheCalendarAsSoonAsTheYearIsLearned) {
  std::vector<std::int64_t> asked;
  host.Allow(Script(answers::kHolidayPath).Inline([&asked](const Request&) {
    asked.push_back(Now());
    return Answer::Body(answers::kHolidays);
  }));
  answers::Allow(host, answers::kHolidayPath);
  host.SetTime(20250314, 10, 0, 0);
  Load();
  const std::int64_t truth = At(20240315, 10, 1);
  nights = {{At(20250314, 10, 1), truth}};  // put right during the wait; a Friday, too
  ASSERT_TRUE(service.RunRound());
  ASSERT_GE(asked.size(), 2U);
  EXPECT_EQ(CalendarsAskedFor()[1], "2024");
  EXPECT_LE(asked[1], truth + 60) << "at the next look, which takes this test some ten-second steps";
}

TEST_F(RefreshRounds, askForACalendarThatDidNotComeAtEveryWake) {
  answers::Allow(host, answers::kHolidayPath);
  host.SetTime(20240315, 12, 0, 0);
  host.Expect(Script(answers::kHolidayPath).Times(3).Inline(Answer::Failed()));
  host.ExpectFailureLine(L"StockCommon::InitLegalHolidays Failed.", 3);
  Load();
  ASSERT_TRUE(service.RunRound());
  ASSERT_TRUE(service.RunRound());
  host.Expect(Script(answers::kHolidayPath).Inline(Answer::Body(answers::kHolidays)));
  ASSERT_TRUE(service.RunRound());
  ASSERT_TRUE(service.RunRound());
  EXPECT_EQ(Asked(answers::kHolidayPath), 4U);
}

// --- The end ---

TEST_F(RefreshRounds, endWithTheService) {
  service.Stop();
  EXPECT_FALSE(service.RunRound());
  EXPECT_EQ(host.RequestCount(), 0U);
}

}  // namespace

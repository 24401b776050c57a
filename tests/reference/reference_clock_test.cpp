// The reference data and the phase of the market by the server's clock: what is loaded, asked for and shown
// at the instants of a day.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "answers.h"
#include "host/calendar.h"
#include "host/clock.h"
#include "reference/stock_common_service.h"
#include "reference/stock_market_state.h"
#include "scripted_ticks.h"
#include "services.h"
#include "told_state.h"

namespace {

constexpr std::uint32_t kFriday = 20240315;
constexpr std::uint32_t kHoliday = 20240404;  // a Thursday

class ReferenceClock : public ::testing::Test {
 protected:
  ReferenceClock() { answers::Allow(host); }

  std::size_t Asked(const char* path) const { return host.RequestsTo(path).size(); }

  // As a start loads it, but without the refresh thread, which would look at the same clock.
  void LookEverythingUp() {
    for (const int kind : {1, 2}) {
      static_cast<void>(service.GetPlateList(kind));
      static_cast<void>(service.GetIndexList(kind));
    }
    static_cast<void>(service.GetStockList(1));
    std::vector<std::pair<std::wstring, std::wstring>> plates;
    static_cast<void>(service.GetPlatesOfStock(L"sh600000", plates));
  }

  ScriptedHost host;
  reference::CStockCommon service;
};

struct Instant {
  std::uint32_t date;
  int hour, minute, second;
  bool asks_for_stocks;  // a look-up, when the list held is of the day before
  int wait;              // of a round that begins now
  bool reloads;          // that round
  const wchar_t* caption;
  std::int64_t shown;  // the time beside the caption
};

TEST_F(ReferenceClock, rulesWhatHappensAtAnInstant) {
  common::LegalHoliday().SetHolidays(2024, {kHoliday});
  const auto at = [](std::uint32_t date, int hour, int minute, int second) {
    return common::DateToTime(date, hour, minute, second);
  };
  const std::vector<Instant> instants = {
      {kFriday, 8, 0, 0, false, 4440, true, L"已收盘", at(20240314, 15, 0, 0)},
      {kFriday, 9, 13, 58, false, 2, true, L"开盘准备", at(kFriday, 9, 13, 58)},
      {kFriday, 9, 14, 0, false, 7200, false, L"开盘准备", at(kFriday, 9, 14, 0)},
      {kFriday, 9, 14, 1, true, 7200, false, L"开盘准备", at(kFriday, 9, 14, 1)},
      {kFriday, 12, 45, 0, true, 7200, false, L"午盘休息", at(kFriday, 11, 30, 0)},
      {kFriday, 18, 30, 0, true, 7200, false, L"已收盘", at(kFriday, 15, 0, 0)},
      {20240316, 0, 0, 0, false, 7200, true, L"已收盘", at(kFriday, 15, 0, 0)},
      {20240316, 9, 14, 1, true, 7200, false, L"已收盘", at(kFriday, 15, 0, 0)},
      {kHoliday, 9, 13, 58, false, 2, true, L"已收盘", at(20240403, 15, 0, 0)},
      {kHoliday, 10, 0, 0, true, 7200, false, L"已收盘", at(20240403, 15, 0, 0)},
      {20240405, 0, 0, 0, false, 7200, true, L"已收盘", at(20240403, 15, 0, 0)},
  };
  for (const Instant& instant : instants) {
    const std::int64_t now = at(instant.date, instant.hour, instant.minute, instant.second);
    SCOPED_TRACE(std::to_string(instant.date) + " " + std::to_string(instant.hour) + ":" +
                 std::to_string(instant.minute) + ":" + std::to_string(instant.second));
    reference::CStockCommon held;
    host.SetTime(at(instant.date, 15, 0, 0) - 86400);
    static_cast<void>(held.GetStockList(1));

    host.SetTime(now);
    const std::size_t asked = Asked(answers::kBasicInfoPath);
    static_cast<void>(held.GetStockList(1));
    EXPECT_EQ(Asked(answers::kBasicInfoPath) - asked, instant.asks_for_stocks ? 1U : 0U);
    const reference::RefreshRound round = reference::PlanRefresh(now);
    EXPECT_EQ(round.seconds, instant.wait);
    EXPECT_EQ(round.reload_lists, instant.reloads);
    const StockMarketState state = ToldStateAt(host, now);
    EXPECT_EQ(state.text, instant.caption);
    EXPECT_EQ(state.time, static_cast<std::int32_t>(instant.shown));
  }
}

// A client that is started at eight and left alone until the morning after, a look-up in every round.
TEST_F(ReferenceClock, rulesTheRoundsOfAWholeDay) {
  host.SetTime(kFriday, 8, 0, 0);
  LookEverythingUp();
  struct Round {
    std::int64_t minute;  // of Friday, when its wait is over
    std::size_t lists, calendars, checks;
    bool operator==(const Round&) const = default;
  };
  std::vector<Round> rounds;
  const std::int64_t midnight = common::DateToTime(kFriday, 0, 0, 0);
  while (common::GetCurrentServerTime() < midnight + 26 * 3600) {
    const reference::RefreshRound round = reference::PlanRefresh(common::GetCurrentServerTime());
    host.Advance(round.seconds);
    const std::size_t lists = Asked(answers::kBasicInfoPath);
    const std::size_t calendars = Asked(answers::kHolidayPath);
    const std::size_t checks = Asked(answers::kVersionPath);
    service.FinishRound(round);
    static_cast<void>(service.GetStockList(1));
    rounds.push_back({(common::GetCurrentServerTime() - midnight) / 60,
                      Asked(answers::kBasicInfoPath) - lists, Asked(answers::kHolidayPath) - calendars,
                      Asked(answers::kVersionPath) - checks});
  }
  const std::vector<Round> expected = {
      {9 * 60 + 14, 1, 1, 1},  {11 * 60 + 14, 0, 0, 1}, {12 * 60 + 45, 0, 0, 1}, {14 * 60 + 45, 0, 0, 1},
      {16 * 60 + 45, 0, 0, 1}, {18 * 60 + 30, 0, 0, 1}, {20 * 60 + 30, 0, 0, 1}, {22 * 60 + 30, 0, 0, 1},
      {24 * 60 + 30, 0, 0, 1}, {26 * 60 + 30, 1, 1, 1}};
  ASSERT_EQ(rounds.size(), expected.size());
  for (std::size_t round = 0; round < rounds.size(); ++round) {
    EXPECT_TRUE(rounds[round] == expected[round])
        << "round " << round << " ends at minute " << rounds[round].minute;
  }
}

// The same by the thread's own waits, while both clocks run: no phase of the market wakes it.
TEST_F(ReferenceClock, waitsForTheMomentsOfItsRoundsOnly) {
  host.SetTime(kFriday, 8, 0, 0);
  LookEverythingUp();
  ScriptedSteady steady;
  steady.OnRead([&] {
    steady.Advance(1000);
    host.Advance(1);
  });
  const std::int64_t midnight = common::DateToTime(kFriday, 0, 0, 0);
  std::vector<std::int64_t> checks;  // minutes of the day
  std::vector<std::int64_t> loads;
  while (common::GetCurrentServerTime() < midnight + 24 * 3600) {
    const std::size_t checked = Asked(answers::kVersionPath);
    const std::size_t loaded = Asked(answers::kBasicInfoPath);
    ASSERT_TRUE(service.RunRound());
    const std::int64_t minute = (common::GetCurrentServerTime() - midnight) / 60;
    checks.insert(checks.end(), Asked(answers::kVersionPath) - checked, minute);
    loads.insert(loads.end(), Asked(answers::kBasicInfoPath) - loaded, minute);
  }
  EXPECT_EQ(checks,
            (std::vector<std::int64_t>{9 * 60 + 14, 11 * 60 + 14, 12 * 60 + 45, 14 * 60 + 45, 16 * 60 + 45,
                                       18 * 60 + 30, 20 * 60 + 30, 22 * 60 + 30, 24 * 60 + 30}));
  EXPECT_EQ(loads, std::vector<std::int64_t>{9 * 60 + 14});
}

// Asked for on Friday, answered on Saturday: it is Friday's list.
TEST(ReferenceClockAtMidnight, datesALoadByItsBeginning) {
  ScriptedHost host;
  reference::CStockCommon service;
  host.SetTime(kFriday, 23, 59, 59);
  host.Expect(Script(answers::kBasicInfoPath).Inline([&host](const Request&) {
    host.SetTime(20240316, 0, 0, 2);
    return Answer::Body(answers::kBasicInfo);
  }));
  static_cast<void>(service.GetStockList(1));
  host.SetTime(20240316, 9, 14, 0);
  static_cast<void>(service.GetStockList(1));
  EXPECT_EQ(host.RequestCount(), 1U);
  host.SetTime(20240316, 9, 14, 1);
  host.Expect(Script(answers::kBasicInfoPath).Inline(Answer::Body(answers::kBasicInfo)));
  static_cast<void>(service.GetStockList(1));
  EXPECT_EQ(host.RequestCount(), 2U);
}

}  // namespace

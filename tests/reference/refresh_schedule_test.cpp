// When the reference data is loaded anew, by the server's clock.
#include "reference/refresh_schedule.h"

#include <gtest/gtest.h>

#include <vector>

#include "host/clock.h"
#include "scripted_host.h"

namespace {

using reference::PlanRefresh;

constexpr std::uint32_t kDay = 20240315;

class RefreshSchedule : public ::testing::Test {
 protected:
  static reference::RefreshRound At(int hour, int minute, int second, std::uint32_t day = kDay) {
    return PlanRefresh(common::DateToTime(day, hour, minute, second));
  }
  ScriptedHost host;
};

TEST_F(RefreshSchedule, wakesAtTheNextLoad) {
  EXPECT_EQ(At(9, 13, 58).seconds, 2);
  EXPECT_EQ(At(9, 13, 59).seconds, 1);
  EXPECT_EQ(At(12, 44, 59).seconds, 1);
  EXPECT_EQ(At(18, 0, 0).seconds, 1800);
  EXPECT_EQ(At(18, 29, 59).seconds, 1);
}

TEST_F(RefreshSchedule, looksPastALoadThatBeginsNow) {
  EXPECT_EQ(At(9, 14, 0).seconds, 7200);
  EXPECT_EQ(At(12, 45, 0).seconds, 7200);
  EXPECT_EQ(At(18, 30, 0).seconds, 7200);
}

TEST_F(RefreshSchedule, waitsForNothingThatCameSinceTheLastWait) {
  const auto at = [](int hour, int minute) { return common::DateToTime(kDay, hour, minute, 0); };
  EXPECT_EQ(PlanRefresh(at(12, 46), at(12, 44)).seconds, 0);
  EXPECT_EQ(PlanRefresh(at(12, 45), at(12, 44)).seconds, 0);
  EXPECT_EQ(PlanRefresh(at(12, 46), at(12, 45)).seconds, 7200);
  EXPECT_EQ(PlanRefresh(at(23, 0), at(17, 0)).seconds, 0);
  EXPECT_EQ(PlanRefresh(at(23, 0), at(9, 0)).seconds, 0);
  EXPECT_EQ(PlanRefresh(at(10, 0), at(22, 0)).seconds, 7200) << "the clock was put back";
  EXPECT_EQ(PlanRefresh(at(10, 0), common::DateToTime(20240314, 22, 0, 0)).seconds, 0);
}

TEST_F(RefreshSchedule, waitsTwoHoursAtMost) {
  EXPECT_EQ(At(0, 0, 0).seconds, 7200);
  EXPECT_EQ(At(1, 0, 0).seconds, 7200);
  EXPECT_EQ(At(7, 13, 59).seconds, 7200);
  EXPECT_EQ(At(7, 14, 1).seconds, 7199);
  EXPECT_EQ(At(14, 0, 0).seconds, 7200);
  EXPECT_EQ(At(23, 59, 59).seconds, 7200);
}

TEST_F(RefreshSchedule, findsAListOfTodayFresh) {
  host.SetTime(kDay, 15, 0, 0);
  EXPECT_FALSE(reference::ListIsStale(kDay));
  EXPECT_TRUE(reference::ListIsStale(0));
  EXPECT_TRUE(reference::ListIsStale(20240316)) << "another date is another date, a later one too";
}

TEST_F(RefreshSchedule, findsAListDueFromTheMorningLoadOn) {
  const auto due_at = [this](int hour, int minute, int second) {
    host.SetTime(kDay, hour, minute, second);
    return reference::ListIsDue(20240314);
  };
  EXPECT_FALSE(due_at(9, 13, 59));
  EXPECT_TRUE(due_at(9, 14, 0));
  EXPECT_TRUE(due_at(23, 59, 59));
  EXPECT_FALSE(reference::ListIsDue(kDay));
  EXPECT_TRUE(reference::ListIsDue(0));
}

}  // namespace

// Waits that are planned on the server's clock: over when the seconds have passed, or when the server's
// clock, learned late or set, has reached the planned moment or jumped into another phase.
#include "frame/planned_wait.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <utility>

#include "scripted_host.h"
#include "scripted_ticks.h"

namespace {

class PlannedWait : public ::testing::Test {
 protected:
  // Both clocks go on as clocks do.
  void Pass(std::int64_t seconds) {
    steady.Advance(seconds * 1000);
    host.Advance(seconds);
  }

  ScriptedHost host;
  ScriptedSteady steady;
};

TEST_F(PlannedWait, isOverWhenItsSecondsHavePassed) {
  const frame::PlannedWait wait(600);
  Pass(599);
  EXPECT_FALSE(wait.IsOver());
  Pass(1);
  EXPECT_TRUE(wait.IsOver());
}

TEST_F(PlannedWait, ofNoSecondsOrLessIsOverAtOnce) {
  EXPECT_TRUE(frame::PlannedWait(0).IsOver());
  EXPECT_TRUE(frame::PlannedWait(-5).IsOver());
}

TEST_F(PlannedWait, isOverAtThePlannedMomentOfAClockThatWasSetForward) {
  const frame::PlannedWait wait(3600);
  Pass(10);
  host.Advance(3000);  // the server's clock is learned: it is later than the machine thought
  EXPECT_FALSE(wait.IsOver());
  Pass(589);
  EXPECT_FALSE(wait.IsOver());
  Pass(1);
  EXPECT_TRUE(wait.IsOver());
}

TEST_F(PlannedWait, isOverWhenTheMachineSleptThroughItsEnd) {
  const frame::PlannedWait wait(3600);
  Pass(10);
  host.Advance(12 * 3600);  // the monotonic clock stands while the machine sleeps
  EXPECT_TRUE(wait.IsOver());
}

TEST_F(PlannedWait, keepsItsDeadlineWhenTheClockIsSetBack) {
  const frame::PlannedWait wait(60);
  host.Advance(-600);
  Pass(59);
  EXPECT_FALSE(wait.IsOver());
  Pass(1);
  EXPECT_TRUE(wait.IsOver());
}

// Nothing but this says anew what phase it is after the clock was set back.
TEST_F(PlannedWait, isOverWhenTheClockJumpsIntoAnotherPhase) {
  host.SetTime(20240315, 15, 30, 0);
  const frame::PlannedWait wait(3600);
  Pass(1);
  EXPECT_FALSE(wait.IsOver());
  host.Advance(-1800);
  EXPECT_FALSE(wait.IsOver()) << "it is just past the close";
  host.Advance(-60);
  EXPECT_TRUE(wait.IsOver());
}

TEST_F(PlannedWait, goesOnWhenAPhaseComesInTheCourseOfTime) {
  host.SetTime(20240315, 9, 29, 57);
  const frame::PlannedWait wait(600);
  Pass(10);
  EXPECT_FALSE(wait.IsOver());
  host.SetMarketStatus(2);
  Pass(589);
  EXPECT_FALSE(wait.IsOver());
  Pass(1);
  EXPECT_TRUE(wait.IsOver());
}

// What asks at most every 20 or 30 seconds does so when a phase comes; what it asked for by a clock that was
// wrong, it asks for anew.
TEST_F(PlannedWait, ofAFloorIsEndedByAJumpOnly) {
  for (const int seconds : {20, 30}) {
    host.SetTime(20240315, 14, 59, 55);
    const frame::PlannedWait wait(seconds);
    Pass(seconds - 1);
    EXPECT_FALSE(wait.IsOver()) << seconds;
    host.SetTime(20240314, 10, 0, 0);
    EXPECT_TRUE(wait.IsOver()) << seconds;
  }
}

TEST_F(PlannedWait, forAMomentIsNotEndedByAPhase) {
  host.SetTime(20240315, 8, 59, 0);
  const frame::PlannedWait wait(840, frame::PlannedWait::For::kMoment);
  host.SetTime(20240315, 9, 0, 0);
  EXPECT_FALSE(wait.IsOver());
  host.SetTime(20240315, 9, 14, 0);
  EXPECT_TRUE(wait.IsOver());
}

// The phase has the same name, but what is told of it is another day's.
TEST_F(PlannedWait, isOverWhenThePhaseIsOfAnotherDay) {
  for (const auto& [from, to] : {std::pair(20240317U, 20240310U),     // Sunday to Sunday
                                 std::pair(20240315U, 20240314U)}) {  // an evening to the one before
    host.SetTime(from, 20, 0, 0);
    const frame::PlannedWait wait(60);
    Pass(1);
    EXPECT_FALSE(wait.IsOver()) << from;
    host.SetTime(to, 20, 0, 1);
    EXPECT_TRUE(wait.IsOver()) << from;
  }
  host.SetTime(20240317, 20, 0, 0);
  const frame::PlannedWait wait(60);
  host.SetTime(20240316, 20, 0, 0);
  EXPECT_FALSE(wait.IsOver()) << "Saturday rests after the same Friday";
}

TEST_F(PlannedWait, goesOnWhenTheHostCannotSayThePhase) {
  host.SetTime(20240317, 20, 0, 0);
  const frame::PlannedWait wait(60);
  host.SetTime(20240310, 20, 0, 0);
  for (long call = 0; call < 5; ++call) {
    const ThrowingCall throwing(call);
    EXPECT_FALSE(wait.IsOver()) << call;
  }
  EXPECT_TRUE(wait.IsOver());
}

// The server's time comes in whole seconds: one that seems a second ahead only turned its second sooner.
TEST_F(PlannedWait, isNotCutShortByTheRoundingOfTheClock) {
  const frame::PlannedWait wait(4);
  steady.Advance(3001);
  host.Advance(4);
  EXPECT_FALSE(wait.IsOver());
  steady.Advance(999);
  EXPECT_TRUE(wait.IsOver());
}

TEST_F(PlannedWait, ofTheUsualIntervalAsksTheHostNothing) {
  const std::size_t looks = host.ClockLooks();
  const frame::PlannedWait wait(3);
  EXPECT_FALSE(wait.IsOver());
  host.Advance(3600);
  EXPECT_FALSE(wait.IsOver());
  EXPECT_EQ(host.ClockLooks(), looks);
  EXPECT_FALSE(wait.FollowsClock());
}

TEST_F(PlannedWait, saysHowLongItLasts) {
  const frame::PlannedWait wait(2);
  EXPECT_EQ(wait.Milliseconds(), 2000);
  steady.Advance(1400);
  EXPECT_EQ(wait.Milliseconds(), 600);
  steady.Advance(5000);
  EXPECT_EQ(wait.Milliseconds(), 0);
}

}  // namespace

// The waits of the reference data's threads.
#include "reference/stoppable_wait.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "host/clock.h"
#include "scripted_host.h"
#include "scripted_ticks.h"

namespace {

class StoppableWait : public ::testing::Test {
 protected:
  // While somebody waits both clocks go on, a second at every look.
  void LetTimePass() {
    steady.OnRead([this] {
      steady.Advance(1000);
      host.Advance(1);
      if (common::GetCurrentServerTime() == suspended_at) {
        host.Advance(suspended_for);
      }
    });
  }
  std::int64_t Now() { return common::GetCurrentServerTime(); }

  ScriptedHost host;
  ScriptedSteady steady;
  reference::StoppableWait wait;
  std::int64_t suspended_at = 0, suspended_for = 0;
};

TEST_F(StoppableWait, endsAtItsMoment) {
  LetTimePass();
  const std::int64_t begin = Now();
  EXPECT_TRUE(wait.Planned(600));
  EXPECT_GE(Now(), begin + 600);
  EXPECT_LE(Now(), begin + 603) << "the clock goes on while it is looked at";
}

// The monotonic clock stood still while the machine was suspended, and the rest of the wait came after it.
TEST_F(StoppableWait, endsWhenTheMachineHasSleptPastItsMoment) {
  LetTimePass();
  const std::int64_t begin = Now();
  suspended_at = begin + 100;
  suspended_for = 8 * 3600;
  EXPECT_TRUE(wait.Planned(7200));
  EXPECT_LE(Now(), begin + 100 + 8 * 3600 + 3);
}

TEST_F(StoppableWait, lastsNoLongerThanStatedWhenTheServersClockIsPutBack) {
  LetTimePass();
  const std::int64_t begin = steady.Now();
  suspended_at = Now() + 100;
  suspended_for = -86400;
  EXPECT_TRUE(wait.Planned(600));
  EXPECT_GE(steady.Now(), begin + 600'000);
  EXPECT_LE(steady.Now(), begin + 604'000);
}

TEST_F(StoppableWait, endsAtOnceWhenItIsStopped) {
  std::thread stopper([this] { wait.Stop(); });
  EXPECT_FALSE(wait.Planned(7200));
  stopper.join();
  EXPECT_FALSE(wait.For(3'600'000)) << "and so do later ones";
  EXPECT_FALSE(wait.Planned(0)) << "that of no time at all included";
}

// The look at the clock comes under the lock that `Stop` wants: by the time it has it the other one waits.
TEST_F(StoppableWait, isWokenWhenItIsStopped) {
  std::atomic<int> looks_taken{0};
  steady.OnRead([&looks_taken] { ++looks_taken; });
  std::thread stopper([&] {
    while (looks_taken < 2) std::this_thread::yield();
    wait.Stop();
  });
  EXPECT_FALSE(wait.For(3'600'000));
  stopper.join();
}

std::atomic<int> looks{0};

std::int64_t CountedLook() {
  ++looks;
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

// The one real second of these tests: a thread that waits looks at the server's clock without being woken.
TEST(StoppableWaitInEarnest, seesTheServersClockChange) {
  ScriptedHost host;
  frame::SetSteadySource(&CountedLook);
  reference::StoppableWait wait;
  bool reached = false;
  std::thread waiting([&] { reached = wait.Planned(7200); });
  while (looks < 3) {  // by then the wait is planned
    std::this_thread::yield();
  }
  host.Advance(7201);
  waiting.join();
  EXPECT_TRUE(reached);
  frame::SetSteadySource(nullptr);
}

}  // namespace

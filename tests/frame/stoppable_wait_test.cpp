// The waits of the module's threads.
#include "frame/stoppable_wait.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <semaphore>
#include <thread>

#include "host/clock.h"
#include "scripted_host.h"
#include "scripted_ticks.h"

// The host's own, which the scripted host is without.
namespace {
std::atomic<void (*)()> told_of_jumps = nullptr;
}
void common::TellOfClockJumps(void (*told)()) {
  told_of_jumps = told;
}

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
  frame::StoppableWait wait;
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
  suspended_for = -600;
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

// The two real seconds of these tests: of the threads that wait one looks at the server's clock without being
// woken, and wakes the others. When its wait ends, another one looks. It is none whose own look may take
// long.
TEST(StoppableWaitInEarnest, seesTheServersClockChange) {
  ScriptedHost host;
  frame::StoppableWait slow;
  std::binary_semaphore looks(0);
  std::binary_semaphore may_go_on(0);
  std::thread looking([&] {
    static_cast<void>(slow.Planned(7200, [&] {
      looks.release();
      may_go_on.acquire();
    }));
  });
  looks.acquire();
  constexpr std::size_t kWaits = 5;
  std::array<frame::StoppableWait, kWaits> waits;
  std::array<bool, kWaits> reached{};
  std::array<std::thread, kWaits> waiting;
  for (std::size_t i = 0; i < kWaits; ++i) {
    const std::size_t before = host.ClockLooks();
    waiting.at(i) = std::thread([&, i] { reached.at(i) = waits.at(i).Planned(7200); });
    while (host.ClockLooks() < before + 2) {  // it is planned, and not over
      std::this_thread::yield();
    }
  }
  waits.front().Stop();
  waiting.front().join();
  host.Advance(7201);
  for (std::size_t i = 1; i < kWaits; ++i) {
    waiting.at(i).join();
    EXPECT_TRUE(reached.at(i)) << i;
  }
  EXPECT_FALSE(reached.front());
  may_go_on.release();
  looking.join();
}

// The monotonic clock stands still: nothing but the host's word makes a thread look.
TEST(StoppableWaitInEarnest, looksAtOnceWhenTheHostSaysThatTheClockHasJumped) {
  ScriptedHost host;
  const ScriptedSteady steady;
  frame::StoppableWait wait;
  frame::StoppableWait other;  // all of them are told
  std::atomic<int> seen{0};
  std::atomic<int> seen_beside{0};
  ASSERT_NE(told_of_jumps.load(), nullptr);
  std::thread waiting([&] { static_cast<void>(wait.Planned(7200, [&] { ++seen; })); });
  std::thread beside([&] { static_cast<void>(other.Planned(7200, [&] { ++seen_beside; })); });
  for (int jump = 0; jump < 30; ++jump) {
    const int before = seen;
    const int before_beside = seen_beside;
    while (seen == before || seen_beside == before_beside) {
      told_of_jumps.load()();
      std::this_thread::yield();
    }
  }
  host.Advance(7201);
  told_of_jumps.load()();
  waiting.join();
  beside.join();
}

// Both clocks stand. A wait with a look of its own is for no phase.
TEST(StoppableWaitInEarnest, forAPhaseEndsWhenAllIsPlannedAnew) {
  const ScriptedHost host;
  const ScriptedSteady steady;
  std::array<frame::StoppableWait, 2> waits;
  std::atomic<bool> ended = false;
  std::atomic<int> others = 0;
  std::atomic<int> looks = 0;
  std::thread phase([&] {
    EXPECT_TRUE(waits[0].Planned(4));
    ended = true;
  });
  std::thread moment([&] { EXPECT_FALSE(waits[1].Planned(7200, [&] { ++looks; })), ++others; });
  while (!ended || looks < 2) {
    frame::StoppableWait::PlanAnew();
    std::this_thread::yield();
  }
  EXPECT_EQ(others, 0);
  waits[1].Stop();
  phase.join();
  moment.join();
}

TEST(StoppableWaitInEarnest, isNoLongerThanStatedWhateverJumps) {
  const ScriptedHost host;
  frame::StoppableWait wait;
  std::atomic<bool> over{false};
  std::thread jumping([&] {
    while (!over) {
      told_of_jumps.load()();
      std::this_thread::yield();
    }
  });
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_TRUE(wait.For(50));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(49));
  over = true;
  jumping.join();
}

TEST(StoppableWaitInEarnest, mayEndWhileTheClockJumps) {
  const ScriptedHost host;
  const frame::StoppableWait first;
  std::atomic<bool> over{false};
  std::thread jumping([&] {
    while (!over) {
      told_of_jumps.load()();
      std::this_thread::yield();
    }
  });
  for (int round = 0; round < 100; ++round) {
    frame::StoppableWait one;
    frame::StoppableWait two;
    one.Stop();
    EXPECT_FALSE(one.Planned(3600));
  }
  over = true;
  jumping.join();
}

}  // namespace

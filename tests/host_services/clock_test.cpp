// The model of the server's clock, with a clock that the test moves. Over the wire: server_clock_test.cpp.
#include "clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <ctime>
#include <optional>

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using stock_host::ParseSpeed;
using stock_host::ServerClockModel;

constexpr std::int64_t kStart = 1710466200;

class ServerClock : public testing::Test {
 protected:
  ServerClock() { clock_.Reset(static_cast<double>(kStart), now_); }
  [[nodiscard]] std::int64_t Now() { return clock_.Now(now_); }
  bool Learn(std::int64_t date, double speed = 1) { return clock_.Learn(date, speed, now_); }

  void Pass(milliseconds time) { now_.elapsed += time; }
  // The machine is suspended for `time`.
  void Sleep(milliseconds time) {
    Pass(time);
    now_.suspended += time;
  }

  stock_host::Moment now_{std::chrono::hours(1000), std::chrono::hours(10)};
  ServerClockModel clock_;
};

TEST_F(ServerClock, runsFromTheMachinesTimeAtFirst) {
  EXPECT_EQ(Now(), kStart);
  Pass(seconds(90));
  EXPECT_EQ(Now(), kStart + 90);
}

TEST_F(ServerClock, firstSampleSetsIt) {
  EXPECT_TRUE(Learn(kStart - 86400));
  EXPECT_EQ(Now(), kStart - 86400);
  Pass(seconds(10));
  EXPECT_EQ(Now(), kStart - 86400 + 10);
}

TEST_F(ServerClock, laterSamplePullsItBySteps) {
  (void)Learn(kStart);
  // Eight seconds ahead: an eighth of it, at most two seconds.
  EXPECT_TRUE(Learn(kStart + 8));
  EXPECT_EQ(Now(), kStart + 1);
}

TEST_F(ServerClock, noSampleWithinTheLimitPullsItFurtherThanTheBound) {
  (void)Learn(kStart);
  EXPECT_TRUE(Learn(kStart + 240));
  EXPECT_EQ(Now(), kStart + 2);
}

TEST_F(ServerClock, manySamplesBringItThere) {
  (void)Learn(kStart);
  for (int i = 0; i < 300; ++i) {
    EXPECT_TRUE(Learn(kStart + 100));
  }
  EXPECT_NEAR(static_cast<double>(Now()), static_cast<double>(kStart + 100), 1);
}

TEST_F(ServerClock, neverGoesBackWhileItIsPulledBack) {
  (void)Learn(kStart);
  std::int64_t before = Now();
  for (int i = 0; i < 500; ++i) {
    Pass(milliseconds(100));
    (void)Learn(kStart - 200);
    const std::int64_t now = Now();
    EXPECT_GE(now, before);
    before = now;
  }
}

TEST_F(ServerClock, oneSampleFarOffIsNotBelieved) {
  (void)Learn(kStart);
  EXPECT_TRUE(Learn(kStart + 10000));
  EXPECT_EQ(Now(), kStart);
}

TEST_F(ServerClock, secondSampleThatAgreesWithOneFarOffIsBelieved) {
  (void)Learn(kStart);
  EXPECT_TRUE(Learn(kStart - 10000));
  Pass(seconds(5));
  EXPECT_TRUE(Learn(kStart - 10000 + 5));
  EXPECT_EQ(Now(), kStart - 10000 + 5);
}

TEST_F(ServerClock, samplesFarOffThatDisagreeAreNotBelieved) {
  (void)Learn(kStart);
  EXPECT_TRUE(Learn(kStart + 10000));
  EXPECT_TRUE(Learn(kStart - 10000));
  EXPECT_TRUE(Learn(kStart + 20000));
  EXPECT_EQ(Now(), kStart);
}

TEST_F(ServerClock, goodSampleBetweenForgetsTheStrayOne) {
  (void)Learn(kStart);
  EXPECT_TRUE(Learn(kStart + 10000));
  EXPECT_TRUE(Learn(kStart));
  EXPECT_TRUE(Learn(kStart + 10000));
  EXPECT_EQ(Now(), kStart);
}

TEST_F(ServerClock, impossibleDateIsLeftOut) {
  for (const std::int64_t date : {std::int64_t{-1}, std::int64_t{0}, std::int64_t{631151999},
                                  std::int64_t{4102444801}, std::int64_t{1} << 62}) {
    EXPECT_FALSE(Learn(date)) << date;
  }
  EXPECT_EQ(Now(), kStart);
}

TEST_F(ServerClock, runsAtTheSpeedThatItIsTold) {
  EXPECT_TRUE(Learn(kStart, 60));
  EXPECT_EQ(clock_.Speed(), 60);
  Pass(seconds(10));
  EXPECT_EQ(Now(), kStart + 600);
}

TEST_F(ServerClock, anotherSpeedStartsItAnew) {
  (void)Learn(kStart, 60);
  Pass(seconds(100));
  EXPECT_TRUE(Learn(kStart + 50000, 1));
  EXPECT_EQ(clock_.Speed(), 1);
  EXPECT_EQ(Now(), kStart + 50000);
  Pass(seconds(10));
  EXPECT_EQ(Now(), kStart + 50010);
}

TEST_F(ServerClock, resetForgetsEverything) {
  (void)Learn(kStart + 5000, 60);
  clock_.Reset(static_cast<double>(kStart), now_);
  EXPECT_EQ(clock_.Speed(), 1);
  EXPECT_EQ(Now(), kStart);
}

TEST_F(ServerClock, runsOnWhileTheMachineIsSuspended) {
  (void)Learn(kStart);
  Sleep(std::chrono::hours(9));
  EXPECT_EQ(Now(), kStart + 9 * 3600);
}

// The machine's own clock may have stood still meanwhile: one sample is enough again.
TEST_F(ServerClock, firstSampleAfterASuspensionSetsIt) {
  (void)Learn(kStart);
  Sleep(std::chrono::hours(9));
  EXPECT_TRUE(Learn(kStart + 1000));
  EXPECT_EQ(Now(), kStart + 1000);
  // And no other: the next one far off waits for a second one again.
  EXPECT_TRUE(Learn(kStart + 20000));
  EXPECT_EQ(Now(), kStart + 1000);
}

TEST_F(ServerClock, isSureWhenLearnedUntilSomethingPutsItInDoubt) {
  EXPECT_FALSE(clock_.Sure(now_));
  (void)Learn(kStart);
  EXPECT_TRUE(clock_.Sure(now_));
  Pass(std::chrono::hours(100));
  EXPECT_TRUE(clock_.Sure(now_));

  Sleep(seconds(60));
  EXPECT_FALSE(clock_.Sure(now_));
  EXPECT_TRUE(clock_.Learned());
  (void)Learn(Now());
  EXPECT_TRUE(clock_.Sure(now_));

  (void)Learn(Now() + 10000);
  EXPECT_FALSE(clock_.Sure(now_));
  (void)Learn(Now());
  EXPECT_TRUE(clock_.Sure(now_));

  clock_.Reset(static_cast<double>(kStart), now_);
  EXPECT_FALSE(clock_.Sure(now_));
}

TEST_F(ServerClock, knowsOfASuspensionUntilItIsHeardAgain) {
  Sleep(std::chrono::hours(9));
  EXPECT_FALSE(clock_.Suspended(now_)) << "it was not learned before";
  (void)Learn(kStart);
  Pass(std::chrono::hours(9));
  EXPECT_FALSE(clock_.Suspended(now_));
  Sleep(seconds(60));
  EXPECT_TRUE(clock_.Suspended(now_));
  (void)Learn(-5);
  EXPECT_TRUE(clock_.Suspended(now_)) << "a date that is none says nothing";
  (void)Learn(Now());
  EXPECT_FALSE(clock_.Suspended(now_));
}

int jumps = 0;

TEST_F(ServerClock, tellsOfEachJumpAndOfNothingElse) {
  jumps = 0;
  clock_.TellOfJumps([] { ++jumps; });
  const auto learn = [this](std::int64_t date, double speed = 1) {
    const int before = jumps;
    (void)Learn(date, speed);
    return jumps - before;
  };
  EXPECT_EQ(learn(kStart), 1) << "it is learned";
  EXPECT_EQ(learn(kStart + 8), 0) << "it is pulled";
  EXPECT_EQ(learn(-5), 0) << "a date that is none";
  EXPECT_EQ(learn(kStart + 10000), 0) << "far off, once";
  EXPECT_EQ(learn(kStart + 10000), 1) << "far off, twice: it is corrected";
  Sleep(std::chrono::hours(9));
  EXPECT_EQ(learn(Now()), 1) << "heard again after a suspension";
  EXPECT_EQ(learn(Now()), 0);
  EXPECT_EQ(learn(Now(), 60), 1) << "another speed";
  clock_.TellOfJumps(nullptr);
  EXPECT_EQ(learn(Now(), 1), 0);
}

// A waiting thread looks at the clock from inside.
TEST_F(ServerClock, tellsWithoutALock) {
  static ServerClockModel* clock = nullptr;
  static stock_host::Moment moment;
  static std::int64_t seen = 0;
  clock = &clock_;
  moment = now_;
  clock_.TellOfJumps([] { seen = clock->Now(moment); });
  (void)Learn(kStart + 500);
  EXPECT_EQ(seen, kStart + 500);
  clock_.TellOfJumps(nullptr);
}

// Two clocks of the machine are never read at the very same moment.
TEST_F(ServerClock, aBlinkIsNoSuspension) {
  (void)Learn(kStart);
  Sleep(milliseconds(999));
  EXPECT_TRUE(clock_.Sure(now_));
  EXPECT_TRUE(Learn(kStart + 10000));
  EXPECT_EQ(Now(), kStart + 1);
}

TEST(Moment, isTheMachinesTimeSinceItWasBooted) {
  const stock_host::Moment earlier = stock_host::Moment::Now();
  timespec boot{};
  ASSERT_EQ(clock_gettime(CLOCK_BOOTTIME, &boot), 0);
  const stock_host::Moment later = stock_host::Moment::Now();
  const auto between = seconds(boot.tv_sec) + std::chrono::nanoseconds(boot.tv_nsec);
  EXPECT_LE(earlier.elapsed, between);
  EXPECT_LE(between, later.elapsed);
  EXPECT_FALSE(stock_host::SuspendedBetween(earlier, later));
}

TEST(ParseSpeed, takesNumbers) {
  EXPECT_EQ(ParseSpeed("1"), 1);
  EXPECT_EQ(ParseSpeed("60"), 60);
  EXPECT_EQ(ParseSpeed("0.5"), 0.5);
  EXPECT_EQ(ParseSpeed("100000"), 100000);
  EXPECT_EQ(ParseSpeed("0.001"), 0.001);
  EXPECT_EQ(ParseSpeed("0"), 0);
}

TEST(ParseSpeed, refusesEverythingElse) {
  for (const char* text : {"", "-0.5", "-1", "nan", "inf", "1e3", "0x10", "1 ", " 1", "1x", "100001",
                           "0.0001", "1,5", "+1", "999999999999999999999999999999999999999999999999999"}) {
    EXPECT_EQ(ParseSpeed(text), std::nullopt) << text;
  }
}

}  // namespace

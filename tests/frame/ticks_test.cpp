// Ticks: hundred-nanosecond steps of the system's clock.
#include "frame/ticks.h"

#include <gtest/gtest.h>

#include <limits>

#include "scripted_ticks.h"

namespace {

TEST(Ticks, countTheSystemsClockFrom1970) {
  const auto seconds = [] {
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
  };
  const auto before = seconds();
  const std::int64_t now = frame::Ticks() / 10'000'000;
  EXPECT_GE(now, before);
  EXPECT_LE(now, seconds());
}

TEST(Ticks, differencesAreWholeMillisecondsTowardZero) {
  EXPECT_EQ(frame::MillisecondsBetween(0, 10'000), 1);
  EXPECT_EQ(frame::MillisecondsBetween(0, 19'999), 1);
  EXPECT_EQ(frame::MillisecondsBetween(0, 9'999), 0);
  EXPECT_EQ(frame::MillisecondsBetween(9'999, 0), 0);
  EXPECT_EQ(frame::MillisecondsBetween(10'000, 0), -1);
}

TEST(Ticks, differencesOfFarOffMomentsAreNoUndefinedBehaviour) {
  EXPECT_EQ(frame::MillisecondsBetween(std::numeric_limits<std::int64_t>::min(),
                                       std::numeric_limits<std::int64_t>::max()),
            0);
  EXPECT_EQ(frame::MillisecondsBetween(0, std::numeric_limits<std::int64_t>::max()), 922'337'203'685'477);
}

}  // namespace

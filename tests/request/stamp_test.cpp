// Stamps of requests: which answer belongs to the latest one.
#include "request/stamp.h"

#include <gtest/gtest.h>

#include "scripted_ticks.h"

namespace {

TEST(Stamp, isTheTimeOfTheRequest) {
  const ScriptedTicks ticks;
  request::Stamp stamp;
  EXPECT_EQ(stamp.Advance(), ticks.Now());
}

TEST(Stamp, anAnswerToTheLatestRequestIsTheLatest) {
  const ScriptedTicks ticks;
  request::Stamp stamp;
  const std::int64_t request = stamp.Advance();
  EXPECT_TRUE(stamp.IsLatest(request));
}

TEST(Stamp, twoRequestsInOneMillisecondDiffer) {
  const ScriptedTicks ticks;
  request::Stamp stamp;
  const std::int64_t first = stamp.Advance();
  const std::int64_t second = stamp.Advance();
  EXPECT_EQ(second, first + 10'000);
  EXPECT_FALSE(stamp.IsLatest(first));
  EXPECT_TRUE(stamp.IsLatest(second));
}

TEST(Stamp, advancesThoughTheClockIsSetBack) {
  ScriptedTicks ticks;
  request::Stamp stamp;
  const std::int64_t first = stamp.Advance();
  ticks.Advance(-60'000);
  EXPECT_EQ(stamp.Advance(), first + 10'000);
}

TEST(Stamp, comparesWholeMillisecondsTowardZero) {
  const ScriptedTicks ticks;
  request::Stamp stamp;
  const std::int64_t latest = stamp.Advance();
  EXPECT_TRUE(stamp.IsLatest(latest - 9'999));
  EXPECT_TRUE(stamp.IsLatest(latest + 9'999));
  EXPECT_FALSE(stamp.IsLatest(latest - 10'000));
  EXPECT_FALSE(stamp.IsLatest(latest + 10'000));
}

TEST(Stamp, isZeroBeforeTheFirstRequest) {
  const request::Stamp stamp;
  EXPECT_TRUE(stamp.IsLatest(0));
  EXPECT_FALSE(stamp.IsLatest(10'000));
}

}  // namespace

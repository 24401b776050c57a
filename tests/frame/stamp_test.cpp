// Stamps of requests: which answer belongs to the latest one.
#include "frame/stamp.h"

#include <gtest/gtest.h>

#include "scripted_ticks.h"

namespace {

TEST(Stamps, isTheTimeOfTheRequest) {
  const ScriptedTicks ticks;
  frame::Stamps stamps;
  EXPECT_EQ(stamps.Next(), ticks.Now());
}

TEST(Stamps, anAnswerToTheLatestRequestIsTheLatest) {
  const ScriptedTicks ticks;
  frame::Stamps stamps;
  const std::int64_t request = stamps.Next();
  EXPECT_TRUE(stamps.IsLatest(request));
}

TEST(Stamps, twoRequestsInOneMillisecondDiffer) {
  const ScriptedTicks ticks;
  frame::Stamps stamps;
  const std::int64_t first = stamps.Next();
  const std::int64_t second = stamps.Next();
  EXPECT_EQ(second, first + 10'000);
  EXPECT_FALSE(stamps.IsLatest(first));
  EXPECT_TRUE(stamps.IsLatest(second));
}

TEST(Stamps, advancesThoughTheClockIsSetBack) {
  ScriptedTicks ticks;
  frame::Stamps stamps;
  const std::int64_t first = stamps.Next();
  ticks.Advance(-60'000);
  EXPECT_EQ(stamps.Next(), first + 10'000);
}

TEST(Stamps, comparesWholeMillisecondsTowardZero) {
  const ScriptedTicks ticks;
  frame::Stamps stamps;
  const std::int64_t latest = stamps.Next();
  EXPECT_TRUE(stamps.IsLatest(latest - 9'999));
  EXPECT_TRUE(stamps.IsLatest(latest + 9'999));
  EXPECT_FALSE(stamps.IsLatest(latest - 10'000));
  EXPECT_FALSE(stamps.IsLatest(latest + 10'000));
}

TEST(Stamps, isZeroBeforeTheFirstRequest) {
  const frame::Stamps stamps;
  EXPECT_TRUE(stamps.IsLatest(0));
  EXPECT_FALSE(stamps.IsLatest(10'000));
}

TEST(Stamps, anAnswerMayFollowOneOfTheSameOrAnOlderRequest) {
  EXPECT_TRUE(frame::MayFollow(10, 0));
  EXPECT_TRUE(frame::MayFollow(10, 10));
  EXPECT_FALSE(frame::MayFollow(9, 10));
}

}  // namespace

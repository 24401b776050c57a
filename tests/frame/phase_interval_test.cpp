// The interval that most services share.
#include "frame/phase_interval.h"

#include <gtest/gtest.h>

#include "scripted_host.h"

namespace {

class PhaseInterval : public ::testing::Test {
 protected:
  ScriptedHost host;
};

TEST_F(PhaseInterval, isAnHourAtMostWithOneQuestion) {
  host.ScriptSpans({7200, 5});
  EXPECT_EQ(frame::PhaseInterval(), 3600);
  EXPECT_EQ(host.SpanCalls().size(), 1u);
}

TEST_F(PhaseInterval, asksAgainAndReturnsTheSecondAnswer) {
  host.ScriptSpans({1200, 1199});
  EXPECT_EQ(frame::PhaseInterval(), 1199);
  EXPECT_EQ(host.SpanCalls().size(), 2u);
}

TEST_F(PhaseInterval, takes3600ForShortEnough) {
  host.ScriptSpans({3600, 3599});
  EXPECT_EQ(frame::PhaseInterval(), 3599);
}

TEST_F(PhaseInterval, returnsTheSecondAnswerAsItIs) {
  host.ScriptSpans({10, 90000});
  EXPECT_EQ(frame::PhaseInterval(), 90000);
}

TEST_F(PhaseInterval, returnsZeroAndLessAsTheyAre) {
  host.ScriptSpans({0, 0});
  EXPECT_EQ(frame::PhaseInterval(), 0);
  host.ScriptSpans({-5, -7});
  EXPECT_EQ(frame::PhaseInterval(), -7);
}

TEST_F(PhaseInterval, asksForTheServersTimeInItsLow32Bits) {
  host.SetTime((std::int64_t{1} << 32) + 77);
  host.SetSpan(60);
  EXPECT_EQ(frame::PhaseInterval(), 60);
  EXPECT_EQ(host.SpanCalls(), (std::vector<std::uint32_t>{77, 77}));
}

}  // namespace

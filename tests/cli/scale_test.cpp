// Places on a chart.
#include "cli/plot/scale.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>

namespace cli {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(Scale, putsTheHighestValueOnTop) {
  const Scale scale(10, 20, 11);
  EXPECT_DOUBLE_EQ(scale.Place(20), 0);
  EXPECT_DOUBLE_EQ(scale.Place(15), 5);
  EXPECT_DOUBLE_EQ(scale.Place(10), 10);
  EXPECT_DOUBLE_EQ(scale.ValueAt(0), 20);
  EXPECT_DOUBLE_EQ(scale.ValueAt(10), 10);
}

TEST(Scale, staysInsideTheRows) {
  const Scale scale(10, 20, 3);
  for (const double value : {-kInfinity, -1e300, 0.0, 10.0, 13.0, 20.0, 1e300, kInfinity, kNaN}) {
    EXPECT_GE(scale.DotAt(value), 0) << value;
    EXPECT_LT(scale.DotAt(value), 12) << value;
    EXPECT_GE(scale.HalfAt(value), 0) << value;
    EXPECT_LT(scale.HalfAt(value), 6) << value;
  }
  EXPECT_EQ(scale.Place(kNaN), 2);
}

TEST(Scale, takesARangeInEitherOrder) {
  EXPECT_DOUBLE_EQ(Scale(20, 10, 11).Place(20), 0);
}

TEST(Scale, widensARangeWithoutHeight) {
  const Scale scale(10, 10, 5);
  EXPECT_DOUBLE_EQ(scale.Place(10), 2);
  EXPECT_GT(scale.ValueAt(0), 10);
  EXPECT_LT(scale.ValueAt(4), 10);
}

TEST(Scale, survivesWhatIsNoRange) {
  EXPECT_DOUBLE_EQ(Scale(kInfinity, -kInfinity, 5).ValueAt(0), 1);
  EXPECT_DOUBLE_EQ(Scale(kNaN, 1, 5).ValueAt(4), 0);
  EXPECT_EQ(Scale(0, 1, 0).Place(0.3), 0);
}

TEST(SessionMinute, leavesLunchOut) {
  EXPECT_EQ(SessionMinute(930), 0);
  EXPECT_EQ(SessionMinute(931), 1);
  EXPECT_EQ(SessionMinute(1000), 30);
  EXPECT_EQ(SessionMinute(1130), 120);
  EXPECT_EQ(SessionMinute(1300), 120);
  EXPECT_EQ(SessionMinute(1301), 121);
  EXPECT_EQ(SessionMinute(1500), 240);
}

TEST(SessionMinute, putsWhatLiesOutsideToTheNearestMinute) {
  EXPECT_EQ(SessionMinute(915), 0);
  EXPECT_EQ(SessionMinute(0), 0);
  EXPECT_EQ(SessionMinute(1215), 120);
  EXPECT_EQ(SessionMinute(1530), 240);
  EXPECT_EQ(SessionMinute(2359), 240);
}

TEST(SessionMinute, refusesWhatIsNoClockTime) {
  for (const std::int32_t clock : {-1, 960, 2400, 93000, std::numeric_limits<std::int32_t>::min(),
                                   std::numeric_limits<std::int32_t>::max()}) {
    EXPECT_LT(SessionMinute(clock), 0) << clock;
  }
}

TEST(SessionMinute, neverRunsBackwards) {
  int before = 0;
  std::set<int> positions;
  for (std::int32_t clock = 0; clock < 2400; ++clock) {
    const int minute = SessionMinute(clock);
    if (minute >= 0) {
      EXPECT_GE(minute, before) << clock;
      before = minute;
      positions.insert(minute);
    }
  }
  EXPECT_EQ(positions.size(), 241U);
}

TEST(Eighths, growFromNothingToAWholeCell) {
  EXPECT_STREQ(EighthFromBelow(0), " ");
  EXPECT_STREQ(EighthFromBelow(0.125), "▁");
  EXPECT_STREQ(EighthFromBelow(0.5), "▄");
  EXPECT_STREQ(EighthFromBelow(1), "█");
  EXPECT_STREQ(EighthFromBelow(7), "█");
  EXPECT_STREQ(EighthFromBelow(-1), " ");
  EXPECT_STREQ(EighthFromBelow(kNaN), " ");
  EXPECT_STREQ(EighthFromLeft(0.125), "▏");
  EXPECT_STREQ(EighthFromLeft(0.875), "▉");
}

}  // namespace
}  // namespace cli

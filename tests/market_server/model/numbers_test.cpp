#include <gtest/gtest.h>

#include <cmath>

#include "market_server/model/logarithm.h"
#include "market_server/model/random.h"

namespace market_server::model {
namespace {

TEST(Numbers, exponentialAndLogarithmAreExactToAFewBits) {
  for (double x = -20; x < 20; x += 0.0137) {
    EXPECT_NEAR(Exponential(x) / std::exp(x), 1, 1e-14) << x;
    EXPECT_NEAR(Logarithm(std::exp(x)), x, 4e-14) << x;
  }
}

TEST(Numbers, nearestRoundsHalvesUpwards) {
  EXPECT_EQ(Nearest(2.5), 3);
  EXPECT_EQ(Nearest(-2.5), -2);
  EXPECT_EQ(Nearest(-2.51), -3);
  EXPECT_EQ(Nearest(0.49), 0);
  EXPECT_EQ(Nearest(-0.5), 0);
}

// The published first values of the generator whose finalizer this is, seeded with 0.
TEST(Numbers, mixIsTheKnownFunction) {
  EXPECT_EQ(Mix(0), 0xe220a8397b1dcdafULL);
  EXPECT_EQ(Mix(0x9e3779b97f4a7c15ULL), 0x6e789e6aa1b965f4ULL);
}

TEST(Numbers, normalHasTheDeviationAskedFor) {
  double sum = 0;
  double squares = 0;
  constexpr int kDraws = 100000;
  for (std::uint64_t i = 0; i < kDraws; ++i) {
    const double x = Normal(1000000, Mix(17, i));
    sum += x;
    squares += x * x;
  }
  EXPECT_NEAR(sum / kDraws, 0, 10000);
  EXPECT_NEAR(std::sqrt(squares / kDraws), 1000000, 10000);
}

TEST(Numbers, belowAndUnitStayWithinTheirRange) {
  for (std::uint64_t i = 0; i < 10000; ++i) {
    const std::uint64_t h = Mix(3, i);
    EXPECT_LT(Below(h, 7), 7u);
    EXPECT_GE(Unit(h), 0);
    EXPECT_LT(Unit(h), 1);
  }
  EXPECT_EQ(Below(~0ULL, 7), 6u);
  EXPECT_LT(Unit(~0ULL), 1);
}

TEST(Numbers, smoothNoiseHasNoJumps) {
  for (double x = 0; x < 50; x += 0.01) {
    const double value = SmoothNoise(5, x, 4);
    EXPECT_LE(std::abs(value), 1);
    EXPECT_NEAR(value, SmoothNoise(5, x + 0.01, 4), 0.01);
  }
}

}  // namespace
}  // namespace market_server::model

// The hard conversions: every double has one whole number, without undefined behaviour.
#include "json/numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
constexpr double kTwoTo31 = 2147483648.0;
constexpr double kTwoTo32 = 4294967296.0;
constexpr double kTwoTo63 = 9223372036854775808.0;
constexpr double kTwoTo64 = 18446744073709551616.0;
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();

TEST(Unsigned64, truncatesTowardZero) {
  EXPECT_EQ(request::ToUnsigned64(0.0), 0u);
  EXPECT_EQ(request::ToUnsigned64(-0.0), 0u);
  EXPECT_EQ(request::ToUnsigned64(0.999), 0u);
  EXPECT_EQ(request::ToUnsigned64(1.999), 1u);
  EXPECT_EQ(request::ToUnsigned64(-0.999), 0u);
  EXPECT_EQ(request::ToUnsigned64(1e-300), 0u);
  EXPECT_EQ(request::ToUnsigned64(9007199254740993.0), 9007199254740992u);
}

TEST(Unsigned64, keepsTheWholeRange) {
  EXPECT_EQ(request::ToUnsigned64(kTwoTo63 - 1024), 9223372036854774784u);
  EXPECT_EQ(request::ToUnsigned64(kTwoTo63), 9223372036854775808u);
  EXPECT_EQ(request::ToUnsigned64(kTwoTo63 + 2048), 9223372036854777856u);
  EXPECT_EQ(request::ToUnsigned64(kTwoTo64 - 2048), 18446744073709549568u);
}

TEST(Unsigned64, keepsThePatternOfNegativeNumbers) {
  EXPECT_EQ(request::ToUnsigned64(-1), 18446744073709551615u);
  EXPECT_EQ(request::ToUnsigned64(-5), 18446744073709551611u);
  EXPECT_EQ(request::ToUnsigned64(-5.9), 18446744073709551611u);
  EXPECT_EQ(request::ToUnsigned64(-kTwoTo63), 9223372036854775808u);
}

TEST(Unsigned64, isZeroForWhatFitsNowhere) {
  EXPECT_EQ(request::ToUnsigned64(kTwoTo64), 0u);
  EXPECT_EQ(request::ToUnsigned64(1e300), 0u);
  EXPECT_EQ(request::ToUnsigned64(-kTwoTo63 - 2048), 0u);
  EXPECT_EQ(request::ToUnsigned64(-1e300), 0u);
  EXPECT_EQ(request::ToUnsigned64(kInfinity), 0u);
  EXPECT_EQ(request::ToUnsigned64(-kInfinity), 0u);
  EXPECT_EQ(request::ToUnsigned64(kNoNumber), 0u);
}

TEST(Signed32, truncatesTowardZero) {
  EXPECT_EQ(request::ToSigned32(0.0), 0);
  EXPECT_EQ(request::ToSigned32(5.999), 5);
  EXPECT_EQ(request::ToSigned32(-5.999), -5);
  EXPECT_EQ(request::ToSigned32(-0.5), 0);
}

TEST(Signed32, keepsTheWholeRange) {
  EXPECT_EQ(request::ToSigned32(kTwoTo31 - 1), 2147483647);
  EXPECT_EQ(request::ToSigned32(kTwoTo31 - 0.5), 2147483647);
  EXPECT_EQ(request::ToSigned32(-kTwoTo31), kLeast);
  EXPECT_EQ(request::ToSigned32(-kTwoTo31 - 0.5), kLeast);
}

TEST(Signed32, isTheLeastNumberForWhatDoesNotFit) {
  EXPECT_EQ(request::ToSigned32(kTwoTo31), kLeast);
  EXPECT_EQ(request::ToSigned32(3e9), kLeast);
  EXPECT_EQ(request::ToSigned32(-kTwoTo31 - 1), kLeast);
  EXPECT_EQ(request::ToSigned32(kInfinity), kLeast);
  EXPECT_EQ(request::ToSigned32(-kInfinity), kLeast);
  EXPECT_EQ(request::ToSigned32(kNoNumber), kLeast);
}

TEST(Unsigned32, keepsTheLow32BitsOfTheTruncatedValue) {
  EXPECT_EQ(request::ToUnsigned32(0.0), 0u);
  EXPECT_EQ(request::ToUnsigned32(7.9), 7u);
  EXPECT_EQ(request::ToUnsigned32(kTwoTo32 - 1), 4294967295u);
  EXPECT_EQ(request::ToUnsigned32(kTwoTo32), 0u);
  EXPECT_EQ(request::ToUnsigned32(kTwoTo32 + 7), 7u);
  EXPECT_EQ(request::ToUnsigned32(-1), 4294967295u);
  EXPECT_EQ(request::ToUnsigned32(-1.5), 4294967295u);
  EXPECT_EQ(request::ToUnsigned32(kTwoTo64), 0u);
  EXPECT_EQ(request::ToUnsigned32(kNoNumber), 0u);
}

TEST(RoundToCents, keepsTheResidueOfItsSteps) {
  EXPECT_EQ(request::RoundToCents(3.35 * 1.1), (369 + 0.000001) / 10 / 10);
  EXPECT_NEAR(request::RoundToCents(3.35 * 1.1), 3.69000001, 1e-12);
  EXPECT_NEAR(request::RoundToCents(3.35 * 0.9), 3.02000001, 1e-12);
}

TEST(RoundToCents, givesTheResultTheSignOfTheInput) {
  EXPECT_EQ(request::RoundToCents(-3.685), -request::RoundToCents(3.685));
  EXPECT_LT(request::RoundToCents(-1.0), 0.0);
  EXPECT_GT(request::RoundToCents(0.0), 0.0);
  EXPECT_GT(request::RoundToCents(-0.000001), 0.0) << "not below the limit: not negative";
  EXPECT_LT(request::RoundToCents(-0.0000011), 0.0);
}

TEST(RoundToCents, roundsHalfUpOfTheMagnitude) {
  EXPECT_NEAR(request::RoundToCents(1.005), 1.01000001, 1e-12);
  EXPECT_NEAR(request::RoundToCents(1.004), 1.00000001, 1e-12);
  EXPECT_NEAR(request::RoundToCents(11.0), 11.00000001, 1e-12);
}

}  // namespace

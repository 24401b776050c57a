// Figures as a person reads them.
#include "cli/format/figures.h"

#include <gtest/gtest.h>

#include <clocale>
#include <limits>
#include <string>

namespace cli {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(Fixed, groupsThousands) {
  EXPECT_EQ(Fixed(0, 2), "0.00");
  EXPECT_EQ(Fixed(999.995, 1), "1,000.0");
  EXPECT_EQ(Fixed(3012.45, 2), "3,012.45");
  EXPECT_EQ(Fixed(123456, 0), "123,456");
  EXPECT_EQ(Fixed(-1234567.891, 2), "-1,234,567.89");
}

TEST(Fixed, writesHugeMagnitudesWithAnExponent) {
  EXPECT_EQ(Fixed(999999999999999.0, 0), "999,999,999,999,999");
  EXPECT_EQ(Fixed(1e15, 2), "1.00e+15");
  EXPECT_EQ(Fixed(-std::numeric_limits<double>::max(), 2), "-1.80e+308");
}

TEST(Fixed, showsThatThereIsNoNumber) {
  EXPECT_EQ(Fixed(kNaN, 2), kNoFigure);
  EXPECT_EQ(Fixed(kInfinity, 2), kNoFigure);
  EXPECT_EQ(SignedPercent(-kInfinity, 2), kNoFigure);
}

TEST(Fixed, doesNotDependOnTheLocale) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  std::setlocale(LC_ALL, "de_DE.UTF-8");
  EXPECT_EQ(Fixed(1234.5, 2), "1,234.50");
  std::setlocale(LC_ALL, before.c_str());
}

TEST(Signed, showsTheSign) {
  EXPECT_EQ(Signed(12.341, 2), "+12.34");
  EXPECT_EQ(Signed(-3.2, 2), "-3.20");
  EXPECT_EQ(SignedPercent(0.409, 2), "+0.41%");
}

TEST(Signed, hasNoSignForWhatRoundsToZero) {
  EXPECT_EQ(Signed(0.001, 2), "0.00");
  EXPECT_EQ(Signed(-0.001, 2), "0.00");
  EXPECT_EQ(Signed(-0.0, 0), "0");
}

TEST(ShortAmount, countsInTenThousandsAndHundredMillions) {
  EXPECT_EQ(ShortAmount(0), "0");
  EXPECT_EQ(ShortAmount(9876), "9,876");
  EXPECT_EQ(ShortAmount(10000), "1.00万");
  EXPECT_EQ(ShortAmount(123456), "12.35万");
  EXPECT_EQ(ShortAmount(1234567), "123.5万");
  EXPECT_EQ(ShortAmount(12345678), "1,235万");
  EXPECT_EQ(ShortAmount(129e6), "1.29亿");
  EXPECT_EQ(ShortAmount(1.5e12), "1.50万亿");
  EXPECT_EQ(ShortAmount(-129e6), "-1.29亿");
}

TEST(ShortAmount, takesTheUnitThatTheRoundedFigureFills) {
  EXPECT_EQ(ShortAmount(9999), "9,999");
  EXPECT_EQ(ShortAmount(9999.9), "1.00万");
  EXPECT_EQ(ShortAmount(99994999), "9,999万");
  EXPECT_EQ(ShortAmount(99999999), "1.00亿");
  EXPECT_EQ(ShortAmount(999949), "99.99万");
  EXPECT_EQ(ShortAmount(999950), "100.0万");
}

TEST(ShortAmount, showsSignAndAbsence) {
  EXPECT_EQ(SignedShortAmount(129e6), "+1.29亿");
  EXPECT_EQ(SignedShortAmount(-129e6), "-1.29亿");
  EXPECT_EQ(SignedShortAmount(0.2), "0");
  EXPECT_EQ(ShortAmount(-0.2), "0");
  EXPECT_EQ(ShortAmount(kNaN), kNoFigure);
  EXPECT_EQ(SignedShortAmount(kInfinity), kNoFigure);
}

}  // namespace
}  // namespace cli

#include "cli/format/figures.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

namespace cli {
namespace {

constexpr double kLargestGrouped = 1e15;

// Digits of a finite magnitude, without sign.
std::string Digits(double magnitude, int decimals) {
  std::array<char, 64> buffer{};
  const auto format = magnitude < kLargestGrouped ? std::chars_format::fixed : std::chars_format::scientific;
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), magnitude, format,
                                 std::clamp(decimals, 0, 9))
                       .ptr;
  std::string digits(buffer.data(), end);
  if (format == std::chars_format::fixed) {
    for (std::size_t at = std::min(digits.find('.'), digits.size()); at > 3;) {
      at -= 3;
      digits.insert(at, 1, ',');
    }
  }
  return digits;
}

constexpr double kTenThousand = 1e4;

struct Unit {
  double size;
  const char* name;
};
constexpr std::array kUnits = {Unit{1e12, "万亿"}, Unit{1e8, "亿"}, Unit{kTenThousand, "万"}};

// A finite magnitude in the largest unit that it fills. What would round up to the next unit is written in
// it.
std::string InUnits(double magnitude) {
  for (const Unit& unit : kUnits) {
    const double count = magnitude / unit.size;
    if (count >= 0.99995) {
      const int decimals = count >= 999.95 ? 0 : count >= 99.995 ? 1 : 2;
      return Digits(count, decimals) + unit.name;
    }
  }
  return Digits(magnitude, 0);
}

bool IsZero(std::string_view digits) {
  return digits.find_first_of("123456789") == std::string_view::npos;
}

std::string WithSign(double value, int decimals, const char* plus) {
  if (!std::isfinite(value)) {
    return kNoFigure;
  }
  std::string digits = Digits(std::fabs(value), decimals);
  if (IsZero(digits)) {
    return digits;
  }
  return (value < 0 ? "-" : plus) + digits;
}

}  // namespace

std::string Fixed(double value, int decimals) {
  return WithSign(value, decimals, "");
}

std::string Signed(double value, int decimals) {
  return WithSign(value, decimals, "+");
}

std::string SignedPercent(double value, int decimals) {
  return std::isfinite(value) ? Signed(value, decimals) + "%" : kNoFigure;
}

std::string ShortAmount(double value) {
  if (!std::isfinite(value)) {
    return kNoFigure;
  }
  const std::string text = InUnits(std::fabs(value));
  return value < 0 && !IsZero(text) ? "-" + text : text;
}

std::string SignedShortAmount(double value) {
  const std::string text = ShortAmount(value);
  return std::isfinite(value) && value > 0 && !IsZero(text) ? "+" + text : text;
}

}  // namespace cli

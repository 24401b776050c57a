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

}  // namespace cli

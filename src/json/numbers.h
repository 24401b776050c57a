// Conversions of the feed's doubles to whole numbers, and the feed's rounding. No input is undefined
// behaviour.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace request {

inline constexpr double kTwoTo63 = 9223372036854775808.0;

/// Truncates toward zero. The whole unsigned range survives; a negative number keeps its two's-complement
/// pattern (-5 becomes 2^64 - 5). What fits neither, and what is no number, is 0.
[[nodiscard]] inline std::uint64_t ToUnsigned64(double value) {
  constexpr std::uint64_t kHighest = std::uint64_t{1} << 63;
  if (std::fabs(value) < kTwoTo63) {
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
  }
  if (value >= kTwoTo63 && value < 2 * kTwoTo63) {
    return static_cast<std::uint64_t>(value - kTwoTo63) + kHighest;
  }
  return value == -kTwoTo63 ? kHighest : 0;
}

/// Truncates toward zero; the smallest number for what is out of range or no number.
[[nodiscard]] inline std::int32_t ToSigned32(double value) {
  constexpr auto kMinimum = std::numeric_limits<std::int32_t>::min();
  if (!(value > -2147483649.0 && value < 2147483648.0)) {
    return kMinimum;
  }
  return static_cast<std::int32_t>(value);
}

/// The low 32 bits of the truncated value.
[[nodiscard]] inline std::uint32_t ToUnsigned32(double value) {
  return static_cast<std::uint32_t>(ToUnsigned64(value) & 0xFFFFFFFFU);
}

/// Half up to two decimals, of the magnitude. The 0.000001 that is added after the floor stays in the result
/// as 0.00000001 (kept: views know the residue).
[[nodiscard]] inline double RoundToCents(double value) {
  const bool negative = value < -0.000001;
  double magnitude = negative ? -value : value;
  magnitude += 0.000001;
  magnitude *= 10;
  magnitude *= 10;
  magnitude += 0.5;
  magnitude = std::floor(magnitude);
  magnitude += 0.000001;
  magnitude /= 10;
  magnitude /= 10;
  return negative ? -magnitude : magnitude;
}

}  // namespace request

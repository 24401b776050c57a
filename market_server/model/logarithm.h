// Exponential, logarithm and smooth noise from the basic operations of IEEE doubles only: the platform's
// mathematics library may round its functions differently, and prices must come out the same everywhere. Pure
// functions.
#pragma once

#include <cstdint>

namespace market_server::model {

[[nodiscard]] double Exponential(double x);  ///< |x| below 80
[[nodiscard]] double Logarithm(double x);    ///< positive, finite

/// Smooth noise in [-1, 1]: hashed values at the multiples of `period`, eased in between.
[[nodiscard]] double SmoothNoise(std::uint64_t key, double position, double period);

/// Nearest integer, halves upwards.
[[nodiscard]] constexpr std::int64_t Nearest(double x) {
  const double raised = x + 0.5;
  const auto cut = static_cast<std::int64_t>(raised);
  return cut - (static_cast<double>(cut) > raised ? 1 : 0);
}

}  // namespace market_server::model

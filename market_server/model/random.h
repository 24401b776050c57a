// Counter-based random numbers: every figure of the market is hashed from its key, so that it can be drawn in
// any order, any number of times, on any platform. Integer arithmetic only. Pure functions.
#pragma once

#include <cstdint>

namespace market_server::model {

/// Logarithms and returns are fixed-point numbers with 24 fractional bits.
inline constexpr std::int32_t kOne = 1 << 24;

[[nodiscard]] constexpr std::uint64_t Mix(std::uint64_t x) {
  x += 0x9e3779b97f4a7c15ULL;
  x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ULL;
  x = (x ^ (x >> 27)) * 0x94d049bb133111ebULL;
  return x ^ (x >> 31);
}

[[nodiscard]] constexpr std::uint64_t Mix(std::uint64_t key, std::uint64_t counter) {
  return Mix(key ^ (counter * 0xd6e8feb86659fd93ULL));
}

/// Uniform in [0, n), n below 2^32.
[[nodiscard]] constexpr std::uint32_t Below(std::uint64_t hash, std::uint32_t n) {
  return static_cast<std::uint32_t>(((hash >> 32) * n) >> 32);
}

/// Uniform in [0, 1) as a double: 53 bits, exact.
[[nodiscard]] constexpr double Unit(std::uint64_t hash) {
  return static_cast<double>(hash >> 11) * 0x1p-53;
}

/// Nearly normal with the standard deviation `sd`, never beyond 3.5 of them.
[[nodiscard]] constexpr std::int32_t Normal(std::int32_t sd, std::uint64_t hash) {
  const std::int64_t sum = static_cast<std::int64_t>((hash & 0xffff) + ((hash >> 16) & 0xffff) +
                                                     ((hash >> 32) & 0xffff) + (hash >> 48)) -
                           2 * 65535;
  return static_cast<std::int32_t>((sum * sd * 28379) >> 30);  ///< the sum's deviation is 37836.7
}

/// A fast stream for the many small draws within one day of one security.
class Stream {
 public:
  explicit constexpr Stream(std::uint64_t seed) : state_(seed) {}
  constexpr std::uint32_t Next() {
    state_ = state_ * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<std::uint32_t>(state_ >> 32);
  }

 private:
  std::uint64_t state_;
};

}  // namespace market_server::model

// The common part of all prices: the return of the whole market and of each industry for every day, and their
// way through each day. A day is described at three depths that agree by construction: its return, its open
// and eight half hours, its minutes. All returns have 24 fractional bits. Immutable once built.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "market_server/model/universe.h"

namespace market_server::model {

inline constexpr int kSegments = 8;  ///< of half an hour
inline constexpr int kSegmentMinutes = 30;
inline constexpr int kMinutes = kSegments * kSegmentMinutes;

/// A return since the last close at the open and at the end of each half hour.
using HalfHours = std::array<std::int32_t, kSegments + 1>;
/// The deviation of the end of each minute from the straight line between its two half hours; 0 at a half
/// hour's end.
using Deviations = std::array<std::int32_t, kMinutes>;

class Factors {
 public:
  Factors(const Options& options, const Days& days);

  [[nodiscard]] int market() const { return count_ - 1; }  // the factors before it are the industries
  [[nodiscard]] int count() const { return count_; }

  [[nodiscard]] std::int32_t DayReturn(int factor, int day) const { return returns_[At(factor, day)]; }
  /// Sum of the returns up to and with the day; 0 before day 0.
  [[nodiscard]] std::int32_t Level(int factor, int day) const {
    return day < 0 ? 0 : levels_[At(factor, day)];
  }
  [[nodiscard]] double Activity(int day) const {
    return activity_[static_cast<std::size_t>(day)];
  }  // about 1

  [[nodiscard]] HalfHours HalfHoursOf(int factor, int day) const;
  void Minutes(int factor, int day, Deviations& out) const;

 private:
  [[nodiscard]] std::size_t At(int factor, int day) const {
    return static_cast<std::size_t>(factor) * static_cast<std::size_t>(days_) + static_cast<std::size_t>(day);
  }
  void MakeReturns(int factor, const Options& options, const Days& days);
  [[nodiscard]] std::int32_t IntradayDeviation(int factor, int day) const;

  std::uint64_t key_ = 0;
  int count_ = 0;
  int days_ = 0;
  int calm_day_ = -1;
  std::vector<std::int32_t> returns_, levels_;
  std::vector<double> activity_;
};

/// A random bridge through the half hours: `out` holds its ends at [0] and [8] already.
void Bridge(HalfHours& out, std::int32_t deviation, std::uint64_t hash);

/// Minute deviations of a random walk whose whole day deviates by `deviation`.
void WalkMinutes(std::int32_t deviation, std::uint64_t seed, Deviations& out);

}  // namespace market_server::model

#include "cli/plot/scale.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace cli {
namespace {

constexpr int kHalfSession = kSessionMinutes / 2;
constexpr int kOpening = 9 * 60 + 30;
constexpr int kAfternoon = 13 * 60;

std::size_t Eighths(double part) {
  return static_cast<std::size_t>(std::lround(std::clamp(std::isfinite(part) ? part : 0.0, 0.0, 1.0) * 8));
}

}  // namespace

Scale::Scale(double low, double high, int rows) : rows_(std::max(rows, 1)) {
  const Range range = Range{std::min(low, high), std::max(low, high)}.Widened();
  low_ = range.low;
  high_ = range.high;
}

double Scale::Place(double value) const {
  if (std::isnan(value)) {
    return rows_ - 1;
  }
  return (high_ - std::clamp(value, low_, high_)) / (high_ - low_) * (rows_ - 1);
}

int Scale::DotAt(double value) const {
  return static_cast<int>(std::lround(Place(value) * 4 + 1.5));
}

int Scale::HalfAt(double value) const {
  return static_cast<int>(std::lround(Place(value) * 2 + 0.5));
}

double Scale::ValueAt(int row) const {
  return rows_ == 1 ? high_ : high_ - (high_ - low_) * row / (rows_ - 1);
}

int SessionMinute(std::int32_t clock) {
  if (clock < 0 || clock >= 2400 || clock % 100 >= 60) {
    return -1;
  }
  const int minute = clock / 100 * 60 + clock % 100;
  if (minute < kAfternoon) {
    return std::clamp(minute - kOpening, 0, kHalfSession);
  }
  return std::min(minute - kAfternoon, kHalfSession) + kHalfSession;
}

const char* EighthFromBelow(double part) {
  static constexpr std::array kBars = {" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
  return kBars[Eighths(part)];
}

const char* EighthFromLeft(double part) {
  static constexpr std::array kBars = {" ", "▏", "▎", "▍", "▌", "▋", "▊", "▉", "█"};
  return kBars[Eighths(part)];
}

void Range::Add(double value) {
  if (std::isfinite(value)) {
    low = std::min(low, value);
    high = std::max(high, value);
  }
}

Range Range::Widened() const {
  if (empty() || !std::isfinite(low) || !std::isfinite(high)) {
    return {0, 1};
  }
  const double least = std::max(std::fabs(high) * 1e-6, 0.01);
  return high - low < least ? Range{low - least, high + least} : *this;
}

Range RangeOfDays(const std::vector<MLineDay>& days, double preclose, bool average) {
  Range range;
  for (const MLineDay& day : days) {
    for (const MinutePoint& point : day.points) {
      if (point.price > 0) {
        range.Add(point.price);
      }
      if (average && point.avg_price > 0) {
        range.Add(point.avg_price);
      }
    }
  }
  if (range.empty()) {
    range.Add(preclose);
  }
  if (preclose > 0 && days.size() <= 1) {
    const double farthest = std::max(range.high - preclose, preclose - range.low);
    range = {preclose - farthest, preclose + farthest};
  }
  return range;
}

}  // namespace cli

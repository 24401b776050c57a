#include "cli/plot/range.h"

#include <algorithm>
#include <cmath>

namespace cli {

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

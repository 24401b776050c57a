// The range of values that a chart shows. Pure functions and values.
#pragma once

#include <limits>
#include <vector>

#include "charts/stock_mline.h"

namespace cli {

/// Smallest and largest of what is drawn; values that are no finite number do not count.
struct Range {
  double low = std::numeric_limits<double>::infinity();
  double high = -std::numeric_limits<double>::infinity();

  void Add(double value);
  [[nodiscard]] bool empty() const { return low > high; }
  /// One without height is a little higher, one that is empty or not finite is 0 to 1.
  [[nodiscard]] Range Widened() const;
};

/// That of prices, and of averages if `average` says so; those that are missing (0) do not count. One day has
/// its previous close in the middle.
[[nodiscard]] Range RangeOfDays(const std::vector<MLineDay>& days, double preclose, bool average);

}  // namespace cli

// How values become places on a chart: the range of what is drawn, a linear scale from the top down, and the
// axis of a trading day. Pure functions and values.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "charts/stock_mline.h"

namespace cli {

/// Maps values to rows of cells: `high` is the middle of row 0, `low` that of the last one.
class Scale {
 public:
  /// A range without height is widened a little; one that is not finite becomes 0 to 1.
  Scale(double low, double high, int rows);

  /// The row with its fraction. A value outside of the range has the place of its end, what is no number that
  /// of `low`.
  [[nodiscard]] double Place(double value) const;
  /// The dot from the top, of four to a row.
  [[nodiscard]] int DotAt(double value) const;
  /// The half of a row from the top.
  [[nodiscard]] int HalfAt(double value) const;
  /// The value in the middle of a row.
  [[nodiscard]] double ValueAt(int row) const;

 private:
  double low_;
  double high_;
  int rows_;
};

/// Trading minutes of a day: 09:30 to 11:30 and 13:00 to 15:00.
inline constexpr int kSessionMinutes = 240;

/// The position of a clock time HHMM on the axis of a day, lunch left out: 930 is 0, 1130 and 1300 are 120,
/// 1500 is 240. What lies before the opening, in the lunch break or after the close has the position of the
/// nearest trading minute before it, or 0. Negative for what is no clock time.
[[nodiscard]] int SessionMinute(std::int32_t clock);

/// The bar of a height between 0 and 1 in one cell, in eighths: " ", "▁" … "█".
[[nodiscard]] const char* EighthFromBelow(double part);
/// The same from the left: " ", "▏" … "█".
[[nodiscard]] const char* EighthFromLeft(double part);

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

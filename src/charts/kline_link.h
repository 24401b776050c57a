// Which candles belong together, how two pieces of an adjusted series are brought to one base, by previous
// close, and how the past of a series is put together: what a package holds, what was held before, and what
// the history service knows beyond them. Thread-safe: pure functions of their arguments and of the host's
// calendar.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "charts/kline_package.h"
#include "charts/kline_series.h"

namespace charts {

/// True when two dates belong to one candle of the period.
[[nodiscard]] bool IsSamePeriod(Period period, std::uint32_t date, std::uint32_t other);

/// The last candle that is none of a short line; the end if there is none.
template <class Container>
[[nodiscard]] auto LastDated(Container& candles) {
  const auto found = std::find_if(candles.rbegin(), candles.rend(),
                                  [](const KLineCandle& candle) { return candle.date != kShortLineDate; });
  return found == candles.rend() ? candles.end() : std::prev(found.base());
}

/// The date that a series reaches: that of its last candle, leaving aside candles of short lines where there
/// are others. 0 for an empty series.
[[nodiscard]] std::uint32_t LastDate(const Candles& candles);

/// A price of the newer piece by that of the older one; 1 when either is 0.
[[nodiscard]] constexpr double Quotient(double newer, double older) {
  return newer == 0 || older == 0 ? 1 : newer / older;
}

/// What links `next` to the last candle of a series. Across a gap prices moved, so only neighbouring trading
/// days are linked: 1 for others. The stock did not trade on the days between `last` and `complete_to`.
[[nodiscard]] double LinkOfNeighbours(const KLineCandle& last, std::uint32_t complete_to,
                                      const KLineCandle& next);

void Scale(KLineCandle& candle, double factor);

/// Brings two pieces of a series to one base. `link` is a price in the base of the newer piece by the same
/// price in that of the older one: history adjusted forward follows what is new, what is new follows history
/// adjusted backward.
template <class Older, class Newer>
void Link(Adjustment adjustment, double link, Older& older, Newer& newer) {
  if (link == 1) {
    return;
  }
  if (adjustment == Adjustment::kForward) {
    std::for_each(older.begin(), older.end(), [link](KLineCandle& candle) { Scale(candle, link); });
  } else if (adjustment == Adjustment::kBackward) {
    std::for_each(newer.begin(), newer.end(), [link](KLineCandle& candle) { Scale(candle, 1 / link); });
  }
}

/// Adds the rows that are later than the series, whose base may be another one. A row of the same week or
/// month as the last candle takes its place, because that candle was not complete.
void MergeTail(const Series& series, Candles& candles, const Candles& tail);

/// Puts the candles of `older` that lie before the series in front of it. When `older` reaches further it
/// takes the place of the series.
void MergeHead(const Series& series, Candles& candles, const Candles& older);

}  // namespace charts

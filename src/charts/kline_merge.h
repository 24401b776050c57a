// Puts the past of a candle series together: what a package holds, what was held before, and what the history
// service knows beyond them. Pieces of an adjusted series are linked by previous close. Thread-safe: pure
// functions of their arguments and of the host's calendar.
#pragma once

#include "charts/kline_series.h"

namespace charts {

/// Adds the rows that are later than the series, whose base may be another one. A row of the same week or
/// month as the last candle takes its place, because that candle was not complete.
void MergeTail(const Series& series, Candles& candles, const Candles& tail);

/// Puts the candles of `older` that lie before the series in front of it. When `older` reaches further it
/// takes the place of the series.
void MergeHead(const Series& series, Candles& candles, const Candles& older);

}  // namespace charts

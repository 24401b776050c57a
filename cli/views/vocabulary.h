// The market's words on the command line: boards, kinds of plates, columns to order by, with the numbers that
// the services know them by. Constants.
#pragma once

#include <string>

#include "cli/views/choices.h"

namespace cli {

/// Boards of stocks: all, sh, sz, gem, sme.
[[nodiscard]] Choices Boards();

/// Kinds of plates: industry, concept.
[[nodiscard]] Choices PlateKinds();

/// Columns by which lists of stocks can be ordered, each with a key of its own.
[[nodiscard]] Choices StockColumns();

/// Columns by which lists of plates, and the members of a plate, can be ordered.
[[nodiscard]] Choices PlateColumns();

/// Columns by which the watch list can be ordered.
[[nodiscard]] Choices WatchListColumns();

/// What a candle stands for: day, week, month.
[[nodiscard]] Choices Periods();

/// How the prices of candles are adjusted: none, forward, backward.
[[nodiscard]] Choices Adjustments();

inline constexpr int kByDay = 1;
inline constexpr int kUnadjusted = 1;

/// Of an order: asc, desc.
[[nodiscard]] Choices Directions();

/// Of a ranking: the day, or five minutes of it.
[[nodiscard]] Choices Spans();

/// "by week, adjusted forward".
[[nodiscard]] std::string SeriesText(int period, int adjustment);

}  // namespace cli

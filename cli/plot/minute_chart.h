// The course of trading days as a picture: price and average against the previous close, volume below, on the
// fixed axis of a session. Pure functions. Candles are candle_chart.h's matter.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "charts/stock_mline.h"
#include "cli/plot/axes.h"

namespace cli {

struct MinuteChartLook {
  ChartSize size;
  StyledLine title;
  bool average = true;  ///< an index has no average price
  std::optional<std::int32_t>
      cross{};  ///< minute of the last day that an upright line goes through, 931 for 09:31
};

/// The chart of all days of `line`, side by side; when they do not fit, of the latest that do. One day has
/// its previous close in the middle.
[[nodiscard]] std::vector<StyledLine> MinuteChart(const StockMLineData& line, const MinuteChartLook& look);

/// Number of the point of the last day that stands nearest to `column` of the chart; nothing outside of that
/// day.
[[nodiscard]] std::optional<std::size_t> PointAt(const StockMLineData& line, const MinuteChartLook& look,
                                                 int column);

/// Curves over one day: rates, counts and the like. `decimals` are those of the labels; a baseline is drawn
/// at zero when the values lie on both sides of it.
[[nodiscard]] std::vector<StyledLine> SessionChart(const std::vector<Curve>& curves, int decimals,
                                                   const StyledLine& title, const ChartSize& size);

}  // namespace cli

// Candles with their volumes as a picture. Pure functions. The course of a day is minute_chart.h's matter.
#pragma once

#include <vector>

#include "charts/stock_kline.h"
#include "cli/plot/axes.h"

namespace cli {

/// How many candles a chart of that size shows, with a column of air between two of them.
[[nodiscard]] std::size_t CandlesThatFit(const ChartSize& size);

/// The chart of the newest candles: as many as have a column of their own. A rise is red and hollow, a fall
/// green and full, so that they differ without colours, too.
[[nodiscard]] std::vector<StyledLine> CandleChart(const std::vector<KLineCandle>& candles,
                                                  const StyledLine& title, const ChartSize& size);

}  // namespace cli

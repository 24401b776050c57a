// Candles with their volumes as a picture. Pure functions. The course of a day is minute_chart.h's matter.
#pragma once

#include <optional>
#include <vector>

#include "charts/stock_kline.h"
#include "cli/plot/axes.h"

namespace cli {

/// A candle that closes above its open, or at it and not below the previous close.
[[nodiscard]] bool IsRise(const KLineCandle& candle);

/// The candles that can be drawn: one without a close is left out (a day on which nothing has traded yet, or
/// a suspended one), and the close stands for a price that is missing.
[[nodiscard]] std::vector<KLineCandle> WithPrices(std::vector<KLineCandle> candles);

/// How many candles a chart of that size shows, with a column of air between two of them.
[[nodiscard]] std::size_t CandlesThatFit(const ChartSize& size);

/// An average of closing prices over so many candles, of the last of those that are drawn.
struct Average {
  int span = 0;
  std::vector<double> values;  ///< NaN where there are not enough candles before
};
/// Averages over 5, 10, 20 and 60 candles, of the last `count` of `candles`.
[[nodiscard]] std::vector<Average> Averages(const std::vector<KLineCandle>& candles, std::size_t count);

struct CandleChartLook {
  ChartSize size;
  StyledLine title;  ///< the averages follow it: those at the cross-hair, or the newest
  std::vector<Average> averages{};
  std::optional<std::size_t> cross{};  ///< number of the candle that an upright line goes through
};

/// Number of the candle that stands nearest to `column` in a chart of `count` candles; nothing beside them.
[[nodiscard]] std::optional<std::size_t> CandleAt(const ChartSize& size, std::size_t count, int column);

/// The chart of the newest candles: as many as have a column of their own. A rise is red and hollow, a fall
/// green and full, so that they differ without colours, too. The averages are dotted lines behind them, as
/// far as they lie between the lowest price and the highest; in the title are as many as it has room for
/// whole.
[[nodiscard]] std::vector<StyledLine> CandleChart(const std::vector<KLineCandle>& candles,
                                                  const CandleChartLook& look);

}  // namespace cli

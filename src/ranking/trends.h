// How the figures of ranked rows moved against the answer before. Thread-safe: pure functions of the records.
// The directions of quotes, which know a tolerance, are in quotes/directions.h.
#pragma once

#include <vector>

#include "ranking/stock_market_summary.h"

namespace ranking {

/// Sets the trends of each row against the first earlier row of the same code that no row before it took.
/// Rows without one keep their trends.
void SetTrends(std::vector<StockMarketSummary>& rows, const std::vector<StockMarketSummary>& earlier);

}  // namespace ranking

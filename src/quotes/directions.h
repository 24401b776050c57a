// How the figures of an answer moved against the answer before. Thread-safe: pure functions of the records.
// The trends of ranked rows, which know no tolerance, are in ranking/trends.h.
#pragma once

#include <vector>

#include "quotes/optional_stock_market.h"
#include "quotes/stock_market_item.h"
#include "request/code_index.h"

namespace quotes {

/// Sets the directions of the tick fields of each item against the first earlier item of the same code. Items
/// without one keep their directions.
void SetDirections(std::vector<StockMarketItem>& items, const std::vector<StockMarketItem>& earlier);
void SetDirections(std::vector<OptionalMarketItem>& items, const std::vector<OptionalMarketItem>& earlier);

/// The same with the hashes of both sides' codes, which were taken while the rows were at hand.
void SetDirections(std::vector<StockMarketItem>& items, const request::CodeHashes& hashes,
                   const std::vector<StockMarketItem>& earlier, const request::CodeHashes& earlier_hashes);

/// The same for a single quote and the quote before of the same code; for a stock also those of the levels of
/// the order book that are present in both.
void SetDirections(StockMarketItem& item, const StockMarketItem& earlier);

}  // namespace quotes

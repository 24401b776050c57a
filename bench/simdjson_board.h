// The peer of the module's own reader: simdjson's on-demand interface, filling the same rows of a board by
// hand.
#pragma once

#include <simdjson.h>

#include <cstddef>
#include <vector>

#include "quotes/stock_market_item.h"

namespace bench {

/// The rows of "data", whose number it is told. The parser's memory is used again.
[[nodiscard]] std::vector<StockMarketItem> BoardBySimdjson(simdjson::ondemand::parser& parser,
                                                           const simdjson::padded_string& answer,
                                                           std::size_t rows);

}  // namespace bench

// The tables after which csm shows quotes: those that the feed is read by, and the figures that are derived.
// Constants.
#pragma once

#include "quotes/optional_stock_market.h"
#include "quotes/stock_market_item_table.h"

namespace cli {

/// Figures that no feed sends.
inline constexpr auto kDerivedTable = [] {
  using request::Figure;
  using request::Read;
  return request::TableOf<StockMarketItem>(Read("", "limit_up", &StockMarketItem::limit_up, Figure{}),
                                           Read("", "limit_down", &StockMarketItem::limit_down, Figure{}),
                                           Read("", "avg_price", &StockMarketItem::avg_price, Figure{}));
}();

/// All that a single quote can have.
inline constexpr auto kSingleQuoteTable = request::Join(quotes::kWatchListTable, kDerivedTable);

}  // namespace cli

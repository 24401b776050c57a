// A short row of a ranked list of stocks, shared by the stock ranking and the members of a plate. A plain
// value. The full quote is quotes/stock_market_item.h.
#pragma once

#include <string>

#include "frame/field.h"

/// One ranked stock, in the units of `StockMarketItem`.
struct StockMarketSummary {
  std::wstring code;
  std::wstring name;
  TrendValue last;    ///< last price
  TrendValue change;  ///< change rate
  TrendValue diff;    ///< price change
  TrendValue tr;      ///< turnover rate

  bool operator==(const StockMarketSummary&) const = default;
};

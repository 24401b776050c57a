// Makes the market state service. Called by the registry only; hosts call `GetStockMarketState`.
#pragma once

#include "reference/stock_market_state.h"

namespace reference {

/// A running service, owned by the caller; null when it cannot be made.
[[nodiscard]] IStockMarketState* MakeStockMarketState();

/// What is shown at `now`, in seconds since 1970-01-01 00:00 UTC.
[[nodiscard]] StockMarketState StateAt(std::int64_t now);

}  // namespace reference

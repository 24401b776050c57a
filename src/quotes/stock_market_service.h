// Makes the stock market service. Called by the registry only; hosts call `GetStockMarket`.
#pragma once

#include "quotes/stock_market.h"

namespace quotes {

/// A running service, owned by the caller; null when it cannot be made.
[[nodiscard]] IStockMarket* MakeStockMarket();

}  // namespace quotes

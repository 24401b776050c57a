// Makes the watch-list service. Called by the registry only; hosts call `GetOptionalStockMarket`.
#pragma once

#include "quotes/optional_stock_market.h"

namespace quotes {

/// A running service, owned by the caller; null when it cannot be made.
[[nodiscard]] IOptionalStockMarket* MakeOptionalStockMarket();

}  // namespace quotes

// Makes the single stock market service. Called by the registry only; hosts call `GetSingleStockMarket`.
#pragma once

#include "quotes/single_stock_market.h"

namespace quotes {

/// A running service, owned by the caller; null when it cannot be made.
[[nodiscard]] ISingleStockMarket* MakeSingleStockMarket();

}  // namespace quotes

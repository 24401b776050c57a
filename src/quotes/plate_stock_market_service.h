// Makes the plate stock market service. Called by the registry only; hosts call `GetPlateStockMarket`.
#pragma once

#include "quotes/plate_stock_market.h"

namespace quotes {

/// A running service, owned by the caller; null when it cannot be made.
[[nodiscard]] IPlateStockMarket* MakePlateStockMarket();

}  // namespace quotes

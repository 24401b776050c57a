// Makes the new-share service. Called by the registry only; hosts call `GetStockPurchase`.
#pragma once

#include "analytics/stock_purchase.h"

namespace analytics {

/// A service, owned by the caller; null when it cannot be made.
[[nodiscard]] IStockPurchase* MakeStockPurchase();

}  // namespace analytics

// Makes the K-line service. Called by the registry only; hosts call `GetStockKLine`.
#pragma once

#include "charts/stock_kline.h"

namespace charts {

/// A running service, owned by the caller; null when it cannot be made.
[[nodiscard]] IStockKLine* MakeStockKLine();

}  // namespace charts

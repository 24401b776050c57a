// Makes the minute-line service. Called by the registry only; hosts call `GetStockMLine`.
#pragma once

#include "charts/stock_mline.h"

namespace charts {

/// A running service, owned by the caller; null when it cannot be made.
[[nodiscard]] IStockMLine* MakeStockMLine();

}  // namespace charts

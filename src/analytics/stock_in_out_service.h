// Makes the capital-flow service. Called by the registry only; hosts call `GetStockInOut`.
#pragma once

#include "analytics/stock_in_out.h"

namespace analytics {

/// A running service, owned by the caller; null when it cannot be made.
[[nodiscard]] IStockInOut* MakeStockInOut();

}  // namespace analytics

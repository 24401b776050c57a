// Makes the distribution service. Called by the registry only; hosts call `GetStockDistribution`.
#pragma once

#include "analytics/stock_distribution.h"

namespace analytics {

/// A running service, owned by the caller; null when it cannot be made.
[[nodiscard]] IStockDistribution* MakeStockDistribution();

}  // namespace analytics

// Makes the unusual-event service. Called by the registry only; hosts call `GetStockUnusualEvent`.
#pragma once

#include "analytics/stock_unusual_event.h"

namespace analytics {

/// A running service, owned by the caller; null when it cannot be made.
[[nodiscard]] IStockUnusualEvent* MakeStockUnusualEvent();

}  // namespace analytics

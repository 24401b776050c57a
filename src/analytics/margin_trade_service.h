// Makes the margin-trading service. Called by the registry only; hosts call `GetMarginTrade`.
#pragma once

#include "analytics/margin_trade.h"

namespace analytics {

/// A service, owned by the caller; null when it cannot be made.
[[nodiscard]] IMarginTrade* MakeMarginTrade();

}  // namespace analytics

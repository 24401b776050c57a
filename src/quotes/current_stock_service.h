// Makes the current stock. Called by the registry only; hosts call `GetCurrentStock`.
#pragma once

#include "quotes/current_stock.h"

namespace quotes {

/// Owned by the caller; null when it cannot be made.
[[nodiscard]] ICurrentStock* MakeCurrentStock();

}  // namespace quotes

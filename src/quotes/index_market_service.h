// Makes the index market service. Called by the registry only; hosts call `GetIndexMarket`.
#pragma once

#include "quotes/index_market.h"

namespace quotes {

/// A running service, owned by the caller; null when it cannot be made.
[[nodiscard]] IIndexMarket* MakeIndexMarket();

}  // namespace quotes

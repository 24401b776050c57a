// Makes the plate market service. Called by the registry only; hosts call `GetPlateMarket`.
#pragma once

#include "quotes/plate_market.h"

namespace quotes {

/// A running service, owned by the caller; null when it cannot be made.
[[nodiscard]] IPlateMarket* MakePlateMarket();

}  // namespace quotes

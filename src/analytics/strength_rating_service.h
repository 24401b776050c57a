// Makes the market-strength service. Called by the registry only; hosts call `GetStrengthRating`.
#pragma once

#include "analytics/strength_rating.h"

namespace analytics {

/// A running service, owned by the caller; null when it cannot be made.
[[nodiscard]] IStrengthRating* MakeStrengthRating();

}  // namespace analytics

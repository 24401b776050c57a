// Makes the money-effect service. Called by the registry only; hosts call `GetMoneyEffect`.
#pragma once

#include "analytics/money_effect.h"

namespace analytics {

/// A running service, owned by the caller; null when it cannot be made.
[[nodiscard]] IMoneyEffect* MakeMoneyEffect();

}  // namespace analytics

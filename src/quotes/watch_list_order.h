// The orders that views give the watch list. The comparison of figures knows a tolerance, so it is no strict
// weak order (a = b and b = c do not make a = c): rows are merged by a sort of our own that comes to an end
// and stays in bounds whatever the comparison says. Thread-safe: pure functions.
#pragma once

#include <vector>

#include "quotes/optional_stock_market.h"

namespace quotes {

/// A copy of `items` in the order that `target` names; in the given order for a column or a direction that
/// says nothing. Stable.
[[nodiscard]] std::vector<OptionalMarketItem> Ordered(const std::vector<OptionalMarketItem>& items,
                                                      const SortingTarget& target);

}  // namespace quotes

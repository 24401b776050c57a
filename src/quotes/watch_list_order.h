// The orders that views give the watch list. The comparison of figures knows a tolerance, so it is no strict
// weak order (a = b and b = c do not make a = c): rows are merged by a sort of our own that comes to an end
// and stays in bounds whatever the comparison says. Thread-safe: pure functions.
#pragma once

#include <cstdint>
#include <vector>

#include "quotes/optional_stock_market.h"

namespace quotes {

/// The places of `items` in the order that `target` names; in the given order for a column or a direction
/// that says nothing. Stable.
[[nodiscard]] std::vector<std::uint32_t> OrderOf(const std::vector<OptionalMarketItem>& items,
                                                 const SortingTarget& target);

/// Makes `sorted` a copy of `items` in that order. Rows that `sorted` holds already lend their memory: an
/// answer like the one before allocates next to nothing. Far too much of it is let go.
void OrderInto(std::vector<OptionalMarketItem>& sorted, const std::vector<OptionalMarketItem>& items,
               const SortingTarget& target);

}  // namespace quotes

// Reads the rows of the watch list from an answer. Thread-safe: no state.
#pragma once

#include <memory>
#include <vector>

#include "quotes/optional_stock_market.h"
#include "request/answer.h"

namespace quotes {

/// One row per element, with the kind of the security and, for a stock, the name of its first plate. To name
/// plates it may wait for the server, once. Throws `std::bad_alloc` when the rows would take too much memory.
[[nodiscard]] std::shared_ptr<std::vector<OptionalMarketItem>> ReadWatchList(const request::Answer& answer);

}  // namespace quotes

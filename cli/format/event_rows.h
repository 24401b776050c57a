// Unusual events as a table. Pure functions.
#pragma once

#include <cstdint>
#include <list>
#include <string>

#include "analytics/stock_unusual_event.h"
#include "cli/format/table.h"
#include "cli/views/securities.h"

namespace cli {

/// A row for each, in their order.
[[nodiscard]] Table EventTable(const std::list<StockUnusualEventItem>& events);

/// Those that belong beside the minutes of a security: of a stock its own, of anything else all, in their
/// order.
[[nodiscard]] std::list<StockUnusualEventItem> EventsOf(const Security& security,
                                                        std::list<StockUnusualEventItem> events);

/// What is said at `time` (seconds since 1970-01-01 UTC) about a day without any.
[[nodiscard]] std::string NoEventText(std::uint32_t date, std::int64_t time);

}  // namespace cli

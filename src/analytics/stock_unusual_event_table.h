// Which key of the feed fills which member of a market event.
#pragma once

#include "analytics/stock_unusual_event.h"
#include "json/record_table.h"

namespace analytics {

inline constexpr auto kStockUnusualEventTable = request::TableOf<StockUnusualEventItem>(
    request::Read("time", &StockUnusualEventItem::time, request::Text{}),
    request::Read("content", &StockUnusualEventItem::content, request::Text{}));

}  // namespace analytics

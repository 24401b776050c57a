// The words that stand for the numbers of the interfaces in a request. Every number has a word; those outside
// a table have its fallback. Thread-safe: constants only.
#pragma once

#include <string_view>

namespace request {

/// Column of a stock list: 1 "code" to 19 "mc"; else "change".
[[nodiscard]] std::string_view StockSortField(int number);

/// Column of a plate list: as the stock list's but for 6 and 7, and 20 "lead" to 23 "cud"; else "change".
[[nodiscard]] std::string_view PlateSortField(int number);

/// Board: 1 "cn_a", 2 "sh_a", 3 "sz_a", 4 "gem", 5 "sme"; else empty.
[[nodiscard]] std::string_view StockType(int number);

/// Kind of plate: 1 "hy" (industry), 2 "gn" (concept); else empty.
[[nodiscard]] std::string_view PlateType(int number);

/// Direction: 1 "asc", 2 "desc"; else empty.
[[nodiscard]] std::string_view SortDirection(int number);

/// K-line period: 1 "day", 2 "week", 3 "month"; else "day".
[[nodiscard]] std::string_view KLinePeriod(int number);

/// Price adjustment: 1 "bfq" (none), 2 "qfq" (today's prices hold, the past is adjusted), 3 "hfq" (the
/// listing's hold); else "bfq".
[[nodiscard]] std::string_view KLineAdjustment(int number);

}  // namespace request

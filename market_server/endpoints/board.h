// Choosing and ordering rows of the board: which stocks a board holds, which plates are of a kind, and in
// which order a column puts them. Used by the pages, the price lists and the rankings.
#pragma once

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "market_server/model/market.h"

namespace market_server::endpoints {

using Rows = std::vector<const model::Quote*>;

/// The rows of stocks on a board: "cn_a" (or empty) all, "sh_a", "sz_a", "gem", "sme".
[[nodiscard]] Rows StocksOf(const model::BoardQuotes& board, std::string_view stock_type);

/// The rows of plates of a kind: "hy", "gn", empty: both.
[[nodiscard]] Rows PlatesOf(const model::BoardQuotes& board, std::string_view plate_type);

/// The rows from `start` up to and without `end` (negative: the end of the list) when they are ordered by the
/// column of that name, "asc" or (anything else) descending. Rows that are equal in it stay in the order of
/// their codes. A column that the rows do not have orders them by "change".
[[nodiscard]] Rows Page(const Rows& rows, std::string_view column, std::string_view direction,
                        std::int64_t start = 0, std::int64_t end = -1);

}  // namespace market_server::endpoints

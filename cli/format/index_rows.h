// How a quote of an index looks in a table, the same in printed lines and in the live view. Pure functions.
#pragma once

#include <vector>

#include "cli/format/table.h"
#include "quotes/index_market.h"

namespace cli {

/// Code, name, last value, change in points, change in percent.
[[nodiscard]] std::vector<Column> IndexColumns();
[[nodiscard]] std::vector<Cell> IndexCells(const IndexMarketSummary& quote);

}  // namespace cli

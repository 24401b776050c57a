// The spread of the market's stocks over ranges of change as lying bars. Pure functions.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "analytics/stock_distribution.h"
#include "cli/format/table.h"

namespace cli {

/// What the feed's range number `index` of `count` is called; only the usual ten have names.
[[nodiscard]] std::string RangeName(std::size_t index, std::size_t count);

/// One line for each range: its name if the feed's ranges are the usual ten, how many stocks, their share,
/// and a bar. The longest bar ends at `columns`; every range that has a stock has a trace of one. Falls come
/// first, in green.
[[nodiscard]] std::vector<StyledLine> DistributionBars(const DistributionItem& item, int columns);

}  // namespace cli

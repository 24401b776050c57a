// The flows of a stock as rows of a table. Pure functions.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "analytics/stock_in_out.h"
#include "cli/format/table.h"
#include "cli/views/securities.h"

namespace cli {

/// A period under the name of the feed, "d5" for five days.
using FlowPeriod = std::pair<const char*, FlowAmounts StockInOutItem::*>;
inline constexpr FlowPeriod kFlowPeriods[] = {
    {"d1", &StockInOutItem::d1}, {"d5", &StockInOutItem::d5}, {"d10", &StockInOutItem::d10}};

/// Days; in, out and net of big orders, then of small ones.
[[nodiscard]] std::vector<Column> FlowColumns();
/// A row for each period.
[[nodiscard]] std::vector<std::vector<Cell>> FlowRows(const StockInOutItem& flows);

/// What is said about a security that is no stock.
[[nodiscard]] std::string NoFlowsText(const Security& security);

/// False when nothing flowed in ten days.
[[nodiscard]] bool HasFlows(const StockInOutItem& flows);

}  // namespace cli

// Rows of what is no quote of a security: the reference data, indices, unusual events, flows. Pure functions.
#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "analytics/stock_in_out.h"
#include "analytics/stock_unusual_event.h"
#include "cli/format/sheet.h"
#include "cli/format/table.h"
#include "cli/views/securities.h"
#include "quotes/index_market.h"
#include "reference/stock_common.h"

namespace cli {

/// An entry of the reference data, and the list that it was found in.
using ListedItem = std::pair<std::string_view, BaseInfoItem>;

/// Code, name, pinyin initials, type; in front of them the list, if `with_list` says so.
[[nodiscard]] Table BaseInfoTable(const std::vector<ListedItem>& items, bool with_list);
[[nodiscard]] Sheet BaseInfoSheet(const std::vector<ListedItem>& items, bool with_list);

/// Codes and names alone.
[[nodiscard]] Table CodeNameTable(const CodeNameList& items);
[[nodiscard]] Sheet CodeNameSheet(const CodeNameList& items);

/// Of an index: code, name, last value, change in points, change in percent.
[[nodiscard]] std::vector<Column> IndexColumns();
[[nodiscard]] std::vector<Cell> IndexCells(const IndexMarketSummary& quote);

/// A period of flows under the name of the feed, "d5" for five days.
using FlowPeriod = std::pair<const char*, FlowAmounts StockInOutItem::*>;
inline constexpr FlowPeriod kFlowPeriods[] = {
    {"d1", &StockInOutItem::d1}, {"d5", &StockInOutItem::d5}, {"d10", &StockInOutItem::d10}};

/// A row for each period: days; in, out and net of big orders, then of small ones.
[[nodiscard]] std::vector<Column> FlowColumns();
[[nodiscard]] std::vector<std::vector<Cell>> FlowRows(const StockInOutItem& flows);
/// What is said about a security that is no stock.
[[nodiscard]] std::string NoFlowsText(const Security& security);
/// False when nothing flowed in ten days.
[[nodiscard]] bool HasFlows(const StockInOutItem& flows);

/// A row for each, in their order.
[[nodiscard]] Table EventTable(const std::list<StockUnusualEventItem>& events);
/// Events that belong beside the minutes of a security: of a stock its own, of anything else all.
[[nodiscard]] std::list<StockUnusualEventItem> EventsOf(const Security& security,
                                                        std::list<StockUnusualEventItem> events);
/// What is said at `time` (seconds since 1970-01-01 UTC) about a day without any.
[[nodiscard]] std::string NoEventText(std::uint32_t date, std::int64_t time);

}  // namespace cli

// Which key of the feed fills which member of a ranked row.
#pragma once

#include "json/record_table.h"
#include "ranking/stock_market_summary.h"

namespace ranking {

inline constexpr auto kStockMarketSummaryTable = request::TableOf<StockMarketSummary>(
    request::Read("code", &StockMarketSummary::code, request::Text{}),
    request::Read("name", &StockMarketSummary::name, request::Text{}),
    request::Read("last", &StockMarketSummary::last, request::Figure{}),
    request::Read("change", &StockMarketSummary::change, request::Figure{}),
    request::Read("diff", &StockMarketSummary::diff, request::Figure{}),
    request::Read("tr", &StockMarketSummary::tr, request::Figure{}));

}  // namespace ranking

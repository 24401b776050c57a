// Which key of the feed fills which member of an index quote.
#pragma once

#include "json/record_table.h"
#include "quotes/index_market.h"

namespace quotes {

inline constexpr auto kIndexMarketSummaryTable = request::TableOf<IndexMarketSummary>(
    request::Read("code", &IndexMarketSummary::code, request::Text{}),
    request::Read("name", &IndexMarketSummary::name, request::Text{}),
    request::Read("last", &IndexMarketSummary::last,
                  request::NullableNumber<IndexMarketSummary>{&IndexMarketSummary::null_flags, 1U << 0}),
    request::Read("change", &IndexMarketSummary::change,
                  request::NullableNumber<IndexMarketSummary>{&IndexMarketSummary::null_flags, 1U << 1}),
    request::Read("diff", &IndexMarketSummary::diff,
                  request::NullableNumber<IndexMarketSummary>{&IndexMarketSummary::null_flags, 1U << 2}));

}  // namespace quotes

// Which key of the feed fills which member of a ranked plate.
#pragma once

#include "json/record_table.h"
#include "ranking/plate_ranking.h"

namespace ranking {

inline constexpr auto kPlateMarketSummaryTable = request::TableOf<PlateMarketSummary>(
    request::Read("bk", &PlateMarketSummary::bk, request::Text{}),
    request::Read("name", &PlateMarketSummary::name, request::Text{}),
    request::Read("change", &PlateMarketSummary::change, request::Number{}),
    request::Read("bpin", &PlateMarketSummary::bpin, request::Number{}),
    request::Read("cud", &PlateMarketSummary::cud, request::Integer{}),
    request::Read("lead", &PlateMarketSummary::lead, request::Text{}),
    request::Read("lead_change", &PlateMarketSummary::lead_change, request::Number{}));

}  // namespace ranking

// Candle series by word: the periods and adjustments as paths and queries name them, and a candle as the nine
// numbers of a line. Used by the packages and the history queries. Pure functions.
#pragma once

#include <optional>
#include <string_view>

#include "market_server/json_writer.h"
#include "market_server/model/market.h"

namespace market_server::endpoints {

/// "day", "week", "month"
[[nodiscard]] std::optional<model::Period> PeriodNamed(std::string_view word);
/// "bfq" (none), "qfq" (forward), "hfq" (backward)
[[nodiscard]] std::optional<model::Adjustment> AdjustmentNamed(std::string_view word);

/// [date, preclose, open, high, close, low, volume, amount, turnover]
void CandleLine(JsonWriter& json, const model::Candle& candle);

}  // namespace market_server::endpoints

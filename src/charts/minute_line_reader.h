// Understands minute-line answers: what the feed sends is cumulative, what views get is per minute.
// Thread-safe: pure functions of the answer.
#pragma once

#include <string>
#include <vector>

#include "charts/stock_mline.h"
#include "json/json.h"

namespace charts {

/// One record per symbol of "data", which maps each symbol to an object with "date" and "list", or to an
/// array of them. Members that are no symbols, or of another form, are passed over. A symbol of `asked` that
/// "data" holds with letters of another case only has a record of its own besides, as it was asked for.
[[nodiscard]] std::vector<StockMLineData> ReadMinuteLines(const request::json::Object& data,
                                                          const std::vector<std::wstring>& asked);

/// The record of one symbol, whose letters may be of any case. "data" may also be that symbol's object
/// itself. False when it has none.
[[nodiscard]] bool ReadMinuteLine(const request::json::Object& data, const std::wstring& symbol,
                                  StockMLineData& line);

}  // namespace charts

// Reads candles: the lines of an unpacked package, the rows of a history answer, today's candle. Thread-safe:
// pure functions.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "charts/stock_kline.h"
#include "request/json.h"

namespace charts {

using Candles = std::vector<KLineCandle>;

/// Date of a candle whose line is JSON but holds fewer than nine numbers; all its figures are 0 (kept: views
/// know it).
inline constexpr std::uint32_t kShortLineDate = 20160101;

/// Lines of an unpacked package, empty ones included.
[[nodiscard]] std::size_t CountLines(std::string_view text);

/// One candle per line that is JSON; other lines are skipped.
[[nodiscard]] Candles ReadPackage(std::string_view text);

/// The same by Qt's parser alone: the reference that the fast way is held against.
[[nodiscard]] Candles ReadPackageByQt(std::string_view text);

/// One candle per row of "data"/"foo"/"list".
[[nodiscard]] Candles ReadHistory(const request::json::Object& root);

/// Today's candle from the entry of a symbol. False when it has none.
[[nodiscard]] bool ReadDayCandle(const request::json::Object& entry, KLineCandle& candle);

}  // namespace charts

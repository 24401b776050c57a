// Reads candles: the lines of an unpacked package, the rows of a history answer, today's candle. Thread-safe:
// pure functions.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "charts/kline_series.h"
#include "json/json.h"

namespace charts {

/// Date of a candle whose line is JSON but holds fewer than nine numbers; all its figures are 0 (kept: views
/// know it).
inline constexpr std::uint32_t kShortLineDate = 20160101;

/// Lines of an unpacked package, empty ones included.
[[nodiscard]] std::size_t CountLines(std::string_view text);

/// One candle per line that is JSON; other lines are skipped.
[[nodiscard]] Candles ReadPackage(std::string_view text);

/// The same by Qt's parser alone: the reference that the fast way is held against.
[[nodiscard]] Candles ReadPackageByQt(std::string_view text);

/// One candle per row of "data"/"foo"/"list". Throws `json::TooMuchMemory` when there are too many.
[[nodiscard]] Candles ReadHistory(const request::json::Object& root);

/// Today's candle of one symbol, whose letters may be of any case, from "data", which maps symbols to entries
/// or, without a member of that name, is the symbol's entry itself. Nothing when the entry has none, or
/// no date of eight digits.
[[nodiscard]] std::optional<KLineCandle> ReadDayCandle(const request::json::Object& data,
                                                       const std::wstring& symbol);

}  // namespace charts

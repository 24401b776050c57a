// The figures above a chart, without the name of the security. Pure functions.
#pragma once

#include <cstdint>
#include <limits>
#include <string>

#include "charts/stock_kline.h"
#include "charts/stock_mline.h"
#include "cli/format/table.h"
#include "cli/views/securities.h"

namespace cli {

/// The newest point of the line; null: it has none.
[[nodiscard]] const MinutePoint* LastPoint(const StockMLineData& line);

/// Day and minute, price, change and the amount of the last day of a line that has a point.
[[nodiscard]] StyledLine MinuteHeading(const StockMLineData& line);

/// Day and minute, price, change, average (if `average` says so) and volume of one point.
[[nodiscard]] StyledLine MinuteFigures(std::uint32_t date, const MinutePoint& point, bool average);

/// False for an index: what it trades are the shares of its members.
[[nodiscard]] bool HasAverage(const Security& security);

/// Why `line`, which arrived at `time`, has no point: seconds since 1970-01-01 UTC.
[[nodiscard]] std::string WhyNoPoint(const StockMLineData& line, const Security& security, std::int64_t time);

/// Day, close, change and amount of a candle.
[[nodiscard]] StyledLine CandleHeading(const KLineCandle& candle);

/// Day, the four prices, change and volume of a candle; in fewer than their `columns` without the volume and
/// with initials for words.
[[nodiscard]] StyledLine CandleFigures(const KLineCandle& candle,
                                       int columns = std::numeric_limits<int>::max());

/// What is said about a security without candles.
[[nodiscard]] std::string NoCandlesText(const Security& security);

/// What is said when the days before today could not be had.
[[nodiscard]] std::string NoPastText(const Security& security, const std::string& reason);

}  // namespace cli

// Puts a candle series together: what a package holds, what the history service knows beyond it, and today.
// Pieces of an adjusted series are linked by previous close. Thread-safe: pure functions of their arguments
// and of the host's calendar.
#pragma once

#include <cstdint>
#include <optional>

#include "charts/kline_series.h"

namespace charts {

/// True when two dates belong to one candle of the period.
[[nodiscard]] bool IsSamePeriod(Period period, std::uint32_t date, std::uint32_t other);

/// The date that a series reaches: that of its last candle, leaving aside candles of short lines where there
/// are others. 0 for an empty series.
[[nodiscard]] std::uint32_t LastDate(const Candles& candles);

/// True before the first trade of a day: its candle has no price.
[[nodiscard]] bool HasNoPrice(const KLineCandle& candle);

struct Today {
  std::uint32_t date = 0;             ///< the server's
  std::optional<KLineCandle> candle;  ///< as traded, if there is one yet
};

/// Rows of the history service without today, whose candle comes with every poll: the rows of today are left
/// out; of a week's or month's row that ends with today its earlier days stay.
[[nodiscard]] Candles BeforeToday(Period period, const Candles& rows, const Today& today);

/// Adds the rows that are later than the series, whose base may be another one. A row of the same week or
/// month as the last candle takes its place, because that candle was not complete.
void MergeTail(const Series& series, Candles& candles, const Candles& tail);

/// Puts the candles of `older` that lie before the series in front of it. When `older` reaches further it
/// takes the place of the series.
void MergeHead(const Series& series, Candles& candles, const Candles& older);

/// The record of a series: its history and, as traded, the candles of the days after that, today's last. A
/// day's candle of the same date is replaced unless it came adjusted. Into the candle of the same week or
/// month a day is merged: highest high, lowest low, the day's close and date, volume, amount and turnover
/// added; never twice for one day. A later period is appended, an earlier one ignored. Before its first trade
/// a day changes no week and no month.
void Assemble(const Series& series, const SeriesHistory& history, const Candles& days, StockKLineData& data);

}  // namespace charts

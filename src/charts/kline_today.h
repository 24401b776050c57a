// Today in a candle series: its candle is as traded and comes with every poll, the history leaves it out.
// Thread-safe: pure functions of their arguments and of the host's calendar.
#pragma once

#include <cstdint>
#include <optional>

#include "charts/kline_series.h"

namespace charts {

/// True before the first trade of a day: its candle has no price.
[[nodiscard]] bool HasNoPrice(const KLineCandle& candle);

struct Today {
  std::uint32_t date = 0;             ///< the server's
  std::optional<KLineCandle> candle;  ///< as traded, if there is one yet
};

/// Rows of the history service without today: the rows of today are left out; of a week's or month's row that
/// ends with today its earlier days stay.
[[nodiscard]] Candles BeforeToday(Period period, const Candles& rows, const Today& today);

/// The record of a series: its history and, as traded, the candles of the days after that, today's last. A
/// day's candle of the same date is replaced unless it came adjusted. Into the candle of the same week or
/// month a day is merged: highest high, lowest low, the day's close and date, volume, amount and turnover
/// added; never twice for one day. A later period is appended, an earlier one ignored. Before its first trade
/// a day changes no week and no month.
void Assemble(const Series& series, const SeriesHistory& history, const Candles& days, StockKLineData& data);

}  // namespace charts

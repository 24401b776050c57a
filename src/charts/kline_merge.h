// Puts a candle series together: what a package holds, what the history service knows beyond it, and today.
// Thread-safe: pure functions of their arguments and of the host's calendar.
#pragma once

#include <cstdint>
#include <list>

#include "charts/kline_package.h"

namespace charts {

/// True when two dates belong to one candle of the period (1 day, 2 week, 3 month).
[[nodiscard]] bool IsSamePeriod(int period, std::uint32_t date, std::uint32_t other);

/// The date that a series reaches: that of its last candle, leaving aside candles of short lines where there
/// are others. The series is not empty.
[[nodiscard]] std::uint32_t LastDate(const Candles& candles);

/// Adds the rows that are later than the series. A row of the same week or month as the last candle takes its
/// place, because that candle was not complete.
void MergeTail(int period, Candles& candles, const Candles& tail);

/// Adds today. A day's candle of the same date is replaced. Into the candle of the same week or month today
/// is merged: highest high, lowest low, today's close and date, volume, amount and turnover added; never
/// twice for one day. A later period is appended, an earlier one ignored.
void MergeToday(int period, std::list<KLineCandle>& candles, const KLineCandle& today);

}  // namespace charts

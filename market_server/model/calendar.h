// Trading calendar and clock arithmetic of the simulated exchanges. Times are seconds since 1970-01-01 UTC,
// dates are China time (UTC+8) written as YYYYMMDD. Pure functions, safe from any thread. Knows nothing of
// securities: those are in market.h.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace market_server::model {

using Instant = double;      ///< seconds since 1970-01-01 00:00:00 UTC, fractions allowed
using Date = std::uint32_t;  ///< YYYYMMDD, China time

/// The phases of a day, numbered as clients number them.
enum class Phase : int {
  kClosed = 1,       ///< no trading day, or before 09:00
  kPreparing = 2,    ///< 09:00
  kCallAuction = 3,  ///< 09:15
  kMorning = 4,      ///< 09:30
  kLunch = 5,        ///< 11:30
  kAfternoon = 6,    ///< 13:00
  kAfterClose = 7,   ///< 15:00
};

inline constexpr Date kFirstTradingDay = 20150105;  ///< nothing is simulated before
inline constexpr Date kLastTradingDay = 20351231;   ///< nor after

[[nodiscard]] Date DateOf(Instant time);
[[nodiscard]] int SecondOfDay(Instant time);  ///< 0..86399, China time
[[nodiscard]] Instant InstantOf(Date date, int hour, int minute, int second);

[[nodiscard]] bool IsDate(Date date);        ///< a day of the Gregorian calendar
[[nodiscard]] bool IsTradingDay(Date date);  ///< Monday to Friday and no exchange holiday
[[nodiscard]] int Weekday(Date date);        ///< 0 is Sunday

/// The weekdays of `year` on which the exchanges are closed, ascending. The table holds 2015 to 2027; other
/// years have the holidays of fixed date only.
[[nodiscard]] std::vector<Date> Holidays(int year);

[[nodiscard]] Date PreviousTradingDay(Date date);  ///< strictly before
[[nodiscard]] Date NextTradingDay(Date date);      ///< strictly after

[[nodiscard]] Phase PhaseAt(Instant time);

/// Every trading day from kFirstTradingDay to kLastTradingDay, ascending, and the position of one of them
/// (-1: none).
[[nodiscard]] std::span<const Date> TradingDays();
[[nodiscard]] int DayNumber(Date date);

/// The trading day whose figures are shown at `time`: today from 09:15 of a trading day on, else the last one
/// before. Kept within kFirstTradingDay and kLastTradingDay.
[[nodiscard]] Date SessionDate(Instant time);

/// True while the exchanges trade or call: 09:15 to 11:30 and 13:00 to 15:00 of a trading day.
[[nodiscard]] bool IsOpen(Instant time);

}  // namespace market_server::model

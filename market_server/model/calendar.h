// Trading calendar and clock arithmetic of the simulated exchanges. Times are seconds since 1970-01-01 UTC,
// dates are China time (UTC+8) written as YYYYMMDD. Pure functions, safe from any thread. Knows nothing of
// securities: those are in market.h.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace market_server::model {

using Instant = double;      // seconds since 1970-01-01 00:00:00 UTC, fractions allowed
using Date = std::uint32_t;  // YYYYMMDD, China time

// The phases of a day, numbered as clients number them.
enum class Phase : int {
  closed = 1,        // no trading day, or before 09:00
  preparing = 2,     // 09:00
  call_auction = 3,  // 09:15
  morning = 4,       // 09:30
  lunch = 5,         // 11:30
  afternoon = 6,     // 13:00
  after_close = 7,   // 15:00
};

inline constexpr Date kFirstTradingDay = 20150105;  // nothing is simulated before
inline constexpr Date kLastTradingDay = 20351231;   // nor after

[[nodiscard]] Date date_of(Instant time);
[[nodiscard]] int second_of_day(Instant time);  // 0..86399, China time
[[nodiscard]] Instant instant_of(Date date, int hour, int minute, int second);

[[nodiscard]] bool is_date(Date date);         // a day of the Gregorian calendar
[[nodiscard]] bool is_trading_day(Date date);  // Monday to Friday and no exchange holiday
[[nodiscard]] int weekday(Date date);          // 0 is Sunday

// The weekdays of `year` on which the exchanges are closed, ascending. The table holds 2015 to 2027; other
// years have the holidays of fixed date only.
[[nodiscard]] std::vector<Date> holidays(int year);

[[nodiscard]] Date previous_trading_day(Date date);  // strictly before
[[nodiscard]] Date next_trading_day(Date date);      // strictly after

[[nodiscard]] Phase phase_at(Instant time);

// Every trading day from kFirstTradingDay to kLastTradingDay, ascending, and the position of one of them (-1:
// none).
[[nodiscard]] std::span<const Date> trading_days();
[[nodiscard]] int day_number(Date date);

// The trading day whose figures are shown at `time`: today from 09:15 of a trading day on, else the last one
// before. Kept within kFirstTradingDay and kLastTradingDay.
[[nodiscard]] Date session_date(Instant time);

// True while the exchanges trade or call: 09:15 to 11:30 and 13:00 to 15:00 of a trading day.
[[nodiscard]] bool is_open(Instant time);

}  // namespace market_server::model

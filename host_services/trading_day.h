// Civil dates in China time (UTC+8) and the rules of the exchanges' calendar: pure functions of a date or an
// instant, and of what is a holiday. Callable from any thread. Which days are holidays and what time it is
// now are holidays.h's and clock.h's.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

#include "host/calendar.h"

namespace stock_host {

using IsHoliday = std::function<bool(std::chrono::sys_days)>;

/// The day of a YYYYMMDD number; nothing when it is no date of the years 1 to 9999.
[[nodiscard]] std::optional<std::chrono::sys_days> DayOfDate(std::uint64_t date);
/// The YYYYMMDD number of a day; 0 outside the years 1 to 9999.
[[nodiscard]] std::uint32_t DateOfDay(std::chrono::sys_days day);

/// The day in China at an instant, in seconds since 1970. An instant outside the calendar falls on a day
/// outside.
[[nodiscard]] std::chrono::sys_days DayAt(std::int64_t time);
/// The instant of a clock time in China; 0 when the date is none.
[[nodiscard]] std::int64_t InstantOf(std::uint32_t date, int hour, int minute, int second);
/// Whether both are dates of one week from Monday to Sunday.
[[nodiscard]] bool IsOneWeek(std::uint32_t date, std::uint32_t other);

[[nodiscard]] stock::MarketStatus PhaseAt(std::int64_t time, const IsHoliday& is_holiday);
/// How long until the next change of phase; more than nothing.
[[nodiscard]] std::chrono::seconds SpanToNextPhase(std::int64_t time, const IsHoliday& is_holiday);
/// The last trading day before a date; 0 when it is none.
[[nodiscard]] std::uint32_t TradingDateBefore(std::uint32_t date, const IsHoliday& is_holiday);

}  // namespace stock_host

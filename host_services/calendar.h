// Civil dates in China time (UTC+8) and the trading calendar behind host/calendar.h. Callable from any
// thread; nothing here knows what time it is now (that is clock.h).
#pragma once

#include <cstdint>
#include <optional>

namespace stock_host {

/// Days since 1970-01-01 of a YYYYMMDD number; nothing when it is no date of the years 1 to 9999.
[[nodiscard]] std::optional<std::int64_t> DaysOfDate(std::uint64_t date);

/// The YYYYMMDD number of a day; 0 outside the years 1 to 9999.
[[nodiscard]] std::uint32_t DateOfDays(std::int64_t days);

/// Monday to Friday and no legal holiday.
[[nodiscard]] bool IsTradingDay(std::int64_t days);

/// True once the holidays of `year` were told.
[[nodiscard]] bool KnowsHolidaysOf(int year);

/// Seconds of market time from `time` (seconds since 1970-01-01 00:00 UTC) to the next change of phase, at
/// least 1.
[[nodiscard]] std::int64_t SecondsToNextPhase(std::int64_t time);

}  // namespace stock_host

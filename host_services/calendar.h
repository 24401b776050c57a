// Civil dates in China time (UTC+8) and the trading calendar behind host/calendar.h. Callable from any
// thread; nothing here knows what time it is now (that is clock.h).
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace stock_host {

/// The day of a YYYYMMDD number; nothing when it is no date of the years 1 to 9999.
[[nodiscard]] std::optional<std::chrono::sys_days> DayOfDate(std::uint64_t date);

/// The YYYYMMDD number of a day; 0 outside the years 1 to 9999.
[[nodiscard]] std::uint32_t DateOfDay(std::chrono::sys_days day);

}  // namespace stock_host

// Host contract: server time and dates. Every function may be called from any thread and does not block.
// Dates are decimal YYYYMMDD numbers in China time (UTC+8), whatever the machine's own time zone is.
#pragma once

#include <cstdint>

#include "host/export.h"

namespace common {

/// Current time of the market-data server, in seconds since 1970-01-01 00:00 UTC.
STOCK_HOST_API std::int64_t GetCurrentServerTime();

/// Optional: a host may be without it. From now on the host calls `told`, on any thread and without a lock of
/// its own, when the server's clock jumps: when it is learned, corrected in one step, or heard again after
/// the machine was suspended. The module then looks at the clock at once, instead of within a second.
STOCK_HOST_API void TellOfClockJumps(void (*told)()) __attribute__((weak));

/// Today's date on the server, for example 20240315.
STOCK_HOST_API std::uint32_t GetCurrentServerDate();

/// The date on which `seconds` (since 1970-01-01 00:00 UTC) falls.
STOCK_HOST_API std::uint32_t TimeToDate(std::int64_t seconds);

/// The time, in seconds since 1970-01-01 00:00 UTC, of a date and a clock time.
STOCK_HOST_API std::int64_t DateToTime(std::uint32_t date, int hour, int minute, int second);

/// True when both dates fall in the same calendar week (Monday to Sunday).
STOCK_HOST_API bool IsSameWeek(std::uint32_t date, std::uint32_t other);

}  // namespace common

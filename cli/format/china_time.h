// The clock and the phases of the market in words. Times are China time (UTC+8) whatever TZ says. Pure
// functions, callable from any thread.
#pragma once

#include <cstdint>
#include <string>

#include "host/calendar.h"

namespace cli {

/// "2026-11-20T09:30:00+08:00" for seconds since 1970-01-01 00:00 UTC.
[[nodiscard]] std::string IsoTime(std::int64_t seconds);

/// "2026-11-20 09:30:00".
[[nodiscard]] std::string DateAndTime(std::int64_t seconds);

/// "09:30:00".
[[nodiscard]] std::string ClockTime(std::int64_t seconds);

/// "2024-03-15" for 20240315.
[[nodiscard]] std::string DateText(std::uint32_t date);

/// "09:31" for 931, as feeds write minutes; other numbers as they are.
[[nodiscard]] std::string MinuteText(std::int32_t minute);

/// "morning session" and the like.
[[nodiscard]] std::string PhaseName(stock::MarketStatus phase);

/// True before the preparation of a trading day begins and after its close.
[[nodiscard]] bool IsClosed(stock::MarketStatus phase);

/// "4 s", "3 min", "2 h".
[[nodiscard]] std::string Span(std::int64_t seconds);

}  // namespace cli

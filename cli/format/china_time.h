// The clock, the phases and the trading days of the market in words. Times are China time (UTC+8) whatever TZ
// says; dates are YYYYMMDD. Trading days are those of the host's calendar: holidays of the server's year once
// the calendar was loaded, else weekends only. Callable from any thread.
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

/// How far two clocks are apart, which is known to some seconds only, whatever the sign: from two minutes on
/// to the nearest minute, "1 h 30 min".
[[nodiscard]] std::string ClockDifference(double seconds);

[[nodiscard]] bool IsWeekend(std::uint32_t date);
[[nodiscard]] bool IsTradingDay(std::uint32_t date);

/// The trading day whose figures servers show at `now`: today from 09:15 on, else the last one before.
[[nodiscard]] std::uint32_t SessionDate(std::int64_t now);

/// Why a day has no figures, for a person: "2024-05-01 is a holiday". Empty when nothing speaks against them.
[[nodiscard]] std::string WhyNoFigures(std::uint32_t date, std::int64_t now);

/// What is said at `now` about a day that a server has nothing of.
[[nodiscard]] std::string NoFiguresText(std::uint32_t date, std::int64_t now);

}  // namespace cli

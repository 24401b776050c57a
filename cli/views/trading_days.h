// Trading days as the host's calendar knows them: holidays of the server's year once the calendar was loaded,
// else weekends only. Dates are YYYYMMDD, times seconds since 1970-01-01 UTC. Callable from any thread.
#pragma once

#include <cstdint>
#include <string>

namespace cli {

[[nodiscard]] bool IsWeekend(std::uint32_t date);
[[nodiscard]] bool IsTradingDay(std::uint32_t date);

/// The trading day whose figures servers show at `now`: today from 09:15 on, else the last one before.
[[nodiscard]] std::uint32_t SessionDate(std::int64_t now);

/// Why a day has no figures, for a person: "2024-05-01 is a holiday". Empty when nothing speaks against them.
[[nodiscard]] std::string WhyNoFigures(std::uint32_t date, std::int64_t now);

/// What is said at `now` about a day that a server has nothing of.
[[nodiscard]] std::string NoFiguresText(std::uint32_t date, std::int64_t now);

}  // namespace cli

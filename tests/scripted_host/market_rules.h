// Rules that the scripted host answers by when the test says nothing else: calendar dates in China time, the
// phases of a trading day, addresses. Pure functions, no state.
#pragma once

#include <cstdint>
#include <set>
#include <string>

#include "host/text.h"

namespace market_rules {

/// Days since 1970-01-01 of a YYYYMMDD date, and back.
std::int64_t DayOfDate(std::uint32_t date);
std::uint32_t DateOfDay(std::int64_t day);

std::uint32_t DateOfTime(std::int64_t seconds);
std::int64_t TimeOfDate(std::uint32_t date, int hour, int minute, int second);
bool SameWeek(std::uint32_t date, std::uint32_t other);

bool IsTradingDay(std::int64_t day, const std::set<std::uint32_t>& holidays);
/// 1 to 7, as the host contract numbers the phases.
int PhaseAt(std::int64_t seconds, const std::set<std::uint32_t>& holidays);
/// Seconds to the next change of phase, at least 1.
std::int32_t SpanAt(std::int64_t seconds, const std::set<std::uint32_t>& holidays);

[[nodiscard]] inline std::wstring Widen(const std::string& utf8) {
  return common::s2ws(utf8, common::kUtf8);
}
[[nodiscard]] inline std::string Narrow(const std::wstring& text) {
  return common::ws2s(text, common::kUtf8);
}

/// Percent-encoding of RFC 3986: everything but letters, digits, "-", ".", "_" and "~".
std::string PercentEncode(const std::string& text);
std::string PercentDecode(const std::string& text);

}  // namespace market_rules

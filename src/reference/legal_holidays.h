// The exchange's holidays of a year, on their way from the server to the host's calendar. Nothing of them is
// kept here. Thread-safe: no state.
#pragma once

#include <vector>

#include "frame/gate.h"
#include "request/json.h"

namespace reference {

/// Asks for the holidays of the current year and returns; the answer, through the gate, replaces the host
/// calendar's list for that year. A failure is logged and changes nothing.
void RequestLegalHolidays(const frame::CompletionGate& gate);

/// The dates of a list, in order. An element's digits make the date (YYYYMMDD), whatever stands between them.
struct HolidayList {
  std::vector<unsigned long> days;
  int without_date = 0;  ///< elements that are no date, and are left out
};
[[nodiscard]] HolidayList ReadHolidays(const request::json::Array& list);

/// Hands the holidays of a year to the host's calendar. Always true.
bool TakeHolidays(int year, const HolidayList& holidays);

}  // namespace reference

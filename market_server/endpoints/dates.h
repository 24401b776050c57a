// How endpoints write and read dates. Pure functions.
#pragma once

#include <cstdio>
#include <string>

#include "market_server/model/calendar.h"
#include "market_server/routes.h"

namespace market_server::endpoints {

/// "2024-03-15"
[[nodiscard]] inline std::string DateText(model::Date date) {
  char text[32];
  std::snprintf(text, sizeof text, "%04u-%02u-%02u", date / 10000, date / 100 % 100, date % 100);
  return text;
}

/// "09:30:00", China time
[[nodiscard]] inline std::string ClockText(model::Instant time) {
  const int second = model::SecondOfDay(time);
  char text[48];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d", second / 3600, second / 60 % 60, second % 60);
  return text;
}

/// The parameter "date", or the date of the session when it is 0.
[[nodiscard]] inline model::Date SessionDate(const Call& call) {
  const auto date = static_cast<model::Date>(call.Number("date"));
  return date == 0 ? model::SessionDate(call.instant) : date;
}

}  // namespace market_server::endpoints

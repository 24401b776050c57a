// Civil dates in China time (UTC+8) and the trading calendar behind host/calendar.h. Callable from any
// thread; nothing here knows what time it is now (that is clock.h).
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>

#include "clock.h"

namespace stock_host {

/// The day of a YYYYMMDD number; nothing when it is no date of the years 1 to 9999.
[[nodiscard]] std::optional<std::chrono::sys_days> DayOfDate(std::uint64_t date);

/// The YYYYMMDD number of a day; 0 outside the years 1 to 9999.
[[nodiscard]] std::uint32_t DateOfDay(std::chrono::sys_days day);

/// How long it may take until the phase is asked for again while clock or holidays may tell the wrong one:
/// two seconds, and a minute when they have not become known within a minute. Callable from any thread.
class PhaseDoubt {
 public:
  [[nodiscard]] std::chrono::seconds LongestSpan(bool in_doubt, const Moment& now);

 private:
  std::mutex mutex_;                               // guards since_
  std::optional<std::chrono::nanoseconds> since_;  // `Moment::elapsed` at the beginning of the doubt
};

}  // namespace stock_host

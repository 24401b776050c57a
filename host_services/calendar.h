// What host/calendar.h's functions add to the rules of trading_day.h: the holidays that are known, and doubt.
#pragma once

#include <chrono>
#include <mutex>
#include <optional>

#include "clock.h"

namespace stock_host {

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

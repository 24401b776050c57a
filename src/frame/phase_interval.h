// The interval that most services share: they wake when the market's phase changes, and at least hourly.
// Callable from any thread.
#pragma once

#include <algorithm>
#include <cstdint>

#include "host/calendar.h"
#include "host/clock.h"

namespace frame {

inline constexpr int kLongestInterval = 3600;

/// Seconds from now to the next change of the market's phase.
[[nodiscard]] inline int SecondsToNextPhase() {
  return stock::TimeSpanToNextMarketStatus(static_cast<std::uint32_t>(common::GetCurrentServerTime()));
}

/// Seconds to the next change of phase, an hour at most. Asks the host a second time unless the first answer
/// was above an hour, and returns the second answer as it is (kept: the two may differ).
[[nodiscard]] inline int PhaseInterval() {
  return SecondsToNextPhase() > kLongestInterval ? kLongestInterval : SecondsToNextPhase();
}

/// Seconds to the next change of phase, `shortest` at least and an hour at most. Asks the host once.
[[nodiscard]] inline int PhaseInterval(int shortest) {
  return std::clamp(SecondsToNextPhase(), shortest, kLongestInterval);
}

}  // namespace frame

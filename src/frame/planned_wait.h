// A wait that is planned on the server's clock and measured on the monotonic one. Not thread-safe: it belongs
// to the thread that waits.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

#include "frame/ticks.h"
#include "host/calendar.h"
#include "host/clock.h"

namespace frame {

/// A wait of some seconds from now. It is over when they have passed on the monotonic clock, or sooner: when
/// the market is in another phase than at its beginning, or in that of another day, or when the server's
/// clock has run ahead of the monotonic one and reached the planned moment (clock or calendar was learned or
/// corrected meanwhile, or the machine slept).
class PlannedWait {
 public:
  explicit PlannedWait(int seconds)
      : milliseconds_(std::int64_t{std::max(seconds, 0)} * 1000),
        began_(SteadyMilliseconds()),
        server_began_(milliseconds_ > 0 ? ServerTime() : std::nullopt),
        phase_(server_began_ ? PhaseAt(*server_began_) : std::nullopt) {}

  [[nodiscard]] bool IsOver() const {
    const std::int64_t passed = SteadyMilliseconds() - began_;
    if (passed >= milliseconds_) {
      return true;
    }
    const std::optional<std::int64_t> now = server_began_ ? ServerTime() : std::nullopt;
    if (!now) {
      return false;
    }
    if (const auto phase = phase_ ? PhaseAt(*now) : std::nullopt; phase && phase != phase_) {
      return true;
    }
    // Whole seconds, wrapping: a clock may be set anywhere. One that runs as the monotonic clock does may
    // seem up to a second ahead of it, but never a whole one.
    const auto by_server = static_cast<std::int64_t>(static_cast<std::uint64_t>(*now) -
                                                     static_cast<std::uint64_t>(*server_began_));
    return by_server >= milliseconds_ / 1000 && by_server >= (passed + 1999) / 1000;
  }

  /// How long it lasts yet, unless the server's clock ends it sooner.
  [[nodiscard]] std::int64_t Milliseconds() const {
    return std::max(milliseconds_ - (SteadyMilliseconds() - began_), std::int64_t{0});
  }

  // What is told of the phase: before the open it is that of the last trading day.
  struct Phase {
    stock::MarketStatus status;
    std::uint32_t day;
    bool operator==(const Phase&) const = default;
  };

  // Both are none when the host cannot say.
  [[nodiscard]] static std::optional<Phase> PhaseAt(std::int64_t time) {
    try {
      const stock::MarketStatus status = stock::CheckMarketStatus(static_cast<std::uint32_t>(time));
      const std::uint32_t today = common::TimeToDate(time);
      return Phase{status, status == stock::kMarketNotOpened ? stock::GetLastTradingDate(today) : today};
    } catch (...) {
      return std::nullopt;
    }
  }
  [[nodiscard]] static std::optional<std::int64_t> ServerTime() {
    try {
      return common::GetCurrentServerTime();
    } catch (...) {
      return std::nullopt;
    }
  }

 private:
  const std::int64_t milliseconds_;
  const std::int64_t began_;
  const std::optional<std::int64_t> server_began_;
  const std::optional<Phase> phase_;
};

}  // namespace frame

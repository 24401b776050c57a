// A wait that is planned on the server's clock and measured on the monotonic one. Not thread-safe: it belongs
// to the thread that waits.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

#include "frame/succeeds.h"
#include "frame/ticks.h"
#include "host/calendar.h"
#include "host/clock.h"

namespace frame {

/// A wait of some seconds from now. It is over when they have passed on the monotonic clock, or sooner,
/// unless it is as short as the usual interval: when the server's clock has run ahead of the monotonic one
/// and reached the planned moment (it was learned late or corrected, or the machine slept). What waits for a
/// phase of the market is over, too, when the clock has jumped into another one, or into that of another day.
class PlannedWait {
 public:
  enum class For { kMoment, kPhase };

  explicit PlannedWait(int seconds, For what = For::kPhase)
      : milliseconds_(std::int64_t{std::max(seconds, 0)} * 1000),
        is_for_phase_(what == For::kPhase && FollowsClock()),
        began_(SteadyMilliseconds()),
        server_began_(FollowsClock() ? ServerTime() : std::nullopt) {}

  /// Whether the server's clock may end it.
  [[nodiscard]] bool FollowsClock() const { return milliseconds_ > kUsualInterval; }

  [[nodiscard]] bool IsForPhase() const { return is_for_phase_; }

  [[nodiscard]] bool IsOver() const {
    const std::int64_t passed = SteadyMilliseconds() - began_;
    if (passed >= milliseconds_) {
      return true;
    }
    const std::optional<std::int64_t> now = server_began_ ? ServerTime() : std::nullopt;
    if (!now) {
      return false;
    }
    // Whole seconds, wrapping: a clock may be set anywhere. One that runs as the monotonic clock does may
    // seem up to a second ahead of it, but never a whole one.
    const std::int64_t by_server = Minus(*now, *server_began_);
    if (by_server >= milliseconds_ / 1000 && by_server >= (passed + 1999) / 1000) {
      return true;
    }
    const std::int64_t expected = Plus(*server_began_, passed / 1000);
    const std::int64_t jumped = Minus(*now, expected);
    return is_for_phase_ && (jumped < -1 || jumped > 1) && AreOfTwoPhases(expected, *now);
  }

  /// How long it lasts yet, unless the server's clock ends it sooner.
  [[nodiscard]] std::int64_t Milliseconds() const {
    return std::max(milliseconds_ - (SteadyMilliseconds() - began_), std::int64_t{0});
  }

  [[nodiscard]] static std::optional<std::int64_t> ServerTime() {
    std::int64_t time = 0;
    return Succeeds([&time] { time = common::GetCurrentServerTime(); }) ? std::optional(time) : std::nullopt;
  }

 private:
  static constexpr std::int64_t kUsualInterval = 3000;  // milliseconds

  static std::int64_t Minus(std::int64_t left, std::int64_t right) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(left) - static_cast<std::uint64_t>(right));
  }
  static std::int64_t Plus(std::int64_t left, std::int64_t right) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(left) + static_cast<std::uint64_t>(right));
  }

  // What is told of the phase differs; before the open it is that of the last trading day. False when the
  // host cannot say.
  static bool AreOfTwoPhases(std::int64_t one, std::int64_t other) {
    const auto phase = [](std::int64_t time) {
      const stock::MarketStatus status = stock::CheckMarketStatus(static_cast<std::uint32_t>(time));
      const std::uint32_t today = common::TimeToDate(time);
      return std::pair(status, status == stock::kMarketNotOpened ? stock::GetLastTradingDate(today) : today);
    };
    return Succeeds([&] { return phase(one) != phase(other); });
  }

  const std::int64_t milliseconds_;
  const bool is_for_phase_;
  const std::int64_t began_;
  const std::optional<std::int64_t> server_began_;
};

}  // namespace frame

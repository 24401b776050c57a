// The clock of the quote API server, as far as its answers tell. Callable from any thread. Dates and phases
// of a given time are calendar.h's.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>

namespace stock_host {

class ServerClockModel {
 public:
  using Steady = std::chrono::steady_clock::time_point;

  /// A skew of more than this makes the server refuse signed requests, and is corrected in one step.
  static constexpr double kLargestSkew = 240;

  /// Before the first sample: the machine's own clock, read at `now` as `wall` (Unix seconds).
  void Reset(double wall, Steady now);

  /// Unix seconds by the server's clock. Between two steps the result never decreases.
  [[nodiscard]] std::int64_t Now(Steady now);

  /// A Date header of the server, received at `now`, and the speed that stood beside it (1 if none).
  /// The first sample sets the clock. Later ones pull it by an eighth of the difference, at most
  /// `kLargestPull` seconds; a difference above `kLargestSkew` steps the clock once a second sample agrees
  /// with it. Samples that cannot be true (before 1990, after 2100) are left out. True when the clock and the
  /// sample now agree within `kLargestSkew`.
  bool Learn(std::int64_t date, double speed, Steady now);

  /// True once a sample has set the clock.
  [[nodiscard]] bool Learned();

  /// Seconds of server time in a real second.
  [[nodiscard]] double Speed();

 private:
  static constexpr double kLargestPull = 2;

  [[nodiscard]] double At(Steady now) const;
  void Step(double time, Steady now);

  std::mutex mutex_;  // guards all members below
  double base_ = 0;   // server time at base_at_
  Steady base_at_{};
  double speed_ = 1;
  bool learned_ = false;
  std::int64_t latest_told_ = 0;
  // A sample far off, waiting for another that agrees.
  std::optional<double> stray_;
  Steady stray_at_{};
};

/// The one that the host contract uses.
[[nodiscard]] ServerClockModel& ServerClock();

/// The value of an X-Market-Speed header: a number from 0.001 to 100,000; nothing for any other text.
[[nodiscard]] std::optional<double> ParseSpeed(const char* text);

/// Starts over from the machine's clock.
void ResetServerClock();

}  // namespace stock_host

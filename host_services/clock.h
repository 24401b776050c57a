// The clock of the quote API server, as far as its answers tell. Callable from any thread. Dates and phases
// of a given time are calendar.h's.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>

namespace stock_host {

/// A moment by the machine's clock that also runs while the machine is suspended.
struct Moment {
  std::chrono::nanoseconds elapsed{};    ///< since some fixed moment
  std::chrono::nanoseconds suspended{};  ///< of it; to about a millisecond
  [[nodiscard]] static Moment Now();
};

/// What the machine's clocks show.
struct MachineClocks {
  double wall = 0;  ///< Unix seconds; anybody may have set them
  Moment moment;
};
using MachineSource = MachineClocks (*)();

/// Puts other clocks in place of the machine's; null restores them. For programs that script time.
void SetMachineSource(MachineSource source);

/// True when the machine was suspended between the two.
[[nodiscard]] bool SuspendedBetween(const Moment& earlier, const Moment& later);

class ServerClockModel {
 public:
  /// A skew of more than this makes the server refuse signed requests, and is corrected in one step.
  static constexpr double kLargestSkew = 240;

  /// Before the first sample: the machine's own clock, read at `now` as `wall` (Unix seconds).
  void Reset(double wall, Moment now);

  /// Unix seconds by the server's clock. Between two steps the result never decreases.
  [[nodiscard]] std::int64_t Now(Moment now);

  /// A Date header of the server, received at `now`, and the speed that stood beside it (1 if none).
  /// The first sample sets the clock, and so does the first after the machine was suspended. Later ones pull
  /// it by an eighth of the difference, at most `kLargestPull` seconds; a difference above `kLargestSkew`
  /// steps the clock once a second sample agrees with it. False, and nothing is learned, for a sample that
  /// cannot be true (before 1990, after 2100).
  bool Learn(std::int64_t date, double speed, Moment now);

  /// From now on `told` is called after each step of the clock, without a lock; null: nobody.
  void TellOfJumps(void (*told)()) { told_ = told; }

  /// True once a sample has set the clock.
  [[nodiscard]] bool Learned();

  /// True while the clock is learned and nothing has put it in doubt since: no suspension of the machine, no
  /// latest sample that is far off.
  [[nodiscard]] bool Sure(Moment now);

  /// True while the clock has not been heard since the machine was suspended; false before it was learned.
  [[nodiscard]] bool Suspended(Moment now);

  /// Seconds of server time in a real second; 0: it stands still.
  [[nodiscard]] double Speed();

 private:
  static constexpr double kLargestPull = 2;

  [[nodiscard]] double At(Moment now) const;
  void Step(double time, Moment now);
  bool TakeLocked(double time, double speed, Moment now);

  std::atomic<void (*)()> told_ = nullptr;
  std::mutex mutex_;  // guards all members below
  double base_ = 0;   // server time at base_at_
  Moment base_at_;
  double speed_ = 1;
  bool learned_ = false;
  std::int64_t latest_told_ = 0;
  // A sample far off, waiting for another that agrees.
  std::optional<double> stray_;
  Moment stray_at_;
};

/// The one that the host contract uses.
[[nodiscard]] ServerClockModel& ServerClock();

/// The value of an X-Market-Speed header: a number from 0.001 to 100,000, or 0 for a clock that stands still;
/// nothing for any other text.
[[nodiscard]] std::optional<double> ParseSpeed(const char* text);

/// Starts over from the machine's clock.
void ResetServerClock();

}  // namespace stock_host

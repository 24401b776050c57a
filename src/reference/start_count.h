// The books of a start: which one is under way, how many of its loads are done, how long its monitor has
// waited. No thread, no host. Thread-safe.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>

namespace reference {

class StartCount {
 public:
  /// A start is numbered, so that what comes late of a failed one does not count in the next.
  using Number = std::uint64_t;

  enum class Step { kWait, kFailed, kSucceeded };

  static constexpr int kWaitMilliseconds = 300;

  /// Begins a start; nothing while one is under way.
  [[nodiscard]] std::optional<Number> Begin();

  /// One load of a start has ended. The first one that failed ends the start.
  void Count(Number start, bool ok);

  /// One look of the monitor at its start. `kWait`: come back in `kWaitMilliseconds`.
  [[nodiscard]] Step Look(Number start);

  /// The monitor is done: the next start may begin, unless it has already.
  void Conclude(Number start);

  [[nodiscard]] Number Latest();

 private:
  std::mutex mutex_;  // guards the members below
  bool under_way_ = false;
  int waited_ms_ = 0;
  int done_ = 0;
  Number latest_ = 0;
};

}  // namespace reference

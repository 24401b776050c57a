// The books of a start: which one is under way, how many of its loads are done, how long its monitor has
// waited. No thread, no host. Thread-safe.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>

namespace reference {

class StartCount {
  using Lock = std::lock_guard<std::mutex>;

 public:
  /// A start is numbered, so that what comes late of a failed one does not count in the next.
  using Number = std::uint64_t;

  enum class Step { kWait, kFailed, kSucceeded };

  static constexpr int kWaitMilliseconds = 300;

  /// Begins a start; nothing while one is under way.
  [[nodiscard]] std::optional<Number> Begin() {
    const Lock lock(mutex_);
    if (under_way_) {
      return std::nullopt;
    }
    under_way_ = true;
    waited_ms_ = 0;
    done_ = 0;
    return ++latest_;
  }

  /// One load of a start has ended. The first one that failed ends the start.
  void Count(Number start, bool ok) {
    const Lock lock(mutex_);
    if (start == latest_) {
      done_ += ok ? 1 : 0;
      under_way_ = under_way_ && ok;
    }
  }

  /// One look of the monitor at its start. `kWait`: come back in `kWaitMilliseconds`.
  [[nodiscard]] Step Look(Number start) {
    const Lock lock(mutex_);
    if (start != latest_ || !under_way_ || waited_ms_ > kLongestWait) {
      return Step::kFailed;
    }
    if (done_ >= kLoads) {
      return Step::kSucceeded;
    }
    waited_ms_ += kWaitMilliseconds;
    return Step::kWait;
  }

  /// The monitor is done: the next start may begin, unless it has already.
  void Conclude(Number start) { Count(start, false); }

  [[nodiscard]] Number Latest() {
    const Lock lock(mutex_);
    return latest_;
  }

 private:
  static constexpr int kLoads = 5;
  static constexpr int kLongestWait = 10000;  // milliseconds

  std::mutex mutex_;  // guards the members below
  bool under_way_ = false;
  int waited_ms_ = 0;
  int done_ = 0;
  Number latest_ = 0;
};

}  // namespace reference

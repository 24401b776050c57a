// The waits of the reference data's threads. Measured on the monotonic clock, and ended all together when the
// service ends. Thread-safe.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>

namespace reference {

class StoppableWait {
 public:
  /// Waits so long. False, at once, when the waits are stopped.
  bool For(std::int64_t milliseconds);

  /// Waits so many seconds, or until the server's clock has reached that moment if it does so sooner. About
  /// once a second, when it looks at that clock, it calls `look`. False, at once, when the waits are stopped.
  bool Planned(int seconds, const std::function<void()>& look = {});

  /// Ends the waits under way and those to come.
  void Stop();
  [[nodiscard]] bool IsStopped();

 private:
  std::mutex mutex_;  // guards stopped_
  bool stopped_ = false;
  std::condition_variable changed_;
};

}  // namespace reference

// The waits of the module's threads: measured on the monotonic clock, planned on the server's, and ended all
// together when their owner ends. Thread-safe.
#pragma once

#include <boost/intrusive/list.hpp>
#include <condition_variable>
#include <cstdint>
#include <functional>

namespace frame {

class StoppableWait
    : public boost::intrusive::list_base_hook<boost::intrusive::link_mode<boost::intrusive::auto_unlink>> {
 public:
  StoppableWait();
  ~StoppableWait();
  StoppableWait(const StoppableWait&) = delete;
  StoppableWait& operator=(const StoppableWait&) = delete;

  /// Waits so long. False, at once, when the waits are stopped.
  bool For(std::int64_t milliseconds);

  /// Waits as a `PlannedWait` for a phase does. About once a second one of all waits looks at the server's
  /// clock and wakes the others when it has jumped; all look when the host says so. With a `look`, which is
  /// called at each of these jumps and at least once a minute, and may take long, it is a wait for its moment
  /// only. False, at once, when the waits are stopped.
  bool Planned(int seconds, const std::function<void()>& look = {});

  /// Ends the waits for a phase, of everybody: what was known of the calendar has changed.
  static void PlanAnew();

  /// Ends the waits under way and those to come.
  void Stop();
  [[nodiscard]] bool IsStopped();

 private:
  struct All;
  class Watch;

  static All& TheWaits();
  static void OnClockJump();
  bool Wait(std::int64_t milliseconds, const unsigned* seen);

  bool stopped_ = false;  // guarded by the one mutex of all waits
  std::condition_variable changed_;
};

}  // namespace frame

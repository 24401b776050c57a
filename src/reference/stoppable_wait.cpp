#include "reference/stoppable_wait.h"

#include <chrono>

#include "frame/planned_wait.h"
#include "frame/ticks.h"

namespace reference {
bool StoppableWait::For(std::int64_t milliseconds) {
  const std::int64_t end = frame::SteadyMilliseconds() + milliseconds;
  std::unique_lock<std::mutex> lock(mutex_);
  while (!stopped_) {
    const std::int64_t left = end - frame::SteadyMilliseconds();
    if (left <= 0) {
      return true;
    }
    changed_.wait_for(lock, std::chrono::milliseconds(left));
  }
  return false;
}

bool StoppableWait::Planned(int seconds, const std::function<void()>& look) {
  const frame::PlannedWait wait(seconds);
  while (!wait.IsOver()) {
    if (!For(wait.ToNextLook().count())) {
      return false;
    }
    if (look) {
      look();
    }
  }
  return !IsStopped();
}

void StoppableWait::Stop() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopped_ = true;
  }
  changed_.notify_all();
}

bool StoppableWait::IsStopped() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return stopped_;
}

}  // namespace reference

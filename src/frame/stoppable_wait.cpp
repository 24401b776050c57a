#include "frame/stoppable_wait.h"

#include <atomic>
#include <chrono>

#include "frame/planned_wait.h"
#include "frame/single_objects.h"
#include "frame/ticks.h"
#include "host/clock.h"

namespace frame {

using Lock = std::lock_guard<std::mutex>;

struct StoppableWait::All {
  std::atomic<bool> is_told = false;  // the host knows whom to tell
  std::mutex mutex;                   // guards `first` and the links; taken before that of a wait
  StoppableWait* first = nullptr;
};

StoppableWait::All& StoppableWait::TheWaits() {
  return Immortal<All, StoppableWait>();
}

StoppableWait::StoppableWait() {
  All& all = TheWaits();
  if (common::TellOfClockJumps != nullptr && !all.is_told.exchange(true)) {
    common::TellOfClockJumps(&OnClockJump);
  }
  const Lock lock(all.mutex);
  next_ = all.first;
  link_ = &all.first;
  if (next_ != nullptr) {
    next_->link_ = &next_;
  }
  all.first = this;
}

StoppableWait::~StoppableWait() {
  const Lock lock(TheWaits().mutex);
  *link_ = next_;
  if (next_ != nullptr) {
    next_->link_ = link_;
  }
}

void StoppableWait::OnClockJump() {
  All& all = TheWaits();
  const Lock lock(all.mutex);
  for (StoppableWait* wait = all.first; wait != nullptr; wait = wait->next_) {
    const Lock waiting(wait->mutex_);
    ++wait->jumps_;
    wait->changed_.notify_all();
  }
}

// Ends sooner when the clock has jumped more often than `seen`; null: it does not matter.
bool StoppableWait::Wait(std::int64_t milliseconds, const unsigned* seen) {
  const std::int64_t end = SteadyMilliseconds() + milliseconds;
  std::unique_lock<std::mutex> lock(mutex_);
  while (!stopped_) {
    const std::int64_t left = end - SteadyMilliseconds();
    if (left <= 0 || (seen != nullptr && jumps_ != *seen)) {
      return true;
    }
    changed_.wait_for(lock, std::chrono::milliseconds(left));
  }
  return false;
}

bool StoppableWait::For(std::int64_t milliseconds) {
  return Wait(milliseconds, nullptr);
}

bool StoppableWait::Planned(int seconds, const std::function<void()>& look) {
  const PlannedWait wait(seconds);
  // Read before the clock is: a jump between the two is not missed.
  for (unsigned seen = Jumps(); !wait.IsOver(); seen = Jumps()) {
    if (!Wait(wait.ToNextLook().count(), &seen)) {
      return false;
    }
    if (look) {
      look();
    }
  }
  return !IsStopped();
}

unsigned StoppableWait::Jumps() {
  const Lock lock(mutex_);
  return jumps_;
}

void StoppableWait::Stop() {
  const Lock lock(mutex_);
  stopped_ = true;
  changed_.notify_all();
}

bool StoppableWait::IsStopped() {
  const Lock lock(mutex_);
  return stopped_;
}

}  // namespace frame

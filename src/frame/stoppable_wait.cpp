#include "frame/stoppable_wait.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>

#include "frame/planned_wait.h"
#include "frame/single_objects.h"
#include "frame/ticks.h"
#include "host/clock.h"

namespace frame {

namespace {

using Lock = std::lock_guard<std::mutex>;

constexpr std::int64_t kLook = 1000;  // milliseconds between two looks at the server's clock

// By how much the server's clock is ahead of the monotonic one, in milliseconds; none when the host cannot
// say.
using Ahead = std::optional<std::int64_t>;

Ahead AheadNow() {
  const std::optional<std::int64_t> time = PlannedWait::ServerTime();
  if (!time) {
    return std::nullopt;
  }
  // It wraps: a clock may be set anywhere.
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(*time) * 1000 -
                                   static_cast<std::uint64_t>(SteadyMilliseconds()));
}

// The clock has not jumped between. The server's clock counts whole seconds.
bool IsSame(Ahead one, Ahead other) {
  return one.has_value() == other.has_value() &&
         static_cast<std::uint64_t>(one.value_or(0)) - static_cast<std::uint64_t>(other.value_or(0)) + 1000 <=
             2000;
}

}  // namespace

// Its mutex guards what follows, and the links; it is taken before that of a wait.
struct StoppableWait::All {
  std::atomic<bool> is_told = false;  // the host knows whom to tell
  std::atomic<unsigned> plans = 0;    // how often all was planned anew
  std::mutex mutex;
  StoppableWait* first = nullptr;
  StoppableWait* watchman = nullptr;  // the planned wait that looks at the clock for all
  Ahead seen;                         // by the watchman, whoever it was
};

// A planned wait while it lasts: it may become the watchman, and hands that on at its end.
class StoppableWait::Watch {
 public:
  explicit Watch(StoppableWait& wait) : wait_(wait) {}
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;
  ~Watch() {
    const Lock lock(all_.mutex);
    wait_.is_planned_ = false;
    if (all_.watchman != nullptr && all_.watchman != &wait_) {
      return;
    }
    all_.watchman = nullptr;
    for (StoppableWait* other = all_.first; other != nullptr; other = other->next_) {
      if (other->is_planned_) {
        other->Wake();
        return;
      }
    }
  }

  /// Whether this wait has to look. Where a program scripts the monotonic clock each has.
  [[nodiscard]] bool IsOurs() {
    const Lock lock(all_.mutex);
    wait_.is_planned_ = true;
    if (all_.watchman == nullptr) {
      all_.watchman = &wait_;
    }
    return all_.watchman == &wait_ || detail::steady_source.load() != nullptr;
  }

  /// Wakes all when the clock is not as it was seen last.
  void Look() {
    const Ahead now = AheadNow();
    {
      const Lock lock(all_.mutex);
      if (IsSame(now, all_.seen)) {
        return;
      }
      all_.seen = now;
    }
    OnClockJump();
  }

 private:
  StoppableWait& wait_;
  All& all_ = TheWaits();
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
    wait->Wake();
  }
}

void StoppableWait::PlanAnew() {
  ++TheWaits().plans;
  OnClockJump();
}

void StoppableWait::Wake() {
  const Lock lock(mutex_);
  ++jumps_;
  changed_.notify_all();
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
  const PlannedWait wait(seconds, look ? PlannedWait::For::kMoment : PlannedWait::For::kPhase);
  if (!wait.FollowsClock() && !look) {
    return For(wait.Milliseconds());
  }
  Watch watch(*this);
  const auto is_planned_anew = [&wait, &plans = TheWaits().plans, plan = TheWaits().plans.load()] {
    return wait.IsForPhase() && plans != plan;
  };
  // Read before the clock is: a jump between the two is not missed.
  for (unsigned seen = Jumps(); !wait.IsOver() && !is_planned_anew(); seen = Jumps()) {
    // Who has a look of its own, which may take long, watches for itself alone.
    const bool watches = !look && watch.IsOurs();
    const std::int64_t left = wait.Milliseconds();
    if (!Wait(watches || look ? std::min(left, kLook) : left, &seen)) {
      return false;
    }
    if (watches) {
      watch.Look();
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

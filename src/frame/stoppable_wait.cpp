#include "frame/stoppable_wait.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>
#include <tuple>
#include <utility>

#include "frame/planned_wait.h"
#include "frame/single_objects.h"
#include "frame/ticks.h"
#include "host/clock.h"

namespace frame {
namespace {

using Lock = std::unique_lock<std::mutex>;

// Milliseconds between two looks: at the server's clock, and of one who has a look of his own.
constexpr std::int64_t kLook = 1000;
constexpr std::int64_t kOwnLook = 60'000;

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

// What all waits share.
struct StoppableWait::All {
  std::mutex mutex;  // guards the members below, and of each wait whether it is stopped
  boost::intrusive::list<StoppableWait, boost::intrusive::constant_time_size<false>> waits;
  unsigned jumps = 0;                       // how often those who wait for a moment have to look
  unsigned plans = 0;                       // how often all was planned anew
  const StoppableWait* watchman = nullptr;  // the planned wait that looks at the clock for all
  Ahead seen;                               // by the watchman, whoever it was

  void Wake() {
    ++jumps;
    for (StoppableWait& wait : waits) {
      wait.changed_.notify_all();
    }
  }
};

StoppableWait::All& StoppableWait::TheWaits() {
  return Immortal<All, StoppableWait>();
}

void StoppableWait::OnClockJump() {
  const Lock lock(TheWaits().mutex);
  TheWaits().Wake();
}

// A planned wait while it lasts: it may become the watchman, and hands that on at its end.
class StoppableWait::Watch {
 public:
  explicit Watch(const StoppableWait& wait) : wait_(wait) {}
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;
  ~Watch() {
    const Lock lock(all_.mutex);
    if (all_.watchman == &wait_) {
      all_.watchman = nullptr;
      all_.Wake();
    }
  }

  /// Whether this wait has to look. Where a program scripts the monotonic clock each has. One that is busy at
  /// times looks while nobody else does, and for itself alone.
  [[nodiscard]] bool IsOurs(bool is_busy) {
    const Lock lock(all_.mutex);
    if (all_.watchman == nullptr && !is_busy) {
      all_.watchman = &wait_;
    }
    return all_.watchman == &wait_ || all_.watchman == nullptr || detail::steady_source.load() != nullptr;
  }

  /// Wakes all when the clock is not as it was seen last.
  void Look() {
    const Ahead now = AheadNow();
    const Lock lock(all_.mutex);
    if (!IsSame(now, all_.seen)) {
      all_.seen = now;
      all_.Wake();
    }
  }

 private:
  const StoppableWait& wait_;
  All& all_ = TheWaits();
};

StoppableWait::StoppableWait() {
  static std::atomic<bool> is_told = false;  // the host knows whom to tell
  if (common::TellOfClockJumps != nullptr && !is_told.exchange(true)) {
    common::TellOfClockJumps(&OnClockJump);
  }
  const Lock lock(TheWaits().mutex);
  TheWaits().waits.push_back(*this);
}

StoppableWait::~StoppableWait() {
  const Lock lock(TheWaits().mutex);
  unlink();
}

void StoppableWait::PlanAnew() {
  const Lock lock(TheWaits().mutex);
  ++TheWaits().plans;
  TheWaits().Wake();
}

// Ends sooner when the waits were woken more often than `seen`; null: it does not matter.
bool StoppableWait::Wait(std::int64_t milliseconds, const unsigned* seen) {
  const std::int64_t end = SteadyMilliseconds() + milliseconds;
  All& all = TheWaits();
  Lock lock(all.mutex);
  while (!stopped_) {
    const std::int64_t left = end - SteadyMilliseconds();
    if (left <= 0 || (seen != nullptr && all.jumps != *seen)) {
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
  const auto woken = [] {
    const Lock lock(TheWaits().mutex);
    return std::pair(TheWaits().jumps, TheWaits().plans);
  };
  // Read before the clock is: a jump between the two is not missed.
  auto [seen, plan] = woken();
  const unsigned first_plan = plan;
  while (!wait.IsOver() && !(wait.IsForPhase() && plan != first_plan)) {
    // A look of its own may take long: others cannot rely on it.
    const bool watches = watch.IsOurs(look != nullptr);
    const std::int64_t left = wait.Milliseconds();
    if (!Wait(watches ? std::min(left, kLook) : look ? std::min(left, kOwnLook) : left, &seen)) {
      return false;
    }
    if (look) {
      look();
    } else if (watches) {
      watch.Look();
    }
    std::tie(seen, plan) = woken();
  }
  return !IsStopped();
}

void StoppableWait::Stop() {
  const Lock lock(TheWaits().mutex);
  stopped_ = true;
  changed_.notify_all();
}

bool StoppableWait::IsStopped() {
  const Lock lock(TheWaits().mutex);
  return stopped_;
}

}  // namespace frame

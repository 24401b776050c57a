#include "clock.h"

#include <time.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cmath>
#include <cstring>

#include "host/clock.h"
#include "stock_host.h"

namespace stock_host {
namespace {

constexpr std::int64_t kEarliest = 631152000;   // 1990-01-01
constexpr std::int64_t kLatest = 4102444800;    // 2100-01-01
constexpr std::chrono::seconds kSuspension{1};  // shorter ones put no clock in doubt

std::chrono::nanoseconds Read(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

MachineClocks ReadMachine() {
  const std::chrono::nanoseconds elapsed = Read(CLOCK_BOOTTIME);
  return {std::chrono::duration<double>(Read(CLOCK_REALTIME)).count(),
          {elapsed, elapsed - Read(CLOCK_MONOTONIC)}};
}

std::atomic<MachineSource> machine{&ReadMachine};

double WallSeconds() {
  return machine.load()().wall;
}

double SecondsBetween(const Moment& earlier, const Moment& later) {
  return std::chrono::duration<double>(later.elapsed - earlier.elapsed).count();
}

}  // namespace

void SetMachineSource(MachineSource source) {
  machine = source != nullptr ? source : &ReadMachine;
}

Moment Moment::Now() {
  return machine.load()().moment;
}

bool SuspendedBetween(const Moment& earlier, const Moment& later) {
  return later.suspended - earlier.suspended >= kSuspension;
}

double ServerClockModel::At(Moment now) const {
  return base_ + SecondsBetween(base_at_, now) * speed_;
}

void ServerClockModel::Step(double time, Moment now) {
  base_ = time;
  base_at_ = now;
  latest_told_ = 0;
  stray_.reset();
}

void ServerClockModel::Reset(double wall, Moment now) {
  const std::lock_guard lock(mutex_);
  speed_ = 1;
  learned_ = false;
  Step(wall, now);
}

std::int64_t ServerClockModel::Now(Moment now) {
  const std::lock_guard lock(mutex_);
  const auto seconds = static_cast<std::int64_t>(std::floor(At(now)));
  latest_told_ = std::max(latest_told_, seconds);
  return latest_told_;
}

bool ServerClockModel::Learn(std::int64_t date, double speed, Moment now) {
  if (date < kEarliest || date > kLatest) {
    return false;
  }
  bool has_jumped = false;
  {
    const std::lock_guard lock(mutex_);
    // The header carries whole seconds, cut off.
    has_jumped = TakeLocked(static_cast<double>(date) + 0.5, speed, now);
  }
  if (void (*const told)() = told_; has_jumped && told != nullptr) {
    told();
  }
  return true;
}

// True when the clock was set to another time or speed in one step.
bool ServerClockModel::TakeLocked(double time, double speed, Moment now) {
  // At another speed the past samples say nothing.
  if (!learned_ || SuspendedBetween(base_at_, now) || std::abs(speed - speed_) > 1e-9 * speed_) {
    learned_ = true;
    speed_ = speed;
    Step(time, now);
    return true;
  }
  const double here = At(now);
  const double difference = time - here;
  if (std::abs(difference) <= kLargestSkew) {
    stray_.reset();
    const double bound = kLargestPull * std::max(1.0, speed_);
    base_ = here + std::clamp(difference / 8, -bound, bound);
    base_at_ = now;
    return false;
  }
  if (stray_ && std::abs(time - *stray_ - SecondsBetween(stray_at_, now) * speed_) <= kLargestSkew) {
    Step(time, now);
    return true;
  }
  stray_ = time;
  stray_at_ = now;
  return false;
}

bool ServerClockModel::Learned() {
  const std::lock_guard lock(mutex_);
  return learned_;
}

bool ServerClockModel::Sure(Moment now) {
  const std::lock_guard lock(mutex_);
  return learned_ && !stray_ && !SuspendedBetween(base_at_, now);
}

bool ServerClockModel::Suspended(Moment now) {
  const std::lock_guard lock(mutex_);
  return learned_ && SuspendedBetween(base_at_, now);
}

double ServerClockModel::Speed() {
  const std::lock_guard lock(mutex_);
  return speed_;
}

ServerClockModel& ServerClock() {
  // Leaked: callable until the very end of the process.
  static ServerClockModel* const clock = [] {
    auto* made = new ServerClockModel;
    made->Reset(WallSeconds(), Moment::Now());
    return made;
  }();
  return *clock;
}

std::optional<double> ParseSpeed(const char* text) {
  const char* const end = text + std::strlen(text);
  double speed = 0;
  const auto [at, error] = std::from_chars(text, end, speed, std::chars_format::fixed);
  if (error != std::errc() || at != end || !(speed == 0 || (speed >= 0.001 && speed <= 100000))) {
    return std::nullopt;
  }
  return speed;
}

ServerClockState ReadServerClock() {
  ServerClockModel& clock = ServerClock();
  const Moment now = Moment::Now();
  const double ahead = static_cast<double>(clock.Now(now)) - WallSeconds() + 0.5;
  const bool known = clock.Learned();
  return {known, clock.Sure(now), clock.Suspended(now), known ? ahead : 0, clock.Speed()};
}

void ResetServerClock() {
  ServerClock().Reset(WallSeconds(), Moment::Now());
}

}  // namespace stock_host

namespace common {

std::int64_t GetCurrentServerTime() {
  return stock_host::ServerClock().Now(stock_host::Moment::Now());
}

void TellOfClockJumps(void (*told)()) {
  stock_host::ServerClock().TellOfJumps(told);
}

std::uint32_t GetCurrentServerDate() {
  return TimeToDate(GetCurrentServerTime());
}

}  // namespace common

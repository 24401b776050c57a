// The tick clock under the hand of a test: request stamps and the age of cached data are counted by it. Puts
// the system's clock back when it goes. Only for tests that link the module's objects: the library has a
// clock of its own. The server's time is the scripted host's.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>
#include <utility>

#include "frame/ticks.h"

class ScriptedTicks {
 public:
  /// Starts at a moment of the year 2024.
  ScriptedTicks() {
    Set(17'104'968'000'000'000);
    frame::SetTickSource(&Read);
  }
  ~ScriptedTicks() { frame::SetTickSource(nullptr); }
  ScriptedTicks(const ScriptedTicks&) = delete;
  ScriptedTicks& operator=(const ScriptedTicks&) = delete;

  void Set(std::int64_t ticks) { now_.store(ticks); }
  void Advance(std::int64_t milliseconds) { AdvanceTicks(milliseconds * frame::kTicksPerMillisecond); }
  void AdvanceTicks(std::int64_t ticks) { now_.fetch_add(ticks); }
  [[nodiscard]] std::int64_t Now() const { return now_.load(); }

 private:
  static std::int64_t Read() { return now_.load(); }

  static inline std::atomic<std::int64_t> now_{0};
};

/// The same for the monotonic clock, in milliseconds. A thread that waits really waits all the same.
class ScriptedSteady {
 public:
  ScriptedSteady() {
    now_.store(1'000'000);
    frame::SetSteadySource(&Read);
  }
  ~ScriptedSteady() {
    frame::SetSteadySource(nullptr);
    stepping_ = std::thread::id();
    on_read_ = nullptr;
  }
  ScriptedSteady(const ScriptedSteady&) = delete;
  ScriptedSteady& operator=(const ScriptedSteady&) = delete;

  void Advance(std::int64_t milliseconds) { now_.fetch_add(milliseconds); }
  [[nodiscard]] std::int64_t Now() const { return now_.load(); }

  /// From now on every look at the clock by this thread runs this first, as time goes on while it waits. Time
  /// does not go on for a thread that an earlier test has left.
  void OnRead(std::function<void()> step) {
    stepping_ = std::this_thread::get_id();
    on_read_ = std::move(step);
  }

 private:
  static std::int64_t Read() {
    if (stepping_.load() == std::this_thread::get_id()) {
      on_read_();
    }
    return now_.load();
  }

  static inline std::atomic<std::int64_t> now_{0};
  static inline std::atomic<std::thread::id> stepping_;
  static inline std::function<void()> on_read_;  // the stepping thread's
};

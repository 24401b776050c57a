// One time line for a whole client, module and real host services alike: the truth by which a server answers,
// the machine's clocks, which may be wrong and stand still while it sleeps, and the clock of waits. Real time
// goes on in it; a test moves it further. One at a time; its clocks are read by any thread.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <thread>

#include "clock.h"
#include "frame/ticks.h"

namespace client_test {

class ScriptedWorld {
 public:
  /// Begins at `truth` (Unix seconds); the machine's wall clock is `error` seconds ahead of it.
  ScriptedWorld(std::int64_t truth, std::int64_t error) {
    began_ = Real();
    truth_ = truth * 1000;
    error_ = error;
    moved_ = 0;
    slept_ = 0;
    owner_ = std::this_thread::get_id();
    stock_host::SetMachineSource(&ReadMachine);
    frame::SetSteadySource(&ReadSteady);
  }
  ~ScriptedWorld() {
    frame::SetSteadySource(nullptr);
    stock_host::SetMachineSource(nullptr);
    on_look_ = nullptr;
  }
  ScriptedWorld(const ScriptedWorld&) = delete;
  ScriptedWorld& operator=(const ScriptedWorld&) = delete;

  /// The right time, in Unix seconds.
  [[nodiscard]] static std::int64_t Now() { return (truth_ + Elapsed()) / 1000; }

  static void Pass(std::chrono::seconds time) { moved_ += std::chrono::milliseconds(time).count(); }

  /// The machine is suspended until `moment`.
  static void SleepUntil(std::int64_t moment) {
    const std::int64_t time = (moment - Now()) * 1000;
    slept_ += time;
    moved_ += time;
  }

  /// Whenever the test's own thread looks at the clock of waits, this runs first.
  static void OnLook(std::function<void()> step) { on_look_ = std::move(step); }

 private:
  static std::int64_t Real() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
  }
  static std::int64_t Elapsed() { return Real() - began_ + moved_; }
  static stock_host::MachineClocks ReadMachine() {
    const std::int64_t elapsed = Elapsed();
    return {static_cast<double>(truth_ + elapsed) / 1000 + static_cast<double>(error_),
            {std::chrono::milliseconds(elapsed), std::chrono::milliseconds(slept_)}};
  }
  static std::int64_t ReadSteady() {
    if (on_look_ && std::this_thread::get_id() == owner_) {
      on_look_();
    }
    return Elapsed() - slept_;
  }

  // Milliseconds, but for the error.
  static inline std::atomic<std::int64_t> began_, truth_, error_, moved_, slept_;
  static inline std::thread::id owner_;
  static inline std::function<void()> on_look_;
};

}  // namespace client_test

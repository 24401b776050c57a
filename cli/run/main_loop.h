// The main thread of csm: everything that a person sees happens here, one thing after another. Other threads
// hand work over with `Post`; signals, timers and keys arrive as calls. Only `Post` may be called from other
// threads.
#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace cli {

/// The thread on which everything that a person sees happens.
class Schedule {
 public:
  /// Runs `work` there, in the order of the calls. Callable from any thread.
  virtual void Post(std::function<void()> work) = 0;
  virtual void After(std::chrono::milliseconds delay, std::function<void()> work) = 0;

 protected:
  Schedule() = default;
  ~Schedule() = default;
};

class MainLoop final : public Schedule {
 public:
  /// Takes the signals of the process away from its threads, so it must exist before any thread is started.
  /// Until `Run` looks at them they wait. SIGINT, SIGTERM, SIGHUP and SIGQUIT end the loop; SIGTSTP stops the
  /// process as usual.
  MainLoop();
  ~MainLoop();
  MainLoop(const MainLoop&) = delete;
  MainLoop& operator=(const MainLoop&) = delete;

  /// Work that is left when the loop ends is not run.
  void Post(std::function<void()> work) override;
  void After(std::chrono::milliseconds delay, std::function<void()> work) override;
  /// Every `period`, the first time after one period.
  void Every(std::chrono::milliseconds period, std::function<void()> work);

  /// Whenever `fd` can be read, until `work` returns false. The descriptor stays the caller's.
  void OnReadable(int fd, std::function<bool()> work);

  /// Instead of what is said above; SIGWINCH is ignored otherwise.
  void OnSignal(int number, std::function<void()> work);

  /// Returns after `End`, or throws what the work throws.
  void Run();
  void End();
  [[nodiscard]] bool ended() const;

  /// Waits until `fd` can be written to; false when the loop was ended meanwhile. Signals are looked at,
  /// nothing else.
  [[nodiscard]] bool WaitWritable(int fd);

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace cli

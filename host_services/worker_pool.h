// Threads that run queued functions: the task pool. Every operation may be called from any thread, `Finish`
// not from a function that the pool runs.
#pragma once

#include <signal.h>

#include <boost/asio/thread_pool.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace stock_host {

class WorkerPool {
 public:
  /// `name` is for log lines.
  WorkerPool(std::string name, std::size_t threads);
  ~WorkerPool();
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  /// Queues `work`; never runs it inside this call. Work starts in the order in which it was posted. What it
  /// throws is logged and dropped. Must not be called after `Finish`.
  void Post(std::function<void()> work);

  /// Returns when everything posted has run and the threads are joined.
  void Finish();

 private:
  const std::string name_;
  std::unique_ptr<boost::asio::thread_pool> pool_;
};

/// Runs `work`; logs and drops what it throws. `where` is for the log line.
void RunGuarded(const std::string& where, const std::function<void()>& work);

/// True on a thread that belongs to the host services. Such a thread cannot stop them: it would wait for
/// itself.
[[nodiscard]] bool OnHostThread();

/// For its lifetime the calling thread counts as a thread of the host services.
class HostThreadMark {
 public:
  HostThreadMark();
  ~HostThreadMark();
  HostThreadMark(const HostThreadMark&) = delete;
  HostThreadMark& operator=(const HostThreadMark&) = delete;

 private:
  const bool before_;
};

/// For its lifetime the calling thread, and every thread that it makes, takes no signals: the application's
/// handlers belong on its own threads, and a closed connection must not raise SIGPIPE.
class SignalsBlocked {
 public:
  SignalsBlocked();
  ~SignalsBlocked();
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace stock_host

#include "worker_pool.h"

#include <boost/asio/post.hpp>
#include <exception>
#include <utility>

#include "log.h"

namespace stock_host {
namespace {

thread_local bool on_host_thread = false;

}  // namespace

WorkerPool::WorkerPool(std::string name, std::size_t threads) : name_(std::move(name)) {
  const SignalsBlocked blocked;
  pool_ = std::make_unique<boost::asio::thread_pool>(threads);
}

WorkerPool::~WorkerPool() {
  Finish();
}

void WorkerPool::Post(std::function<void()> work) {
  boost::asio::post(*pool_, [this, work = std::move(work)]() mutable {
    const HostThreadMark mark;
    // Taken over, so that what the function holds goes away here and not on the thread that joins.
    const std::function<void()> own = std::move(work);
    RunGuarded(name_, own);
  });
}

void WorkerPool::Finish() {
  pool_->join();
}

void RunGuarded(const std::string& where, const std::function<void()>& work) {
  try {
    work();
  } catch (const std::exception& e) {
    Log(Severity::kError, where + ": dropped an exception: " + e.what());
  } catch (...) {
    Log(Severity::kError, where + ": dropped an exception of unknown type");
  }
}

bool OnHostThread() {
  return on_host_thread;
}

HostThreadMark::HostThreadMark() : before_(on_host_thread) {
  on_host_thread = true;
}
HostThreadMark::~HostThreadMark() {
  on_host_thread = before_;
}

SignalsBlocked::SignalsBlocked() {
  sigset_t signals;
  sigfillset(&signals);
  // Those that a thread raises by what it does itself, and the profiler's.
  for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS, SIGPROF}) {
    sigdelset(&signals, number);
  }
  pthread_sigmask(SIG_BLOCK, &signals, &before_);
}
SignalsBlocked::~SignalsBlocked() {
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

}  // namespace stock_host

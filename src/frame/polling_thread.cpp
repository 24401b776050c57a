#include "frame/polling_thread.h"

#include "frame/planned_wait.h"

namespace frame {
namespace {

constexpr int kSecondsWithoutInterval = 3;

// What a view throws out of a round has been through everybody who could do something about it.
void Finish(PolledWork& work) {
  try {
    work.Round();
  } catch (...) {
  }
}

int SecondsToNextRound(PolledWork& work) {
  try {
    return work.SecondsToNextRound();
  } catch (...) {
    return kSecondsWithoutInterval;
  }
}

}  // namespace

void PollingThread::Start(PolledWork& work) {
  thread_ = boost::thread([this, &work] { Run(work); });
}

void PollingThread::Stop() {
  if (!thread_.joinable()) {
    return;
  }
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  stopped_.notify_all();
  thread_.interrupt();
  // Joining is an interruption point of its caller, which must not cut the teardown short.
  const boost::this_thread::disable_interruption uninterrupted;
  thread_.join();
}

void PollingThread::Run(PolledWork& work) {
  // A fetch under way is finished: what it calls may ask whether it is to end, but is not cut short.
  const boost::this_thread::disable_interruption uninterrupted;
  Wait(SecondsToNextRound(work));
  while (!IsStopping()) {
    Finish(work);
    if (!IsStopping()) {
      Wait(SecondsToNextRound(work));
    }
  }
}

void PollingThread::Wait(int seconds) {
  const PlannedWait wait(seconds);
  while (!wait.IsOver() && Sleep(wait.ToNextLook())) {
  }
}

// False when the thread is to end.
bool PollingThread::Sleep(std::chrono::milliseconds time) {
  std::unique_lock<std::mutex> lock(mutex_);
  return !stopped_.wait_for(lock, time, [this] { return stopping_; });
}

bool PollingThread::IsStopping() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return stopping_;
}

}  // namespace frame

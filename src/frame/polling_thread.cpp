#include "frame/polling_thread.h"

#include "frame/succeeds.h"

namespace frame {
namespace {

constexpr int kSecondsWithoutInterval = 3;

int SecondsToNextRound(PolledWork& work) {
  int seconds = kSecondsWithoutInterval;
  static_cast<void>(Succeeds([&] { seconds = work.SecondsToNextRound(); }));
  return seconds;
}

}  // namespace

void PollingThread::Start(PolledWork& work) {
  thread_ = boost::thread([this, &work] { Run(work); });
}

void PollingThread::Stop() {
  if (!thread_.joinable()) {
    return;
  }
  wait_.Stop();
  thread_.interrupt();
  // Joining is an interruption point of its caller, which must not cut the teardown short.
  const boost::this_thread::disable_interruption uninterrupted;
  thread_.join();
}

void PollingThread::Run(PolledWork& work) {
  // A fetch under way is finished: what it calls may ask whether it is to end, but is not cut short.
  const boost::this_thread::disable_interruption uninterrupted;
  while (!wait_.IsStopped() && wait_.Planned(SecondsToNextRound(work))) {
    // What a view throws out of a round has been through everybody who could do something about it.
    static_cast<void>(Succeeds([&work] { work.Round(); }));
  }
}

}  // namespace frame

// The thread of a polled service: a round, a wait, and so on until it is stopped. What a round does and how
// long a wait is are functions of the service, so that tests call them without a thread.
#pragma once

#include <boost/thread/thread_only.hpp>

#include "frame/stoppable_wait.h"

namespace frame {

/// What a polling thread does again and again. Called on that thread only.
class PolledWork {
 public:
  virtual void Round() = 0;
  /// Seconds from one round to the next; 0 or less means at once.
  virtual int SecondsToNextRound() = 0;

 protected:
  ~PolledWork() = default;
};

/// No exception ends the thread: a round that throws is over, after an interval that could not be told the
/// thread waits three seconds. `Start` and `Stop` belong to the owner's thread.
class PollingThread {
 public:
  PollingThread() = default;
  PollingThread(const PollingThread&) = delete;
  PollingThread& operator=(const PollingThread&) = delete;
  ~PollingThread() { Stop(); }

  /// Starts the thread, which begins with a wait: there is nobody yet to fetch for. `work` stays the caller's
  /// until `Stop` has returned. Throws when the system has no thread left.
  void Start(PolledWork& work);

  /// Ends the thread; a round under way is finished first. Does nothing when there is none.
  void Stop();

 private:
  void Run(PolledWork& work);

  boost::thread thread_;
  StoppableWait wait_;
};

}  // namespace frame

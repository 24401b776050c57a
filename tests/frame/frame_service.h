// A service of the tests: text keys, whole numbers as data, a fetch that counts and does what the test says.
// Its protected operations are open. `frame::Polling<FrameService>` gives it a thread.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "frame/polling.h"
#include "frame/timer_subject.h"
#include "recording_observer.h"

using FrameObserver = IUpdate1<int>;
using FrameSubject = ITimerSubject<FrameObserver, std::wstring, int>;
using FrameRecorder = RecordingObserver<int>;

class FrameService : public FrameSubject {
 public:
  FrameService() = default;
  FrameService(std::function<void()> on_fetch, std::function<int()> interval)
      : on_fetch_(std::move(on_fetch)), interval_(std::move(interval)) {}

  void Fetch() override {
    ++fetches;
    if (on_fetch_) on_fetch_();
  }
  int GetInterval() override { return interval_ ? interval_() : FrameSubject::GetInterval(); }

  using FrameSubject::DeliverUncached;
  using FrameSubject::PollOnce;
  void Deliver(const std::wstring& key, int data) { FrameSubject::Deliver(key, data); }
  void DeliverShared(const std::wstring& key, const std::shared_ptr<const int>& data) {
    FrameSubject::Deliver(key, data);
  }
  void DeliverAlwaysCached(const std::wstring& key, int data) {
    FrameSubject::Deliver(key, data, CacheRule::kAlways);
  }
  void DeliverToAll(const std::wstring& key, int data) {
    FrameSubject::Deliver(key, data, CacheRule::kIfTargeted, Audience::kAttached);
  }
  std::vector<std::wstring> ActiveTargets() {
    std::vector<std::wstring> keys;
    GetActiveTargets(keys);
    return keys;
  }

  std::atomic<int> fetches{0};

 private:
  const std::function<void()> on_fetch_;
  const std::function<int()> interval_;
};

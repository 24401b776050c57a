// A service of the tests: text keys, whole numbers as data, a fetch that counts and does what the test says.
// Its protected operations are open. `frame::Running<FrameService>` gives it a thread.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "frame/polled_subject.h"
#include "frame/running.h"
#include "frame/timer_subject.h"
#include "recording_observer.h"

using FrameObserver = IUpdate1<int>;
using FrameSubject = ITimerSubject<FrameObserver, std::wstring, int>;
using FrameRecorder = RecordingObserver<int>;

class FrameService : public frame::PolledSubject<FrameSubject> {
 public:
  FrameService() = default;
  FrameService(std::function<void()> on_fetch, std::function<int()> interval)
      : on_fetch_(std::move(on_fetch)), interval_(std::move(interval)) {}

  void Fetch() override {
    ++fetches;
    if (on_fetch_) on_fetch_();
  }
  int GetInterval() override { return interval_ ? interval_() : PolledSubject::GetInterval(); }

  using PolledSubject::IsShown;
  using PolledSubject::Tell;
  using PolledSubject::TellAlone;
  using PolledSubject::TellEach;

  /// Stamps a request; `Answer` is its answer.
  frame::Stamp Ask() { return stamps_.Next(); }
  bool Answer(frame::Stamp stamp, const std::wstring& key, int data, const frame::Telling& how = {}) {
    return Tell(key, stamp, how, [data] { return std::make_shared<const int>(data); });
  }

  void Deliver(const std::wstring& key, int data) { EXPECT_TRUE(Answer(Ask(), key, data)); }
  void DeliverShared(const std::wstring& key, const std::shared_ptr<const int>& data) {
    EXPECT_TRUE(Tell(key, Ask(), {}, [&] { return data; }));
  }
  void DeliverUncached(const std::wstring& key, int data) {
    EXPECT_TRUE(Answer(Ask(), key, data, {frame::Whom::kActive, frame::Keep::kNever}));
  }
  void DeliverAlwaysCached(const std::wstring& key, int data) {
    EXPECT_TRUE(Answer(Ask(), key, data, {frame::Whom::kActive, frame::Keep::kAlways}));
  }
  void DeliverToAll(const std::wstring& key, int data) {
    EXPECT_TRUE(Answer(Ask(), key, data, {frame::Whom::kAttached, frame::Keep::kIfShown}));
  }
  std::vector<std::wstring> ActiveTargets() {
    std::vector<std::wstring> keys;
    GetActiveTargets(keys);
    return keys;
  }

  std::atomic<int> fetches{0};

 private:
  frame::Stamps stamps_;
  const std::function<void()> on_fetch_;
  const std::function<int()> interval_;
};

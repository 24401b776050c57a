// The frame under load from several threads. Meant for the thread sanitizer, which reports what no assertion
// sees; the address sanitizer sees a use of what is gone.
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <thread>

#include "frame_service.h"
#include "host/network.h"
#include "scripted_host.h"

namespace {

constexpr int kCycles = 1000;
constexpr int kThreads = 4;
constexpr int kHour = 3600;

const std::array<std::wstring, 3> kKeys = {L"a", L"b", L"c"};

// Runs `body` again and again on several threads until it goes.
class Storm {
 public:
  explicit Storm(std::function<void(int)> body) {
    for (int number = 0; number < kThreads; ++number) {
      threads_.emplace_back([this, body, number] {
        while (!over_) {
          body(number);
          std::this_thread::yield();
        }
      });
    }
  }
  ~Storm() {
    over_ = true;
    for (std::thread& thread : threads_) thread.join();
  }

 private:
  std::atomic<bool> over_{false};
  std::vector<std::thread> threads_;
};

// An observer that knows when it is told too much.
class Watchful final : public FrameObserver {
 public:
  explicit Watchful(std::atomic<int>& faults) : faults_(faults) {}
  ~Watchful() {
    gone_ = true;
    if (inside_ > 0) ++faults_;
  }
  void Update(const int&) override {
    ++inside_;
    if (gone_) ++faults_;
    ++updates;
    --inside_;
  }
  std::atomic<int> updates{0};

 private:
  std::atomic<int>& faults_;
  std::atomic<int> inside_{0};
  std::atomic<bool> gone_{false};
};

TEST(FrameUnderLoad, attachTargetResumeSuspendDetachAgainstCompletions) {
  frame::Running<FrameService> service(std::function<void()>(), [] { return kHour; });
  std::atomic<int> faults{0};
  {
    const Storm completions([&service](int number) {
      service.Deliver(kKeys[static_cast<std::size_t>(number) % kKeys.size()], number);
      service.ActiveTargets();
    });
    for (int cycle = 0; cycle < kCycles; ++cycle) {
      const std::wstring& key = kKeys[static_cast<std::size_t>(cycle) % kKeys.size()];
      const auto observer = std::make_unique<Watchful>(faults);
      service.Attach(observer.get());
      service.SetTarget(observer.get(), key);
      service.Resume(observer.get(), true);
      service.SetTarget(observer.get(), kKeys[static_cast<std::size_t>(cycle + 1) % kKeys.size()]);
      service.Suspend(observer.get());
      service.IsSuspended(observer.get());
      service.Resume(observer.get(), true);
      service.RemoveTarget(observer.get());
      service.SetTarget(observer.get(), key);
      service.Detach(observer.get());
    }
  }
  EXPECT_EQ(faults, 0);
}

TEST(FrameUnderLoad, viewsOnFourThreadsAgainstEachOther) {
  frame::Running<FrameService> service(std::function<void()>(), [] { return 0; });
  std::atomic<int> faults{0};
  std::vector<std::thread> views;
  for (int number = 0; number < kThreads; ++number) {
    views.emplace_back([&service, &faults, number] {
      const std::wstring& key = kKeys[static_cast<std::size_t>(number) % kKeys.size()];
      for (int cycle = 0; cycle < kCycles; ++cycle) {
        Watchful observer(faults);
        service.Attach(&observer);
        service.SetTarget(&observer, key);
        service.Resume(&observer, true);
        service.Deliver(key, cycle);
        service.Suspend(&observer);
        service.Resume(&observer, true);
        service.Detach(&observer);
      }
    });
  }
  for (std::thread& view : views) view.join();
  EXPECT_EQ(faults, 0);
}

// A service that asks the host's network and delivers what comes through its gate.
class AskingService : public FrameService {
 public:
  void Fetch() override {
    GetAsyn(L"http://api.test/a", gate_.Guard([this](bool, const char*, std::size_t length) {
      Deliver(L"k", static_cast<int>(length));
    }),
            {}, 30);
  }
  int GetInterval() override { return kHour; }
};

TEST(FrameUnderLoad, aServiceEndsWithAnswersStillToCome) {
  ScriptedHost host;
  for (int worker = 0; worker < kThreads; ++worker) {
    host.Expect(Script("/a").Times(kCycles).OnWorker(worker, Answer::Body("answer")));
  }
  int told = 0;
  for (int cycle = 0; cycle < kCycles; ++cycle) {
    std::atomic<int> faults{0};
    Watchful observer(faults);
    auto service = std::make_unique<frame::Running<AskingService>>();
    service->Attach(&observer);
    service->SetTarget(&observer, L"k");
    service->Resume(&observer, false);
    for (int request = 0; request < kThreads; ++request) service->Refresh();
    if (cycle % 3 == 0) std::this_thread::yield();
    service.reset();
    told += observer.updates;
    EXPECT_EQ(faults, 0);
  }
  host.Settle();
  // On a slow machine a later round of the thread may have asked as well.
  const std::size_t requests = host.RequestCount();
  EXPECT_GE(requests, static_cast<std::size_t>(kCycles * kThreads));
  EXPECT_LE(told, static_cast<int>(requests));
  if (requests > kCycles * kThreads) host.TakeProblems();
}

TEST(FrameUnderLoad, anObserverIsDetachedAndDeletedWhileUpdateRuns) {
  FrameService service;
  std::atomic<int> faults{0};
  int told = 0;
  {
    const Storm completions([&service](int number) { service.Deliver(L"k", number); });
    for (int cycle = 0; cycle < kCycles; ++cycle) {
      auto observer = std::make_unique<Watchful>(faults);
      service.Attach(observer.get());
      service.SetTarget(observer.get(), L"k");
      service.Resume(observer.get(), false);
      while (observer->updates == 0) std::this_thread::yield();
      service.Detach(observer.get());
      told += observer->updates;
      observer.reset();
    }
  }
  EXPECT_EQ(faults, 0);
  EXPECT_GE(told, kCycles);
}

TEST(FrameUnderLoad, anObserverIsDetachedAndDeletedWhileAnotherThreadResumesIt) {
  FrameService service;
  std::atomic<int> faults{0};
  FrameRecorder keeper;
  service.Attach(&keeper);
  service.SetTarget(&keeper, L"k");
  for (int cycle = 0; cycle < kCycles; ++cycle) {
    service.Deliver(L"k", cycle);
    auto observer = std::make_unique<Watchful>(faults);
    service.Attach(observer.get());
    service.SetTarget(observer.get(), L"k");
    std::thread resumer([&service, raw = observer.get()] { service.Resume(raw, true); });
    service.Detach(observer.get());
    observer.reset();
    resumer.join();
  }
  EXPECT_EQ(faults, 0);
}

TEST(FrameUnderLoad, idleServicesComeAndGo) {
  for (int cycle = 0; cycle < kCycles; ++cycle) {
    const frame::Running<AskingService> service;
  }
}

}  // namespace

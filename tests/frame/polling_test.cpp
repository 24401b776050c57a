// The polling thread: when it starts and stops, what it does in a round, what interrupts it.
#include "frame/running.h"

#include <gtest/gtest.h>

#include <boost/thread/thread_only.hpp>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "frame_service.h"
#include "scripted_host.h"

namespace {

constexpr int kHour = 3600;

using PolledService = frame::Running<FrameService>;

// Stops the polling thread in `GetInterval`, between its fetch and its sleep, until the test sends it on.
class Rounds {
 public:
  ~Rounds() { Open(); }

  // The thread's side: the interval of `GetInterval`.
  int Arrive() {
    std::unique_lock<std::mutex> lock(mutex_);
    ++arrived_;
    changed_.notify_all();
    changed_.wait(lock, [this] { return open_ || left_ < sent_; });
    ++left_;
    return open_ ? kHour : seconds_;
  }

  // The test's side: waits until the thread has finished round `number` (from 1) and stands.
  void AwaitEndOf(int number) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return arrived_ >= number; });
  }
  // Sends the standing thread into its sleep of `seconds`.
  void SendOn(int seconds) {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      seconds_ = seconds;
      ++sent_;
    }
    changed_.notify_all();
  }
  // Lets the thread run on its own from now on, an hour a round.
  void Open() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      open_ = true;
    }
    changed_.notify_all();
  }

 private:
  std::mutex mutex_;  // guards the members below
  std::condition_variable changed_;
  int arrived_ = 0;
  int sent_ = 0;
  int left_ = 0;
  int seconds_ = 0;
  bool open_ = false;
};

TEST(PollingThread, fetchesNothingForAnObserverThatWasNeverResumed) {
  Rounds rounds;
  PolledService service([] {}, [&rounds] { return rounds.Arrive(); });
  FrameRecorder observer;
  service.Attach(&observer);
  service.SetTarget(&observer, L"k");
  for (int round = 1; round <= 5; ++round) {
    rounds.AwaitEndOf(round);
    rounds.SendOn(0);
  }
  rounds.AwaitEndOf(6);
  EXPECT_EQ(service.fetches, 0);
  EXPECT_EQ(observer.Count(), 0u);
  rounds.Open();
}

TEST(PollingThread, fetchesOnceARoundWhileAnObserverIsActive) {
  Rounds rounds;
  std::thread::id thread;
  PolledService service([&thread] { thread = std::this_thread::get_id(); },
                        [&rounds] { return rounds.Arrive(); });
  FrameRecorder observer;
  rounds.AwaitEndOf(1);
  service.Attach(&observer);
  service.Resume(&observer, false);
  rounds.SendOn(0);
  rounds.AwaitEndOf(2);
  EXPECT_EQ(service.fetches, 1);
  EXPECT_NE(thread, std::this_thread::get_id());
  rounds.SendOn(0);
  rounds.AwaitEndOf(3);
  EXPECT_EQ(service.fetches, 2);
  service.Suspend(&observer);
  rounds.SendOn(0);
  rounds.AwaitEndOf(4);
  EXPECT_EQ(service.fetches, 2);
  rounds.Open();
}

// A service whose observer is active before its thread takes the first look: as if the thread had been late.
struct LateThread : FrameService {
  LateThread(FrameRecorder& observer, std::function<int()> interval) : FrameService([] {}, interval) {
    Attach(&observer);
    Resume(&observer, false);
  }
};

TEST(PollingThread, fetchesNothingInItsFirstRoundHoweverLate) {
  Rounds rounds;
  FrameRecorder observer;
  const frame::Running<LateThread> service(observer, [&rounds] { return rounds.Arrive(); });
  rounds.AwaitEndOf(1);
  EXPECT_EQ(service.fetches, 0);
  rounds.SendOn(0);
  rounds.AwaitEndOf(2);
  EXPECT_EQ(service.fetches, 1);
  rounds.Open();
}

TEST(PollingThread, goesOnAfterARoundThatThrows) {
  Rounds rounds;
  PolledService service([] { throw std::bad_alloc(); }, [&rounds] { return rounds.Arrive(); });
  FrameRecorder observer;
  service.Attach(&observer);
  service.Resume(&observer, false);
  for (int round = 1; round <= 3; ++round) {
    rounds.AwaitEndOf(round);
    rounds.SendOn(0);
  }
  rounds.AwaitEndOf(4);
  EXPECT_GE(service.fetches, 3);
  rounds.Open();
}

TEST(PollingThread, goesOnAfterAnIntervalThatCannotBeTold) {
  std::atomic<int> intervals{0};
  auto service = std::make_unique<PolledService>([] {},
                                                 [&intervals]() -> int {
                                                   ++intervals;
                                                   throw std::bad_alloc();
                                                 });
  while (intervals == 0) std::this_thread::yield();
  service.reset();  // wakes the thread from its wait of three seconds
  EXPECT_EQ(intervals, 1);
}

// A clock that is learned late, or a machine that slept: the thread is on time by the server's clock all the
// same.
TEST(PollingThread, wakesWhenTheServersClockReachesThePlannedMoment) {
  ScriptedHost host;
  Rounds rounds;
  std::atomic<int> fetches{0};
  PolledService service([&fetches] { ++fetches; }, [&rounds] { return rounds.Arrive(); });
  FrameRecorder observer;
  rounds.AwaitEndOf(1);
  service.Attach(&observer);
  service.Resume(&observer, false);
  rounds.SendOn(kHour);
  // Again and again: the thread may not have begun to wait. It sees it at its next look, in a second at most.
  while (fetches == 0) {
    host.Advance(kHour + 1);
    std::this_thread::yield();
  }
  rounds.AwaitEndOf(2);
  EXPECT_EQ(fetches, 1);
  rounds.Open();
}

TEST(PollingThread, doesNotPauseOnANegativeInterval) {
  Rounds rounds;
  PolledService service([] {}, [&rounds] { return rounds.Arrive(); });
  rounds.AwaitEndOf(1);
  rounds.SendOn(-1);
  rounds.AwaitEndOf(2);
  rounds.SendOn(-2'000'000'000);
  rounds.AwaitEndOf(3);
  rounds.Open();
}

TEST(PollingThread, canBeStoppedWhileItSpins) {
  std::atomic<int> rounds{0};
  auto service = std::make_unique<PolledService>([] {},
                                                 [&rounds] {
                                                   ++rounds;
                                                   return 0;
                                                 });
  while (rounds < 100) std::this_thread::yield();
  service.reset();
  const int last = rounds;
  for (int turn = 0; turn < 1000; ++turn) std::this_thread::yield();
  EXPECT_EQ(rounds, last);
}

TEST(PollingThread, isWokenFromItsSleepByDestruction) {
  for (int cycle = 0; cycle < 2000; ++cycle) {
    const PolledService service([] {}, [] { return kHour; });
  }
}

TEST(PollingThread, finishesAFetchUnderWayBeforeDestructionReturns) {
  std::atomic<bool> fetching{false}, interruption_seen{false}, ended{false};
  auto service = std::make_unique<PolledService>(
      [&] {
        fetching = true;
        while (!boost::this_thread::interruption_requested()) std::this_thread::yield();
        try {
          boost::this_thread::interruption_point();
        } catch (const boost::thread_interrupted&) {
          interruption_seen = true;
        }
        ended = true;
      },
      [] { return 0; });
  FrameRecorder observer;
  service->Attach(&observer);
  service->Resume(&observer, false);
  while (!fetching) std::this_thread::yield();
  service.reset();
  EXPECT_TRUE(ended);
  EXPECT_FALSE(interruption_seen) << "a fetch under way is not cut short";
}

TEST(PollingThread, asksForNoIntervalAfterTheFetchInWhichItWasStopped) {
  std::atomic<bool> fetching{false};
  std::atomic<int> intervals{0}, intervals_before{0};
  auto service = std::make_unique<PolledService>(
      [&] {
        intervals_before = intervals.load();
        fetching = true;
        while (!boost::this_thread::interruption_requested()) std::this_thread::yield();
      },
      [&intervals] {
        ++intervals;
        return 0;
      });
  FrameRecorder observer;
  service->Attach(&observer);
  service->Resume(&observer, false);
  while (!fetching) std::this_thread::yield();
  service.reset();
  EXPECT_EQ(intervals, intervals_before);
}

TEST(PollingThread, isJoinedByAThreadThatIsItselfInterrupted) {
  std::atomic<bool> fetching{false}, go_on{false}, ended{false}, joined_in_time{false};
  auto service = std::make_unique<PolledService>(
      [&] {
        fetching = true;
        while (!go_on) std::this_thread::yield();
        ended = true;
      },
      [] { return 0; });
  FrameRecorder observer;
  service->Attach(&observer);
  service->Resume(&observer, false);
  while (!fetching) std::this_thread::yield();
  boost::thread destroyer([&] {
    while (!boost::this_thread::interruption_requested()) std::this_thread::yield();
    go_on = true;
    service.reset();
    joined_in_time = ended.load();
  });
  destroyer.interrupt();
  destroyer.join();
  EXPECT_TRUE(joined_in_time);
}

// Sees whether a virtual operation runs before the service is whole or after it is not any more.
struct Wholeness {
  std::atomic<bool> whole{false};
  std::atomic<int> rounds{0};
  std::atomic<int> faults{0};
};

class WatchedService : public frame::PolledSubject<FrameSubject> {
 public:
  explicit WatchedService(Wholeness& state) : state_(state) {
    for (int turn = 0; turn < 20; ++turn) std::this_thread::yield();
    state_.whole = true;
  }
  ~WatchedService() override { state_.whole = false; }
  int GetInterval() override {
    ++state_.rounds;
    if (!state_.whole) ++state_.faults;
    return 0;
  }

 private:
  Wholeness& state_;
};

TEST(PollingThread, runsOnlyWhileTheObjectIsWhole) {
  for (int cycle = 0; cycle < 200; ++cycle) {
    Wholeness state;
    {
      const frame::Running<WatchedService> service(state);
      while (state.rounds == 0) std::this_thread::yield();
    }
    EXPECT_EQ(state.faults, 0);
  }
}

class FailingService : public frame::PolledSubject<FrameSubject> {
 public:
  FailingService() { throw std::runtime_error("cannot be made"); }
};

TEST(ServiceMaking, givesNullWhenTheConstructorThrows) {
  EXPECT_EQ(frame::MakeOrNull<frame::Running<FailingService>>(), nullptr);
}

class UnaffordableService : public frame::PolledSubject<FrameSubject> {
 public:
  static void* operator new(std::size_t, const std::nothrow_t&) noexcept { return nullptr; }
  static void operator delete(void*) {}
  static void operator delete(void*, const std::nothrow_t&) {}
};

TEST(ServiceMaking, givesNullWithoutMemory) {
  EXPECT_EQ(frame::MakeOrNull<UnaffordableService>(), nullptr);
}

TEST(ServiceMaking, handsItsArgumentsOn) {
  const std::unique_ptr<FrameService> service(
      frame::MakeOrNull<FrameService>(std::function<void()>(), [] { return 17; }));
  ASSERT_NE(service, nullptr);
  EXPECT_EQ(service->GetInterval(), 17);
}

// A service whose answers come through its gate.
class GatedService : public FrameService {
 public:
  using FrameService::FrameService;
  std::function<void(int)> Receiver() {
    return gate_.Guard([this](int value) { Deliver(L"k", value); });
  }
};

TEST(PolledGate, letsNoAnswerInAfterDestruction) {
  auto service =
      std::make_unique<frame::Running<GatedService>>(std::function<void()>(), [] { return kHour; });
  FrameRecorder observer;
  service->Attach(&observer);
  service->SetTarget(&observer, L"k");
  service->Resume(&observer, false);
  const std::function<void(int)> receiver = service->Receiver();
  receiver(1);
  service.reset();
  receiver(2);
  EXPECT_EQ(observer.Updates(), std::vector<int>{1});
}

TEST(PolledGate, destructionWaitsForAnAnswerInside) {
  std::atomic<bool> inside{false}, destroying{false}, ended{false};
  auto service =
      std::make_unique<frame::Running<GatedService>>(std::function<void()>(), [] { return kHour; });
  FrameRecorder observer([&](const int&) {
    inside = true;
    while (!destroying) std::this_thread::yield();
    for (int turn = 0; turn < 1000; ++turn) std::this_thread::yield();
    ended = true;
  });
  service->Attach(&observer);
  service->SetTarget(&observer, L"k");
  service->Resume(&observer, false);
  std::thread network([receiver = service->Receiver()] { receiver(1); });
  while (!inside) std::this_thread::yield();
  destroying = true;
  service.reset();
  EXPECT_TRUE(ended);
  network.join();
}

}  // namespace

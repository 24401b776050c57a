// Every operation of the polled subject, step by step, without a thread.
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "frame_service.h"
#include "scripted_ticks.h"

namespace {

using Keys = std::vector<std::wstring>;
using Numbers = std::vector<int>;

struct ThrowingObserver final : FrameObserver {
  void Update(const int&) override { throw std::runtime_error("a view that fails"); }
};

class TimerSubject : public ::testing::Test {
 protected:
  void AttachActive(FrameObserver& observer, const std::wstring& key) {
    service.Attach(&observer);
    service.SetTarget(&observer, key);
    service.Resume(&observer, false);
  }
  void AttachSuspended(FrameObserver& observer, const std::wstring& key) {
    service.Attach(&observer);
    service.SetTarget(&observer, key);
  }

  ScriptedTicks ticks;
  FrameService service;
  FrameRecorder a, b, c;
};

// --- Attach
// -----------------------------------------------------------------------------------------------------

TEST_F(TimerSubject, attachLeavesTheObserverSuspended) {
  service.Attach(&a);
  EXPECT_TRUE(service.IsSuspended(&a));
  EXPECT_EQ(a.Count(), 0u);
  EXPECT_EQ(service.fetches, 0);
}

TEST_F(TimerSubject, attachOfAnAttachedObserverAddsNoSecondEntry) {
  service.Attach(&a);
  service.Attach(&a);
  service.SetTarget(&a, L"k");
  service.Resume(&a, false);
  EXPECT_FALSE(service.IsSuspended(&a));
  service.Deliver(L"k", 1);
  EXPECT_EQ(a.Updates(), Numbers{1});
}

TEST_F(TimerSubject, attachOfAnActiveObserverSuspendsItAgain) {
  AttachActive(a, L"k");
  service.Attach(&a);
  EXPECT_TRUE(service.IsSuspended(&a));
  service.Deliver(L"k", 1);
  EXPECT_EQ(a.Count(), 0u);
}

TEST_F(TimerSubject, attachIgnoresNull) {
  service.Attach(nullptr);
  EXPECT_FALSE(service.IsSuspended(nullptr));
  service.Deliver(L"", 1);
  AttachActive(a, L"k");
  service.PollOnce();
  EXPECT_EQ(service.fetches, 1);
}

// --- Detach
// -----------------------------------------------------------------------------------------------------

TEST_F(TimerSubject, detachTakesTheObserverItsTargetAndItsSuspension) {
  AttachSuspended(a, L"k");
  service.Detach(&a);
  std::wstring key = L"before";
  EXPECT_FALSE(service.IsSuspended(&a));
  EXPECT_FALSE(service.GetTarget(&a, key));
  EXPECT_EQ(key, L"before");
  service.DeliverToAll(L"k", 1);
  EXPECT_EQ(a.Count(), 0u);
}

TEST_F(TimerSubject, detachLeavesTheCacheAsItIs) {
  AttachActive(a, L"k");
  service.Deliver(L"k", 7);
  service.Detach(&a);
  AttachSuspended(b, L"k");
  service.Resume(&b, true);
  EXPECT_EQ(b.Updates(), Numbers{7});
  EXPECT_EQ(service.fetches, 0);
}

TEST_F(TimerSubject, detachOfAnUnknownObserverAndOfNullDoNothing) {
  AttachActive(a, L"k");
  service.Detach(&b);
  service.Detach(nullptr);
  service.Deliver(L"k", 1);
  EXPECT_EQ(a.Updates(), Numbers{1});
}

TEST_F(TimerSubject, detachOfTheOnlyActiveObserverEndsPolling) {
  AttachActive(a, L"k");
  AttachSuspended(b, L"k");
  service.Detach(&a);
  service.PollOnce();
  EXPECT_EQ(service.fetches, 0);
}

// --- Suspend, IsSuspended
// ---------------------------------------------------------------------------------------

TEST_F(TimerSubject, suspendStopsDelivery) {
  AttachActive(a, L"k");
  service.Suspend(&a);
  EXPECT_TRUE(service.IsSuspended(&a));
  service.Deliver(L"k", 1);
  EXPECT_EQ(a.Count(), 0u);
}

TEST_F(TimerSubject, suspendTwiceNeedsOneResume) {
  AttachActive(a, L"k");
  service.Suspend(&a);
  service.Suspend(&a);
  service.Resume(&a, false);
  EXPECT_FALSE(service.IsSuspended(&a));
}

TEST_F(TimerSubject, suspendOfAnUnattachedObserverDoesNotStopPollingForOthers) {
  AttachActive(a, L"k");
  service.Suspend(&b);
  service.Suspend(nullptr);
  EXPECT_FALSE(service.IsSuspended(&b));
  service.PollOnce();
  EXPECT_EQ(service.fetches, 1);
}

TEST_F(TimerSubject, anUnknownObserverIsNotSuspended) {
  EXPECT_FALSE(service.IsSuspended(&a));
  EXPECT_FALSE(service.IsSuspended(nullptr));
}

// --- Resume
// -----------------------------------------------------------------------------------------------------

TEST_F(TimerSubject, resumeOfNullOrOfAnUnattachedOrActiveObserverDoesNothingAtAll) {
  AttachActive(a, L"k");
  service.Deliver(L"k", 1);
  service.Resume(nullptr, true);
  service.Resume(&b, true);
  service.Resume(&a, true);
  EXPECT_EQ(service.fetches, 0);
  EXPECT_EQ(a.Updates(), Numbers{1});
  EXPECT_EQ(b.Count(), 0u);
}

TEST_F(TimerSubject, resumeWithoutDeliveryNeverDeliversAndNeverFetches) {
  AttachActive(a, L"k");
  service.Deliver(L"k", 1);
  AttachSuspended(b, L"k");
  AttachSuspended(c, L"other");
  service.Resume(&b, false);
  service.Resume(&c, false);
  EXPECT_FALSE(service.IsSuspended(&b));
  EXPECT_EQ(b.Count(), 0u);
  EXPECT_EQ(service.fetches, 0);
}

TEST_F(TimerSubject, resumeWithoutATargetFetchesInTheCallersThread) {
  std::thread::id thread;
  FrameService own([&thread] { thread = std::this_thread::get_id(); }, {});
  own.Attach(&a);
  own.Resume(&a, true);
  EXPECT_EQ(own.fetches, 1);
  EXPECT_EQ(thread, std::this_thread::get_id());
  EXPECT_EQ(a.Count(), 0u);
}

TEST_F(TimerSubject, holdsSharedDataInTheCacheUntilTheNext) {
  const auto data = std::make_shared<const int>(7);
  service.DeliverShared(L"k", data);
  EXPECT_EQ(data.use_count(), 1) << "nobody has the key";
  AttachActive(a, L"k");
  service.DeliverShared(L"k", data);
  EXPECT_EQ(a.Updates(), Numbers{7});
  EXPECT_EQ(data.use_count(), 2);
  AttachSuspended(b, L"k");
  service.Resume(&b, true);
  EXPECT_EQ(b.Updates(), Numbers{7});
  service.Deliver(L"k", 8);
  EXPECT_EQ(data.use_count(), 1);
}

TEST_F(TimerSubject, resumeDeliversDataOf300WholeMillisecondsAtMost) {
  struct Age {
    std::int64_t ticks;  // of 100 ns
    bool is_fresh;
  };
  for (const Age& age : {Age{2'000'000, true}, Age{3'000'000, true}, Age{3'009'999, true},
                         Age{3'010'000, false}, Age{-36'000'000'000, true}}) {
    SCOPED_TRACE(age.ticks);
    FrameService own;
    FrameRecorder first, second;
    own.Attach(&first);
    own.SetTarget(&first, L"k");
    own.Deliver(L"k", 7);
    ticks.AdvanceTicks(age.ticks);
    own.Attach(&second);
    own.SetTarget(&second, L"k");
    own.Resume(&second, true);
    EXPECT_EQ(second.Updates(), age.is_fresh ? Numbers{7} : Numbers{});
    EXPECT_EQ(own.fetches, age.is_fresh ? 0 : 1);
    if (age.is_fresh) {
      EXPECT_EQ(second.Threads().at(0), std::this_thread::get_id());
    }
  }
}

TEST_F(TimerSubject, resumeFetchesWhenTheKeyHasNoData) {
  AttachActive(a, L"k");
  service.Deliver(L"k", 7);
  AttachSuspended(b, L"other");
  service.Resume(&b, true);
  EXPECT_EQ(b.Count(), 0u);
  EXPECT_EQ(service.fetches, 1);
}

TEST_F(TimerSubject, resumeFetchesBeforeAnythingWasStored) {
  AttachSuspended(a, L"k");
  service.Resume(&a, true);
  EXPECT_EQ(service.fetches, 1);
  EXPECT_FALSE(service.IsSuspended(&a));
}

// One update time serves all keys, but data that are old themselves are followed by new ones at once.
TEST_F(TimerSubject, resumeAfterAnotherKeysAnswerDeliversAndAsksUnlessTheDataAreFreshThemselves) {
  struct Age {
    std::int64_t milliseconds;
    int fetches;
  };
  for (const Age age : {Age{0, 0}, Age{299, 0}, Age{300, 0}, Age{301, 1}, Age{3'600'000, 1}}) {
    SCOPED_TRACE(age.milliseconds);
    FrameService own;
    FrameRecorder view, other;
    for (auto* const observer : {&view, &other}) own.Attach(observer);
    own.SetTarget(&view, L"mine");
    own.SetTarget(&other, L"other");
    own.Resume(&view, false);
    own.Deliver(L"mine", 1);
    own.Suspend(&view);
    ticks.Advance(age.milliseconds);
    own.Resume(&other, false);
    own.Deliver(L"other", 2);
    own.Resume(&view, true);
    EXPECT_EQ(view.Updates(), (Numbers{1, 1}));
    EXPECT_EQ(own.fetches, age.fetches);
  }
}

TEST_F(TimerSubject, resumeDeliversToNobodyElse) {
  AttachActive(a, L"k");
  service.Deliver(L"k", 7);
  AttachSuspended(b, L"k");
  service.Resume(&b, true);
  EXPECT_EQ(a.Count(), 1u);
}

TEST_F(TimerSubject, resumeGoesThroughRefresh) {
  class Refreshed : public FrameService {
   public:
    void Refresh() override { ++refreshes; }
    int refreshes = 0;
  } own;
  own.Attach(&a);
  own.Resume(&a, true);
  EXPECT_EQ(own.refreshes, 1);
  EXPECT_EQ(own.fetches, 0);
}

// --- targets
// ----------------------------------------------------------------------------------------------------

TEST_F(TimerSubject, getTargetReadsWhatWasSetLast) {
  service.SetTarget(&a, L"one");
  service.SetTarget(&a, L"two");
  std::wstring key;
  EXPECT_TRUE(service.GetTarget(&a, key));
  EXPECT_EQ(key, L"two");
}

TEST_F(TimerSubject, getTargetLeavesItsArgumentAloneWhenThereIsNone) {
  std::wstring key = L"before";
  EXPECT_FALSE(service.GetTarget(&a, key));
  EXPECT_EQ(key, L"before");
}

TEST_F(TimerSubject, setTargetIgnoresNull) {
  service.SetTarget(nullptr, L"k");
  std::wstring key;
  EXPECT_FALSE(service.GetTarget(nullptr, key));
  EXPECT_EQ(service.ActiveTargets(), Keys{});
}

TEST_F(TimerSubject, setTargetToAnotherKeyDropsTheOldKeysDataForEverybody) {
  AttachActive(a, L"k");
  AttachActive(b, L"k");
  service.Deliver(L"k", 7);
  service.SetTarget(&a, L"other");
  service.Suspend(&b);
  service.Resume(&b, true);
  EXPECT_EQ(b.Count(), 1u);
  EXPECT_EQ(service.fetches, 1);
  EXPECT_EQ(service.ActiveTargets().size(), 2u);
}

TEST_F(TimerSubject, setTargetToTheSameKeyKeepsItsData) {
  AttachActive(a, L"k");
  service.Deliver(L"k", 7);
  service.SetTarget(&a, L"k");
  AttachSuspended(b, L"k");
  service.Resume(&b, true);
  EXPECT_EQ(b.Updates(), Numbers{7});
}

TEST_F(TimerSubject, setTargetForTheFirstTimeKeepsTheKeysData) {
  AttachActive(a, L"k");
  service.Deliver(L"k", 7);
  service.Attach(&b);
  service.SetTarget(&b, L"k");
  service.Resume(&b, true);
  EXPECT_EQ(b.Updates(), Numbers{7});
}

TEST_F(TimerSubject, removeTargetDropsTheKeyAndItsData) {
  AttachActive(a, L"k");
  service.Deliver(L"k", 7);
  service.RemoveTarget(&a);
  std::wstring key;
  EXPECT_FALSE(service.GetTarget(&a, key));
  AttachSuspended(b, L"k");
  service.Resume(&b, true);
  EXPECT_EQ(b.Count(), 0u);
  EXPECT_EQ(service.fetches, 1);
}

TEST_F(TimerSubject, removeTargetWithoutATargetAndOfNullDoNothing) {
  AttachActive(a, L"k");
  service.Deliver(L"k", 7);
  service.RemoveTarget(&b);
  service.RemoveTarget(nullptr);
  AttachSuspended(b, L"k");
  service.Resume(&b, true);
  EXPECT_EQ(b.Updates(), Numbers{7});
}

TEST_F(TimerSubject, removeTargetKeepsTheObserverAttached) {
  AttachActive(a, L"k");
  service.RemoveTarget(&a);
  EXPECT_FALSE(service.IsSuspended(&a));
  service.PollOnce();
  EXPECT_EQ(service.fetches, 1);
}

// --- GetActiveTargets
// -------------------------------------------------------------------------------------------

TEST_F(TimerSubject, activeTargetsNameEachKeyOnce) {
  AttachActive(a, L"k");
  AttachActive(b, L"k");
  EXPECT_EQ(service.ActiveTargets(), Keys{L"k"});
}

TEST_F(TimerSubject, activeTargetsKeepASharedKeyWhenOneObserverSwitches) {
  AttachActive(a, L"k");
  AttachActive(b, L"k");
  AttachActive(c, L"k");
  service.SetTarget(&a, L"other");
  Keys keys = service.ActiveTargets();
  std::sort(keys.begin(), keys.end());
  EXPECT_EQ(keys, (Keys{L"k", L"other"}));
}

TEST_F(TimerSubject, activeTargetsPassOverSuspendedObservers) {
  AttachSuspended(a, L"k");
  AttachSuspended(b, L"other");
  EXPECT_EQ(service.ActiveTargets(), Keys{});
  service.Resume(&b, false);
  EXPECT_EQ(service.ActiveTargets(), Keys{L"other"});
}

TEST_F(TimerSubject, activeTargetsAreAppendedAndSkipWhatIsThere) {
  AttachActive(a, L"k");
  AttachActive(b, L"new");
  Keys keys = {L"first", L"k"};
  service.GetActiveTargets(keys);
  EXPECT_EQ(keys, (Keys{L"first", L"k", L"new"}));
}

TEST_F(TimerSubject, activeTargetsComeInTheOrderOfTheObserversAddresses) {
  FrameRecorder observers[3];
  AttachActive(observers[2], L"third");
  AttachActive(observers[0], L"first");
  AttachActive(observers[1], L"second");
  EXPECT_EQ(service.ActiveTargets(), (Keys{L"first", L"second", L"third"}));
}

TEST_F(TimerSubject, activeTargetsCountATargetWhoseObserverIsNotAttached) {
  // The walk goes over the targets and asks for suspension only.
  service.SetTarget(&a, L"k");
  EXPECT_EQ(service.ActiveTargets(), Keys{L"k"});
}

// --- Refresh, Fetch, OnTimer, GetInterval
// -----------------------------------------------------------------------

TEST_F(TimerSubject, refreshFetchesAtOnceAlsoWithoutObservers) {
  service.Refresh();
  EXPECT_EQ(service.fetches, 1);
}

TEST_F(TimerSubject, onTimerFetches) {
  service.OnTimer();
  EXPECT_EQ(service.fetches, 1);
}

TEST_F(TimerSubject, asksEveryThreeSecondsUnlessAServiceSaysOtherwise) {
  EXPECT_EQ(service.GetInterval(), 3);
}

TEST_F(TimerSubject, aRoundCallsOnTimerAndRefreshCallsFetchDirectly) {
  class Timed : public FrameService {
   public:
    void OnTimer() override { ++rounds; }
    int rounds = 0;
  } own;
  own.Attach(&a);
  own.Resume(&a, false);
  own.PollOnce();
  own.Refresh();
  EXPECT_EQ(own.rounds, 1);
  EXPECT_EQ(own.fetches, 1);
}

// --- a round
// ----------------------------------------------------------------------------------------------------

TEST_F(TimerSubject, aRoundWithoutActiveObserversDoesNotFetch) {
  service.PollOnce();
  AttachSuspended(a, L"k");
  service.PollOnce();
  EXPECT_EQ(service.fetches, 0);
}

TEST_F(TimerSubject, aRoundFetchesForAnActiveObserverWithoutATarget) {
  service.Attach(&a);
  service.Resume(&a, false);
  service.PollOnce();
  EXPECT_EQ(service.fetches, 1);
}

TEST_F(TimerSubject, aRoundFetchesWhenOneOfSeveralIsActive) {
  AttachSuspended(a, L"k");
  AttachActive(b, L"k");
  service.PollOnce();
  EXPECT_EQ(service.fetches, 1);
}

// --- delivery
// ---------------------------------------------------------------------------------------------------

TEST_F(TimerSubject, deliveryReachesActiveObserversOfTheKeyOnly) {
  AttachActive(a, L"k");
  AttachSuspended(b, L"k");
  AttachActive(c, L"other");
  service.Deliver(L"k", 1);
  EXPECT_EQ(a.Updates(), Numbers{1});
  EXPECT_EQ(b.Count(), 0u);
  EXPECT_EQ(c.Count(), 0u);
}

TEST_F(TimerSubject, deliveryGoesInTheOrderOfAttachment) {
  std::vector<char> order;
  FrameRecorder first([&](const int&) { order.push_back('1'); });
  FrameRecorder second([&](const int&) { order.push_back('2'); });
  FrameRecorder third([&](const int&) { order.push_back('3'); });
  AttachActive(second, L"k");
  AttachActive(third, L"k");
  AttachActive(first, L"k");
  service.Deliver(L"k", 1);
  EXPECT_EQ(order, (std::vector<char>{'2', '3', '1'}));
}

TEST_F(TimerSubject, deliveryPassesOverAnObserverWithoutATarget) {
  service.Attach(&a);
  service.Resume(&a, false);
  service.Deliver(L"", 1);
  EXPECT_EQ(a.Count(), 0u);
}

TEST_F(TimerSubject, deliveryFillsTheCacheForASuspendedObserver) {
  AttachSuspended(a, L"k");
  service.Deliver(L"k", 7);
  EXPECT_EQ(a.Count(), 0u);
  service.Resume(&a, true);
  EXPECT_EQ(a.Updates(), Numbers{7});
  EXPECT_EQ(service.fetches, 0);
}

TEST_F(TimerSubject, deliveryLeavesTheCacheAloneWhenNobodyHasTheKey) {
  AttachActive(a, L"k");
  service.Deliver(L"other", 7);
  AttachSuspended(b, L"other");
  service.Resume(&b, true);
  EXPECT_EQ(b.Count(), 0u);
  EXPECT_EQ(service.fetches, 1);
}

TEST_F(TimerSubject, deliveryThatNobodyIsThereForDoesNotRenewTheUpdateTime) {
  AttachActive(a, L"k");
  service.Deliver(L"k", 7);
  ticks.Advance(301);
  service.Deliver(L"other", 8);
  AttachSuspended(b, L"k");
  service.Resume(&b, true);
  EXPECT_EQ(b.Count(), 0u);
  EXPECT_EQ(service.fetches, 1);
}

TEST_F(TimerSubject, deliveryDoesNotCountATargetWhoseObserverIsDetached) {
  service.SetTarget(&a, L"k");
  service.Deliver(L"k", 7);
  EXPECT_EQ(a.Count(), 0u);
  AttachSuspended(b, L"k");
  service.Resume(&b, true);
  EXPECT_EQ(b.Count(), 0u);
  EXPECT_EQ(service.fetches, 1);
}

TEST_F(TimerSubject, deliveryReplacesCachedData) {
  AttachActive(a, L"k");
  service.Deliver(L"k", 7);
  service.Deliver(L"k", 8);
  AttachSuspended(b, L"k");
  service.Resume(&b, true);
  EXPECT_EQ(b.Updates(), Numbers{8});
}

TEST_F(TimerSubject, alwaysCachedDeliveryIsKeptForWhoComesLater) {
  service.DeliverAlwaysCached(L"k", 7);
  AttachSuspended(a, L"k");
  service.Resume(&a, true);
  EXPECT_EQ(a.Updates(), Numbers{7});
}

TEST_F(TimerSubject, uncachedDeliveryTellsAndKeepsNothing) {
  AttachActive(a, L"k");
  AttachSuspended(b, L"k");
  service.DeliverUncached(L"k", 7);
  EXPECT_EQ(a.Updates(), Numbers{7});
  EXPECT_EQ(b.Count(), 0u);
  service.Resume(&b, true);
  EXPECT_EQ(b.Count(), 0u);
  EXPECT_EQ(service.fetches, 1);
}

TEST_F(TimerSubject, deliveryToAllReachesSuspendedObserversOfTheKey) {
  AttachSuspended(a, L"k");
  AttachActive(b, L"k");
  AttachSuspended(c, L"other");
  service.DeliverToAll(L"k", 7);
  EXPECT_EQ(a.Updates(), Numbers{7});
  EXPECT_EQ(b.Updates(), Numbers{7});
  EXPECT_EQ(c.Count(), 0u);
}

// --- a view that throws
// -----------------------------------------------------------------------------------------

TEST_F(TimerSubject, aThrowingViewLeavesNoMutexLockedAfterDelivery) {
  ThrowingObserver thrower;
  AttachActive(thrower, L"k");
  EXPECT_THROW(service.Deliver(L"k", 1), std::runtime_error);
  EXPECT_THROW(service.DeliverUncached(L"k", 1), std::runtime_error);
  service.Detach(&thrower);
  AttachActive(a, L"k");
  service.Deliver(L"k", 2);
  EXPECT_EQ(a.Updates(), Numbers{2});
}

TEST_F(TimerSubject, aThrowingViewLeavesNoMutexLockedAfterResume) {
  ThrowingObserver thrower;
  AttachActive(a, L"k");
  service.Deliver(L"k", 1);
  AttachSuspended(thrower, L"k");
  EXPECT_THROW(service.Resume(&thrower, true), std::runtime_error);
  service.SetTarget(&thrower, L"other");
  service.RemoveTarget(&thrower);
  service.Detach(&thrower);
  service.Deliver(L"k", 2);
  EXPECT_EQ(a.Updates(), (Numbers{1, 2}));
}

// --- detaching while an update runs
// -----------------------------------------------------------------------------

// Runs `tell` on another thread, whose `Update` stays inside until the detaching has begun, and detaches
// meanwhile. True when the `Update` had ended when `Detach` returned.
bool DetachWaitsFor(FrameService& service, const std::function<void(FrameObserver&)>& prepare,
                    const std::function<void(FrameObserver&)>& tell) {
  std::atomic<bool> inside{false}, detaching{false}, ended{false};
  FrameRecorder observer([&](const int&) {
    inside = true;
    while (!detaching) std::this_thread::yield();
    for (int turn = 0; turn < 1000; ++turn) std::this_thread::yield();
    ended = true;
  });
  prepare(observer);
  std::thread teller([&] { tell(observer); });
  while (!inside) std::this_thread::yield();
  detaching = true;
  service.Detach(&observer);
  const bool had_ended = ended;
  teller.join();
  return had_ended;
}

TEST_F(TimerSubject, detachWaitsForADeliveryUnderWay) {
  EXPECT_TRUE(DetachWaitsFor(
      service, [&](FrameObserver& observer) { AttachActive(observer, L"k"); },
      [&](FrameObserver&) { service.Deliver(L"k", 1); }));
}

TEST_F(TimerSubject, detachWaitsForACachedDeliveryUnderWay) {
  AttachActive(a, L"k");
  service.Deliver(L"k", 1);
  EXPECT_TRUE(DetachWaitsFor(
      service, [&](FrameObserver& observer) { AttachSuspended(observer, L"k"); },
      [&](FrameObserver& observer) { service.Resume(&observer, true); }));
}

// --- what is held while a view is told
// --------------------------------------------------------------------------

// Tells an observer through `tell` and calls `other` on another thread meanwhile. True when `other` returned
// only after the `Update` had ended.
bool WaitsForAnUpdate(const std::function<void(FrameObserver&)>& tell, const std::function<void()>& other) {
  std::atomic<bool> calling{false}, ended{false}, had_ended{false};
  std::thread caller;
  FrameRecorder observer([&](const int&) {
    caller = std::thread([&] {
      calling = true;
      other();
      had_ended = ended.load();
    });
    while (!calling) std::this_thread::yield();
    for (int turn = 0; turn < 1000; ++turn) std::this_thread::yield();
    ended = true;
  });
  tell(observer);
  if (!caller.joinable()) return false;
  caller.join();
  return had_ended;
}

TEST_F(TimerSubject, deliveryHoldsTheListOfObservers) {
  EXPECT_TRUE(WaitsForAnUpdate(
      [&](FrameObserver& observer) {
        AttachActive(observer, L"k");
        service.Deliver(L"k", 1);
      },
      [&] { service.Attach(&b); }));
}

TEST_F(TimerSubject, resumeHoldsTheCacheWhileItDelivers) {
  AttachActive(a, L"k");
  service.Deliver(L"k", 1);
  EXPECT_TRUE(WaitsForAnUpdate(
      [&](FrameObserver& observer) {
        AttachSuspended(observer, L"k");
        service.Resume(&observer, true);
      },
      [&] { service.RemoveTarget(&a); }));
}

TEST_F(TimerSubject, resumeDoesNotHoldTheListWhileItDelivers) {
  AttachActive(a, L"k");
  service.Deliver(L"k", 1);
  FrameRecorder observer([&](const int&) {
    // From another thread, and waited for: would never end if the list were held.
    std::thread([&] { service.Attach(&b); }).join();
  });
  AttachSuspended(observer, L"k");
  service.Resume(&observer, true);
  EXPECT_TRUE(service.IsSuspended(&b));
}

TEST_F(TimerSubject, fetchesHoldNoLock) {
  FrameService* self = nullptr;
  FrameService own(
      [&] {
        std::thread([&] {
          self->Attach(&b);
          self->SetTarget(&b, L"other");
          self->RemoveTarget(&b);
        }).join();
      },
      {});
  self = &own;
  own.Attach(&a);
  own.SetTarget(&a, L"k");
  own.Resume(&a, true);
  own.Refresh();
  own.PollOnce();
  EXPECT_EQ(own.fetches, 3);
}

// --- newest wins
// ----------------------------------------------------------------------------------------------------

TEST_F(TimerSubject, anOlderAnswerIsNeitherToldNorKeptOnceANewerOneWasTold) {
  AttachActive(a, L"k");
  const frame::Stamp older = service.Ask(), newer = service.Ask();
  EXPECT_TRUE(service.Answer(newer, L"k", 2));
  EXPECT_TRUE(service.Answer(older, L"k", 1));
  EXPECT_EQ(a.Updates(), Numbers{2});
  AttachSuspended(b, L"k");
  service.Resume(&b, true);
  EXPECT_EQ(b.Updates(), Numbers{2});
}

TEST_F(TimerSubject, anOlderAnswerFeedsNothing) {
  AttachActive(a, L"k");
  const frame::Stamp older = service.Ask();
  service.Deliver(L"k", 2);
  bool made = false;
  EXPECT_TRUE(service.Tell(L"k", older, {}, [&] {
    made = true;
    return std::make_shared<const int>(1);
  }));
  EXPECT_FALSE(made);
}

TEST_F(TimerSubject, answersOfDifferentKeysDoNotBarEachOther) {
  AttachActive(a, L"a");
  AttachActive(b, L"b");
  const frame::Stamp older = service.Ask(), newer = service.Ask();
  EXPECT_TRUE(service.Answer(newer, L"a", 2));
  EXPECT_TRUE(service.Answer(older, L"b", 1));
  EXPECT_EQ(b.Updates(), Numbers{1});
}

TEST_F(TimerSubject, anAnswerStoredForASuspendedViewCountsAsTold) {
  AttachSuspended(a, L"k");
  const frame::Stamp older = service.Ask(), newer = service.Ask();
  EXPECT_TRUE(service.Answer(newer, L"k", 2));
  EXPECT_TRUE(service.Answer(older, L"k", 1));
  service.Resume(&a, true);
  EXPECT_EQ(a.Updates(), Numbers{2});
}

TEST_F(TimerSubject, anAnswerThatNobodyWasToldBarsNobody) {
  const frame::Stamp older = service.Ask(), newer = service.Ask();
  EXPECT_TRUE(service.Answer(newer, L"k", 2));
  AttachActive(a, L"k");
  EXPECT_TRUE(service.Answer(older, L"k", 1));
  EXPECT_EQ(a.Updates(), Numbers{1});
}

TEST_F(TimerSubject, whatSetTargetDropsIsNotFollowedByAnythingOlder) {
  AttachActive(a, L"k");
  AttachActive(b, L"k");
  const frame::Stamp older = service.Ask();
  service.Deliver(L"k", 2);
  service.SetTarget(&b, L"other");  // drops the data that are held for "k"
  EXPECT_TRUE(service.Answer(older, L"k", 1));
  EXPECT_EQ(a.Updates(), Numbers{2});
}

TEST_F(TimerSubject, newestWinsForEverybodyToo) {
  service.Attach(&a);
  const frame::Stamp older = service.Ask(), newer = service.Ask();
  const int values[] = {1, 2};
  const auto tell = [&](frame::Stamp stamp, const int& value) {
    return service.TellEach(stamp, frame::Whom::kEveryAttached, [&](const auto& viewers) {
      return std::vector<const int*>(viewers.size(), &value);
    });
  };
  EXPECT_TRUE(tell(newer, values[1]));
  EXPECT_TRUE(tell(older, values[0]));
  EXPECT_EQ(a.Updates(), Numbers{2});
}

// --- many keys
// ----------------------------------------------------------------------------------------------------------

struct CountedKey {
  int number = 0;
  static inline std::size_t compared = 0;

  friend bool operator==(const CountedKey& left, const CountedKey& right) {
    ++compared;
    return left.number == right.number;
  }
};

class ManyKeys : public frame::PolledSubject<ITimerSubject<FrameObserver, CountedKey, int>> {
 public:
  using PolledSubject::Tell;
};

// A telling walked over the views of all keys: 500 views of 500 keys cost a hundred times 50 of 50.
TEST(TimerSubjectOfManyKeys, looksItsViewsUpByTheirKey) {
  constexpr std::size_t kKeys = 500;
  ManyKeys service;
  std::vector<FrameRecorder> views(kKeys);
  for (std::size_t key = 0; key < kKeys; ++key) {
    service.Attach(&views[key]);
    service.SetTarget(&views[key], {static_cast<int>(key)});
    service.Resume(&views[key], false);
  }
  CountedKey::compared = 0;
  EXPECT_TRUE(service.Tell({250}, 1, {}, [] { return std::make_shared<const int>(7); }));
  EXPECT_LT(CountedKey::compared, kKeys / 2);
  for (std::size_t key = 0; key < kKeys; ++key) {
    EXPECT_EQ(views[key].Count(), key == 250 ? 1U : 0U) << key;
  }
}

// --- the end of what is held
// ----------------------------------------------------------------------------------------------------

TEST_F(TimerSubject, dataOfAKeyThatNobodyShowsGoWithTheNextStoreAfter300Milliseconds) {
  const auto data = std::make_shared<const int>(7);
  AttachActive(a, L"gone");
  service.DeliverShared(L"gone", data);
  service.Detach(&a);
  AttachActive(b, L"k");
  ticks.Advance(300);
  service.Deliver(L"k", 1);
  EXPECT_EQ(data.use_count(), 2) << "fresh still";
  ticks.Advance(301);
  service.Deliver(L"k", 2);
  EXPECT_EQ(data.use_count(), 1);
}

TEST_F(TimerSubject, dataOfAKeyThatIsShownStayHoweverOld) {
  const auto data = std::make_shared<const int>(7);
  AttachSuspended(a, L"mine");
  AttachActive(b, L"k");
  service.DeliverShared(L"mine", data);
  for (int hour = 0; hour < 5; ++hour) {
    ticks.Advance(3'600'000);
    service.Deliver(L"k", hour);
  }
  EXPECT_EQ(data.use_count(), 2);
}

TEST_F(TimerSubject, whatIsKeptForNobodyGoesToo) {
  const auto data = std::make_shared<const int>(7);
  EXPECT_TRUE(service.Tell(L"nobody", service.Ask(), {frame::Whom::kActive, frame::Keep::kAlways},
                           [&] { return data; }));
  EXPECT_EQ(data.use_count(), 2);
  ticks.Advance(301);
  service.DeliverAlwaysCached(L"k", 1);
  EXPECT_EQ(data.use_count(), 1);
}

TEST_F(TimerSubject, aClockThatIsSetBackKeepsNothingForever) {
  const auto data = std::make_shared<const int>(7);
  AttachActive(a, L"gone");
  service.DeliverShared(L"gone", data);
  service.Detach(&a);
  AttachActive(b, L"k");
  ticks.Advance(-86'400'000);
  service.Deliver(L"k", 1);
  EXPECT_EQ(data.use_count(), 1);
}

// --- want of memory
// ----------------------------------------------------------------------------------------------------

TEST_F(TimerSubject, isNotToldWhatCannotBeMade) {
  AttachActive(a, L"k");
  EXPECT_FALSE(
      service.Tell(L"k", service.Ask(), {}, []() -> std::shared_ptr<const int> { throw std::bad_alloc(); }));
  EXPECT_EQ(a.Count(), 0u);
  service.Deliver(L"k", 1);
  EXPECT_EQ(a.Updates(), Numbers{1});
}

}  // namespace

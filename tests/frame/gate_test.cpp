// What may outlive a service: the completion gate, and the guarded pointer to an object of somebody else.
#include "frame/gate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <boost/function.hpp>
#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "frame/guarded.h"

namespace {

// Whether `condition()` comes true; it is only waited for in vain when a test fails.
template <class Condition>
bool SoonTrue(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!condition() && std::chrono::steady_clock::now() < end) std::this_thread::yield();
  return condition();
}

TEST(CompletionGate, letsAFunctionInWithItsArguments) {
  frame::CompletionGate gate;
  int sum = 0;
  const boost::function<void(int, int)> guarded = gate.Guard([&](int a, int b) { sum = a + b; });
  guarded(2, 3);
  EXPECT_EQ(sum, 5);
}

TEST(CompletionGate, letsNobodyInAfterItWasClosed) {
  frame::CompletionGate gate;
  int calls = 0;
  const std::function<void()> guarded = gate.Guard([&] { ++calls; });
  guarded();
  gate.Close();
  guarded();
  EXPECT_EQ(calls, 1);
}

TEST(CompletionGate, aFunctionMayComeAfterTheGateIsGone) {
  auto gate = std::make_unique<frame::CompletionGate>();
  int calls = 0;
  const std::function<void()> guarded = gate->Guard([&] { ++calls; });
  const std::function<void()> copy = guarded;
  gate.reset();
  guarded();
  copy();
  EXPECT_EQ(calls, 0);
}

TEST(CompletionGate, closingDoesNotWaitForThoseStillToCome) {
  frame::CompletionGate gate;
  const std::function<void()> never_called = gate.Guard([] {});
  gate.Close();
  gate.Close();
}

TEST(CompletionGate, closingWaitsForThoseInside) {
  frame::CompletionGate gate;
  std::atomic<bool> inside{false}, closing{false}, ended{false};
  const std::function<void()> guarded = gate.Guard([&] {
    inside = true;
    while (!closing) std::this_thread::yield();
    for (int turn = 0; turn < 1000; ++turn) std::this_thread::yield();
    ended = true;
  });
  std::thread thread(guarded);
  while (!inside) std::this_thread::yield();
  closing = true;
  gate.Close();
  EXPECT_TRUE(ended);
  thread.join();
}

// Who comes while the owner waits for another is not let in: the owner would wait for ever new ones.
TEST(CompletionGate, letsNobodyInWhileItIsClosing) {
  frame::CompletionGate gate;
  const auto is_open = gate.Watch();
  std::atomic<bool> inside{false}, leave{false};
  int calls = 0;
  const std::function<void()> late = gate.Guard([&] { ++calls; });
  std::thread first(gate.Guard([&] {
    inside = true;
    while (!leave) std::this_thread::yield();
  }));
  while (!inside) std::this_thread::yield();
  std::thread owner([&] { gate.Close(); });
  const bool closing = SoonTrue([&] { return !is_open(); });
  late();
  leave = true;
  owner.join();
  first.join();
  EXPECT_TRUE(closing) << "the gate stands open until those inside have left";
  EXPECT_EQ(calls, 0);
}

TEST(CompletionGate, letsSeveralInAtOnce) {
  frame::CompletionGate gate;
  std::atomic<int> inside{0};
  const auto body = [&] {
    ++inside;
    while (inside < 2) std::this_thread::yield();
  };
  std::thread first(gate.Guard(body));
  std::thread second(gate.Guard(body));
  first.join();
  second.join();
  EXPECT_EQ(inside, 2);
}

TEST(CompletionGate, aFunctionThatThrowsHasLeft) {
  frame::CompletionGate gate;
  const std::function<void()> guarded = gate.Guard([] { throw std::runtime_error("a view that fails"); });
  EXPECT_THROW(guarded(), std::runtime_error);
  gate.Close();
}

TEST(CompletionGate, aFunctionMayPassTheGateFromInside) {
  frame::CompletionGate gate;
  int calls = 0;
  const std::function<void()> inner = gate.Guard([&] { ++calls; });
  const std::function<void()> outer = gate.Guard([&] { inner(); });
  outer();
  EXPECT_EQ(calls, 1);
}

TEST(GuardedPointer, runsNothingWithoutAnObject) {
  frame::Guarded<int> guarded;
  int calls = 0;
  EXPECT_FALSE(guarded.Run([&](int&) { ++calls; }));
  EXPECT_EQ(calls, 0);
}

TEST(GuardedPointer, runsOnTheObjectWhileItIsThere) {
  frame::Guarded<int> guarded;
  int object = 1;
  guarded.Set(&object);
  EXPECT_TRUE(guarded.Run([](int& value) { ++value; }));
  EXPECT_EQ(object, 2);
  guarded.Clear();
  EXPECT_FALSE(guarded.Run([](int& value) { ++value; }));
  EXPECT_EQ(object, 2);
}

TEST(GuardedPointer, mayBeUsedFromInside) {
  frame::Guarded<int> guarded;
  int object = 1;
  guarded.Set(&object);
  EXPECT_TRUE(guarded.Run([&](int&) { EXPECT_TRUE(guarded.Run([](int& value) { ++value; })); }));
  EXPECT_EQ(object, 2);
}

TEST(GuardedPointer, clearingWaitsForThoseInside) {
  frame::Guarded<int> guarded;
  int object = 1;
  guarded.Set(&object);
  std::atomic<bool> inside{false}, clearing{false}, ended{false};
  std::thread thread([&] {
    EXPECT_TRUE(guarded.Run([&](int&) {
      inside = true;
      while (!clearing) std::this_thread::yield();
      for (int turn = 0; turn < 1000; ++turn) std::this_thread::yield();
      ended = true;
    }));
  });
  while (!inside) std::this_thread::yield();
  clearing = true;
  guarded.Clear();
  EXPECT_TRUE(ended);
  thread.join();
}

TEST(GuardedPointer, runsNothingMoreWhileItIsBeingCleared) {
  frame::Guarded<int> guarded;
  int object = 1;
  guarded.Set(&object);
  std::atomic<bool> inside{false}, leave{false};
  std::thread first([&] {
    EXPECT_TRUE(guarded.Run([&](int& value) {
      inside = true;
      while (!leave) std::this_thread::yield();
      EXPECT_EQ(value, 1) << "the object stays until the last one has left";
    }));
  });
  while (!inside) std::this_thread::yield();
  std::thread owner([&] { guarded.Clear(); });
  EXPECT_TRUE(SoonTrue([&] { return !guarded.Run([](int&) {}); }))
      << "the object can be reached until those inside have left";
  leave = true;
  owner.join();
  first.join();
}

// Also not by those who come at the very moment at which it is cleared.
TEST(GuardedPointer, isNeverRunOnNothing) {
  frame::Guarded<int> guarded;
  int object = 1;
  std::atomic<bool> ended{false};
  std::atomic<int> visits{0};
  std::vector<std::thread> visitors;
  for (int visitor = 0; visitor < 3; ++visitor) {
    visitors.emplace_back([&] {
      while (!ended) guarded.Run([&](int& value) { visits += value; });
    });
  }
  while (visits < 20'000) {
    guarded.Set(&object);
    guarded.Clear();
  }
  ended = true;
  for (std::thread& visitor : visitors) visitor.join();
}

TEST(GuardedPointer, aFunctionThatThrowsHasLeft) {
  frame::Guarded<int> guarded;
  int object = 1;
  guarded.Set(&object);
  EXPECT_THROW(guarded.Run([](int&) { throw std::runtime_error("a reader that fails"); }),
               std::runtime_error);
  guarded.Clear();
}

}  // namespace

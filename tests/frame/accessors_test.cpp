// The exports of the library, seen by a host.
#include <gtest/gtest.h>

#include <filesystem>

#include "c_stock_market.h"
#include "recording_observer.h"
#include "scripted_host.h"

namespace {

using IndexRecorder = RecordingObserver<std::vector<IndexMarketSummary>>;

constexpr char kIndexPath[] = "/pc/rt/stock_detail_list";
constexpr char kOneIndex[] = R"({"errno":0,"data":{"list":[{"code":"sh000001","last":3000.5}]}})";

class Accessors : public ::testing::Test {
 protected:
  Accessors() { host.SetSpan(7200); }
  ~Accessors() override { DestroyStockMarket(); }

  static auto Threads() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"),
                         std::filesystem::directory_iterator());
  }

  ScriptedHost host;
};

TEST_F(Accessors, makeANewServiceAfterTheEnd) {
  host.Expect(Script(kIndexPath).Inline(Answer::Body(kOneIndex)));
  IndexRecorder before, after;
  GetIndexMarket()->Attach(&before);
  GetIndexMarket()->Refresh();
  EXPECT_EQ(before.Count(), 1u);
  DestroyStockMarket();
  GetIndexMarket()->Attach(&after);
  EXPECT_EQ(after.Count(), 0u) << "the new service has no list of its predecessor";
  host.Expect(Script(kIndexPath).Inline(Answer::Body(kOneIndex)));
  GetIndexMarket()->Refresh();
  EXPECT_EQ(after.Count(), 1u);
  EXPECT_EQ(before.Count(), 1u);
  GetIndexMarket()->Detach(&after);
}

TEST_F(Accessors, startThePollingThreadAtOnceAndTheEndJoinsIt) {
  const auto before = Threads();
  GetIndexMarket();
  EXPECT_TRUE(host.AwaitSpanCalls(1)) << "what the thread does first";
  DestroyStockMarket();
  // The kernel drops a joined thread's entry a moment after the join.
  while (Threads() > before) std::this_thread::yield();
}

TEST_F(Accessors, endWithoutAnyServiceDoesNothing) {
  const auto before = Threads();
  DestroyStockMarket();
  DestroyStockMarket();
  EXPECT_LE(Threads(), before);
  EXPECT_EQ(host.RequestCount(), 0u);
}

TEST_F(Accessors, sendNothingBeforeAnybodyAsks) {
  GetIndexMarket();
  GetStockRanking(5, true, false);
  GetPlateRanking(1, false);
  EXPECT_TRUE(host.AwaitSpanCalls(1));
  EXPECT_EQ(host.RequestCount(), 0u);
}

TEST_F(Accessors, endWaitsForAFetchUnderWay) {
  // The polling thread stands inside its fetch, in the host's network call.
  host.HoldSpans();
  std::atomic<bool> in_fetch{false}, go_on{false}, ended{false};
  host.Expect(Script(kIndexPath).Inline([&](const Request&) {
    in_fetch = true;
    while (!go_on) std::this_thread::yield();
    for (int turn = 0; turn < 1000; ++turn) std::this_thread::yield();
    ended = true;
    return Answer::Body(kOneIndex);
  }));
  IndexRecorder observer;
  GetIndexMarket();
  ASSERT_TRUE(host.AwaitHeldSpan());
  GetIndexMarket()->Attach(&observer);
  GetIndexMarket()->Resume(&observer, false);
  host.ReleaseSpan(0);
  ASSERT_TRUE(host.AwaitHeldSpan());
  host.ReleaseSpan(0);
  while (!in_fetch) std::this_thread::yield();
  host.ReleaseSpan(7200);
  go_on = true;
  DestroyStockMarket();
  EXPECT_TRUE(ended);
}

}  // namespace

// The index market under a scripted tick clock: requests that are made within one millisecond, a clock set
// back; and what it holds while its two newest answers are read at once.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "quotes/index_market.h"
#include "recording_observer.h"
#include "scripted_host.h"
#include "scripted_ticks.h"
#include "services.h"

namespace {

using IndexList = std::vector<IndexMarketSummary>;
using IndexRecorder = RecordingObserver<IndexList>;

constexpr char kPath[] = "/pc/rt/stock_detail_list";

Answer OneIndex(int last) {
  return Answer::Body(R"({"errno":0,"data":{"list":[{"last":)" + std::to_string(last) + "}]}}");
}

class IndexMarketTicks : public ::testing::Test {
 protected:
  IndexMarketTicks() {
    host.SetSpan(7200);
    service.reset(quotes::MakeIndexMarket());
    host.AwaitSpanCalls(1);
    service->Attach(&observer);
  }

  ScriptedHost host;
  ScriptedTicks ticks;
  IndexRecorder observer;
  std::unique_ptr<IIndexMarket> service;
};

TEST_F(IndexMarketTicks, tellsTwoRequestsOfOneMillisecondApart) {
  host.Expect(Script(kPath).Times(2).Held());
  service->Refresh();
  service->Refresh();
  host.Complete(0, OneIndex(1));
  EXPECT_EQ(observer.Count(), 0u);
  host.Complete(1, OneIndex(2));
  EXPECT_EQ(observer.Count(), 1u);
}

TEST_F(IndexMarketTicks, tellsTwoRequestsApartThoughTheClockWasSetBack) {
  host.Expect(Script(kPath).Times(2).Held());
  service->Refresh();
  ticks.Advance(-3'600'000);
  service->Refresh();
  host.Complete(0, OneIndex(1));
  EXPECT_EQ(observer.Count(), 0u);
  host.Complete(1, OneIndex(2));
  EXPECT_EQ(observer.Count(), 1u);
}

TEST_F(IndexMarketTicks, takesAnAnswerHoweverLateItIs) {
  host.Expect(Script(kPath).Held());
  service->Refresh();
  ticks.Advance(24 * 3'600'000);
  host.Complete(0, OneIndex(1));
  EXPECT_EQ(observer.Count(), 1u);
}

TEST_F(IndexMarketTicks, neverFindsCachedDataOnResume) {
  host.Expect(Script(kPath).Times(2).Inline(OneIndex(1)));
  service->SetTarget(&observer, L"sh000001");
  service->Refresh();
  EXPECT_EQ(host.RequestCount(), 1u);
  service->Resume(&observer, true);
  EXPECT_EQ(host.RequestCount(), 2u) << "not a millisecond has passed";
}

}  // namespace

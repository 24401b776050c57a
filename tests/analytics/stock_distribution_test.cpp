// How stocks spread over ranges of change: halves, shares, and the clearing record.
#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

#include "analytics/stock_distribution.h"
#include "recording_observer.h"
#include "scripted_host.h"
#include "services.h"
#include "sleeping_threads.h"

namespace {

class Distribution : public ::testing::Test {
 protected:
  void Answer200(const char* body) {
    host.Expect(
        Script("/pc/rt/stock_distribute_num").With({{"date", "0"}}).Setting(3).Inline(Answer::Body(body)));
    service->Attach(&view);
    service->SetTarget(&view, 0);
    service->Resume(&view, false);
    service->Refresh();
    service->Detach(&view);
  }

  Distribution() { AwaitSleepingThreads(); }

  ScriptedHost host;
  RecordingObserver<DistributionItem> view;
  std::unique_ptr<IStockDistribution> service{analytics::MakeStockDistribution()};
};

TEST_F(Distribution, splitsTheListAndGivesEachBucketItsShare) {
  Answer200(R"({"errno":0,"data":{"up":7,"nochange":2,"down":5,"list":[10,30,40,20]}})");
  const DistributionItem item = view.Last();
  EXPECT_EQ(item.up, 7);
  EXPECT_EQ(item.nochange, 2);
  EXPECT_EQ(item.down, 5);
  EXPECT_EQ(item.first_half, (std::vector<DistributionBucket>{{10, 0.1}, {30, 0.3}}));
  EXPECT_EQ(item.second_half, (std::vector<DistributionBucket>{{40, 0.4}, {20, 0.2}}));
}

TEST_F(Distribution, putsTheOddBucketIntoTheSecondHalf) {
  Answer200(R"({"errno":0,"data":{"list":[1,1,1,1,1]}})");
  EXPECT_EQ(view.Last().first_half.size(), 2U);
  EXPECT_EQ(view.Last().second_half.size(), 3U);
}

TEST_F(Distribution, hasNoSharesOfNothing) {
  Answer200(R"({"errno":0,"data":{"up":3,"list":[0,0]}})");
  EXPECT_EQ(view.Last().first_half, (std::vector<DistributionBucket>{{0, 0.0}}));
  EXPECT_EQ(view.Last().second_half, (std::vector<DistributionBucket>{{0, 0.0}}));
}

TEST_F(Distribution, readsWhatIsNoWholeNumberAsZero) {
  Answer200(R"({"errno":0,"data":{"up":"3","down":1.5,"list":["1",4]}})");
  EXPECT_EQ(view.Last().up, 0);
  EXPECT_EQ(view.Last().down, 0);
  EXPECT_EQ(view.Last().first_half, (std::vector<DistributionBucket>{{0, 0.0}}));
  EXPECT_EQ(view.Last().second_half, (std::vector<DistributionBucket>{{4, 1.0}}));
}

TEST_F(Distribution, countsTheTotalModuloTwoToThe32) {
  Answer200(R"({"errno":0,"data":{"list":[2147483647,1]}})");
  EXPECT_DOUBLE_EQ(view.Last().first_half.front().ratio, 2147483647.0 / -2147483648.0);
}

TEST_F(Distribution, clearsAnObserverThatHadADateEveryTime) {
  service->Attach(&view);
  service->SetTarget(&view, 0);
  EXPECT_EQ(view.Count(), 0U) << "without a date before there is nothing to clear";
  service->SetTarget(&view, 0);
  EXPECT_EQ(view.Count(), 1U);
  service->SetTarget(&view, 20240314);
  EXPECT_EQ(view.Count(), 2U);
  EXPECT_EQ(view.Last(), DistributionItem{});
  service->Detach(&view);
}

TEST_F(Distribution, asksForAPastDayOnlyWhenAViewResumes) {
  service->Attach(&view);
  service->SetTarget(&view, 20240314);
  service->Resume(&view, false);
  service->OnTimer();
  EXPECT_EQ(host.RequestCount(), 0U);
  host.Expect(Script("/pc/rt/stock_distribute_num").With({{"date", "20240314"}}).Held());
  service->Refresh();
  EXPECT_EQ(host.RequestCount(), 1U);
  service->Detach(&view);
}

TEST_F(Distribution, hasNoSharesWhenTheCountsCancelOut) {
  Answer200(R"({"errno":0,"data":{"up":9,"nochange":9,"down":9,"list":[-4,4]}})");
  EXPECT_EQ(view.Last().first_half, (std::vector<DistributionBucket>{{-4, 0.0}}));
  EXPECT_EQ(view.Last().second_half, (std::vector<DistributionBucket>{{4, 0.0}}));
}

TEST_F(Distribution, countsItsSharesFromTheListAlone) {
  Answer200(R"({"errno":0,"data":{"up":1000,"nochange":1000,"down":1000,"list":[1,3]}})");
  EXPECT_EQ(view.Last().first_half, (std::vector<DistributionBucket>{{1, 0.25}}));
}

TEST_F(Distribution, clearsASuspendedObserverInTheCallersThread) {
  service->Attach(&view);
  service->SetTarget(&view, 0);
  EXPECT_TRUE(service->IsSuspended(&view));
  service->SetTarget(&view, 0);
  EXPECT_EQ(view.Threads(), std::vector<std::thread::id>{std::this_thread::get_id()});
  service->RemoveTarget(&view);
  service->SetTarget(&view, 0);
  EXPECT_EQ(view.Count(), 1U) << "its date was taken away before";
  service->Detach(&view);
}

TEST_F(Distribution, keepsTheItemOfADateThatIsSetAgain) {
  Answer200(R"({"data":{"up":7}})");
  service->Attach(&view);
  service->SetTarget(&view, 0);
  service->SetTarget(&view, 0);
  service->Resume(&view, true);
  EXPECT_EQ(view.Last().up, 7);
  EXPECT_EQ(host.RequestCount(), 1U);
  service->Detach(&view);
}

TEST_F(Distribution, pollsTodayUnderEitherName) {
  RecordingObserver<DistributionItem> today;
  service->Attach(&view);
  service->SetTarget(&view, 0);
  service->Resume(&view, false);
  service->Attach(&today);
  service->SetTarget(&today, 20240315);
  service->Resume(&today, false);
  for (const char* date : {"0", "20240315"}) {
    host.Expect(Script("/pc/rt/stock_distribute_num").With({{"date", date}}).Inline(Answer::Body("{}")));
  }
  service->OnTimer();
  EXPECT_EQ(view.Count(), 1U);
  EXPECT_EQ(today.Count(), 1U);
  service->Detach(&view);
  service->Detach(&today);
}

}  // namespace

// New issues: twelve fields, in the order of the answer.
#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <list>
#include <memory>
#include <string>
#include <thread>

#include "analytics/stock_purchase.h"
#include "recording_observer.h"
#include "scripted_host.h"
#include "services.h"

namespace {

using Issues = std::list<StockPurchaseItem>;

constexpr const char* kPath = "/pc/rt/stock_buy";

class Purchase : public ::testing::Test {
 protected:
  void SetUp() override { service->Attach(&view); }
  void TearDown() override { service->Detach(&view); }
  void Fetch(const char* body) {
    host.Expect(Script(kPath).With({}).Setting(30).Inline(Answer::Body(body)));
    service->FetchPurchaseInfo();
  }

  ScriptedHost host;
  RecordingObserver<Issues> view;
  std::unique_ptr<IStockPurchase> service{analytics::MakeStockPurchase()};
};

TEST_F(Purchase, readsEveryField) {
  Fetch(R"({"errno":0,"data":{"list":[{"code":"603001","name":"新股","publish_time":"2024-03-01",)"
        R"("publish_online_time":"2024-03-02","buy_code":"732001","publish_num":1,"publish_online_num":2,)"
        R"("publish_price":12.345678,"pe":4,"buy_limit":5,"total_price":6,"chance":0.07}]}})");
  EXPECT_EQ(view.Last(), (Issues{{L"603001", L"新股", L"2024-03-01", L"2024-03-02", L"732001", 1.0F, 2.0F,
                                  12.345678F, 4.0F, 5.0F, 6.0F, 0.07F}}));
}

TEST_F(Purchase, keepsTheOrderAndReadsWhatIsMissingAsEmpty) {
  Fetch(R"({"data":{"list":[{"code":"2","pe":"x"},{"code":"1","buy_code":3},null]}})");
  ASSERT_EQ(view.Last().size(), 3U);
  EXPECT_EQ(view.Last().front().code, L"2");
  EXPECT_EQ(view.Last().front().pe, 0.0F);
  EXPECT_EQ(std::next(view.Last().begin())->buy_code, L"");
  EXPECT_EQ(view.Last().back(), StockPurchaseItem{});
}

TEST_F(Purchase, deliversAnEmptyList) {
  Fetch(R"({"errno":0,"data":{"list":[]}})");
  EXPECT_TRUE(view.Last().empty());
}

TEST_F(Purchase, narrowsEveryNumberToTheNearestFloat) {
  Fetch(R"({"data":{"list":[{"publish_price":12.345678,"publish_num":1e300,"pe":-1e-300,"chance":0.1}]}})");
  const StockPurchaseItem item = view.Last().front();
  EXPECT_EQ(item.publish_price, static_cast<float>(12.345678));
  EXPECT_EQ(item.publish_num, std::numeric_limits<float>::infinity());
  EXPECT_EQ(item.pe, 0.0F);
  EXPECT_EQ(item.chance, static_cast<float>(0.1));
}

TEST_F(Purchase, readsNullMembersAsEmpty) {
  Fetch(R"({"data":{"list":[{"code":null,"name":null,"publish_num":null,"chance":null}]}})");
  EXPECT_EQ(view.Last(), Issues(1));
}

TEST_F(Purchase, waitsAtItsEndForAnAnswerThatIsBeingTold) {
  std::atomic<bool> inside{false}, ending{false}, ended{false};
  RecordingObserver<Issues> slow([&](const Issues& issues) {
    inside = true;
    while (!ending) std::this_thread::yield();
    for (int turn = 0; turn < 1000; ++turn) std::this_thread::yield();
    EXPECT_EQ(issues.size(), 1U) << "the list is there until the call returns";
    ended = true;
  });
  service->Detach(&view);
  service->Attach(&slow);
  host.Expect(Script(kPath).OnWorker(1, Answer::Body(R"({"data":{"list":[{"code":"603001"}]}})")));
  service->FetchPurchaseInfo();
  while (!inside) std::this_thread::yield();
  ending = true;
  service.reset();
  EXPECT_TRUE(ended);
  host.Settle();
  service.reset(analytics::MakeStockPurchase());
}

TEST_F(Purchase, dropsAnAnswerThatComesAfterItsEnd) {
  host.Expect(Script(kPath).Held());
  service->FetchPurchaseInfo();
  service->Detach(&view);
  service.reset(analytics::MakeStockPurchase());
  host.Complete(0, Answer::Body("?"));
  EXPECT_EQ(view.Count(), 0U);
}

}  // namespace

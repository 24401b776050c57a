// The index market under load, for the thread sanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>

#include "quotes/index_market.h"
#include "recording_observer.h"
#include "scripted_host.h"
#include "services.h"

namespace {

using IndexList = std::vector<IndexMarketSummary>;
using IndexRecorder = RecordingObserver<IndexList>;

constexpr char kPath[] = "/pc/rt/stock_detail_list";
constexpr int kCycles = 1000;
constexpr int kWorkers = 4;

Script::Reply Answers() {
  return [](const Request& request) {
    return Answer::Body(R"({"errno":0,"data":{"list":[{"code":"sh000001","last":)" +
                        std::to_string(request.number) + "}]}}");
  };
}

class IndexMarketUnderLoad : public ::testing::Test {
 protected:
  IndexMarketUnderLoad() { host.SetSpan(7200); }

  // Requests go to the four workers by turns.
  void AnswerOnWorkers(int requests) {
    for (int request = 0; request < requests; ++request) {
      host.Expect(Script(kPath).OnWorker(request % kWorkers, Answers()));
    }
  }

  ScriptedHost host;
};

TEST_F(IndexMarketUnderLoad, viewsComeAndGoAgainstAnswersOnFourThreads) {
  const std::unique_ptr<IIndexMarket> service(quotes::MakeIndexMarket());
  host.AwaitSpanCalls(1);
  AnswerOnWorkers(3 * kCycles);
  for (int cycle = 0; cycle < kCycles; ++cycle) {
    const auto observer = std::make_unique<IndexRecorder>();
    service->Attach(observer.get());
    service->SetTarget(observer.get(), L"sh000001");
    service->Resume(observer.get(), true);
    service->Refresh();
    service->Suspend(observer.get());
    service->Resume(observer.get(), true);
    service->Detach(observer.get());
  }
  host.Settle();
  EXPECT_EQ(host.RequestCount(), static_cast<std::size_t>(3 * kCycles));
}

TEST_F(IndexMarketUnderLoad, theServiceEndsWithAnswersStillToCome) {
  AnswerOnWorkers(kWorkers * kCycles);
  for (int cycle = 0; cycle < kCycles; ++cycle) {
    IndexRecorder observer;
    const std::unique_ptr<IIndexMarket> service(quotes::MakeIndexMarket());
    service->Attach(&observer);
    for (int request = 0; request < kWorkers; ++request) service->Refresh();
  }
  host.Settle();
}

TEST_F(IndexMarketUnderLoad, anObserverIsDetachedAndDeletedWhileUpdateRuns) {
  const std::unique_ptr<IIndexMarket> service(quotes::MakeIndexMarket());
  host.AwaitSpanCalls(1);
  AnswerOnWorkers(kCycles);
  for (int cycle = 0; cycle < kCycles; ++cycle) {
    std::atomic<bool> inside{false};
    auto observer = std::make_unique<IndexRecorder>([&inside](const IndexList&) { inside = true; });
    service->Attach(observer.get());
    service->Refresh();
    while (!inside) std::this_thread::yield();
    service->Detach(observer.get());
    observer.reset();
    host.Settle();
  }
}

}  // namespace

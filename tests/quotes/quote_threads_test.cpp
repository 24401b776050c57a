// The quote and ranking services under load, for the thread sanitizer: views that come and go against answers
// on four threads, services that end with answers still to come.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "quotes/optional_stock_market.h"
#include "quotes/plate_stock_market.h"
#include "quotes/stock_market.h"
#include "recording_observer.h"
#include "scripted_host.h"
#include "scripted_ticks.h"
#include "services.h"

namespace {

constexpr int kWorkers = 4;
constexpr int kCycles = 150;

// Five rows whose figures change with every request.
Answer Rows(const Request& request) {
  std::string rows;
  for (std::size_t row = 0; row < 5; ++row) {
    rows += (row > 0 ? "," : "") + std::string(R"({"code":"sh60000)") + std::to_string(row) +
            R"(","b1p":3,"s5v":7,"last":)" + std::to_string(request.number * (row + 1)) + "}";
  }
  const bool is_list = request.path == "/pc/rt/stock_detail_list";
  return Answer::Body(is_list ? R"({"data":{"list":[)" + rows + "]}}" : R"({"data":[)" + rows + "]}");
}

// One key, and the parameters of the request for it, for each of the threads that answer.
template <class Key>
using Keys = std::array<std::pair<Key, NameValues>, kWorkers>;

class QuotesUnderLoad : public ::testing::Test {
 protected:
  template <class Data, class Service, class Key>
  void LetViewsComeAndGo(const std::unique_ptr<Service>& service, const char* path, const Keys<Key>& keys) {
    for (int worker = 0; worker < kWorkers; ++worker) {
      host.Allow(Script(path).With(keys.at(static_cast<std::size_t>(worker)).second).OnWorker(worker, Rows));
    }
    RecordingObserver<Data> steady;
    service->Attach(&steady);
    service->SetTarget(&steady, keys[0].first);
    service->Resume(&steady, true);
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < 2; ++thread) {
      threads.emplace_back([&service, &keys, thread] {
        for (std::size_t cycle = 0; cycle < kCycles; ++cycle) {
          RecordingObserver<Data> view;
          service->Attach(&view);
          service->SetTarget(&view, keys.at((cycle + thread) % kWorkers).first);
          service->Resume(&view, true);
          service->SetTarget(&view, keys.at((cycle + thread + 1) % kWorkers).first);
          service->Refresh();
          service->Detach(&view);
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
    host.Settle();
    service->Refresh();
    host.Settle();
    EXPECT_GE(steady.Count(), 1U);
    service->Detach(&steady);
  }

  ScriptedHost host;
};

TEST_F(QuotesUnderLoad, boards) {
  const auto key = [](std::uint32_t end) {
    return std::pair(StockRangeRankingTarget{1, 4, 2, 0, end}, NameValues{{"stock_type", "cn_a"},
                                                                          {"sort_key", "change"},
                                                                          {"sort_type", "desc"},
                                                                          {"start", "0"},
                                                                          {"end", std::to_string(end)}});
  };
  const std::unique_ptr<IStockMarket> service(quotes::MakeStockMarket());
  LetViewsComeAndGo<std::vector<StockMarketItem>>(
      service, "/pc/rt/get", Keys<StockRangeRankingTarget>{key(1), key(2), key(3), key(4)});
}

// The page of an older request, which takes long to read, against that of a newer one on another thread.
TEST_F(QuotesUnderLoad, theNewestPageOfAPlateStaysTheLast) {
  const ScriptedSteady stopped;  // no poll comes between, however long this takes
  const std::unique_ptr<IPlateStockMarket> service(quotes::MakePlateStockMarket());
  RecordingObserver<PlateStockMarketData> view;
  service->Attach(&view);
  service->SetTarget(&view, {L"bk1001", 4, 2, 0, 9});
  service->Resume(&view, false);
  std::string rows = "{}";
  for (int row = 1; row < 3000; ++row) rows += ",{}";
  const Answer older = Answer::Body(R"({"total_num":1,"data":[)" + rows + "]}");
  const Answer newer = Answer::Body(R"({"total_num":2,"data":[]})");
  for (int cycle = 0; cycle < kCycles; ++cycle) {
    std::atomic<bool> reads{false};
    host.Expect(Script("/pc/rt/get_bk_zone_list").OnWorker(0, [&](const Request&) {
      reads = true;
      return older;
    }));
    service->Refresh();
    while (!reads) std::this_thread::yield();
    // Now and then the older answer has been found to be the latest by now, and is being read.
    for (int turn = 0; turn < cycle % 50; ++turn) std::this_thread::yield();
    host.Expect(Script("/pc/rt/get_bk_zone_list").OnWorker(1, newer));
    service->Refresh();
    host.Settle();
    ASSERT_EQ(view.Last().total_num, 2) << cycle;
  }
  service->Detach(&view);
}

TEST_F(QuotesUnderLoad, watchListsThatChange) {
  host.SetTaskMode(ScriptedHost::TaskMode::kWorker, 1);
  host.SetWatchList({L"sh600000"});
  const std::unique_ptr<IOptionalStockMarket> service(quotes::MakeOptionalStockMarket());
  for (int worker = 0; worker < 2; ++worker) {
    host.Allow(Script("/pc/rt/stock_detail_list")
                   .With({{"stock_arr", worker == 0 ? R"(["sh600000"])" : R"(["sh600001","sh600000"])"}})
                   .OnWorker(worker, Rows));
  }
  std::atomic<int> listed{0};
  std::thread owner([this] {
    for (int cycle = 0; cycle < kCycles; ++cycle) {
      host.SetWatchList({L"sh600001", L"sh600000"});
      host.SetWatchList({L"sh600000"});
    }
  });
  for (std::uint32_t cycle = 0; cycle < kCycles; ++cycle) {
    RecordingObserver<std::vector<OptionalMarketItem>> view;
    service->Attach(&view);
    service->SetTarget(&view, {cycle % 20, cycle % 3});
    service->Resume(&view, true);
    service->FetchStockItems(3, 1, [&listed](const CodeNameList&) { ++listed; });
    service->Detach(&view);
  }
  owner.join();
  host.Settle();
  EXPECT_EQ(listed, kCycles);
}

TEST_F(QuotesUnderLoad, servicesEndWithAnswersStillToCome) {
  host.Allow(Script("/pc/rt/get").OnWorker(0, Rows));
  host.Allow(Script("/pc/rt/stock_price_list").OnWorker(1, Rows));
  std::atomic<int> listed{0};
  for (int cycle = 0; cycle < kCycles; ++cycle) {
    RecordingObserver<std::vector<StockMarketItem>> view;
    const std::unique_ptr<IStockMarket> service(quotes::MakeStockMarket());
    service->Attach(&view);
    service->SetTarget(&view, {1, 4, 2, 0, 9});
    service->Resume(&view, true);
    service->FetchStockItems(4, 2, 1, [&listed](const CodeNameList&) { ++listed; });
  }
  host.Settle();
  EXPECT_LE(listed, kCycles);
}

}  // namespace

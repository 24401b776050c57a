// Chart services under several threads at once, with answers and downloads on the way. Runs under the thread
// sanitizer too.
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "charts/stock_mline.h"
#include "kline_fixture.h"
#include "services.h"

namespace {

using namespace kline_test;
using TaskMode = ScriptedHost::TaskMode;

// Records that call-backs got, on whichever thread.
template <class Data>
class Inbox {
 public:
  boost::function<void(const Data&)> Callback() {
    return [this](const Data& data) {
      const std::lock_guard<std::mutex> lock(mutex_);
      records_.push_back(data);
      arrived_.notify_all();
    };
  }
  bool Await(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    return arrived_.wait_for(lock, std::chrono::seconds(60), [&] { return records_.size() >= count; });
  }
  std::vector<Data> Records() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return records_;
  }

 private:
  std::mutex mutex_;  // guards records_
  std::condition_variable arrived_;
  std::vector<Data> records_;
};

// The package of version `version`: as many candles as the version says, and all of them tell it.
std::vector<KLineCandle> Versioned(int version) {
  return std::vector<KLineCandle>(static_cast<std::size_t>(version), Candle(20240314, version));
}

// The version in "/kline.sh600000.day.bfq.12.gzip".
int VersionOf(const Request& request) {
  return std::stoi(request.path.substr(request.path.find("bfq.") + 4));
}

class KLineThreads : public KLineTest {
 protected:
  KLineThreads() {
    host.Allow(Script(kDayPath).OnWorker(1, NoToday()));
    host.SetTaskMode(TaskMode::kWorker, 2);
    packages.Announce(L"20240314");
  }
  void Fetch(const wchar_t* symbol = L"sh600000") { service->FetchKLine(symbol, 1, 1, inbox.Callback()); }

  Inbox<StockKLineData> inbox;
};

TEST_F(KLineThreads, endsWithoutWaitingForADownload) {
  host.Expect(Script(PackagePath("sh600000", "day", "bfq", "20240314")).Held());
  host.Allow(Script(kHistoryPath).Inline(History({})));
  Show(view, L"sh600000");
  service->Refresh();
  Fetch();
  const Request download =
      host.AwaitRequest(1).kind == Request::Kind::kDownload ? host.AwaitRequest(1) : host.AwaitRequest(2);
  ASSERT_EQ(download.kind, Request::Kind::kDownload);
  service.reset();
  host.Complete(download.number, Answer::Body(Gzip(Package(Versioned(3)))));
  host.Settle();
  EXPECT_EQ(view.Count(), 0U);
  EXPECT_TRUE(inbox.Records().empty());
  EXPECT_TRUE(std::filesystem::exists(File())) << "what was on the way is not lost";
  service.reset(charts::MakeStockKLine());
}

TEST_F(KLineThreads, keepsNoThreadWaitingForADownloadOfAnother) {
  host.Expect(Script(PackagePath("sh600000", "day", "bfq", "20240314")).Held());
  host.Expect(Script(PackagePath("sh600001", "day", "bfq", "20240314"))
                  .Inline(Answer::Body(Gzip(Package(Versioned(1))))));
  Fetch();
  const Request download = host.AwaitRequest(1);
  ASSERT_EQ(download.kind, Request::Kind::kDownload);
  // Two more loads of that package, and one of another, on one thread.
  host.SetTaskMode(TaskMode::kWorker, 3);
  Fetch();
  Fetch();
  Fetch(L"sh600001");
  ASSERT_TRUE(inbox.Await(1));
  EXPECT_EQ(inbox.Records()[0].symbol, L"sh600001");
  host.Complete(download.number, Answer::Body(Gzip(Package(Versioned(3)))));
  ASSERT_TRUE(inbox.Await(4));
  for (std::size_t place = 1; place < 4; ++place) {
    EXPECT_EQ(inbox.Records()[place].candles.size(), 3U);
  }
  EXPECT_EQ(host.RequestsTo(PackagePath("sh600000", "day", "bfq", "20240314")).size(), 1U);
}

TEST_F(KLineThreads, deliverWholePackagesWhileNewVersionsAppear) {
  constexpr int kVersions = 30;
  constexpr int kThreads = 3;
  for (int version = 10; version < 10 + kVersions; ++version) {
    host.Allow(Script(PackagePath("sh600000", "day", "bfq", std::to_string(version)))
                   .Inline([](const Request& request) {
                     return Answer::Body(Gzip(Package(Versioned(VersionOf(request)))));
                   }));
  }
  packages.Announce(L"10");
  std::atomic<bool> over = false;
  std::atomic<int> asked = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&] {
      do {
        Fetch();
        ++asked;
        std::this_thread::yield();
      } while (!over && asked < 3000);
    });
  }
  for (int version = 10; version < 10 + kVersions; ++version) {
    packages.Announce(std::to_wstring(version));
    host.SetTaskMode(TaskMode::kWorker, 2 + version % 3);
    Fetch();
    ++asked;
    ASSERT_TRUE(inbox.Await(static_cast<std::size_t>(version)));
  }
  over = true;
  for (std::thread& thread : threads) thread.join();
  host.Settle();
  ASSERT_TRUE(inbox.Await(static_cast<std::size_t>(asked)));
  for (const StockKLineData& data : inbox.Records()) {
    ASSERT_FALSE(data.candles.empty());
    const auto version = static_cast<int>(data.candles.size());
    for (const KLineCandle& candle : data.candles) ASSERT_EQ(candle, Candle(20240314, version));
  }
  // Who comes while a package is loaded gets that one; who comes later gets what is announced, and it stays.
  host.SetTaskMode(TaskMode::kInline);
  for (int load = 0; load < 2; ++load) {
    Fetch();
    ASSERT_TRUE(inbox.Await(static_cast<std::size_t>(++asked)));
    EXPECT_EQ(inbox.Records().back().candles.size(), static_cast<std::size_t>(9 + kVersions));
    EXPECT_EQ(Stored().version, std::to_wstring(9 + kVersions));
    service.reset(charts::MakeStockKLine());
  }
  EXPECT_EQ(host.RequestsTo(PackagePath("sh600000", "day", "bfq", std::to_string(9 + kVersions))).size(), 1U);
}

TEST_F(KLineThreads, tellNobodyAfterItIsDetached) {
  Keep(L"20240314", Versioned(4));
  host.Allow(Script(PackagePath("sz000001", "day", "bfq", "20240314"))
                 .Inline(Answer::Body(Gzip(Package(Versioned(5))))));
  std::atomic<bool> over = false;
  std::thread asking([&] {
    while (!over) service->Refresh();
  });
  for (int round = 0; round < 100; ++round) {
    RecordingObserver<StockKLineData> guest;
    Show(guest, round % 2 == 0 ? L"sh600000" : L"sz000001");
    service->FetchKLine(L"sh600000", 1, 1, {});
    if (round % 10 == 0) {
      ASSERT_TRUE(guest.Await(1));
    }
    service->SetTarget(&guest, L"sh600000");
    service->Detach(&guest);
    const std::size_t told = guest.Count();
    std::this_thread::yield();
    ASSERT_EQ(guest.Count(), told);
  }
  over = true;
  asking.join();
  service.reset();
  host.Settle();
  service.reset(charts::MakeStockKLine());
}

TEST_F(KLineThreads, endAtAnyMoment) {
  Keep(L"20240313", Versioned(2));
  host.Allow(Script(PackagePath("sh600000", "day", "bfq", "20240314"))
                 .Inline(Answer::Body(Gzip(Package(Versioned(4))))));
  for (int round = 0; round < 60; ++round) {
    service.reset(charts::MakeStockKLine());
    RecordingObserver<StockKLineData> guest;
    Show(guest, L"sh600000");
    service->Refresh();
    service->FetchKLine(L"sh600000", 1, 1, inbox.Callback());
    if (round % 3 == 1) host.Settle();
    if (round % 3 == 2) std::this_thread::yield();
    service.reset();
    const std::size_t told = guest.Count() + inbox.Records().size();
    host.Settle();
    ASSERT_EQ(guest.Count() + inbox.Records().size(), told);
  }
  service.reset(charts::MakeStockKLine());
}

class MLineThreads : public ChartServiceTest<IStockMLine, StockMLineData> {
 protected:
  MLineThreads() : ChartServiceTest(charts::MakeStockMLine) {
    const Answer answer = Answer::Body(
        R"({"errno":0,"data":{"sh600000":{"date":"2024-03-15","list":[{"min":930,"last":10,"preclose":9}]}}})");
    host.Allow(Script("/pc/rt/get_day_time").OnWorker(1, answer));
    host.Allow(Script("/pc/rt/get_day_htime").OnWorker(2, answer));
    host.Allow(Script("/pc/rt/get_choice_htime").Inline(answer));
    host.SetTaskMode(TaskMode::kWorker, 3);
  }

  void FetchAll() {
    service->Refresh();
    service->FetchMLine(L"sh600000", 0, inbox.Callback());
    service->FetchMLine(L"sh600000", 0, {});
    for (const int days : {0, 5}) {
      service->FetchHistoryMLine(L"sh600000", 20240314, days, inbox.Callback());
      service->FetchHistoryMLine(L"sh600000", 20240314, days, {});
    }
  }

  Inbox<StockMLineData> inbox;
};

TEST_F(MLineThreads, tellNobodyAfterItIsDetached) {
  std::atomic<bool> over = false;
  std::thread asking([&] {
    while (!over) FetchAll();
  });
  for (int round = 0; round < 100; ++round) {
    RecordingObserver<StockMLineData> guest;
    Show(guest, L"sh600000");
    if (round % 5 == 0) {
      ASSERT_TRUE(guest.Await(1));
    }
    service->Detach(&guest);
    const std::size_t told = guest.Count();
    std::this_thread::yield();
    ASSERT_EQ(guest.Count(), told);
  }
  over = true;
  asking.join();
  host.Settle();
}

TEST_F(MLineThreads, endAtAnyMoment) {
  for (int round = 0; round < 60; ++round) {
    service.reset(charts::MakeStockMLine());
    RecordingObserver<StockMLineData> guest;
    Show(guest, L"sh600000");
    FetchAll();
    if (round % 3 == 1) host.Settle();
    if (round % 3 == 2) std::this_thread::yield();
    service.reset();
    const std::size_t told = guest.Count() + inbox.Records().size();
    host.Settle();
    ASSERT_EQ(guest.Count() + inbox.Records().size(), told);
  }
  service.reset(charts::MakeStockMLine());
}

}  // namespace

// The reference data under several threads at once. Runs under the thread sanitizer too.
#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "answers.h"
#include "reference/package_version_store.h"
#include "reference/stock_common_service.h"

namespace {

// A stock list answer with `count` Shanghai stocks.
std::string StocksAnswer(int count) {
  std::string rows;
  for (int number = 0; number < count; ++number) {
    rows += (number == 0 ? "" : ",") + std::string(R"({"c":"sh)") + std::to_string(600000 + number) +
            R"(","n":"name that is long enough","b":"GEM"})";
  }
  return R"({"errno":0,"sh":[)" + rows + R"(],"sz":[]})";
}

class StockCommonThreads : public ::testing::Test {
 protected:
  ScriptedHost host;
  std::unique_ptr<reference::CStockCommon> service = std::make_unique<reference::CStockCommon>();
};

// Readers copy at once; between two meetings at the barrier at most six lists are replaced, so nobody may
// read what is freed.
TEST_F(StockCommonThreads, readListsWhileTheyAreReplaced) {
  constexpr int kRounds = 60;
  constexpr int kReaders = 3;
  std::atomic<int> size = 1;
  host.Allow(Script(answers::kBasicInfoPath).Inline([&size](const Request&) {
    size = size % 50 + 1;
    return Answer::Body(StocksAnswer(size));
  }));
  answers::Allow(host, answers::kBasicInfoPath);
  service->FinishRound({1, true});

  std::barrier meeting(kReaders + 1);
  std::vector<std::thread> readers;
  for (int reader = 0; reader < kReaders; ++reader) {
    readers.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        meeting.arrive_and_wait();
        for (int read = 0; read < 20; ++read) {
          for (const int kind : {1, 2, 4}) {
            const std::vector<BaseInfoItem> copy = service->GetStockList(kind);
            ASSERT_FALSE(copy.empty());
            ASSERT_EQ(copy.back().code, L"sh" + std::to_wstring(600000 + copy.size() - 1));
          }
          ASSERT_EQ(std::vector<BaseInfoItem>(service->GetPlateList(1)).size(), 2U);
          ASSERT_EQ(std::vector<BaseInfoItem>(service->GetIndexList(2)).size(), 1U);
          std::vector<std::pair<std::wstring, std::wstring>> plates;
          ASSERT_TRUE(service->GetPlatesOfStock(L"sz000001", plates));
        }
      }
    });
  }
  for (int round = 0; round < kRounds; ++round) {
    meeting.arrive_and_wait();
    for (int reload = 0; reload < 6; ++reload) {
      service->FinishRound({1, true});
    }
  }
  for (std::thread& reader : readers) {
    reader.join();
  }
}

TEST_F(StockCommonThreads, readPackageCountsWhileTheMetadataIsReplaced) {
  constexpr int kVersions = 30;
  constexpr int kSymbols = 40;
  std::atomic<int> version = 0;
  host.Allow(Script(answers::kVersionPath).Inline([&version](const Request&) {
    return Answer::Body(R"({"version":")" + std::to_string(1000 + version) + R"("})");
  }));
  host.Allow(Script(answers::kMetadataPath).Inline([&version](const Request&) {
    std::string text = "version:" + std::to_string(1000 + version) + "\nbroken:{\n";
    for (int symbol = 0; symbol < kSymbols; ++symbol) {
      text += "s" + std::to_string(symbol) + ":{\"d\":{\"b\":" + std::to_string(1000 + version) + "}}\n";
    }
    return Answer::Body(Gzip(text));
  }));
  host.AllowLine(L"StockCommon::ParseComplexTypeCount Json Parse Error Code: 1");
  service->FinishRound({1, false});

  std::atomic<bool> done = false;
  std::vector<std::thread> readers;
  for (int reader = 0; reader < 3; ++reader) {
    readers.emplace_back([&] {
      while (!done) {
        for (int symbol = 0; symbol < kSymbols; ++symbol) {
          const KLineMetaInfo info = service->GetKLineMetaInfo(L"s" + std::to_wstring(symbol), 1, 1);
          ASSERT_EQ(info.version, std::to_wstring(info.count)) << "version and count are of one file";
        }
        ASSERT_EQ(service->GetKLineMetaInfo(L"broken", 1, 1).count, 0);
      }
    });
  }
  for (version = 1; version < kVersions; ++version) {
    service->FinishRound({1, false});
  }
  done = true;
  for (std::thread& reader : readers) {
    reader.join();
  }
  std::size_t lines = host.Log().size();
  EXPECT_LE(lines, static_cast<std::size_t>(kVersions)) << "one line for each file at most";
}

TEST_F(StockCommonThreads, endAServiceAtAnyMomentOfItsStart) {
  answers::Allow(host);
  int told = 0;
  std::mutex mutex;
  for (int round = 0; round < 300; ++round) {
    service = std::make_unique<reference::CStockCommon>();
    for (int worker = 1; worker <= 3; ++worker) {
      // Two starts' tasks over three threads.
      host.SetTaskMode(ScriptedHost::TaskMode::kWorker, worker);
      service->Init([&](bool) {
        const std::lock_guard<std::mutex> lock(mutex);
        ++told;
      });
    }
    for (int spin = 0; spin < round % 50; ++spin) {
      std::this_thread::yield();
    }
    service.reset();
  }
  host.Settle();
  const std::lock_guard<std::mutex> lock(mutex);
  EXPECT_LE(told, 900);
}

TEST_F(StockCommonThreads, endARefreshThreadAtAnyMoment) {
  answers::Allow(host);
  host.SetTaskMode(ScriptedHost::TaskMode::kInline);
  for (int round = 0; round < 200; ++round) {
    service->Init({});
    for (int spin = 0; spin < round % 20; ++spin) {
      std::this_thread::yield();
    }
    service = std::make_unique<reference::CStockCommon>();
  }
}

// Views, the watch list, a start and the refresh thread's rounds, with a server that now and then fails.
TEST_F(StockCommonThreads, lookUpAndLoadAllAtOnce) {
  std::atomic<int> number = 0;
  for (const auto& [path, body] : {std::pair(answers::kBasicInfoPath, answers::kBasicInfo),
                                   std::pair(answers::kPlateListPath, answers::kPlateList),
                                   std::pair(answers::kIndexListPath, answers::kIndexList),
                                   std::pair(answers::kInPlatesPath, answers::kInPlates)}) {
    host.Allow(Script(path).Inline([&number, body = body](const Request&) {
      return ++number % 3 == 0 ? Answer::Failed() : Answer::Body(body);
    }));
  }
  answers::Allow(host);
  host.SetTaskMode(ScriptedHost::TaskMode::kWorker, 1);
  constexpr int kRounds = 40;
  std::vector<std::thread> threads;
  threads.emplace_back([&] {
    for (int round = 0; round < kRounds; ++round) {
      service->FinishRound({1, true});
    }
  });
  threads.emplace_back([&] {
    for (int round = 0; round < kRounds; ++round) {
      service->Init({});
      host.SetTime(static_cast<std::uint32_t>(20240301 + round % 30), 10, 0, 0);
    }
  });
  for (int reader = 0; reader < 2; ++reader) {
    threads.emplace_back([&] {
      for (int round = 0; round < 5 * kRounds; ++round) {
        const std::vector<BaseInfoItem> stocks = service->GetStockList(1);
        ASSERT_TRUE(stocks.empty() || stocks.size() == 5U);
        const auto table = service->PlatesAtHand();
        const std::wstring_view plate = reference::FirstPlateOf(*table, L"sh600000");
        ASSERT_TRUE(plate.empty() || plate == L"银行");
        static_cast<void>(service->GetIndexList(round % 3));
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  host.Settle();
}

TEST_F(StockCommonThreads, useOneVersionStoreTogether) {
  reference::PackageVersionStore store(L"sh600000");
  std::vector<std::thread> threads;
  for (int number = 0; number < 3; ++number) {
    threads.emplace_back([&store, number] {
      const auto id = static_cast<std::uint16_t>(257 + number);
      for (int version = 1; version <= 10; ++version) {
        store.Set(id, {std::to_wstring(version), version});
        ASSERT_EQ(store.Get(id), (KLineMetaInfo{std::to_wstring(version), version}));
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

}  // namespace

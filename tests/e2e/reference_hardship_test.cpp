// Reference data under every fault of the server, and files under sudden death. With CSM_LONG=1 in the
// environment death comes 500 times.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "child_process.h"
#include "cli/temporary_directory.h"
#include "host/host.h"
#include "host_services/stock_host.h"
#include "long_run.h"
#include "market_server/market_server.h"
#include "reference/kline_metadata.h"
#include "reference/metadata_check.h"
#include "reference/package_key.h"
#include "reference/package_version_store.h"
#include "reference/stock_common_service.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kKeyId = "tester";
constexpr const char* kKey = "a secret of the test";
constexpr const wchar_t* kSymbol = L"sh600000";

class ReferenceHardship : public testing::Test {
 protected:
  ReferenceHardship() : server_(Options()) { server_.Start(); }
  ~ReferenceHardship() override { stock_host::Stop(); }

  static market_server::Options Options() {
    market_server::Options options;
    options.clock = "2024-03-15 10:30:00";
    options.stocks = 400;
    options.keys = {{kKeyId, kKey}};
    return options;
  }

  void StartHost() {
    stock_host::Settings settings;
    settings.api_root = server_.url();
    settings.key_id = kKeyId;
    settings.key = kKey;
    settings.data_directory = Data();
    settings.log_directory = directory_.path() + "/log";
    settings.config_directory = directory_.path() + "/config";
    settings.log_level = "off";
    std::string error;
    ASSERT_TRUE(stock_host::Start(settings, error)) << error;
  }

  std::string Data() const { return directory_.path() + "/data"; }

  std::set<std::string> FilesOnDisk() const {
    std::set<std::string> files;
    if (fs::exists(Data())) {
      for (const auto& entry : fs::recursive_directory_iterator(Data())) {
        if (entry.is_regular_file()) {
          files.insert(fs::relative(entry.path(), Data()));
        }
      }
    }
    return files;
  }

  cli::TemporaryDirectory directory_;
  market_server::Server server_;
};

TEST_F(ReferenceHardship, survivesEveryFaultOfAnswersAndPackages) {
  StartHost();
  reference::CStockCommon service;
  service.FinishRound({1, true});
  const std::size_t stocks = service.GetStockList(1).size();
  ASSERT_GT(stocks, 300U);
  for (const market_server::FaultInfo& fault : market_server::Faults()) {
    if (fault.stage != "json" && fault.stage != "package") {
      continue;
    }
    server_.SetFaults({fault.name});
    service.FinishRound({1, true});
    // A client that starts into the fault, without anything held.
    common::ForceRemoveFile((stock::GetKLineMetaFilePath() + L"/kline.meta.gzip").c_str());
    reference::CStockCommon fresh;
    fresh.FinishRound({1, true});

    server_.SetFaults({});
    service.FinishRound({1, true});
    EXPECT_EQ(service.GetStockList(1).size(), stocks) << fault.name;
    EXPECT_FALSE(service.GetPlateList(1).empty()) << fault.name;
    EXPECT_FALSE(service.GetIndexList(1).empty()) << fault.name;
    std::vector<std::pair<std::wstring, std::wstring>> plates;
    EXPECT_TRUE(service.GetPlatesOfStock(service.GetStockList(1).front().code, plates)) << fault.name;
    EXPECT_EQ(service.GetKLineMetaInfo(kSymbol, 1, 1).version, L"20240314") << fault.name;
    reference::CStockCommon after;
    after.FinishRound({1, false});
    EXPECT_GT(after.GetKLineMetaInfo(kSymbol, 1, 1).count, 0) << fault.name;
  }
}

// --- Sudden death ---

// A client works on its files while the server has something new every day, and is killed.
class ReferenceDeath : public ReferenceHardship {
 protected:
  static int Deaths() { return Rounds(10, 500); }

  // The evening of a day, when the server has new packages if it was a trading day.
  void SetEvening(int day) {
    const std::chrono::year_month_day date(std::chrono::sys_days(std::chrono::January / 4 / 2022) +
                                           std::chrono::days(day));
    std::array<char, 32> clock{};
    std::snprintf(clock.data(), clock.size(), "%04d-%02u-%02u 18:00:01", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    server_.SetClock(clock.data());
  }

  // Lets a client work and kills it at some moment of its first two updates. True when it left something
  // unfinished.
  bool WorkAndDie(const std::string& work) {
    tests::ChildProcess child({REFERENCE_CHILD, server_.url(), Data(), work},
                              {{"CSM_KEY_ID", kKeyId}, {"CSM_KEY", kKey}});
    EXPECT_TRUE(child.ReadUntilOutput("ready")) << child.errors();
    if (update_.count() == 0) {
      const auto began = std::chrono::steady_clock::now();
      EXPECT_TRUE(child.ReadUntilOutput("updated")) << child.errors();
      update_ =
          std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - began);
    } else {
      std::this_thread::sleep_for(std::chrono::microseconds(
          std::uniform_int_distribution<std::int64_t>(0, 2 * update_.count())(random_)));
    }
    child.Signal(SIGKILL);
    EXPECT_EQ(child.Wait(), 128 + SIGKILL);
    return !OnlyFinishedFiles();
  }

  bool OnlyFinishedFiles() const {
    static const std::set<std::string> kFinished = {"metadata/kline.meta.gzip", "kline/sh600000/day.bfq.dat",
                                                    "kline/sh600000/trace.db"};
    const std::set<std::string> files = FilesOnDisk();
    return std::includes(kFinished.begin(), kFinished.end(), files.begin(), files.end());
  }

  // What a file unpacks to; empty when there is none. A torn one fails the test.
  static std::string Unpacked(const std::wstring& path) {
    std::string text;
    if (fs::exists(path)) {
      EXPECT_TRUE(GZipExtract(path.c_str(), text)) << "torn";
    }
    return text;
  }

 private:
  std::mt19937 random_{20240315};       // NOLINT(cert-msc51-cpp): the same moments in every run
  std::chrono::microseconds update_{};  // how long one takes on this machine
};

TEST_F(ReferenceDeath, leavesNoTornMetadata) {
  int unfinished = 0;
  int moved = 0;
  std::string newest;
  for (int death = 0; death < Deaths(); ++death) {
    SetEvening(death);
    unfinished += WorkAndDie("metadata") ? 1 : 0;
    // The next start; its tasks, the sweep among them, are finished by its end.
    StartHost();
    const std::wstring path = stock::GetKLineMetaFilePath() + L"/kline.meta.gzip";
    if (std::string text = Unpacked(path); !text.empty()) {
      const auto metadata = reference::KLineMetadata::FromText(std::move(text));
      ASSERT_NE(metadata, nullptr) << "death " << death;
      EXPECT_GT(metadata->Size(), 300U) << "death " << death;
      EXPECT_GE(metadata->Version(), newest) << "an older file came back, death " << death;
      moved += metadata->Version() > newest ? 1 : 0;
      newest = metadata->Version();
    }
    reference::CStockCommon service;
    service.FinishRound({1, false});
    EXPECT_EQ(common::ws2s(service.GetKLineMetaInfo(kSymbol, 1, 1).version, common::kUtf8),
              reference::FetchMetadataVersion())
        << "death " << death;
    // Every third client begins with nothing.
    if (death % 3 == 2) {
      common::ForceRemoveFile(path.c_str());
    }
    stock_host::Stop();
    EXPECT_TRUE(OnlyFinishedFiles()) << "death " << death;
  }
  Note("deaths", Deaths());
  Note("with a download unfinished", unfinished);
  Note("with a newer file", moved);
  EXPECT_GT(moved, 0) << "no download was ever finished";
}

TEST_F(ReferenceDeath, leavesNoRowAheadOfItsPackage) {
  int unfinished = 0;
  int with_row = 0;
  int newest = 0;
  for (int death = 0; death < Deaths(); ++death) {
    SetEvening(death);
    unfinished += WorkAndDie("package") ? 1 : 0;
    StartHost();
    const std::string package = Unpacked(stock::GetKLineFilePath(kSymbol) + L"/day.bfq.dat");
    const auto candles = std::count(package.begin(), package.end(), '\n');
    {
      reference::PackageVersionStore store(kSymbol);
      ASSERT_TRUE(store.IsOpen()) << "death " << death;
      const KLineMetaInfo row = store.Get(reference::PackageKey(1, 1)).value();
      EXPECT_LE(row.count, candles) << "the row is ahead of its file, death " << death;
      EXPECT_GE(row.count, newest) << "a row went back, death " << death;
      newest = row.count;
      with_row += row.count > 0 ? 1 : 0;
      // The next update takes the journal of the one that was cut short with it.
      store.Set(reference::PackageKey(2, 1), {L"1", death});
      EXPECT_EQ(store.Get(reference::PackageKey(2, 1)), (KLineMetaInfo{L"1", death}));
    }
    stock_host::Stop();
    EXPECT_TRUE(OnlyFinishedFiles()) << "death " << death;
  }
  Note("deaths", Deaths());
  Note("with a file or a row unfinished", unfinished);
  Note("with a row", with_row);
  EXPECT_GT(with_row, 0) << "no update was ever finished";
}

}  // namespace

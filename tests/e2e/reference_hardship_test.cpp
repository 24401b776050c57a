// Reference data under every fault of the server, and files under sudden death. With CSM_LONG=1 in the
// environment death comes 500 times.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "child_process.h"
#include "cli/temporary_directory.h"
#include "host/host.h"
#include "host_services/stock_host.h"
#include "market_server/market_server.h"
#include "reference/kline_metadata.h"
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

TEST_F(ReferenceHardship, leavesNoTornFileAndNoRowAheadOfItsFileWhenKilled) {
  const char* const value = std::getenv("CSM_LONG");
  const int deaths = value != nullptr && std::string_view(value) == "1" ? 500 : 15;
  std::mt19937 random{20240315};  // NOLINT(cert-msc51-cpp): the same moments in every run
  const std::set<std::string> known = {"metadata/kline.meta.gzip", "kline/sh600000/day.bfq.dat",
                                       "kline/sh600000/trace.db"};
  int with_row = 0;
  std::chrono::microseconds update{};  // how long one takes on this machine
  for (int death = 0; death < deaths; ++death) {
    {
      tests::ChildProcess child({REFERENCE_CHILD, server_.url(), Data()},
                                {{"CSM_KEY_ID", kKeyId}, {"CSM_KEY", kKey}});
      ASSERT_TRUE(child.ReadUntilOutput("ready")) << child.errors();
      if (death == 0) {
        const auto began = std::chrono::steady_clock::now();
        ASSERT_TRUE(child.ReadUntilOutput("updated")) << child.errors();
        update =
            std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - began);
      } else {
        std::this_thread::sleep_for(std::chrono::microseconds(
            std::uniform_int_distribution<std::int64_t>(0, 2 * update.count())(random)));
      }
      child.Signal(SIGKILL);
      ASSERT_EQ(child.Wait(), 128 + SIGKILL);
    }
    // The next start; its tasks, the sweep among them, are finished by its end.
    StartHost();
    const std::wstring metadata = stock::GetKLineMetaFilePath() + L"/kline.meta.gzip";
    std::string text;
    if (fs::exists(metadata)) {
      ASSERT_TRUE(GZipExtract(metadata.c_str(), text)) << "death " << death;
      const auto read = reference::KLineMetadata::FromText(std::move(text));
      ASSERT_NE(read, nullptr);
      EXPECT_EQ(read->Version(), "20240314");
    }
    reference::PackageVersionStore store(kSymbol);
    ASSERT_TRUE(store.IsOpen()) << "death " << death;
    const KLineMetaInfo row = store.Get(reference::PackageKey(1, 1));
    const std::wstring package = stock::GetKLineFilePath(kSymbol) + L"/day.bfq.dat";
    if (fs::exists(package)) {
      EXPECT_TRUE(GZipExtract(package.c_str(), text)) << "death " << death;
    }
    if (row.count > 0) {
      ++with_row;
      EXPECT_EQ(row.version, L"20240314");
      EXPECT_TRUE(fs::exists(package)) << "a row without its file, death " << death;
    }
    // The next update takes the journal of the one that was cut short with it.
    store.Set(reference::PackageKey(2, 1), {L"1", death});
    stock_host::Stop();
    for (const std::string& file : FilesOnDisk()) {
      EXPECT_TRUE(known.contains(file)) << "left behind: " << file;
    }
    // Every other round begins without anything.
    if (death % 2 == 1) {
      fs::remove_all(Data());
    }
  }
  EXPECT_GT(with_row, 0) << "no update was ever finished";
}

}  // namespace

// Reference data from the simulated market to the module's own threads: real HTTP, the real host services,
// the library, and the server's clock at the instants that matter.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "c_stock_market.h"
#include "cli/temporary_directory.h"
#include "host/host.h"
#include "host_services/stock_host.h"
#include "market_server/market_server.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using SteadyClock = std::chrono::steady_clock;

constexpr seconds kPatience(60);
constexpr std::uint32_t kFriday = 20240315;

class ReferenceDataTest : public testing::Test {
 protected:
  ReferenceDataTest() { options_.keys = {{"tester", "a secret of the test"}}; }
  ~ReferenceDataTest() override {
    DestroyStockMarket();
    stock_host::Stop();
  }

  void StartAll(const std::string& clock, double speed = 1) {
    options_.clock = clock;
    options_.speed = speed;
    server_ = std::make_unique<market_server::Server>(options_);
    server_->Start();
    stock_host::Settings settings;
    settings.api_root = server_->url();
    settings.key_id = "tester";
    settings.key = "a secret of the test";
    settings.data_directory = directory_.path() + "/data";
    settings.log_directory = directory_.path() + "/log";
    settings.config_directory = directory_.path() + "/config";
    std::string error;
    ASSERT_TRUE(stock_host::Start(settings, error)) << error;
    // One answer brings the server's clock.
    std::string body;
    ASSERT_TRUE(
        GetSync(pattern::CSingleton<UrlHelper>::GetInstance()->GetSigniture(L"/pc/rt/stock_version", {}),
                body, {}, 8));
  }

  // Starts everything some seconds before an instant, early enough that the reference data is loaded before
  // it.
  void LoadBefore(int hour, int minute) {
    options_.stocks = 400;
    const std::int64_t instant = common::DateToTime(kFriday, hour, minute, 0);
    for (int seconds_before = 4;; seconds_before *= 3) {
      ASSERT_LT(seconds_before, 1000);
      StartAll("@" + std::to_string(instant - seconds_before));
      ASSERT_TRUE(Load());
      if (common::GetCurrentServerTime() < instant) {
        return;
      }
      DestroyStockMarket();
      stock_host::Stop();
    }
  }

  // Starts the reference data and waits for its call-back.
  bool Load() {
    std::mutex mutex;
    std::condition_variable told;
    int outcome = -1;
    GetStockCommon()->Init([&](bool ok) {
      const std::lock_guard lock(mutex);
      outcome = ok ? 1 : 0;
      told.notify_all();
    });
    std::unique_lock lock(mutex);
    told.wait_for(lock, kPatience, [&] { return outcome >= 0; });
    return outcome == 1;
  }

  static std::uint64_t Succeeded(const std::string& endpoint) {
    return stock_host::ReadCounters().endpoints[endpoint].succeeded;
  }

  // Waits until as many requests to `endpoint` have succeeded.
  static bool AwaitSucceeded(const std::string& endpoint, std::uint64_t count) {
    const auto end = SteadyClock::now() + kPatience;
    while (Succeeded(endpoint) < count) {
      if (SteadyClock::now() > end) {
        return false;
      }
      std::this_thread::sleep_for(milliseconds(20));
    }
    return true;
  }

  std::vector<std::string> Warnings() const {
    std::vector<std::string> warnings;
    std::ifstream log(directory_.path() + "/log/csm.log");
    for (std::string line; std::getline(log, line);) {
      if (line.find("[warning]") != std::string::npos || line.find("[error]") != std::string::npos) {
        warnings.push_back(line);
      }
    }
    return warnings;
  }

  cli::TemporaryDirectory directory_;
  market_server::Options options_;
  std::unique_ptr<market_server::Server> server_;
};

constexpr const char* kStocks = "/pc/rt/get_basic_info";
constexpr const char* kVersion = "/pc/rt/stock_version";

TEST_F(ReferenceDataTest, loadsTheWholeMarket) {
  StartAll("2024-03-15 10:30:00");
  ASSERT_TRUE(Load());
  IStockCommon& reference = *GetStockCommon();
  const auto all = reference.GetStockList(1);
  EXPECT_GT(all.size(), 4000U);
  EXPECT_EQ(all.size(), reference.GetStockList(2).size() + reference.GetStockList(3).size());
  EXPECT_FALSE(reference.GetStockList(4).empty());
  EXPECT_FALSE(reference.GetStockList(5).empty());
  EXPECT_FALSE(reference.GetPlateList(1).empty());
  EXPECT_FALSE(reference.GetPlateList(2).empty());
  EXPECT_FALSE(reference.GetIndexList(1).empty());
  EXPECT_FALSE(reference.GetIndexList(2).empty());
  std::size_t with_plates = 0;
  std::size_t with_packages = 0;
  for (const BaseInfoItem& stock : all) {
    EXPECT_FALSE(stock.code.empty() || stock.name.empty() || stock.pinyin.empty());
    EXPECT_EQ(stock::CheckSymbol(stock.code.c_str()), stock::kSymbolStock);
    std::vector<std::pair<std::wstring, std::wstring>> plates;
    with_plates += reference.GetPlatesOfStock(stock.code, plates) ? 1U : 0U;
    const KLineMetaInfo info = reference.GetKLineMetaInfo(stock.code, 1, 1);
    EXPECT_EQ(info.version, L"20240314") << "the packages hold the session before";
    with_packages += info.count > 0 ? 1U : 0U;
  }
  EXPECT_EQ(with_plates, all.size());
  EXPECT_GT(with_packages, all.size() * 9 / 10);
  EXPECT_TRUE(Warnings().empty()) << Warnings().front();
}

TEST_F(ReferenceDataTest, knowsTheHolidaysOfTheYear) {
  StartAll("2024-05-01 10:30:00");
  ASSERT_TRUE(Load());
  ASSERT_TRUE(AwaitSucceeded("/pc/rt/trade_date", 1));
  const auto now = static_cast<std::uint32_t>(common::GetCurrentServerTime());
  const auto end = SteadyClock::now() + kPatience;
  // The answer is counted a moment before it reaches the calendar.
  while (stock::CheckMarketStatus(now) != stock::kMarketNotOpened && SteadyClock::now() < end) {
    std::this_thread::sleep_for(milliseconds(5));
  }
  EXPECT_EQ(stock::CheckMarketStatus(now), stock::kMarketNotOpened) << "Labour Day is a Wednesday in 2024";
}

TEST_F(ReferenceDataTest, isLoadedAnewAtFourteenPastNine) {
  LoadBefore(9, 14);
  EXPECT_EQ(Succeeded(kStocks), 1U);
  ASSERT_TRUE(AwaitSucceeded(kStocks, 2));
  EXPECT_GE(common::GetCurrentServerTime(), common::DateToTime(20240315, 9, 14, 0));
  EXPECT_TRUE(AwaitSucceeded("/pc/rt/get_bk_list", 2));
  EXPECT_TRUE(AwaitSucceeded("/pc/rt/stock_index_list", 2));
  EXPECT_TRUE(AwaitSucceeded("/pc/rt/stock_in_bk", 2));
  EXPECT_TRUE(AwaitSucceeded("/pc/rt/trade_date", 2));
  // The first answer to the version question was that of the test itself.
  EXPECT_TRUE(AwaitSucceeded(kVersion, 3));
  const std::uint64_t asked = Succeeded(kStocks);
  EXPECT_FALSE(GetStockCommon()->GetStockList(1).empty());
  EXPECT_EQ(Succeeded(kStocks), asked) << "the list of the morning holds for the day";
}

TEST_F(ReferenceDataTest, checksTheMetadataAtNoonAndInTheEvening) {
  for (const auto& [hour, minute] : {std::pair(12, 45), {18, 30}}) {
    stock_host::Stop();
    LoadBefore(hour, minute);
    // The first answer to the version question was that of the test itself.
    ASSERT_TRUE(AwaitSucceeded(kVersion, 3));
    EXPECT_GE(common::GetCurrentServerTime(), common::DateToTime(kFriday, hour, minute, 0));
    EXPECT_EQ(Succeeded(kStocks), 1U) << "the lists are loaded in the morning only";
    DestroyStockMarket();
  }
}

TEST_F(ReferenceDataTest, movesToTheNewMetadata) {
  LoadBefore(9, 14);
  const KLineMetaInfo before = GetStockCommon()->GetKLineMetaInfo(L"sh600000", 1, 1);
  EXPECT_EQ(before.version, L"20240314");
  // What the server offers changes before the thread's next look.
  server_->SetClock("2024-03-15 18:00:01");
  const auto end = SteadyClock::now() + kPatience;
  KLineMetaInfo after = before;
  while (after.version == before.version && SteadyClock::now() < end) {
    std::this_thread::sleep_for(milliseconds(20));
    after = GetStockCommon()->GetKLineMetaInfo(L"sh600000", 1, 1);
  }
  EXPECT_EQ(after.version, L"20240315");
  EXPECT_EQ(after.count, before.count + 1);
}

TEST_F(ReferenceDataTest, loadsTheLocalMetadataOfAnEarlierRun) {
  StartAll("2024-03-15 10:30:00");
  ASSERT_TRUE(Load());
  DestroyStockMarket();
  const std::uint64_t downloads = Succeeded("static");
  EXPECT_EQ(downloads, 1U);
  ASSERT_TRUE(Load());
  EXPECT_EQ(Succeeded("static"), downloads);
  EXPECT_EQ(GetStockCommon()->GetKLineMetaInfo(L"sh600000", 1, 1).version, L"20240314");
}

TEST_F(ReferenceDataTest, failsAndComesBack) {
  StartAll("2024-03-15 10:30:00");
  server_->SetFaults({"errno:/pc/rt/get_bk_list:1:4711"});
  EXPECT_FALSE(Load());
  const auto warnings = Warnings();
  ASSERT_EQ(warnings.size(), 1U);
  EXPECT_NE(warnings[0].find("StockCommon::InitPlateItem Response Error Code: 4711"), std::string::npos);
  server_->SetFaults({});
  EXPECT_TRUE(Load());
  EXPECT_FALSE(GetStockCommon()->GetPlateList(1).empty());
}

TEST_F(ReferenceDataTest, endsAtOnceWithLoadsUnderWay) {
  StartAll("2024-03-15 10:30:00");
  server_->SetFaults({"silence"});
  for (int round = 0; round < 3; ++round) {
    GetStockCommon()->Init([](bool) { ADD_FAILURE() << "called although the service was ended"; });
    std::this_thread::sleep_for(milliseconds(50));
    const auto start = SteadyClock::now();
    DestroyStockMarket();
    EXPECT_LT(SteadyClock::now() - start, seconds(1));
  }
  const auto start = SteadyClock::now();
  stock_host::Stop();
  EXPECT_LT(SteadyClock::now() - start, seconds(2));
}

}  // namespace

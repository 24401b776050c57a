// The example of the reference data against a server whose first answers fail.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <clocale>
#include <filesystem>
#include <future>
#include <string>
#include <thread>

#include "c_stock_market.h"
#include "examples/services/services.h"
#include "host_services/stock_host.h"
#include "market_server/market_server.h"

namespace {

TEST(ReferenceExample, startsAgainWhenTheFirstStartFails) {
  std::setlocale(LC_CTYPE, "C.UTF-8");  // names are Chinese
  market_server::Options options;
  options.clock = "2024-03-14 14:30";
  options.speed = 0;
  options.stocks = 200;
  market_server::Server market(options);
  market.Start();
  market.SetFaults({"status:/pc/rt/get_bk_list:1:503"});
  std::string directory = testing::TempDir() + "retry.XXXXXX";
  ASSERT_NE(mkdtemp(directory.data()), nullptr);
  stock_host::Settings settings;
  settings.api_root = market.url();
  settings.key_id = market.key_id();
  settings.key = market.key();
  settings.data_directory = directory + "/data";
  settings.log_directory = directory + "/log";
  settings.config_directory = directory + "/config";
  std::string error;
  ASSERT_TRUE(stock_host::Start(settings, error)) << error;

  auto shown = std::async(std::launch::async, &ShowReferenceData);
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  // A request that was signed by the machine's clock is sent once more: the second answer counts.
  while (market.ReadCounters().faults < 2 && std::chrono::steady_clock::now() < end) {
    std::this_thread::yield();
  }
  EXPECT_GE(market.ReadCounters().faults, 2U);
  market.SetFaults({});
  EXPECT_TRUE(shown.get());
  DestroyStockMarket();
  stock_host::Stop();
  std::filesystem::remove_all(directory);
}

}  // namespace

// The simulated market, the host services and the module together in this process, for the length of a test.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <thread>

#include "c_stock_market.h"
#include "cli/temporary_directory.h"
#include "host/host.h"
#include "host_services/stock_host.h"
#include "market_server/market_server.h"

class LiveMarketTest : public testing::Test {
 protected:
  LiveMarketTest() { options_.keys = {{"tester", "a secret of the test"}}; }
  ~LiveMarketTest() override {
    DestroyStockMarket();
    stock_host::Stop();
  }

  void StartServer() {
    server_ = std::make_unique<market_server::Server>(options_);
    server_->Start();
    options_.port = server_->port();  // the next one takes its place
  }

  void StartHost() {
    stock_host::Settings settings;
    settings.api_root = "http://127.0.0.1:" + std::to_string(options_.port);
    settings.key_id = "tester";
    settings.key = "a secret of the test";
    settings.data_directory = directory_.path() + "/data";
    settings.log_directory = directory_.path() + "/log";
    settings.config_directory = directory_.path() + "/config";
    std::string error;
    ASSERT_TRUE(stock_host::Start(settings, error)) << error;
  }

  void StartAll() {
    StartServer();
    StartHost();
  }

  // What the server answers at this moment.
  static std::string Ask(const std::wstring& path, const std::map<std::string, std::string>& parameters) {
    std::string body;
    EXPECT_TRUE(
        GetSync(pattern::CSingleton<UrlHelper>::GetInstance()->GetSigniture(path, parameters), body, {}, 8));
    return body;
  }

  // Requests to a path of the quote API that were made since the host services started, answered or not.
  static std::uint64_t Requests(const std::string& path) {
    return stock_host::ReadCounters().endpoints[path].requests;
  }

  // Waits until that many requests to the path were answered, one way or the other.
  static bool AwaitAnswers(const std::string& path, std::uint64_t count) {
    const auto answered = [&path] {
      const stock_host::EndpointCounters counters = stock_host::ReadCounters().endpoints[path];
      return counters.succeeded + counters.failed;
    };
    return AwaitTrue([&] { return answered() >= count; });
  }

  // Waits until something is so that nobody tells; false when it does not come.
  template <class Condition>
  static bool AwaitTrue(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
      if (std::chrono::steady_clock::now() > end) {
        return false;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
  }

  const cli::TemporaryDirectory directory_;
  market_server::Options options_;
  std::unique_ptr<market_server::Server> server_;
};

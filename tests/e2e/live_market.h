// The simulated market, the host services and the module together in this process, for the length of a test;
// and a view that keeps what it is told.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "c_stock_market.h"
#include "cli/temporary_directory.h"
#include "host/host.h"
#include "host_services/stock_host.h"
#include "market_server/market_server.h"
#include "tests/market_server/own_address.h"

/// Keeps everything that it is told. Thread-safe.
template <class Data>
class Collector final : public IUpdate1<Data> {
 public:
  void Update(const Data& data) override {
    const std::lock_guard lock(mutex_);
    all_.push_back(data);
    arrived_.notify_all();
  }

  /// False when nothing that is as wanted has come, or comes in time.
  bool WaitForLast(const std::function<bool(const Data&)>& wanted) {
    std::unique_lock lock(mutex_);
    return arrived_.wait_for(lock, kPatience, [&] { return !all_.empty() && wanted(all_.back()); });
  }
  bool WaitForLast(const Data& wanted) {
    return WaitForLast([&wanted](const Data& data) { return data == wanted; });
  }
  bool WaitFor(std::size_t count) {
    std::unique_lock lock(mutex_);
    return arrived_.wait_for(lock, kPatience, [&] { return all_.size() >= count; });
  }

  [[nodiscard]] std::vector<Data> All() {
    const std::lock_guard lock(mutex_);
    return all_;
  }

 private:
  static constexpr std::chrono::seconds kPatience{60};

  std::mutex mutex_;  // guards all_
  std::condition_variable arrived_;
  std::vector<Data> all_;
};

class LiveMarketTest : public testing::Test {
 protected:
  LiveMarketTest() {
    options_.keys = {{"tester", "a secret of the test"}};
    options_.bind = market_server::testing::OwnAddress();
  }
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
    settings.api_root = "http://" + options_.bind + ":" + std::to_string(options_.port);
    settings.static_root = static_root_;
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

  // Requests to an endpoint since the host services started, answered or not.
  static std::uint64_t Requests(const std::string& endpoint) {
    return stock_host::ReadCounters().endpoints[endpoint].requests;
  }
  static std::uint64_t Succeeded(const std::string& endpoint) {
    return stock_host::ReadCounters().endpoints[endpoint].succeeded;
  }

  // Waits until that many requests to the endpoint were answered, one way or the other.
  static bool AwaitAnswers(const std::string& endpoint, std::uint64_t count) {
    return AwaitTrue([&] {
      const stock_host::EndpointCounters counters = stock_host::ReadCounters().endpoints[endpoint];
      return counters.succeeded + counters.failed >= count;
    });
  }
  static bool AwaitSucceeded(const std::string& endpoint, std::uint64_t count) {
    return AwaitTrue([&] { return Succeeded(endpoint) >= count; });
  }

  // Waits until every answer has been handed over.
  static bool AwaitQuiet() {
    return AwaitTrue([] { return stock_host::ReadCounters().under_way == 0; });
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

  // The warnings and errors in the log so far, without time and level.
  [[nodiscard]] std::vector<std::string> Warnings() const {
    std::vector<std::string> warnings;
    std::ifstream log(directory_.path() + "/log/csm.log");
    for (std::string line; std::getline(log, line);) {
      for (const std::string level : {"[warning] ", "[error] "}) {
        if (const std::size_t at = line.find(level); at != std::string::npos) {
          warnings.push_back(line.substr(at + level.size()));
        }
      }
    }
    return warnings;
  }

  const cli::TemporaryDirectory directory_;
  market_server::Options options_;
  std::string static_root_;  ///< of the static files; empty: the server's own
  std::unique_ptr<market_server::Server> server_;
};

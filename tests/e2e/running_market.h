// A simulated market behind its server, the host services that ask it, and the same market once more to
// compare with. Every figure is a function of the instant, and the server's clock stands where the test puts
// it.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "cli/temporary_directory.h"
#include "host/host.h"
#include "host_services/stock_host.h"
#include "market_server/market_server.h"
#include "market_server/model/market.h"

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

class RunningMarket : public testing::Test {
 protected:
  RunningMarket() {
    options_.keys = {{"tester", "a secret of the test"}};
    // The clock jumps further than a signature may be old.
    options_.check_signatures = false;
  }
  ~RunningMarket() override {
    DestroyStockMarket();
    stock_host::Stop();
  }

  /// Starts everything; `speed` 0 keeps the clock where it is.
  void StartAll(const std::string& clock, double speed) {
    options_.clock = clock;
    options_.speed = speed;
    server_ = std::make_unique<market_server::Server>(options_);
    server_->Start();
    market_ = std::make_unique<market_server::model::Market>(
        market_server::model::Options{.seed = options_.seed, .stocks = options_.stocks});
    stock_host::Settings settings;
    settings.api_root = server_->url();
    settings.static_root = static_root_;
    settings.key_id = "tester";
    settings.key = "a secret of the test";
    settings.data_directory = directory_.path() + "/data";
    settings.log_directory = directory_.path() + "/log";
    settings.config_directory = directory_.path() + "/config";
    std::string error;
    ASSERT_TRUE(stock_host::Start(settings, error)) << error;
    LearnTime();
  }

  /// Puts the server's clock, which must stand still, to an instant, and the host's after it.
  void MoveTo(const std::string& clock) {
    SCOPED_TRACE(clock);
    server_->SetClock(clock);
    LearnTime();
  }

  [[nodiscard]] double Now() const { return server_->Now(); }

  static std::uint64_t Succeeded(const std::string& endpoint) {
    return stock_host::ReadCounters().endpoints[endpoint].succeeded;
  }

  /// The warnings and errors in the log so far, without time and level.
  std::vector<std::string> Warnings() const {
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

  market_server::Options options_;
  std::string static_root_;  ///< of the static files; empty: the server's own
  std::unique_ptr<market_server::Server> server_;
  std::unique_ptr<market_server::model::Market> market_;

 private:
  // The host believes in a jump when two answers in a row agree; answers to earlier requests may come
  // between.
  void LearnTime() {
    for (int answer = 0; answer < 2 || (answer < 100 && !Agree()); ++answer) {
      std::string body;
      ASSERT_TRUE(
          GetSync(pattern::CSingleton<UrlHelper>::GetInstance()->GetSigniture(L"/pc/rt/stock_version", {}),
                  body, {}, 8));
    }
    ASSERT_TRUE(Agree()) << "the host does not follow the server's clock";
  }

  // The host's clock runs on while the server's stands.
  bool Agree() {
    const double ahead = static_cast<double>(common::GetCurrentServerTime()) - server_->Now();
    return options_.speed != 0 || (ahead >= 0 && ahead < 100);
  }

  const cli::TemporaryDirectory directory_;
};

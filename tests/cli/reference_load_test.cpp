// What waits for the reference data is woken by exchanges that end, not by looking again and again.
#include "cli/run/reference_load.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/temporary_directory.h"
#include "host/host.h"
#include "market_server/market_server.h"

namespace cli {
namespace {

using std::chrono::milliseconds;

class ScriptedSchedule final : public Schedule {
 public:
  void Post(std::function<void()> work) override {
    const std::lock_guard lock(mutex_);
    posted_.push_back(std::move(work));
  }
  void After(milliseconds delay, std::function<void()> work) override {
    later.push_back({delay, std::move(work)});
  }

  void RunPosted() {
    std::vector<std::function<void()>> work;
    {
      const std::lock_guard lock(mutex_);
      work.swap(posted_);
    }
    std::for_each(work.begin(), work.end(), [](const auto& one) { one(); });
  }

  std::vector<std::pair<milliseconds, std::function<void()>>> later;

 private:
  std::mutex mutex_;  // guards what is posted
  std::vector<std::function<void()>> posted_;
};

class ReferenceLoad : public ::testing::Test {
 protected:
  ReferenceLoad() : server_(market_server::Options()) {
    server_.Start();
    stock_host::Settings settings;
    settings.api_root = server_.url();
    settings.key_id = server_.key_id();
    settings.key = server_.key();
    settings.data_directory = directory_.path() + "/data";
    settings.log_directory = directory_.path() + "/log";
    settings.config_directory = directory_.path() + "/config";
    settings.log_to_stderr = false;
    host_.emplace(settings, schedule_);
    AwaitCalendar(*host_, [this](bool ok) { told_.push_back(ok); });
  }

  static bool Ask(const wchar_t* path) {
    std::string body;
    return GetSync(pattern::CSingleton<UrlHelper>::GetInstance()->GetSigniture(path, {}), body, {}, 10);
  }

  TemporaryDirectory directory_;
  market_server::Server server_;
  ScriptedSchedule schedule_;
  std::optional<HostServices> host_;
  std::vector<bool> told_;
};

TEST_F(ReferenceLoad, nobodyLooksWhileNothingHappens) {
  ASSERT_EQ(schedule_.later.size(), 1U) << "the end of the patience, and nothing else";
  EXPECT_GE(schedule_.later.front().first, milliseconds(5000));
  schedule_.later.front().second();
  EXPECT_EQ(told_, std::vector{false});
}

TEST_F(ReferenceLoad, theEndOfTheExchangeIsTheNews) {
  ASSERT_TRUE(Ask(L"/pc/rt/stock_version"));
  schedule_.RunPosted();
  EXPECT_EQ(schedule_.later.size(), 1U) << "another endpoint";
  ASSERT_TRUE(Ask(L"/pc/rt/trade_date"));
  schedule_.RunPosted();
  ASSERT_EQ(schedule_.later.size(), 2U);
  EXPECT_LE(schedule_.later.back().first, milliseconds(100));
  schedule_.later.back().second();
  schedule_.later.front().second();  // the patience ends all the same, unheard
  EXPECT_EQ(told_, std::vector{true});
}

}  // namespace
}  // namespace cli

// The phase of the market, told by the service's own thread at its instant by the server's clock: real HTTP,
// the real host services. With CSM_LONG=1 in the environment a whole day passes at sixty times its speed.
//
// Every test makes a service of its own: the one that the library hands out outlives them, asleep until the
// next phase of a test that is over.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "cli/temporary_directory.h"
#include "host/host.h"
#include "host_services/stock_host.h"
#include "long_run.h"
#include "market_server/market_server.h"
#include "reference/stock_market_state.h"
#include "services.h"

namespace {

using std::chrono::seconds;

constexpr std::uint32_t kFriday = 20240315;

// Keeps every state that it is told, with the server's time of its arrival.
class StateView final : public IUpdate1<StockMarketState> {
 public:
  struct Arrival {
    StockMarketState state;
    std::int64_t at = 0;
  };

  void Update(const StockMarketState& state) override {
    const std::int64_t now = common::GetCurrentServerTime();
    const std::lock_guard lock(mutex_);
    arrivals_.push_back({state, now});
    arrived_.notify_all();
  }

  // The first arrival with this caption at or after `from`; a caption of its own when none comes in time.
  Arrival WaitFor(const std::wstring& text, std::int64_t from) {
    Arrival found{{L"(none)", 0, false}, 0};
    std::unique_lock lock(mutex_);
    arrived_.wait_for(lock, kPatience, [&] {
      for (const Arrival& arrival : arrivals_) {
        if (arrival.at >= from && arrival.state.text == text) {
          found = arrival;
          return true;
        }
      }
      return false;
    });
    return found;
  }

 private:
  static constexpr seconds kPatience{180};

  std::mutex mutex_;  // guards arrivals_
  std::condition_variable arrived_;
  std::vector<Arrival> arrivals_;
};

class MarketPhase : public testing::Test {
 protected:
  ~MarketPhase() override {
    if (state_ != nullptr) {
      state_->Detach(&view_);
    }
    state_.reset();
    stock_host::Stop();
  }

  // Starts everything, and a view of the phase.
  void Start(const std::string& clock, double speed = 1) {
    options_.clock = clock;
    options_.speed = speed;
    options_.stocks = 200;
    server_ = std::make_unique<market_server::Server>(options_);
    server_->Start();
    stock_host::Settings settings;
    settings.api_root = server_->url();
    settings.key_id = server_->key_id();
    settings.key = server_->key();
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
    state_.reset(reference::MakeStockMarketState());
    ASSERT_NE(state_, nullptr);
    state_->Attach(&view_);
    state_->Resume(&view_, true);
  }

  // Waits for a phase that begins at `hour`:`minute`; `slack` seconds of the market may pass till it is told.
  StockMarketState ExpectPhase(int hour, int minute, const std::wstring& text, std::int64_t slack) {
    const std::int64_t instant = common::DateToTime(kFriday, hour, minute, 0);
    const StateView::Arrival arrival = view_.WaitFor(text, instant);
    EXPECT_EQ(arrival.state.text, text);
    EXPECT_LE(arrival.at, instant + slack) << hour << ":" << minute;
    EXPECT_LE(server_->Now() - static_cast<double>(arrival.at), static_cast<double>(slack));
    return arrival.state;
  }

  static std::int32_t At(int hour, int minute) {
    return static_cast<std::int32_t>(common::DateToTime(kFriday, hour, minute, 0));
  }

  cli::TemporaryDirectory directory_;
  market_server::Options options_;
  std::unique_ptr<market_server::Server> server_;
  StateView view_;
  std::unique_ptr<IStockMarketState> state_;
};

// Well before the next phase or the next hour, which would bring a state as well.
constexpr std::int64_t kAtOnce = 20;

TEST_F(MarketPhase, isTheCallAuctionFromAQuarterPastNine) {
  Start("2024-03-15 09:14:57");
  EXPECT_EQ(view_.WaitFor(L"开盘准备", 0).state.text, L"开盘准备");
  const StockMarketState state = ExpectPhase(9, 15, L"集合竞价", kAtOnce);
  EXPECT_GE(state.time, At(9, 15));
  EXPECT_LE(state.time, At(9, 15) + kAtOnce);
}

TEST_F(MarketPhase, isTheCloseFromThree) {
  Start("2024-03-15 14:59:57");
  EXPECT_EQ(view_.WaitFor(L"开盘", 0).state.text, L"开盘");
  EXPECT_EQ(ExpectPhase(15, 0, L"已收盘", kAtOnce).time, At(15, 0));
}

TEST_F(MarketPhase, changesWithTheDayAtMidnight) {
  Start("2024-03-14 23:59:57");
  EXPECT_EQ(view_.WaitFor(L"已收盘", 0).state.time, At(15, 0) - 86400);
  // The close of the day before is that of today's eve: the same instant, told anew.
  EXPECT_EQ(ExpectPhase(0, 0, L"已收盘", kAtOnce).time, At(15, 0) - 86400);
}

// The way to the open by default; in a long run the whole day.
TEST_F(MarketPhase, goesThroughAFastDay) {
  struct Phase {
    int hour;
    int minute;
    const wchar_t* text;
    bool has_own_time;  // the instant of its beginning is shown, whenever it is told
  };
  std::vector<Phase> phases = {
      {9, 0, L"开盘准备", false}, {9, 15, L"集合竞价", false}, {9, 30, L"开盘", false}};
  if (IsLongRun()) {
    phases.push_back({11, 30, L"午盘休息", true});
    phases.push_back({13, 0, L"开盘", false});
    phases.push_back({15, 0, L"已收盘", true});
  }
  const double speed = IsLongRun() ? 60 : 120;
  Start("2024-03-15 08:59:00", speed);
  // The thread sleeps whole seconds, and the clock is known to about one.
  const auto slack = static_cast<std::int64_t>(5 * speed);
  for (const Phase& phase : phases) {
    const StockMarketState state = ExpectPhase(phase.hour, phase.minute, phase.text, slack);
    if (phase.has_own_time) {
      EXPECT_EQ(state.time, At(phase.hour, phase.minute));
    }
    const int late = static_cast<int>(server_->Now()) - At(phase.hour, phase.minute);
    Note("seconds of the market after " + std::to_string(phase.hour) + ":" + std::to_string(phase.minute),
         late);
  }
}

}  // namespace

// The phase of the market, told by the service's own thread at its instant by the server's clock: real HTTP,
// the real host services. With CSM_LONG=1 in the environment a whole day passes at forty times its speed.
//
// Every test makes a service of its own: the one that the library hands out outlives them, asleep until the
// next phase of a test that is over.
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "live_market.h"
#include "long_run.h"
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

  // The first arrival with this caption, or any for an empty one, at or after `from`; a caption of its own
  // when none comes in time.
  Arrival WaitFor(const std::wstring& text, std::int64_t from) {
    Arrival found{{L"(none)", 0, false}, 0};
    std::unique_lock lock(mutex_);
    arrived_.wait_for(lock, kPatience, [&] {
      for (const Arrival& arrival : arrivals_) {
        if (arrival.at >= from && (text.empty() || arrival.state.text == text)) {
          found = arrival;
          return true;
        }
      }
      return false;
    });
    return found;
  }

  void Forget() {
    const std::lock_guard lock(mutex_);
    arrivals_.clear();
  }

 private:
  static constexpr seconds kPatience{180};

  std::mutex mutex_;  // guards arrivals_
  std::condition_variable arrived_;
  std::vector<Arrival> arrivals_;
};

class MarketPhase : public LiveMarketTest {
 protected:
  MarketPhase() { options_.stocks = 200; }
  ~MarketPhase() override { Stop(); }

  // Starts everything, and a view of the phase.
  void Start(const std::string& clock, double speed = 1) {
    options_.clock = clock;
    options_.speed = speed;
    StartAll();
    Ask(L"/pc/rt/stock_version", {});  // brings the server's clock
    state_.reset(reference::MakeStockMarketState());
    ASSERT_NE(state_, nullptr);
    state_->Attach(&view_);
    state_->Resume(&view_, true);
  }

  // Starts everything so early before an instant that the phase that ends then is told.
  void StartBefore(int hour, int minute, const std::wstring& ending) {
    const std::int64_t instant = common::DateToTime(kFriday, hour, minute, 0);
    for (const int seconds_before : {3, 12, 60}) {
      Start("@" + std::to_string(instant - seconds_before));
      const StateView::Arrival first = view_.WaitFor({}, 0);
      if (first.at < instant) {
        EXPECT_EQ(first.state.text, ending);
        return;
      }
      Stop();
      view_.Forget();
    }
    FAIL() << "the machine takes a minute to start";
  }

  void Stop() {
    if (state_ != nullptr) {
      state_->Detach(&view_);
    }
    state_.reset();
    stock_host::Stop();
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

  StateView view_;
  std::unique_ptr<IStockMarketState> state_;
};

// Well before the next phase or the next hour, which would bring a state as well.
constexpr std::int64_t kAtOnce = 20;

TEST_F(MarketPhase, isTheCallAuctionFromAQuarterPastNine) {
  StartBefore(9, 15, L"开盘准备");
  const StockMarketState state = ExpectPhase(9, 15, L"集合竞价", kAtOnce);
  EXPECT_GE(state.time, At(9, 15));
  EXPECT_LE(state.time, At(9, 15) + kAtOnce);
}

TEST_F(MarketPhase, isTheCloseFromThree) {
  StartBefore(15, 0, L"开盘");
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
  std::vector<Phase> phases = {{9, 15, L"集合竞价", false}, {9, 30, L"开盘", false}};
  if (IsLongRun()) {
    phases.push_back({11, 30, L"午盘休息", true});
    phases.push_back({13, 0, L"开盘", false});
    phases.push_back({15, 0, L"已收盘", true});
  }
  constexpr double kSpeed = 40;
  Start("2024-03-15 09:14:00", kSpeed);
  // Told before the next phase begins, however busy the machine is.
  const auto slack = static_cast<std::int64_t>(kAtOnce * kSpeed);
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

// A live market whose clock stands where the test puts it, and the same market once more to compare with:
// every figure is a function of the instant.
#pragma once

#include <future>
#include <memory>
#include <string>

#include "live_market.h"
#include "market_server/model/market.h"

class RunningMarket : public LiveMarketTest {
 protected:
  // The clock jumps further than a signature may be old.
  RunningMarket() { options_.check_signatures = false; }

  /// Starts everything; `speed` 0 keeps the clock where it is.
  void StartAll(const std::string& clock, double speed) {
    options_.clock = clock;
    options_.speed = speed;
    LiveMarketTest::StartAll();
    market_ = std::make_unique<market_server::model::Market>(
        market_server::model::Options{.seed = options_.seed, .stocks = options_.stocks});
    LearnTime();
  }

  /// Puts the server's clock, which must stand still, to an instant, and the host's after it.
  void MoveTo(const std::string& clock) {
    SCOPED_TRACE(clock);
    server_->SetClock(clock);
    LearnTime();
  }

  /// Starts the reference data; whether it could be loaded.
  static bool LoadReferenceData() {
    auto loaded = std::make_shared<std::promise<bool>>();
    GetStockCommon()->Init([loaded](bool ok) { loaded->set_value(ok); });
    auto outcome = loaded->get_future();
    if (outcome.wait_for(std::chrono::seconds(60)) == std::future_status::ready) return outcome.get();
    ADD_FAILURE() << "the reference data is not loaded";
    return false;
  }

  [[nodiscard]] double Now() const { return server_->Now(); }

  std::unique_ptr<market_server::model::Market> market_;

 private:
  // The host believes in a jump when two answers in a row agree; answers to earlier requests may come
  // between. Every answer has the time, also that about a path that nobody else asks for.
  void LearnTime() {
    for (int answer = 0; answer < 2 || (answer < 100 && !Agree()); ++answer) Ask(L"/pc/rt/nothing", {});
    ASSERT_TRUE(Agree()) << "the host does not follow the server's clock";
  }

  // The host's clock runs on while the server's stands.
  bool Agree() {
    const double ahead = static_cast<double>(common::GetCurrentServerTime()) - server_->Now();
    return options_.speed != 0 || (ahead >= 0 && ahead < 100);
  }
};

// The phase of the market, told at every change of phase: computed from the host's clock and calendar,
// without a request.
#include "reference/stock_market_state.h"

#include <memory>
#include <string>

#include "frame/phase_interval.h"
#include "frame/polled_subject.h"
#include "frame/running.h"
#include "host/calendar.h"
#include "host/clock.h"
#include "services.h"

namespace reference {
namespace {

constexpr const wchar_t* kMarket = L"CN";

// The record keeps the low half of the time (kept: hosts know it so).
StockMarketState State(const wchar_t* caption, std::int64_t time) {
  return {caption, static_cast<std::int32_t>(static_cast<std::uint32_t>(time)), true};
}

StockMarketState StateAt(std::int64_t now) {
  const std::uint32_t today = common::TimeToDate(now);
  switch (stock::CheckMarketStatus(static_cast<std::uint32_t>(now))) {
    case stock::kMarketNotOpened:
      return State(L"已收盘", common::DateToTime(stock::GetLastTradingDate(today), 15, 0, 0));
    case stock::kMarketPreparing:
      return State(L"开盘准备", now);
    case stock::kMarketCallAuction:
      return State(L"集合竞价", now);
    case stock::kMarketMorning:
    case stock::kMarketAfternoon:
      return State(L"开盘", now);
    case stock::kMarketLunchBreak:
      return State(L"午盘休息", common::DateToTime(today, 11, 30, 0));
    case stock::kMarketClosed:
      return State(L"已收盘", common::DateToTime(today, 15, 0, 0));
    default:
      return {};
  }
}

class CStockMarketState : public frame::PolledSubject<IStockMarketState> {
 public:
  void Attach(Observer* obs) override {
    SetTarget(obs, kMarket);
    PolledSubject::Attach(obs);
  }
  void Fetch() override;
  int GetInterval() override { return frame::PhaseInterval(); }

 private:
  frame::Stamps stamps_;
};

// A phase that cannot be told is told in the next round.
void CStockMarketState::Fetch() {
  const frame::Stamp stamp = stamps_.Next();
  std::shared_ptr<const StockMarketState> state;
  try {
    state = std::make_shared<const StockMarketState>(StateAt(common::GetCurrentServerTime()));
  } catch (...) {
    return;
  }
  static_cast<void>(
      Tell(kMarket, stamp, {frame::Whom::kAttached, frame::Keep::kIfShown}, [&] { return state; }));
}

}  // namespace

IStockMarketState* MakeStockMarketState() {
  return frame::MakeOrNull<frame::Running<CStockMarketState>>();
}

}  // namespace reference

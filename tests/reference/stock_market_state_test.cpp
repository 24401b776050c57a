// The phase of the market: what is shown when, and who is told.
#include "reference/stock_market_state.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "c_stock_market.h"
#include "host/clock.h"
#include "scripted_host.h"
#include "services.h"
#include "told_state.h"

namespace {

class View final : public IUpdate1<StockMarketState> {
 public:
  void Update(const StockMarketState& state) override { states.push_back(state); }
  std::vector<StockMarketState> states;
};

constexpr std::uint32_t kFriday = 20240315;

class MarketState : public ::testing::Test {
 protected:
  static std::int32_t At(int hour, int minute, int second = 0, std::uint32_t date = kFriday) {
    return static_cast<std::int32_t>(common::DateToTime(date, hour, minute, second));
  }
  // What is shown at an instant of the host's clock.
  StockMarketState Shown(int hour, int minute, int second = 0, std::uint32_t date = kFriday) {
    host.SetTime(date, hour, minute, second);
    return ToldStateAt(host, common::GetCurrentServerTime());
  }
  // Destroyed before the host.
  struct Service {
    std::unique_ptr<IStockMarketState> it{reference::MakeStockMarketState()};
    IStockMarketState* operator->() const { return it.get(); }
  };

  ScriptedHost host;
};

// --- The record ---

TEST_F(MarketState, isClosedBeforeTheOpen) {
  EXPECT_EQ(Shown(8, 59, 59), (StockMarketState{L"已收盘", At(15, 0, 0, 20240314), true}));
}

TEST_F(MarketState, isClosedSinceFridayOnAMonday) {
  EXPECT_EQ(Shown(8, 0, 0, 20240318).time, At(15, 0, 0, kFriday));
}

TEST_F(MarketState, isClosedOnAWeekend) {
  EXPECT_EQ(Shown(10, 0, 0, 20240317), (StockMarketState{L"已收盘", At(15, 0, 0, kFriday), true}));
}

TEST_F(MarketState, isClosedOnAHoliday) {
  common::LegalHoliday().SetHolidays(2024, {20240404, 20240405});
  EXPECT_EQ(Shown(10, 0, 0, 20240405), (StockMarketState{L"已收盘", At(15, 0, 0, 20240403), true}));
}

TEST_F(MarketState, isPreparedFromNine) {
  EXPECT_EQ(Shown(9, 0, 0), (StockMarketState{L"开盘准备", At(9, 0), true}));
  EXPECT_EQ(Shown(9, 14, 59), (StockMarketState{L"开盘准备", At(9, 14, 59), true}));
}

TEST_F(MarketState, isInCallAuction) {
  EXPECT_EQ(Shown(9, 15, 0), (StockMarketState{L"集合竞价", At(9, 15), true}));
}

TEST_F(MarketState, isOpenInTheMorningAndInTheAfternoon) {
  EXPECT_EQ(Shown(9, 30, 0), (StockMarketState{L"开盘", At(9, 30), true}));
  EXPECT_EQ(Shown(14, 59, 59), (StockMarketState{L"开盘", At(14, 59, 59), true}));
}

TEST_F(MarketState, showsTheBeginningOfTheLunchBreak) {
  EXPECT_EQ(Shown(12, 45, 0), (StockMarketState{L"午盘休息", At(11, 30), true}));
}

TEST_F(MarketState, showsTheCloseOfToday) {
  EXPECT_EQ(Shown(23, 59, 59), (StockMarketState{L"已收盘", At(15, 0), true}));
}

TEST_F(MarketState, isInvalidInAnUnknownPhase) {
  for (const int status : {0, 8, -1}) {
    host.SetMarketStatus(status);
    EXPECT_EQ(Shown(10, 0), (StockMarketState{L"", 0, false}));
  }
}

TEST_F(MarketState, keepsTheLowHalfOfTheTime) {
  host.SetMarketStatus(4);
  const std::int64_t late = (std::int64_t{1} << 32) + 5;
  EXPECT_EQ(ToldStateAt(host, late).time, 5);
  EXPECT_EQ(ToldStateAt(host, 0xFFFFFFFF).time, -1);
}

// --- Who is told ---

TEST_F(MarketState, isToldToAResumedObserverInsideResume) {
  const Service service;
  View view;
  service->Attach(&view);
  EXPECT_TRUE(view.states.empty());
  service->Resume(&view, true);
  EXPECT_EQ(view.states, std::vector<StockMarketState>({{L"开盘", At(10, 0), true}}));
  EXPECT_EQ(host.RequestCount(), 0U);
  service->Detach(&view);
}

TEST_F(MarketState, bindsEveryObserverToTheMarket) {
  const Service service;
  View view;
  service->Attach(&view);
  std::wstring key;
  EXPECT_TRUE(service->GetTarget(&view, key));
  EXPECT_EQ(key, L"CN");
  service->Detach(&view);
}

TEST_F(MarketState, isToldInEveryRoundWhetherItChangedOrNot) {
  const Service service;
  View first;
  View second;
  service->Attach(&first);
  service->Attach(&second);
  service->Refresh();
  service->OnTimer();
  EXPECT_EQ(first.states.size(), 2U);
  EXPECT_EQ(second.states.size(), 2U);
  service->Detach(&first);
  service->Detach(&second);
}

TEST_F(MarketState, isNotToldToAnObserverOfAnotherKey) {
  const Service service;
  View view;
  service->Attach(&view);
  service->SetTarget(&view, L"HK");
  service->Refresh();
  EXPECT_TRUE(view.states.empty());
  service->Detach(&view);
}

TEST_F(MarketState, isToldWhenItIsUnknown) {
  const Service service;
  host.SetMarketStatus(0);
  View view;
  service->Attach(&view);
  service->Refresh();
  EXPECT_EQ(view.states, std::vector<StockMarketState>({{L"", 0, false}}));
  service->Detach(&view);
}

TEST_F(MarketState, ignoresNull) {
  const Service service;
  service->Attach(nullptr);
  service->Refresh();
}

// --- When ---

TEST_F(MarketState, isPublishedByItsThreadAtAChangeOfPhase) {
  host.HoldSpans();
  const Service service;
  View view;
  service->Attach(&view);
  service->Resume(&view, false);
  // The first round of the thread sees no observer, the next one does.
  ASSERT_TRUE(host.AwaitHeldSpan());
  host.SetTime(kFriday, 11, 30, 0);
  host.ReleaseSpan(0);
  ASSERT_TRUE(host.AwaitHeldSpan());
  host.ReleaseSpan(0);
  ASSERT_TRUE(host.AwaitHeldSpan());
  ASSERT_FALSE(view.states.empty());
  EXPECT_EQ(view.states.back(), (StockMarketState{L"午盘休息", At(11, 30), true}));
  service->Detach(&view);
  host.ReleaseSpan(3600);
  host.ReleaseSpan(3600);
}

TEST(MarketStateExport, survivesTheEndOfTheOthers) {
  ScriptedHost host;
  IStockMarketState* const service = GetStockMarketState();
  ASSERT_NE(service, nullptr);
  DestroyStockMarket();
  EXPECT_EQ(GetStockMarketState(), service);
  ASSERT_TRUE(host.AwaitSpanCalls(1)) << "its thread is asleep before the host goes";
}

}  // namespace

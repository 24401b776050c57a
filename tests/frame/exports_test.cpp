// The exports over stand-ins: one object a service, the rankings by identifier and flags, the fixed order of
// the end. The factories of the services are those of this test.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "frame/single_objects.h"
#include "reference/reference_data.h"
#include "services.h"

namespace {

using Names = std::vector<std::string>;

// What was made and what was ended, in order; and what the factories shall do.
struct Record {
  Names made, ended;
  bool make_nothing = false;
};

Record& Now() {
  static auto* const record = new Record;
  return *record;
}

class Named {
 public:
  explicit Named(std::string name) : name_(std::move(name)) {}
  Named(const Named&) = delete;
  Named& operator=(const Named&) = delete;
  ~Named() { Now().ended.push_back(name_); }

 private:
  std::string name_;
};

// A subject that does nothing.
template <class Interface>
class Idle : public Interface {
 public:
  using Observer = typename Interface::Observer;
  using Key = typename Interface::Target;
  void Attach(Observer*) override {}
  void Detach(Observer*) override {}
  void Refresh() override {}
  void Suspend(Observer*) override {}
  void Resume(Observer*, bool) override {}
  bool IsSuspended(Observer*) override { return true; }
  void SetTarget(Observer*, const Key&) override {}
  bool GetTarget(Observer*, Key&) override { return false; }
  void RemoveTarget(Observer*) override {}
  void GetActiveTargets(std::vector<Key>&) override {}
  void Fetch() override {}
  void OnTimer() override {}
  int GetInterval() override { return 0; }
};

// A service without a thread.
template <class Interface, class Base = Idle<Interface>>
class StandIn : public Base {
 public:
  explicit StandIn(std::string name) : named_(std::move(name)) {}

 private:
  Named named_;
};

class StockCommonStandIn final : public StandIn<IStockCommon, IStockCommon> {
 public:
  using StandIn::StandIn;
  void Init(const boost::function<void(bool)>&) override {}
  const std::vector<BaseInfoItem>& GetStockList(int) override { return none_; }
  const std::vector<BaseInfoItem>& GetPlateList(int) override { return none_; }
  const std::vector<BaseInfoItem>& GetIndexList(int) override { return none_; }
  void Placeholder(int, int) override {}
  KLineMetaInfo GetKLineMetaInfo(const std::wstring&, int, int) override { return {}; }
  bool GetPlatesOfStock(const std::wstring&, std::vector<std::pair<std::wstring, std::wstring>>&) override {
    return false;
  }

 private:
  std::vector<BaseInfoItem> none_;
};

class CurrentStockStandIn final : public StandIn<ICurrentStock, ICurrentStock> {
 public:
  using StandIn::StandIn;
  void Attach(IUpdate1<CurrentStockItem>*) override {}
  void Detach(IUpdate1<CurrentStockItem>*) override {}
  bool EnsureStockCommon() override { return false; }
  void SelectIndex(const std::wstring&, int) override {}
  void SelectStock(const std::wstring&, int) override {}
  void SelectPlate(const std::wstring&, int) override {}
  void SetListKind(int) override {}
  int SetCustomStocks(const std::vector<BaseInfoItem>&) override { return 0; }
  void Previous() override {}
  void Next() override {}
  CurrentStockItem GetCurrentItem() override { return {}; }
};

class StockMarketStandIn final : public StandIn<IStockMarket> {
 public:
  using StandIn::StandIn;
  void FetchStockItems(int, int, int, const CodeNameCallback&) override {}
};

class OptionalStockMarketStandIn final : public StandIn<IOptionalStockMarket> {
 public:
  using StandIn::StandIn;
  void FetchStockItems(int, int, const CodeNameCallback&) override {}
};

class PlateMarketStandIn final : public StandIn<IPlateMarket> {
 public:
  using StandIn::StandIn;
  void FetchPlateItems(int, int, int, const CodeNameCallback&) override {}
};

class PlateStockMarketStandIn final : public StandIn<IPlateStockMarket> {
 public:
  using StandIn::StandIn;
  void FetchStockMarkets(const std::wstring&, std::uint32_t, std::uint32_t, std::uint32_t,
                         std::uint32_t) override {}
};

class StockMLineStandIn final : public StandIn<IStockMLine> {
 public:
  using StandIn::StandIn;
  void FetchMLine(const wchar_t*, int, const MLineCallback&) override {}
  void FetchHistoryMLine(const wchar_t*, std::uint32_t, int, const MLineCallback&) override {}
};

class StockKLineStandIn final : public StandIn<IStockKLine> {
 public:
  using StandIn::StandIn;
  void FetchKLine(const wchar_t*, int, int, const KLineCallback&) override {}
};

class StockUnusualEventStandIn final : public StandIn<IStockUnusualEvent> {
 public:
  using StandIn::StandIn;
  void FetchUnusualEvent(std::uint32_t, const UnusualEventCallback&) override {}
};

class StockPurchaseStandIn final : public StandIn<IStockPurchase, IStockPurchase> {
 public:
  using StandIn::StandIn;
  void Attach(IUpdate1<std::list<StockPurchaseItem>>*) override {}
  void Detach(IUpdate1<std::list<StockPurchaseItem>>*) override {}
  void FetchPurchaseInfo() override {}
};

class MarginTradeStandIn final : public StandIn<IMarginTrade, IMarginTrade> {
 public:
  using StandIn::StandIn;
  void Attach(IUpdate1<std::list<MarginTradeItem>>*) override {}
  void Detach(IUpdate1<std::list<MarginTradeItem>>*) override {}
  void FetchMarginTradeInfo() override {}
};

template <class Service>
Service* Make(const std::string& name) {
  Now().made.push_back(name);
  return Now().make_nothing ? nullptr : new Service(name);
}

}  // namespace

// --- The factories ---

namespace reference {
IStockCommon* MakeStockCommon() {
  return Make<StockCommonStandIn>("stock common");
}
IStockCommon* TheStockCommon() {
  return frame::Only<&MakeStockCommon>::Get();
}
void EndStockCommon() {
  frame::Only<&MakeStockCommon>::End();
}
IStockMarketState* MakeStockMarketState() {
  return Make<StandIn<IStockMarketState>>("market state");
}
}  // namespace reference
namespace quotes {
ICurrentStock* MakeCurrentStock() {
  return Make<CurrentStockStandIn>("current stock");
}
IIndexMarket* MakeIndexMarket() {
  return Make<StandIn<IIndexMarket>>("index market");
}
IOptionalStockMarket* MakeOptionalStockMarket() {
  return Make<OptionalStockMarketStandIn>("optional stock market");
}
IPlateMarket* MakePlateMarket() {
  return Make<PlateMarketStandIn>("plate market");
}
IPlateStockMarket* MakePlateStockMarket() {
  return Make<PlateStockMarketStandIn>("plate stock market");
}
ISingleStockMarket* MakeSingleStockMarket() {
  return Make<StandIn<ISingleStockMarket>>("single stock market");
}
IStockMarket* MakeStockMarket() {
  return Make<StockMarketStandIn>("stock market");
}
}  // namespace quotes
namespace ranking {
IStockRanking* MakeStockRanking(int id, bool first) {
  return Make<StandIn<IStockRanking>>("stock ranking " + std::to_string(id) + (first ? " first" : ""));
}
IPlateRanking* MakePlateRanking(int id) {
  return Make<StandIn<IPlateRanking>>("plate ranking " + std::to_string(id));
}
}  // namespace ranking
namespace charts {
IStockKLine* MakeStockKLine() {
  return Make<StockKLineStandIn>("k-line");
}
IStockMLine* MakeStockMLine() {
  return Make<StockMLineStandIn>("minute line");
}
}  // namespace charts
namespace analytics {
IMarginTrade* MakeMarginTrade() {
  return Make<MarginTradeStandIn>("margin trade");
}
IMoneyEffect* MakeMoneyEffect() {
  return Make<StandIn<IMoneyEffect>>("money effect");
}
IStockDistribution* MakeStockDistribution() {
  return Make<StandIn<IStockDistribution>>("distribution");
}
IStockInOut* MakeStockInOut() {
  return Make<StandIn<IStockInOut>>("in/out");
}
IStockPurchase* MakeStockPurchase() {
  return Make<StockPurchaseStandIn>("stock purchase");
}
IStockUnusualEvent* MakeStockUnusualEvent() {
  return Make<StockUnusualEventStandIn>("unusual event");
}
IStrengthRating* MakeStrengthRating() {
  return Make<StandIn<IStrengthRating>>("strength");
}
}  // namespace analytics

namespace {

class Exports : public ::testing::Test {
 protected:
  Exports() {
    DestroyStockMarket();
    Now() = {};
  }
  ~Exports() override { DestroyStockMarket(); }
};

// Every accessor, in no particular order.
const std::vector<std::function<const void*()>>& Accessors() {
  static const auto* const all = new std::vector<std::function<const void*()>>{
      [] { return GetPlateRanking(2, true); },
      [] { return GetPlateRanking(1, true); },
      [] { return GetStockRanking(14, true, true); },
      [] { return GetStockRanking(13, false, true); },
      [] { return GetPlateRanking(4, false); },
      [] { return GetPlateRanking(3, false); },
      [] { return GetStockRanking(12, true, false); },
      [] { return GetStockRanking(11, false, false); },
      [] { return GetStockRanking(-10, false, false); },
      &GetMoneyEffect,
      &GetStockDistribution,
      &GetStrengthRating,
      &GetStockInOut,
      &GetMarginTrade,
      &GetStockPurchase,
      &GetStockUnusualEvent,
      &GetStockKLine,
      &GetStockMLine,
      &GetSingleStockMarket,
      &GetOptionalStockMarket,
      &GetStockMarket,
      &GetPlateStockMarket,
      &GetPlateMarket,
      &GetIndexMarket,
      &GetStockCommon,
      &GetCurrentStock,
      &GetStockMarketState,
  };
  return *all;
}

TEST_F(Exports, makeEachObjectOnceAndReturnItEveryTime) {
  for (const auto& get : Accessors()) {
    EXPECT_NE(get(), nullptr);
    EXPECT_EQ(get(), get());
  }
  const Names once = Now().made;
  for (const auto& get : Accessors()) get();
  EXPECT_EQ(Now().made, once);
}

TEST_F(Exports, tryAgainWhenAServiceCouldNotBeMade) {
  Now().make_nothing = true;
  EXPECT_EQ(GetIndexMarket(), nullptr);
  Now().make_nothing = false;
  EXPECT_NE(GetIndexMarket(), nullptr);
  EXPECT_EQ(Now().made, (Names{"index market", "index market"}));
}

TEST_F(Exports, giveARankingItsIdentifierAndTheFirstFlagOnly) {
  EXPECT_NE(GetStockRanking(5, true, false), GetStockRanking(5, true, true));
  EXPECT_NE(GetStockRanking(-1, false, true), GetStockRanking(-1, false, false));
  EXPECT_NE(GetPlateRanking(1, false), GetPlateRanking(1, true));
  Names made = Now().made;
  std::sort(made.begin(), made.end());
  EXPECT_EQ(made, (Names{"plate ranking 1", "plate ranking 1", "stock ranking -1", "stock ranking -1",
                         "stock ranking 5 first", "stock ranking 5 first"}));
}

TEST_F(Exports, rememberARankingThatCouldNotBeMadeUntilTheEnd) {
  Now().make_nothing = true;
  EXPECT_EQ(GetStockRanking(5, true, false), nullptr);
  EXPECT_EQ(GetPlateRanking(5, true), nullptr);
  Now().make_nothing = false;
  EXPECT_EQ(GetStockRanking(5, true, false), nullptr);
  EXPECT_EQ(GetPlateRanking(5, true), nullptr);
  EXPECT_EQ(Now().made.size(), 2u);
  DestroyStockMarket();
  EXPECT_NE(GetStockRanking(5, true, false), nullptr);
  EXPECT_NE(GetPlateRanking(5, true), nullptr);
}

TEST_F(Exports, endTheServicesInOneFixedOrder) {
  for (const auto& get : Accessors()) get();
  const void* const current = GetCurrentStock();
  const void* const state = GetStockMarketState();
  DestroyStockMarket();
  EXPECT_EQ(Now().ended, (Names{"stock common",
                                "index market",
                                "plate market",
                                "plate stock market",
                                "stock market",
                                "optional stock market",
                                "single stock market",
                                "minute line",
                                "k-line",
                                "unusual event",
                                "stock purchase",
                                "margin trade",
                                "in/out",
                                "strength",
                                "distribution",
                                "money effect",
                                "stock ranking -10",
                                "stock ranking 11",
                                "stock ranking 12 first",
                                "plate ranking 3",
                                "plate ranking 4",
                                "stock ranking 13",
                                "stock ranking 14 first",
                                "plate ranking 1",
                                "plate ranking 2"}));
  EXPECT_EQ(GetCurrentStock(), current) << "stays";
  EXPECT_EQ(GetStockMarketState(), state) << "stays";
}

TEST_F(Exports, endNothingTwiceAndMakeFreshServicesAfterwards) {
  GetIndexMarket();
  GetStockRanking(5, true, false);
  DestroyStockMarket();
  DestroyStockMarket();
  EXPECT_EQ(Now().ended, (Names{"index market", "stock ranking 5 first"}));
  EXPECT_NE(GetIndexMarket(), nullptr);
  EXPECT_NE(GetStockRanking(5, true, false), nullptr);
  EXPECT_EQ(Now().made.size(), 4u);
}

}  // namespace

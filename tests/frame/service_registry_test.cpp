// The registry behind the exports: one object a service, the rankings by identifier and flags, the fixed
// order of the end. With stand-ins in place of the services.
#include "frame/service_registry.h"

#include <gtest/gtest.h>

#include <boost/thread/thread_only.hpp>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "frame/reference_data.h"

namespace {

using Names = std::vector<std::string>;

// What was made and what was ended, in order; and what the makers shall do.
struct Record {
  Names made, ended;
  bool make_nothing = false;
  bool reference_data_at_its_end = false;
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

template <class Interface>
class StandIn : public Interface {
 public:
  explicit StandIn(std::string name) : named_(std::move(name)) {}

 private:
  Named named_;
};

class StockCommonStandIn final : public StandIn<IStockCommon> {
 public:
  using StandIn::StandIn;
  ~StockCommonStandIn() override {
    Now().reference_data_at_its_end = frame::WithReferenceData([](IStockCommon&) {});
  }
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

class CurrentStockStandIn final : public StandIn<ICurrentStock> {
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

class StockPurchaseStandIn final : public StandIn<IStockPurchase> {
 public:
  using StandIn::StandIn;
  void Attach(IUpdate1<std::list<StockPurchaseItem>>*) override {}
  void Detach(IUpdate1<std::list<StockPurchaseItem>>*) override {}
  void FetchPurchaseInfo() override {}
};

class MarginTradeStandIn final : public StandIn<IMarginTrade> {
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

frame::ServiceMakers AllMakers() {
  frame::ServiceMakers makers;
  makers.stock_common = []() -> IStockCommon* { return Make<StockCommonStandIn>("stock common"); };
  makers.current_stock = []() -> ICurrentStock* { return Make<CurrentStockStandIn>("current stock"); };
  makers.index_market = []() -> IIndexMarket* { return Make<StandIn<IIndexMarket>>("index market"); };
  makers.plate_market = []() -> IPlateMarket* { return Make<PlateMarketStandIn>("plate market"); };
  makers.plate_stock_market = []() -> IPlateStockMarket* {
    return Make<PlateStockMarketStandIn>("plate stock market");
  };
  makers.stock_market = []() -> IStockMarket* { return Make<StockMarketStandIn>("stock market"); };
  makers.optional_stock_market = []() -> IOptionalStockMarket* {
    return Make<OptionalStockMarketStandIn>("optional stock market");
  };
  makers.single_stock_market = []() -> ISingleStockMarket* {
    return Make<StandIn<ISingleStockMarket>>("single stock market");
  };
  makers.stock_mline = []() -> IStockMLine* { return Make<StockMLineStandIn>("minute line"); };
  makers.stock_kline = []() -> IStockKLine* { return Make<StockKLineStandIn>("k-line"); };
  makers.stock_unusual_event = []() -> IStockUnusualEvent* {
    return Make<StockUnusualEventStandIn>("unusual event");
  };
  makers.stock_purchase = []() -> IStockPurchase* { return Make<StockPurchaseStandIn>("stock purchase"); };
  makers.margin_trade = []() -> IMarginTrade* { return Make<MarginTradeStandIn>("margin trade"); };
  makers.stock_in_out = []() -> IStockInOut* { return Make<StandIn<IStockInOut>>("in/out"); };
  makers.strength_rating = []() -> IStrengthRating* { return Make<StandIn<IStrengthRating>>("strength"); };
  makers.stock_distribution = []() -> IStockDistribution* {
    return Make<StandIn<IStockDistribution>>("distribution");
  };
  makers.money_effect = []() -> IMoneyEffect* { return Make<StandIn<IMoneyEffect>>("money effect"); };
  makers.stock_market_state = []() -> IStockMarketState* {
    return Make<StandIn<IStockMarketState>>("market state");
  };
  makers.stock_ranking = [](int id, bool first) -> IStockRanking* {
    return Make<StandIn<IStockRanking>>("stock ranking " + std::to_string(id) + (first ? " first" : ""));
  };
  makers.plate_ranking = [](int id) -> IPlateRanking* {
    return Make<StandIn<IPlateRanking>>("plate ranking " + std::to_string(id));
  };
  return makers;
}

class ServiceRegistry : public ::testing::Test {
 protected:
  ServiceRegistry() { Now() = {}; }
  ~ServiceRegistry() override {
    registry.Destroy();
    delete registry.CurrentStock();
    delete registry.StockMarketState();
  }

  frame::ServiceRegistry registry{AllMakers()};
};

TEST_F(ServiceRegistry, makesNothingOnItsOwn) {
  EXPECT_EQ(Now().made, Names{});
}

TEST_F(ServiceRegistry, makesEachServiceOnceAndReturnsItEveryTime) {
  EXPECT_NE(registry.StockCommon(), nullptr);
  EXPECT_EQ(registry.StockCommon(), registry.StockCommon());
  EXPECT_EQ(registry.CurrentStock(), registry.CurrentStock());
  EXPECT_EQ(registry.IndexMarket(), registry.IndexMarket());
  EXPECT_EQ(registry.PlateMarket(), registry.PlateMarket());
  EXPECT_EQ(registry.PlateStockMarket(), registry.PlateStockMarket());
  EXPECT_EQ(registry.StockMarket(), registry.StockMarket());
  EXPECT_EQ(registry.OptionalStockMarket(), registry.OptionalStockMarket());
  EXPECT_EQ(registry.SingleStockMarket(), registry.SingleStockMarket());
  EXPECT_EQ(registry.StockMLine(), registry.StockMLine());
  EXPECT_EQ(registry.StockKLine(), registry.StockKLine());
  EXPECT_EQ(registry.StockUnusualEvent(), registry.StockUnusualEvent());
  EXPECT_EQ(registry.StockPurchase(), registry.StockPurchase());
  EXPECT_EQ(registry.MarginTrade(), registry.MarginTrade());
  EXPECT_EQ(registry.StockInOut(), registry.StockInOut());
  EXPECT_EQ(registry.StrengthRating(), registry.StrengthRating());
  EXPECT_EQ(registry.StockDistribution(), registry.StockDistribution());
  EXPECT_EQ(registry.MoneyEffect(), registry.MoneyEffect());
  EXPECT_EQ(registry.StockMarketState(), registry.StockMarketState());
  EXPECT_EQ(Now().made,
            (Names{"stock common", "current stock", "index market", "plate market", "plate stock market",
                   "stock market", "optional stock market", "single stock market", "minute line", "k-line",
                   "unusual event", "stock purchase", "margin trade", "in/out", "strength", "distribution",
                   "money effect", "market state"}));
}

TEST_F(ServiceRegistry, triesAgainWhenAServiceCouldNotBeMade) {
  Now().make_nothing = true;
  EXPECT_EQ(registry.IndexMarket(), nullptr);
  Now().make_nothing = false;
  EXPECT_NE(registry.IndexMarket(), nullptr);
  EXPECT_EQ(Now().made, (Names{"index market", "index market"}));
}

TEST_F(ServiceRegistry, keepsOneStockRankingPerIdentifierAndFlags) {
  IStockRanking* const plain = registry.StockRanking(5, false, false);
  IStockRanking* const first = registry.StockRanking(5, true, false);
  IStockRanking* const second = registry.StockRanking(5, false, true);
  IStockRanking* const both = registry.StockRanking(5, true, true);
  EXPECT_NE(plain, first);
  EXPECT_NE(plain, second);
  EXPECT_NE(plain, both);
  EXPECT_NE(first, second);
  EXPECT_NE(first, both);
  EXPECT_NE(second, both);
  EXPECT_NE(registry.StockRanking(6, true, false), first);
  EXPECT_EQ(registry.StockRanking(5, false, false), plain);
  EXPECT_EQ(registry.StockRanking(5, true, false), first);
  EXPECT_EQ(registry.StockRanking(5, false, true), second);
  EXPECT_EQ(registry.StockRanking(5, true, true), both);
}

TEST_F(ServiceRegistry, givesAStockRankingItsIdentifierAndTheFirstFlagOnly) {
  registry.StockRanking(5, true, false);
  registry.StockRanking(5, true, true);
  registry.StockRanking(-1, false, true);
  EXPECT_EQ(Now().made, (Names{"stock ranking 5 first", "stock ranking 5 first", "stock ranking -1"}));
}

TEST_F(ServiceRegistry, keepsOnePlateRankingPerIdentifierAndFlag) {
  IPlateRanking* const plain = registry.PlateRanking(1, false);
  IPlateRanking* const flagged = registry.PlateRanking(1, true);
  EXPECT_NE(plain, flagged);
  EXPECT_NE(registry.PlateRanking(2, false), plain);
  EXPECT_EQ(registry.PlateRanking(1, false), plain);
  EXPECT_EQ(registry.PlateRanking(1, true), flagged);
  EXPECT_EQ(Now().made, (Names{"plate ranking 1", "plate ranking 1", "plate ranking 2"}));
}

TEST_F(ServiceRegistry, remembersARankingThatCouldNotBeMade) {
  Now().make_nothing = true;
  EXPECT_EQ(registry.StockRanking(5, true, false), nullptr);
  EXPECT_EQ(registry.PlateRanking(5, true), nullptr);
  Now().make_nothing = false;
  EXPECT_EQ(registry.StockRanking(5, true, false), nullptr);
  EXPECT_EQ(registry.PlateRanking(5, true), nullptr);
  EXPECT_EQ(Now().made.size(), 2u);
  registry.Destroy();
  EXPECT_NE(registry.StockRanking(5, true, false), nullptr);
  EXPECT_NE(registry.PlateRanking(5, true), nullptr);
}

TEST(ShortOfMemory, givesNullForARanking) {
  frame::ServiceMakers makers;
  makers.stock_ranking = [](int, bool) -> IStockRanking* { throw std::bad_alloc(); };
  makers.plate_ranking = [](int) -> IPlateRanking* { throw std::bad_alloc(); };
  frame::ServiceRegistry registry(makers);
  EXPECT_EQ(registry.StockRanking(5, true, false), nullptr);
  EXPECT_EQ(registry.PlateRanking(5, true), nullptr);
  registry.Destroy();
}

TEST_F(ServiceRegistry, endsTheServicesInOneFixedOrder) {
  // Asked for the other way round.
  registry.PlateRanking(2, true);
  registry.PlateRanking(1, true);
  registry.StockRanking(14, true, true);
  registry.StockRanking(13, false, true);
  registry.PlateRanking(4, false);
  registry.PlateRanking(3, false);
  registry.StockRanking(12, true, false);
  registry.StockRanking(11, false, false);
  registry.StockRanking(-10, false, false);
  registry.MoneyEffect();
  registry.StockDistribution();
  registry.StrengthRating();
  registry.StockInOut();
  registry.MarginTrade();
  registry.StockPurchase();
  registry.StockUnusualEvent();
  registry.StockKLine();
  registry.StockMLine();
  registry.SingleStockMarket();
  registry.OptionalStockMarket();
  registry.StockMarket();
  registry.PlateStockMarket();
  registry.PlateMarket();
  registry.IndexMarket();
  registry.StockCommon();
  registry.CurrentStock();
  registry.StockMarketState();
  registry.Destroy();
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
}

TEST_F(ServiceRegistry, keepsTheCurrentStockAndTheMarketState) {
  ICurrentStock* const current = registry.CurrentStock();
  IStockMarketState* const state = registry.StockMarketState();
  registry.Destroy();
  EXPECT_EQ(Now().ended, Names{});
  EXPECT_EQ(registry.CurrentStock(), current);
  EXPECT_EQ(registry.StockMarketState(), state);
}

TEST_F(ServiceRegistry, makesFreshServicesAfterTheEnd) {
  registry.IndexMarket();
  registry.StockRanking(5, true, false);
  registry.Destroy();
  EXPECT_NE(registry.IndexMarket(), nullptr);
  EXPECT_NE(registry.StockRanking(5, true, false), nullptr);
  EXPECT_EQ(Now().made,
            (Names{"index market", "stock ranking 5 first", "index market", "stock ranking 5 first"}));
}

TEST_F(ServiceRegistry, endsNothingTwice) {
  registry.Destroy();
  registry.IndexMarket();
  registry.Destroy();
  registry.Destroy();
  EXPECT_EQ(Now().ended, Names{"index market"});
}

TEST_F(ServiceRegistry, endsEverythingOnAThreadThatIsItselfInterrupted) {
  registry.IndexMarket();
  registry.MoneyEffect();
  boost::thread thread([this] {
    while (!boost::this_thread::interruption_requested()) boost::this_thread::yield();
    registry.Destroy();
  });
  thread.interrupt();
  thread.join();
  EXPECT_EQ(Now().ended, (Names{"index market", "money effect"}));
}

TEST_F(ServiceRegistry, makesTheReferenceDataReachableWhileItLives) {
  EXPECT_FALSE(frame::WithReferenceData([](IStockCommon&) {}));
  EXPECT_EQ(Now().made, Names{}) << "looking it up does not make it";
  IStockCommon* const made = registry.StockCommon();
  IStockCommon* seen = nullptr;
  EXPECT_TRUE(frame::WithReferenceData([&seen](IStockCommon& common) { seen = &common; }));
  EXPECT_EQ(seen, made);
  registry.Destroy();
  EXPECT_FALSE(Now().reference_data_at_its_end) << "nobody reaches it while it ends";
  EXPECT_FALSE(frame::WithReferenceData([](IStockCommon&) {}));
}

TEST(EmptyServiceRegistry, givesNullForWhatIsNotPartOfTheBuild) {
  frame::ServiceRegistry registry{frame::ServiceMakers()};
  EXPECT_EQ(registry.StockCommon(), nullptr);
  EXPECT_EQ(registry.IndexMarket(), nullptr);
  EXPECT_EQ(registry.StockMarketState(), nullptr);
  EXPECT_EQ(registry.StockRanking(5, true, false), nullptr);
  EXPECT_EQ(registry.PlateRanking(5, true), nullptr);
  registry.Destroy();
}

}  // namespace

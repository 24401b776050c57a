// All twenty services side by side, each with views on it, against one scripted host. The clocks stand still.
// For one test thread.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "c_stock_market.h"
#include "recording_observer.h"
#include "reference/stock_common_service.h"
#include "scripted_host.h"
#include "scripted_ticks.h"

/// A polled service and two views of one key: one is shown while a fetch is made, the other never. So the
/// service's own thread finds nothing to do, whenever it wakes.
template <class Interface, class Data, class Key>
class Shown {
 public:
  Shown(ScriptedHost& host, Interface* made, Key key) : service(made), host_(host), key_(std::move(key)) {
    for (auto* const observer : {&view, &hidden}) Attach(*observer);
  }
  ~Shown() {
    for (auto* const observer : {&view, &hidden}) service->Detach(observer);
  }
  Shown(const Shown&) = delete;
  Shown& operator=(const Shown&) = delete;

  /// Runs `fetch` while the first view is shown, and the tasks that come of it.
  template <class Fetch>
  void While(Fetch fetch) {
    service->Resume(&view, false);
    fetch();
    host_.RunTasks();
    service->Suspend(&view);
  }
  void Refresh() {
    While([this] { service->Refresh(); });
  }

  [[nodiscard]] std::size_t Told() const { return view.Count() + hidden.Count(); }

  /// True when a view that comes late is given, without a request, what the first one was told last.
  [[nodiscard]] bool KeepsTheLast() {
    RecordingObserver<Data> late;
    const std::size_t requests = host_.RequestCount();
    Attach(late);
    service->Resume(&late, true);
    service->Detach(&late);
    return host_.RequestCount() == requests && late.Count() == 1 && late.Last() == view.Last();
  }

  /// As `KeepsTheLast` for a service that hands its data out when a view attaches.
  [[nodiscard]] bool AttachTellsTheLast() {
    RecordingObserver<Data> late;
    service->Attach(&late);
    service->Detach(&late);
    return late.Count() == 1 && late.Last() == view.Last();
  }

  void Attach(RecordingObserver<Data>& observer) {
    service->Attach(&observer);
    service->SetTarget(&observer, key_);
  }

  const std::unique_ptr<Interface> service;
  RecordingObserver<Data> view;
  RecordingObserver<Data> hidden;

 private:
  ScriptedHost& host_;
  const Key key_;
};

/// A service that fetches when asked, and one view.
template <class Interface, class Data>
class OneShot {
 public:
  explicit OneShot(Interface* made) : service(made) { service->Attach(&view); }
  ~OneShot() { service->Detach(&view); }
  OneShot(const OneShot&) = delete;
  OneShot& operator=(const OneShot&) = delete;

  const std::unique_ptr<Interface> service;
  RecordingObserver<Data> view;
};

class AllServices {
 public:
  AllServices();
  ~AllServices();
  AllServices(const AllServices&) = delete;
  AllServices& operator=(const AllServices&) = delete;

  /// Everything that any view or call-back was told, and every list of holidays that the host was given.
  [[nodiscard]] std::size_t Told() const;

  /// Loads all reference data, as after the wait of a morning.
  void LoadReferenceData() { stock_common->FinishRound({1, true}); }

  static constexpr const wchar_t* kSymbol = L"sh600000";

  ScriptedHost host;
  ScriptedTicks ticks;
  ScriptedSteady steady;  // no service asks by itself while a view is shown, however busy the machine is

 private:
  const bool has_watch_list_ = [this] {
    host.SetWatchList({kSymbol});
    return true;
  }();

 public:
  std::unique_ptr<reference::CStockCommon> stock_common = std::make_unique<reference::CStockCommon>();
  std::unique_ptr<ICurrentStock> current_stock;
  Shown<IStockMarketState, StockMarketState, std::wstring> market_state;
  Shown<IIndexMarket, std::vector<IndexMarketSummary>, std::wstring> index_market;
  Shown<IStockMarket, std::vector<StockMarketItem>, StockRangeRankingTarget> stock_market;
  Shown<ISingleStockMarket, StockMarketItem, std::wstring> single_stock;
  Shown<IOptionalStockMarket, std::vector<OptionalMarketItem>, SortingTarget> optional_stocks;
  Shown<IPlateMarket, std::vector<StockMarketItem>, PlateRangeRankingTarget> plate_market;
  Shown<IPlateStockMarket, PlateStockMarketData, PlateStockRankingTarget> plate_stocks;
  Shown<IStockRanking, std::vector<StockMarketSummary>, RankingTarget> stock_ranking;
  Shown<IStockRanking, std::vector<StockMarketSummary>, RankingTarget> five_minute_ranking;
  Shown<IPlateRanking, std::vector<PlateMarketSummary>, RankingTarget> plate_ranking;
  Shown<IStockMLine, StockMLineData, std::wstring> minute_line;
  Shown<IStockKLine, StockKLineData, std::wstring> kline;
  Shown<IStockUnusualEvent, std::list<StockUnusualEventItem>, std::uint32_t> events;
  Shown<IStockInOut, StockInOutItem, std::wstring> in_out;
  Shown<IStrengthRating, std::vector<StrengthRatingItem>, std::uint32_t> strength;
  Shown<IStockDistribution, DistributionItem, std::uint32_t> distribution;
  Shown<IMoneyEffect, std::vector<MoneyEffectItem>, std::uint32_t> money_effect;
  OneShot<IMarginTrade, std::list<MarginTradeItem>> margin;
  OneShot<IStockPurchase, std::list<StockPurchaseItem>> purchase;

  std::size_t calls = 0;  ///< of the call-backs of direct requests
};

#include "frame/service_registry.h"

#include <boost/thread/thread_only.hpp>
#include <map>
#include <new>

#include "analytics/margin_trade.h"
#include "analytics/margin_trade_service.h"
#include "analytics/money_effect.h"
#include "analytics/money_effect_service.h"
#include "analytics/stock_distribution.h"
#include "analytics/stock_distribution_service.h"
#include "analytics/stock_in_out.h"
#include "analytics/stock_in_out_service.h"
#include "analytics/stock_purchase.h"
#include "analytics/stock_purchase_service.h"
#include "analytics/stock_unusual_event.h"
#include "analytics/stock_unusual_event_service.h"
#include "analytics/strength_rating.h"
#include "analytics/strength_rating_service.h"
#include "charts/stock_kline.h"
#include "charts/stock_kline_service.h"
#include "charts/stock_mline.h"
#include "charts/stock_mline_service.h"
#include "frame/reference_data.h"
#include "quotes/current_stock.h"
#include "quotes/current_stock_service.h"
#include "quotes/index_market.h"
#include "quotes/index_market_service.h"
#include "quotes/optional_stock_market.h"
#include "quotes/optional_stock_market_service.h"
#include "quotes/plate_market.h"
#include "quotes/plate_market_service.h"
#include "quotes/plate_stock_market.h"
#include "quotes/plate_stock_market_service.h"
#include "quotes/single_stock_market.h"
#include "quotes/single_stock_market_service.h"
#include "quotes/stock_market.h"
#include "quotes/stock_market_service.h"
#include "ranking/plate_ranking.h"
#include "ranking/plate_ranking_service.h"
#include "ranking/stock_ranking.h"
#include "ranking/stock_ranking_service.h"
#include "reference/stock_common.h"
#include "reference/stock_common_service.h"
#include "reference/stock_market_state.h"
#include "reference/stock_market_state_service.h"

namespace frame {
namespace {

template <class Service>
void End(Service*& service) {
  delete service;
  service = nullptr;
}

// The service of the number. It is made when its place in the registry is there, so that it cannot get lost.
template <class Service, class Make>
Service* OfNumber(std::map<int, Service*>& services, int id, Make make) {
  try {
    const auto [place, is_new] = services.try_emplace(id, nullptr);
    if (is_new) {
      place->second = make();
    }
    return place->second;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

template <class Service>
void EndAll(std::map<int, Service*>& services) {
  for (const auto& [id, service] : services) {
    delete service;
  }
  services.clear();
}

}  // namespace

IStockCommon* ServiceRegistry::StockCommon() {
  if (stock_common_ == nullptr) {
    ReferenceData().Set(First(stock_common_, makers_.stock_common));
  }
  return stock_common_;
}

IStockRanking* ServiceRegistry::StockRanking(int id, bool first, bool second) {
  if (makers_.stock_ranking == nullptr) {
    return nullptr;
  }
  return OfNumber(stock_rankings_[first ? 1 : 0][second ? 1 : 0], id,
                  [&] { return makers_.stock_ranking(id, first); });
}

IPlateRanking* ServiceRegistry::PlateRanking(int id, bool flag) {
  if (makers_.plate_ranking == nullptr) {
    return nullptr;
  }
  return OfNumber(plate_rankings_[flag ? 1 : 0], id, [&] { return makers_.plate_ranking(id); });
}

void ServiceRegistry::Destroy() {
  // Joining a polling thread is an interruption point of its caller, which must not cut the teardown short.
  const boost::this_thread::disable_interruption uninterrupted;

  ReferenceData().Clear();
  End(stock_common_);
  End(index_market_);
  End(plate_market_);
  End(plate_stock_market_);
  End(stock_market_);
  End(optional_stock_market_);
  End(single_stock_market_);
  End(stock_mline_);
  End(stock_kline_);
  End(stock_unusual_event_);
  End(stock_purchase_);
  End(margin_trade_);
  End(stock_in_out_);
  End(strength_rating_);
  End(stock_distribution_);
  End(money_effect_);

  EndAll(stock_rankings_[0][0]);
  EndAll(stock_rankings_[1][0]);
  EndAll(plate_rankings_[0]);
  EndAll(stock_rankings_[0][1]);
  EndAll(stock_rankings_[1][1]);
  EndAll(plate_rankings_[1]);
}

Guarded<IStockCommon>& ReferenceData() {
  static auto* const reference_data = new Guarded<IStockCommon>;
  return *reference_data;
}

ServiceRegistry& Services() {
  static auto* const registry = new ServiceRegistry({
      .stock_common = &reference::MakeStockCommon,
      .current_stock = &quotes::MakeCurrentStock,
      .index_market = &quotes::MakeIndexMarket,
      .plate_market = &quotes::MakePlateMarket,
      .plate_stock_market = &quotes::MakePlateStockMarket,
      .stock_market = &quotes::MakeStockMarket,
      .optional_stock_market = &quotes::MakeOptionalStockMarket,
      .single_stock_market = &quotes::MakeSingleStockMarket,
      .stock_mline = &charts::MakeStockMLine,
      .stock_kline = &charts::MakeStockKLine,
      .stock_unusual_event = &analytics::MakeStockUnusualEvent,
      .stock_purchase = &analytics::MakeStockPurchase,
      .margin_trade = &analytics::MakeMarginTrade,
      .stock_in_out = &analytics::MakeStockInOut,
      .strength_rating = &analytics::MakeStrengthRating,
      .stock_distribution = &analytics::MakeStockDistribution,
      .money_effect = &analytics::MakeMoneyEffect,
      .stock_market_state = &reference::MakeStockMarketState,
      .stock_ranking = &ranking::MakeStockRanking,
      .plate_ranking = &ranking::MakePlateRanking,
  });
  return *registry;
}

}  // namespace frame

// The services of the module: made on the first call of their accessor, ended together, in one fixed order.
// No lock: the first call of each accessor and `Destroy` belong to one thread, the host's main thread.
#pragma once

#include <map>

class ICurrentStock;
class IIndexMarket;
class IMarginTrade;
class IMoneyEffect;
class IOptionalStockMarket;
class IPlateMarket;
class IPlateRanking;
class IPlateStockMarket;
class ISingleStockMarket;
class IStockCommon;
class IStockDistribution;
class IStockInOut;
class IStockKLine;
class IStockMLine;
class IStockMarket;
class IStockMarketState;
class IStockPurchase;
class IStockRanking;
class IStockUnusualEvent;
class IStrengthRating;

namespace frame {

/// How each service is made. A maker returns a running service, or null when it cannot be made; a service
/// without a maker is not part of this build, and its accessor returns null.
struct ServiceMakers {
  IStockCommon* (*stock_common)() = nullptr;
  ICurrentStock* (*current_stock)() = nullptr;
  IIndexMarket* (*index_market)() = nullptr;
  IPlateMarket* (*plate_market)() = nullptr;
  IPlateStockMarket* (*plate_stock_market)() = nullptr;
  IStockMarket* (*stock_market)() = nullptr;
  IOptionalStockMarket* (*optional_stock_market)() = nullptr;
  ISingleStockMarket* (*single_stock_market)() = nullptr;
  IStockMLine* (*stock_mline)() = nullptr;
  IStockKLine* (*stock_kline)() = nullptr;
  IStockUnusualEvent* (*stock_unusual_event)() = nullptr;
  IStockPurchase* (*stock_purchase)() = nullptr;
  IMarginTrade* (*margin_trade)() = nullptr;
  IStockInOut* (*stock_in_out)() = nullptr;
  IStrengthRating* (*strength_rating)() = nullptr;
  IStockDistribution* (*stock_distribution)() = nullptr;
  IMoneyEffect* (*money_effect)() = nullptr;
  IStockMarketState* (*stock_market_state)() = nullptr;
  IStockRanking* (*stock_ranking)(int stock_type, bool five_change) = nullptr;
  IPlateRanking* (*plate_ranking)(int plate_type) = nullptr;
};

/// The pointers behind the module's exports.
class ServiceRegistry {
 public:
  explicit ServiceRegistry(const ServiceMakers& makers) : makers_(makers) {}
  ServiceRegistry(const ServiceRegistry&) = delete;
  ServiceRegistry& operator=(const ServiceRegistry&) = delete;

  IStockCommon* StockCommon();
  ICurrentStock* CurrentStock() { return First(current_stock_, makers_.current_stock); }
  IIndexMarket* IndexMarket() { return First(index_market_, makers_.index_market); }
  IPlateMarket* PlateMarket() { return First(plate_market_, makers_.plate_market); }
  IPlateStockMarket* PlateStockMarket() { return First(plate_stock_market_, makers_.plate_stock_market); }
  IStockMarket* StockMarket() { return First(stock_market_, makers_.stock_market); }
  IOptionalStockMarket* OptionalStockMarket() {
    return First(optional_stock_market_, makers_.optional_stock_market);
  }
  ISingleStockMarket* SingleStockMarket() { return First(single_stock_market_, makers_.single_stock_market); }
  IStockMLine* StockMLine() { return First(stock_mline_, makers_.stock_mline); }
  IStockKLine* StockKLine() { return First(stock_kline_, makers_.stock_kline); }
  IStockUnusualEvent* StockUnusualEvent() { return First(stock_unusual_event_, makers_.stock_unusual_event); }
  IStockPurchase* StockPurchase() { return First(stock_purchase_, makers_.stock_purchase); }
  IMarginTrade* MarginTrade() { return First(margin_trade_, makers_.margin_trade); }
  IStockInOut* StockInOut() { return First(stock_in_out_, makers_.stock_in_out); }
  IStrengthRating* StrengthRating() { return First(strength_rating_, makers_.strength_rating); }
  IStockDistribution* StockDistribution() { return First(stock_distribution_, makers_.stock_distribution); }
  IMoneyEffect* MoneyEffect() { return First(money_effect_, makers_.money_effect); }
  IStockMarketState* StockMarketState() { return First(stock_market_state_, makers_.stock_market_state); }

  /// One instance per identifier and pair of flags. The second flag only chooses the registry, so two
  /// instances made alike can stand side by side (kept). A null that came out once is what later calls get.
  IStockRanking* StockRanking(int id, bool first, bool second);

  /// One instance per identifier and flag, in the same way.
  IPlateRanking* PlateRanking(int id, bool flag);

  /// Ends every service but the current stock and the market state, whose pointers stay. Returns when every
  /// polling thread has ended; a fetch under way is finished first. Accessors make new services afterwards.
  void Destroy();

 private:
  template <class Service>
  static Service* First(Service*& service, Service* (*make)()) {
    if (service == nullptr && make != nullptr) {
      service = make();
    }
    return service;
  }

  ServiceMakers makers_;

  IStockCommon* stock_common_ = nullptr;
  ICurrentStock* current_stock_ = nullptr;
  IIndexMarket* index_market_ = nullptr;
  IPlateMarket* plate_market_ = nullptr;
  IPlateStockMarket* plate_stock_market_ = nullptr;
  IStockMarket* stock_market_ = nullptr;
  IOptionalStockMarket* optional_stock_market_ = nullptr;
  ISingleStockMarket* single_stock_market_ = nullptr;
  IStockMLine* stock_mline_ = nullptr;
  IStockKLine* stock_kline_ = nullptr;
  IStockUnusualEvent* stock_unusual_event_ = nullptr;
  IStockPurchase* stock_purchase_ = nullptr;
  IMarginTrade* margin_trade_ = nullptr;
  IStockInOut* stock_in_out_ = nullptr;
  IStrengthRating* strength_rating_ = nullptr;
  IStockDistribution* stock_distribution_ = nullptr;
  IMoneyEffect* money_effect_ = nullptr;
  IStockMarketState* stock_market_state_ = nullptr;
  std::map<int, IStockRanking*> stock_rankings_[2][2];  // [first][second]
  std::map<int, IPlateRanking*> plate_rankings_[2];     // [flag]
};

/// The registry behind the exports. Never destroyed, so that a program may exit with services alive.
ServiceRegistry& Services();

}  // namespace frame

// The one list of all services. A new one is a pair of files and a line here; hosts see it through an
// accessor that c_stock_market.h declares.
#pragma once

/// Every service with one object that ends, in the order of the end: namespace and name. The service `Name`
/// has the interface `IName`, the factory `MakeName` and the accessor `GetName`. The reference data end
/// before all of them, the rankings after.
#define CSM_SERVICES(SERVICE)           \
  SERVICE(quotes, IndexMarket)          \
  SERVICE(quotes, PlateMarket)          \
  SERVICE(quotes, PlateStockMarket)     \
  SERVICE(quotes, StockMarket)          \
  SERVICE(quotes, OptionalStockMarket)  \
  SERVICE(quotes, SingleStockMarket)    \
  SERVICE(charts, StockMLine)           \
  SERVICE(charts, StockKLine)           \
  SERVICE(analytics, StockUnusualEvent) \
  SERVICE(analytics, StockPurchase)     \
  SERVICE(analytics, MarginTrade)       \
  SERVICE(analytics, StockInOut)        \
  SERVICE(analytics, StrengthRating)    \
  SERVICE(analytics, StockDistribution) \
  SERVICE(analytics, MoneyEffect)

/// The services with one object that stay when the others end.
#define CSM_LASTING_SERVICES(SERVICE) \
  SERVICE(quotes, CurrentStock)       \
  SERVICE(reference, StockMarketState)

// A factory makes a running service, which belongs to its caller; null when it cannot be made.
#define CSM_FACTORY(area, Name)        \
  class I##Name;                       \
  namespace area {                     \
  [[nodiscard]] I##Name* Make##Name(); \
  }
CSM_SERVICES(CSM_FACTORY)
CSM_LASTING_SERVICES(CSM_FACTORY)
CSM_FACTORY(reference, StockCommon)
#undef CSM_FACTORY

class IPlateRanking;
class IStockRanking;

namespace ranking {
/// The top list of a board: the plain one, or that of the moves within five minutes.
[[nodiscard]] IStockRanking* MakeStockRanking(int stock_type, bool five_change);
[[nodiscard]] IPlateRanking* MakePlateRanking(int bk_type);
}  // namespace ranking

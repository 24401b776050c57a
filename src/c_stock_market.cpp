// The module's whole outward face: 20 accessors and their end.
#include "c_stock_market.h"

#include "frame/service_registry.h"

extern "C" {

IStockCommon* GetStockCommon() {
  return frame::Services().StockCommon();
}

ICurrentStock* GetCurrentStock() {
  return frame::Services().CurrentStock();
}

IIndexMarket* GetIndexMarket() {
  return frame::Services().IndexMarket();
}

IPlateMarket* GetPlateMarket() {
  return frame::Services().PlateMarket();
}

IPlateStockMarket* GetPlateStockMarket() {
  return frame::Services().PlateStockMarket();
}

IStockMarket* GetStockMarket() {
  return frame::Services().StockMarket();
}

IOptionalStockMarket* GetOptionalStockMarket() {
  return frame::Services().OptionalStockMarket();
}

ISingleStockMarket* GetSingleStockMarket() {
  return frame::Services().SingleStockMarket();
}

IStockRanking* GetStockRanking(int id, bool first, bool second) {
  return frame::Services().StockRanking(id, first, second);
}

IPlateRanking* GetPlateRanking(int id, bool flag) {
  return frame::Services().PlateRanking(id, flag);
}

IStockMLine* GetStockMLine() {
  return frame::Services().StockMLine();
}

IStockKLine* GetStockKLine() {
  return frame::Services().StockKLine();
}

IStockUnusualEvent* GetStockUnusualEvent() {
  return frame::Services().StockUnusualEvent();
}

IStockPurchase* GetStockPurchase() {
  return frame::Services().StockPurchase();
}

IMarginTrade* GetMarginTrade() {
  return frame::Services().MarginTrade();
}

IStockInOut* GetStockInOut() {
  return frame::Services().StockInOut();
}

IStrengthRating* GetStrengthRating() {
  return frame::Services().StrengthRating();
}

IStockDistribution* GetStockDistribution() {
  return frame::Services().StockDistribution();
}

IMoneyEffect* GetMoneyEffect() {
  return frame::Services().MoneyEffect();
}

IStockMarketState* GetStockMarketState() {
  return frame::Services().StockMarketState();
}

void DestroyStockMarket() {
  frame::Services().Destroy();
}

}  // extern "C"

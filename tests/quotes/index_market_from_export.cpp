#include "c_stock_market.h"
#include "index_market_subject.h"

IIndexMarket* BeginIndexMarket() {
  return GetIndexMarket();
}

void EndIndexMarket(IIndexMarket*) {
  DestroyStockMarket();
}

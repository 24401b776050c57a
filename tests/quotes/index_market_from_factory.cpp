#include "index_market_subject.h"
#include "quotes/index_market.h"
#include "services.h"

IIndexMarket* BeginIndexMarket() {
  return quotes::MakeIndexMarket();
}

void EndIndexMarket(IIndexMarket* service) {
  delete service;
}

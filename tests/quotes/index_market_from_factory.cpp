#include "index_market_subject.h"
#include "quotes/index_market_service.h"

IIndexMarket* BeginIndexMarket() {
  return quotes::MakeIndexMarket();
}

void EndIndexMarket(IIndexMarket* service) {
  delete service;
}

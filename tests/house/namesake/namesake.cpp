// A client outside of the tree with folders host/, frame/ and quotes/ of its own: its headers and ours keep
// apart.
#include <c_stock_market/c_stock_market.h>
#include <c_stock_market/host/host.h>
#include <c_stock_market/host_services/stock_host.h>

#include "frame/observer.h"
#include "host/export.h"
#include "host/host.h"
#include "quotes/index_market.h"

#include <cstdio>

int main() {
  static_assert(own::kHosts + own::kExports + own::kFrames + own::kColumns == 18);
  IIndexMarket* const market = GetIndexMarket();
  DestroyStockMarket();
  std::puts(stock_host::Counters().requests == 0 && stock::kMarketMorning == 4 ? "both" : "mixed up");
  return market != nullptr ? 0 : 1;
}

// A client outside of the tree: sees all public headers, links both libraries, makes a service and ends it
// again.
#include <cstdio>
#include <string>

#include "c_stock_market.h"
#include "host/host.h"
#include "host_services/stock_host.h"

namespace {

class View : public IUpdate1<std::vector<IndexMarketSummary>> {
 public:
  void Update(const std::vector<IndexMarketSummary>&) override {}
};

}  // namespace

int main(int, char** arguments) {
  stock_host::Settings settings;
  settings.data_directory = settings.log_directory = settings.config_directory = arguments[1];
  std::string error;
  if (!stock_host::Start(settings, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  View view;
  IIndexMarket* const market = GetIndexMarket();
  const bool same = market != nullptr && market == GetIndexMarket();
  if (market != nullptr) {
    market->Attach(&view);
    market->Detach(&view);
  }
  DestroyStockMarket();
  stock_host::Stop();
  std::puts(same ? "one index market" : "no index market");
  return same ? 0 : 1;
}

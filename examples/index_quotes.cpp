// Prints the quotes of the three headline indices once and ends. Asks the server that the settings name
// (CSM_API_ROOT and a key), or a simulated market inside this program when they name none.
#include <chrono>
#include <cstdio>
#include <semaphore>

#include "c_stock_market.h"
#include "host_services/stock_host.h"
#include "market_server/market_server.h"

namespace {

// Brings the module what it imports: network, signing, clock, log. Sends nothing yet.
bool StartHost(market_server::Server& simulated_market) {
  stock_host::Settings settings = stock_host::LoadSettings();
  if (settings.api_root.empty()) {
    simulated_market.Start();
    settings.api_root = simulated_market.url();
    settings.key_id = simulated_market.key_id();
    settings.key = simulated_market.key();
  }
  std::string error;
  if (!stock_host::Start(settings, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return false;
  }
  return true;
}

class Ticker final : public IUpdate1<std::vector<IndexMarketSummary>> {
 public:
  // On a thread of the network library. A view with a window would hand a copy to its own thread here.
  void Update(const std::vector<IndexMarketSummary>& quotes) override {
    for (const IndexMarketSummary& quote : quotes) {
      std::printf("%ls %10.2f %+8.2f %+6.2f%%\n", quote.code.c_str(), quote.last, quote.diff, quote.change);
    }
    arrived.release();
  }

  std::counting_semaphore<> arrived{0};
};

}  // namespace

int main() {
  market_server::Server simulated_market({});
  if (!StartHost(simulated_market)) {
    return 1;
  }
  Ticker ticker;
  IIndexMarket* const market = GetIndexMarket();  // made now, together with its polling thread
  market->Attach(&ticker);                        // suspended: it polls for nobody
  market->Resume(&ticker, true);                  // asks at once, then whenever the market's phase changes
  const bool arrived = ticker.arrived.try_acquire_for(std::chrono::seconds(5));

  market->Detach(&ticker);  // after this no Update runs, so the view may go
  DestroyStockMarket();     // the services end before the host that they use
  stock_host::Stop();
  return arrived ? 0 : 1;
}

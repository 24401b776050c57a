// The lists, and the phase of the trading day.
#include <chrono>
#include <cstdio>
#include <future>
#include <thread>
#include <vector>

#include "c_stock_market.h"
#include "services.h"
#include "view.h"

bool ShowReferenceData() {
  IStockCommon* const common = GetStockCommon();
  const auto load = [common] {
    std::promise<bool> loaded;
    common->Init([&loaded](bool everything) { loaded.set_value(everything); });
    return loaded.get_future().get();
  };
  for (int tries = 1; !load(); ++tries) {  // a start that failed is not tried again by itself
    if (tries == 3) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::seconds(tries));
  }
  const std::vector<BaseInfoItem> stocks = common->GetStockList(0);  // a copy: a reload replaces the list
  const KLineMetaInfo package = common->GetKLineMetaInfo(L"sh600000", 1, 1);
  std::printf("%zu stocks, the first %ls %ls %ls; %d candles of sh600000\n", stocks.size(),
              stocks.front().code.c_str(), stocks.front().name.c_str(), stocks.front().pinyin.c_str(),
              package.count);
  return package.count > 0;
}

bool ShowMarketState() {
  View<StockMarketState> view;
  IStockMarketState* const state = GetStockMarketState();
  state->Attach(&view);
  state->Resume(&view, true);  // tells inside the call
  const StockMarketState phase = view.Wait();
  std::printf("%ls %d\n", phase.text.c_str(), phase.time);
  state->Detach(&view);
  return phase.valid;
}

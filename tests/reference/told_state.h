// What the market state service tells at an instant of the scripted host's clock.
#pragma once

#include <cstdint>
#include <memory>

#include "recording_observer.h"
#include "reference/stock_market_state.h"
#include "scripted_host.h"
#include "services.h"

inline StockMarketState ToldStateAt(ScriptedHost& host, std::int64_t now) {
  host.SetTime(now);
  const std::unique_ptr<IStockMarketState> service(reference::MakeStockMarketState());
  RecordingObserver<StockMarketState> view;
  service->Attach(&view);
  service->Refresh();
  service->Detach(&view);
  return view.Count() == 0 ? StockMarketState() : view.Last();
}

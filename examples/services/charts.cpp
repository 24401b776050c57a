// Minute lines and candles.
#include <cstdio>

#include "c_stock_market.h"
#include "services.h"
#include "view.h"

bool ShowMinuteLine() {
  View<StockMLineData> view;
  IStockMLine* const lines = GetStockMLine();
  lines->Attach(&view);
  lines->SetTarget(&view, L"sh600000");
  lines->Resume(&view, true);
  const StockMLineData line = view.Wait();
  const bool drawn = !line.days.empty() && !line.days[0].points.empty();
  if (drawn) {
    const MinutePoint& point = line.days[0].points.back();
    std::printf("%ls %u %zu minutes, the last %04d at %.2f, average %.2f\n", line.symbol.c_str(),
                line.days[0].date, line.days[0].points.size(), point.time, point.price, point.avg_price);
  }
  lines->Detach(&view);
  return drawn;
}

bool ShowCandles() {
  View<StockKLineData> view;
  IStockKLine* const candles = GetStockKLine();
  candles->Attach(&view);
  candles->SetTarget(&view, L"sh600000");
  candles->Resume(&view, true);  // days without adjustment, unless FetchKLine chose something else
  const StockKLineData line = view.Wait();
  if (!line.candles.empty()) {
    const KLineCandle& today = line.candles.back();
    std::printf("%ls %zu days, the last %u from %.2f to %.2f\n", line.symbol.c_str(), line.candles.size(),
                today.date, today.open, today.close);
  }
  candles->Detach(&view);
  return !line.candles.empty();
}

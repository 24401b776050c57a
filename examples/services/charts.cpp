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

bool ShowPastMinuteLines() {
  const Once<StockMLineData> three_days;
  GetStockMLine()->FetchHistoryMLine(L"sh600000", 20240313, 3, three_days);  // those that end with that day
  const StockMLineData line = three_days.Wait();
  for (const MLineDay& day : line.days) {
    if (!day.points.empty()) {  // it was traded
      std::printf("%u %zu minutes to %.2f  ", day.date, day.points.size(), day.points.back().price);
    }
  }
  std::puts("");
  return !line.days.empty();
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

bool ShowMonths() {
  const Once<StockKLineData> months;
  GetStockKLine()->FetchKLine(L"sh600000", market::kMonth, market::kForward, months);
  const StockKLineData line = months.Wait();
  if (!line.candles.empty()) {
    std::printf("%zu months, the first %u, the last %u at %.2f\n", line.candles.size(),
                line.candles.front().date, line.candles.back().date, line.candles.back().close);
  }
  return !line.candles.empty();
}

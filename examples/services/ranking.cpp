// Short top lists of stocks and of plates.
#include <cstdio>
#include <vector>

#include "c_stock_market.h"
#include "services.h"
#include "view.h"

bool ShowStockRanking() {
  View<std::vector<StockMarketSummary>> view;
  IStockRanking* const ranking = GetStockRanking(market::kAllShares, false, false);  // the plain list
  ranking->Attach(&view);
  ranking->SetTarget(&view, {.sort_key = market::kByChange, .sort_type = market::kDescending, .num = 3});
  ranking->Resume(&view, true);
  const std::vector<StockMarketSummary> rows = view.Wait();
  for (const StockMarketSummary& row : rows) {
    std::printf("%ls %.2f %+.2f%%  ", row.code.c_str(), row.last.value, row.change.value);
  }
  std::puts("");
  ranking->Detach(&view);
  return !rows.empty();
}

bool ShowPlateRanking() {
  View<std::vector<PlateMarketSummary>> view;
  IPlateRanking* const ranking = GetPlateRanking(market::kConcept, false);
  ranking->Attach(&view);
  ranking->SetTarget(&view, {.sort_key = market::kByChange, .sort_type = market::kDescending, .num = 3});
  ranking->Resume(&view, true);
  const std::vector<PlateMarketSummary> rows = view.Wait();
  for (const PlateMarketSummary& row : rows) {
    std::printf("%ls %+.2f%%, led by %ls  ", row.name.c_str(), row.change, row.lead.c_str());
  }
  std::puts("");
  ranking->Detach(&view);
  return !rows.empty();
}

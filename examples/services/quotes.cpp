// Quotes: indices, boards, one security, the watch list, plates and their members, the current stock.
#include <cstdio>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "host_services/stock_host.h"
#include "services.h"
#include "view.h"

bool ShowIndexQuotes() {
  View<std::vector<IndexMarketSummary>> view;
  IIndexMarket* const market = GetIndexMarket();
  market->Attach(&view);
  market->Resume(&view, true);
  const std::vector<IndexMarketSummary> quotes = view.Wait();
  for (const IndexMarketSummary& quote : quotes) {
    std::printf("%ls %.2f %+.2f%%  ", quote.code.c_str(), quote.last, quote.change);
  }
  std::puts("");
  market->Detach(&view);
  return !quotes.empty();
}

bool ShowBoard() {
  View<std::vector<StockMarketItem>> view;
  IStockMarket* const market = GetStockMarket();
  market->Attach(&view);
  // All A shares by change, the best first, rows 0 to 4.
  market->SetTarget(&view, {.stock_type = market::kAllShares,
                            .sort_key = market::kByChange,
                            .sort_type = market::kDescending,
                            .start = 0,
                            .end = 5});
  market->Resume(&view, true);
  const std::vector<StockMarketItem> rows = view.Wait();
  for (const StockMarketItem& row : rows) {
    std::printf("%ls %.2f %+.2f%%  ", row.code.c_str(), row.last.value, row.change.value);
  }
  std::puts("");
  market->Detach(&view);
  return !rows.empty();
}

bool ShowNamesOfABoard() {
  const Once<CodeNameList> names;
  GetStockMarket()->FetchStockItems(market::kByCode, market::kAscending, market::kGem, names);
  const CodeNameList list = names.Wait();
  if (!list.empty()) {
    std::printf("%zu stocks, the first %ls %ls\n", list.size(), list[0].first.c_str(),
                list[0].second.c_str());
  }
  return !list.empty();
}

bool ShowSingleQuote() {
  View<StockMarketItem> view;
  ISingleStockMarket* const market = GetSingleStockMarket();
  market->Attach(&view);
  market->SetTarget(&view, L"sh600000");
  market->Resume(&view, true);
  const StockMarketItem quote = view.Wait();
  if (quote.last.present && !quote.bid_prices.empty()) {  // show nothing that is not present
    std::printf("%ls %ls %.2f, bid %.2f, ask %.2f, limits %.2f and %.2f\n", quote.code.c_str(),
                quote.name.c_str(), quote.last.value, static_cast<double>(quote.bid_prices[0].value),
                static_cast<double>(quote.ask_prices[0].value), quote.limit_down.value, quote.limit_up.value);
  }
  market->Detach(&view);
  return quote.last.present;
}

bool ShowWatchList() {
  std::string error;
  if (!stock_host::AddToWatchList(L"sh600000", error) || !stock_host::AddToWatchList(L"sz000001", error)) {
    return false;
  }
  View<std::vector<OptionalMarketItem>> view;
  IOptionalStockMarket* const market = GetOptionalStockMarket();
  market->Attach(&view);
  market->SetTarget(&view, {.sort_key = market::kByLast, .sort_type = market::kAscending});
  market->Resume(&view, true);
  const std::vector<OptionalMarketItem> rows = view.Wait();
  for (const OptionalMarketItem& row : rows) {
    std::printf("%ls %.2f %ls  ", row.code.c_str(), row.last.value, row.plate.c_str());
  }
  std::puts("");
  market->Detach(&view);
  return !rows.empty();
}

bool ShowPlates() {
  View<std::vector<StockMarketItem>> view;
  IPlateMarket* const market = GetPlateMarket();
  market->Attach(&view);
  market->SetTarget(&view, {.bk_type = market::kIndustry,
                            .sort_key = market::kByChange,
                            .sort_type = market::kDescending,
                            .start = 0,
                            .end = 3});
  market->Resume(&view, true);
  const std::vector<StockMarketItem> plates = view.Wait();
  for (const StockMarketItem& plate : plates) {
    std::printf("%ls %+.2f%% %d up %d down  ", plate.name.c_str(), plate.change.value, plate.num_u.value,
                plate.num_d.value);
  }
  std::puts("");
  market->Detach(&view);
  return !plates.empty();
}

bool ShowPlateMembers() {
  const std::vector<BaseInfoItem> plates = GetStockCommon()->GetPlateList(1);
  if (plates.empty()) {
    return false;
  }
  View<PlateStockMarketData> view;
  IPlateStockMarket* const market = GetPlateStockMarket();
  market->Attach(&view);
  market->SetTarget(&view, {.bk_code = plates[0].code,
                            .sort_key = market::kByTurnover,
                            .sort_type = market::kDescending,
                            .start = 0,
                            .end = 2});
  market->Resume(&view, true);
  const PlateStockMarketData page = view.Wait();
  std::printf("%ls, %d members  ", plates[0].name.c_str(), page.total_num);
  for (const StockMarketSummary& stock : page.stocks) {
    std::printf("%ls %.2f %.2f%%  ", stock.code.c_str(), stock.last.value, stock.tr.value);
  }
  std::puts("");
  market->Detach(&view);
  return !page.stocks.empty();
}

bool ShowCurrentStock() {
  View<CurrentStockItem> view;
  ICurrentStock* const current = GetCurrentStock();
  current->Attach(&view);
  current->SelectStock(L"sh600000", 2);  // looks in the list of Shanghai first
  current->Next();
  current->Previous();  // each of the three told the view
  const CurrentStockItem selected = view.Wait();
  std::printf("%ls %ls\n", selected.symbol.c_str(), selected.name.c_str());
  current->Detach(&view);
  return !selected.symbol.empty();
}

// Unusual events, flows, strength, distribution, money effect, margin trading, new shares. A date of 0 is
// today.
#include <cinttypes>
#include <cstdio>
#include <list>
#include <vector>

#include "c_stock_market.h"
#include "services.h"
#include "view.h"

bool ShowUnusualEvents() {
  View<std::list<StockUnusualEventItem>> view;
  IStockUnusualEvent* const monitor = GetStockUnusualEvent();
  monitor->Attach(&view);
  monitor->SetTarget(&view, 0);
  monitor->Resume(&view, true);
  const std::list<StockUnusualEventItem> events = view.Wait();
  if (!events.empty()) {
    std::printf("%zu events, the first at %ls: %ls\n", events.size(), events.front().time.c_str(),
                events.front().content.c_str());
  }
  monitor->Detach(&view);
  return !events.empty();
}

bool ShowPastEvents() {
  const Once<std::list<StockUnusualEventItem>> events;
  GetStockUnusualEvent()->FetchUnusualEvent(20240313, events);
  const std::list<StockUnusualEventItem> day = events.Wait();
  std::printf("%zu events on 2024-03-13\n", day.size());
  return !day.empty();
}

bool ShowFlows() {
  View<StockInOutItem> view;
  IStockInOut* const flows = GetStockInOut();
  flows->Attach(&view);
  flows->SetTarget(&view, L"sh600000");
  flows->Resume(&view, true);
  const StockInOutItem item = view.Wait();
  std::printf("%ls big orders today: in %" PRIu64 ", out %" PRIu64 "\n", item.symbol.c_str(), item.d1.big_in,
              item.d1.big_out);
  flows->Detach(&view);
  return item.mtime != 0;
}

bool ShowStrength() {
  View<std::vector<StrengthRatingItem>> view;
  IStrengthRating* const strength = GetStrengthRating();
  strength->Attach(&view);
  strength->SetTarget(&view, 0);
  strength->Resume(&view, true);
  const std::vector<StrengthRatingItem> curve = view.Wait();
  if (!curve.empty()) {
    std::printf("%zu minutes, at %04d %d up, %d down\n", curve.size(), curve.back().min, curve.back().up,
                curve.back().down);
  }
  strength->Detach(&view);
  return !curve.empty();
}

bool ShowDistribution() {
  View<DistributionItem> view;
  IStockDistribution* const distribution = GetStockDistribution();
  distribution->Attach(&view);
  distribution->SetTarget(&view, 0);
  distribution->Resume(&view, true);
  const DistributionItem spread = view.Wait();
  std::printf("%d up, %d unchanged, %d down, in %zu ranges\n", spread.up, spread.nochange, spread.down,
              spread.first_half.size() + spread.second_half.size());
  distribution->Detach(&view);
  return !spread.second_half.empty();
}

bool ShowMoneyEffect() {
  View<std::vector<MoneyEffectItem>> view;
  IMoneyEffect* const effect = GetMoneyEffect();
  effect->Attach(&view);
  effect->SetTarget(&view, 20240313);  // a past day: fetched once, not polled
  effect->Resume(&view, true);
  const std::vector<MoneyEffectItem> curve = view.Wait();
  if (!curve.empty()) {
    std::printf("%zu points, at %04d %+.2f%%\n", curve.size(), curve.back().time, curve.back().average);
  }
  effect->Detach(&view);
  return !curve.empty();
}

bool ShowMarginTrading() {
  View<std::list<MarginTradeItem>> view;
  IMarginTrade* const margin = GetMarginTrade();
  margin->Attach(&view);
  margin->FetchMarginTradeInfo();  // not polled: ask when the page is opened
  const std::list<MarginTradeItem> days = view.Wait();
  if (!days.empty()) {
    std::printf("%zu days, the last %d: balance %" PRIu64 ", change %+" PRId64 "\n", days.size(),
                days.back().date, days.back().balance, days.back().change);
  }
  margin->Detach(&view);
  return !days.empty();
}

bool ShowNewShares() {
  View<std::list<StockPurchaseItem>> view;
  IStockPurchase* const calendar = GetStockPurchase();
  calendar->Attach(&view);
  calendar->FetchPurchaseInfo();
  const std::list<StockPurchaseItem> issues = view.Wait();
  if (!issues.empty()) {
    std::printf("%zu issues, %ls on %ls at %.2f\n", issues.size(), issues.front().name.c_str(),
                issues.front().publish_online_time.c_str(),
                static_cast<double>(issues.front().publish_price));
  }
  calendar->Detach(&view);
  return !issues.empty();
}

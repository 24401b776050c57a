#include "all_services.h"

#include "analytics/margin_trade.h"
#include "analytics/money_effect.h"
#include "analytics/stock_distribution.h"
#include "analytics/stock_in_out.h"
#include "analytics/stock_purchase.h"
#include "analytics/stock_unusual_event.h"
#include "analytics/strength_rating.h"
#include "charts/stock_kline.h"
#include "charts/stock_mline.h"
#include "quotes/current_stock.h"
#include "quotes/index_market.h"
#include "quotes/optional_stock_market.h"
#include "quotes/plate_market.h"
#include "quotes/plate_stock_market.h"
#include "quotes/single_stock_market.h"
#include "quotes/stock_market.h"
#include "ranking/plate_ranking.h"
#include "ranking/stock_ranking.h"
#include "reference/stock_market_state.h"
#include "services.h"
#include "sleeping_threads.h"

AllServices::AllServices()
    : current_stock(quotes::MakeCurrentStock()),
      market_state(host, reference::MakeStockMarketState(), L"CN"),
      index_market(host, quotes::MakeIndexMarket(), L""),
      stock_market(host, quotes::MakeStockMarket(), {1, 4, 2, 0, 49}),
      single_stock(host, quotes::MakeSingleStockMarket(), kSymbol),
      optional_stocks(host, quotes::MakeOptionalStockMarket(), {3, 1}),
      plate_market(host, quotes::MakePlateMarket(), {1, 4, 2, 0, 49}),
      plate_stocks(host, quotes::MakePlateStockMarket(), {L"bk0001", 4, 2, 0, 49}),
      stock_ranking(host, ranking::MakeStockRanking(1, false), {4, 2, 10}),
      five_minute_ranking(host, ranking::MakeStockRanking(1, true), {4, 2, 10}),
      plate_ranking(host, ranking::MakePlateRanking(1), {4, 2, 10}),
      minute_line(host, charts::MakeStockMLine(), kSymbol),
      kline(host, charts::MakeStockKLine(), kSymbol),
      events(host, analytics::MakeStockUnusualEvent(), 0),
      in_out(host, analytics::MakeStockInOut(), kSymbol),
      strength(host, analytics::MakeStrengthRating(), 0),
      distribution(host, analytics::MakeStockDistribution(), 0),
      money_effect(host, analytics::MakeMoneyEffect(), 0),
      margin(analytics::MakeMarginTrade()),
      purchase(analytics::MakeStockPurchase()) {
  AwaitSleepingThreads();
}

AllServices::~AllServices() = default;

std::size_t AllServices::Told() const {
  return market_state.Told() + index_market.Told() + stock_market.Told() + single_stock.Told() +
         optional_stocks.Told() + plate_market.Told() + plate_stocks.Told() + stock_ranking.Told() +
         five_minute_ranking.Told() + plate_ranking.Told() + minute_line.Told() + kline.Told() +
         events.Told() + in_out.Told() + strength.Told() + distribution.Told() + money_effect.Told() +
         margin.view.Count() + purchase.view.Count() + calls + host.HolidayCalls().size();
}

// The services of the module as views know them. Constants.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "host/calendar.h"
#include "host_services/stock_host.h"

namespace cli {

struct Feed {
  std::string_view name;      ///< in JSON: "index_market"
  std::string_view endpoint;  ///< under which its requests are counted: "/pc/rt/stock_detail_list"
  /// How often the service asks by itself; 0: only by phase, so that every update is asked for by its view.
  std::chrono::milliseconds polls{0};
  std::string_view writer{};  ///< what its lines in the log begin with, "IndexMarket"; empty: not looked at
};

/// Of the services that poll in seconds.
inline constexpr std::chrono::milliseconds kQuotePolling{3000};

inline constexpr Feed kIndexFeed{"index_market", "/pc/rt/stock_detail_list", {}, "IndexMarket"};
inline constexpr Feed kQuoteFeed{"single_stock_market", "/pc/rt/stock_detail_list", kQuotePolling,
                                 "SingleStockMarket"};
inline constexpr Feed kBoardFeed{"stock_market", "/pc/rt/get", kQuotePolling, "StockMarket"};
inline constexpr Feed kPlatesFeed{"plate_market", "/pc/rt/get_bk_detail", kQuotePolling, "PlateMarket"};
inline constexpr Feed kMembersFeed{"plate_stock_market", "/pc/rt/get_bk_zone_list", kQuotePolling,
                                   "PlateStockMarket"};
inline constexpr Feed kWatchListFeed{"optional_stock_market", "/pc/rt/stock_detail_list", kQuotePolling,
                                     "OptionalStockMarket"};
inline constexpr Feed kStockRankingFeed{"stock_ranking", "/pc/rt/get_stock_rank", {}, "StockRanking"};
inline constexpr Feed kFiveMinutesFeed{"stock_ranking", "/pc/rt/stock_five_change", {}, "StockRanking"};
inline constexpr Feed kPlateRankingFeed{"plate_ranking", "/pc/rt/get_bk_rank", {}, "PlateRanking"};
inline constexpr Feed kStockItemsFeed{"stock_market", "/pc/rt/stock_price_list", {}, "StockMarket"};
inline constexpr Feed kPlateItemsFeed{"plate_market", "/pc/rt/bk_price_list", {}, "PlateMarket"};
// The phase is computed here; the calendar that it stands on is asked for once.
inline constexpr Feed kStateFeed{"stock_market_state", "/pc/rt/trade_date"};
inline constexpr Feed kMinuteLineFeed{"stock_mline", "/pc/rt/get_day_time", {}, "StockMLine"};
inline constexpr Feed kPastDayFeed{"stock_mline", "/pc/rt/get_day_htime", {}, "StockMLine"};
inline constexpr Feed kPastDaysFeed{"stock_mline", "/pc/rt/get_choice_htime", {}, "StockMLine"};
inline constexpr Feed kKLineFeed{"stock_kline", "/pc/rt/get_day_kline", {}, "StockKLine"};
inline constexpr Feed kEventsFeed{"stock_unusual_event", "/pc/monitor/get_monitor", {}, "StockUnusualEvent"};
inline constexpr Feed kFlowFeed{"stock_in_out", "/pc/rt/stock_in_out", {}, "StockInOut"};
inline constexpr Feed kStrengthFeed{"strength_rating", "/pc/rt/stock_min_num", {}, "StrengthRating"};
inline constexpr Feed kDistributionFeed{
    "stock_distribution", "/pc/rt/stock_distribute_num", {}, "StockDistribution"};
inline constexpr Feed kEffectFeed{"money_effect", "/pc/rt/stock_min_average", {}, "MoneyEffect"};
inline constexpr Feed kMarginFeed{"margin_trade", "/pc/rt/stock_trade", {}, "CMarginTrade"};
inline constexpr Feed kPurchaseFeed{"stock_purchase", "/pc/rt/stock_buy", {}, "CStockPurchase"};

/// The counts of an endpoint at this moment.
[[nodiscard]] stock_host::EndpointCounters CountersOf(std::string_view endpoint);

/// Failures so far of the history queries, which a series of candles without a package stands on, and the
/// reason of the latest. (A package that is not there is none: a new stock has none.)
[[nodiscard]] std::pair<std::uint64_t, std::string> FailuresOfHistory();

/// The phase of the market by the server's clock.
[[nodiscard]] stock::MarketStatus CurrentPhase();

}  // namespace cli

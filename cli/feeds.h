// The services of the module as csm knows them. Constants.
#pragma once

#include <chrono>
#include <string_view>

namespace cli {

/// A service as csm knows it.
struct Feed {
  std::string_view name;      ///< in JSON: "index_market"
  std::string_view endpoint;  ///< under which its requests are counted: "/pc/rt/stock_detail_list"
  /// How often the service asks by itself; 0: only by phase, so that every update is asked for here.
  std::chrono::milliseconds polls{0};
  std::string_view writer{};  ///< what its lines in the log begin with, "IndexMarket"; empty: not looked at
};

/// Of the services that poll in seconds.
inline constexpr std::chrono::milliseconds kQuotePolling{3000};

inline constexpr Feed kWatchListFeed{"optional_stock_market", "/pc/rt/stock_detail_list", kQuotePolling,
                                     "OptionalStockMarket"};
inline constexpr Feed kStockRankingFeed{"stock_ranking", "/pc/rt/get_stock_rank", {}, "StockRanking"};
inline constexpr Feed kFiveMinutesFeed{"stock_ranking", "/pc/rt/stock_five_change", {}, "StockRanking"};
inline constexpr Feed kPlateRankingFeed{"plate_ranking", "/pc/rt/get_bk_rank", {}, "PlateRanking"};
inline constexpr Feed kMinuteLineFeed{"stock_mline", "/pc/rt/get_day_time", {}, "StockMLine"};
inline constexpr Feed kKLineFeed{"stock_kline", "/pc/rt/get_day_kline", {}, "StockKLine"};
inline constexpr Feed kEventsFeed{"stock_unusual_event", "/pc/monitor/get_monitor", {}, "StockUnusualEvent"};
inline constexpr Feed kFlowFeed{"stock_in_out", "/pc/rt/stock_in_out", {}, "StockInOut"};
inline constexpr Feed kStrengthFeed{"strength_rating", "/pc/rt/stock_min_num", {}, "StrengthRating"};
inline constexpr Feed kDistributionFeed{
    "stock_distribution", "/pc/rt/stock_distribute_num", {}, "StockDistribution"};
inline constexpr Feed kEffectFeed{"money_effect", "/pc/rt/stock_min_average", {}, "MoneyEffect"};

}  // namespace cli

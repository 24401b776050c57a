// The services of the module as views know them, and how the feed of each is doing, in words: waiting, live,
// stale, closed, empty or failed, and why. Main thread only, save for the warnings. Decides nothing: requests
// go on whatever is said here.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "host/calendar.h"
#include "host_services/stock_host.h"

namespace cli {

enum class FeedState {
  kWaiting,  ///< asked, nothing has arrived yet
  kLive,
  kUnchanged,  ///< the answers come, and have had the same figures in them for a while; the text says since
               ///< when
  kStale,   ///< older than they should be, or newer ones were asked for in vain; the text says age and reason
  kClosed,  ///< the market is closed: figures of its last session
  kEmpty,   ///< the answer arrived and has nothing in it
  kFailed,  ///< no data at all; the text says why
};

struct FeedReport {
  FeedState state = FeedState::kWaiting;
  std::string text;  ///< for a person, without the age while all is well
};

class FeedHealth {
 public:
  using Clock = std::chrono::steady_clock;

  /// `interval`: how often the feed is asked. Data that is older than two intervals and a second is stale.
  explicit FeedHealth(std::chrono::milliseconds interval) : FeedHealth(interval, interval) {}
  /// The same for a feed that is asked every `closed_interval` while the market is closed. Is that seldom, a
  /// failure then makes the data stale at once.
  FeedHealth(std::chrono::milliseconds interval, std::chrono::milliseconds closed_interval);

  /// Something arrived. `nothing` says why there is nothing in it; empty: there is.
  void OnUpdate(Clock::time_point now, std::string nothing = {});
  /// The figures that arrived last are others than before, and those of `server_time`.
  void OnChange(Clock::time_point now, std::int64_t server_time);
  /// Something else is asked for from now on: nothing of it has arrived, nothing has failed yet. Counts stay.
  void Restart();
  /// Counts of the feed's endpoint, as they are at this moment.
  void OnCounters(const stock_host::EndpointCounters& counters);
  /// Warnings in the log so far, and the newest of them.
  void OnLog(std::uint64_t count, const std::string& newest);

  [[nodiscard]] FeedReport Report(Clock::time_point now, stock::MarketStatus phase) const;
  /// Of the newest data; absent before the first.
  [[nodiscard]] std::optional<std::chrono::milliseconds> Age(Clock::time_point now) const;
  /// What went wrong since the newest data; empty: nothing.
  [[nodiscard]] const std::string& failure() const { return failure_; }
  /// True while an answer is being waited for.
  [[nodiscard]] bool under_way() const { return under_way_; }

 private:
  [[nodiscard]] bool IsStale(std::chrono::milliseconds age, bool closed) const;

  std::chrono::milliseconds fresh_for_;
  std::chrono::milliseconds fresh_when_closed_for_;
  std::optional<Clock::time_point> updated_;
  std::optional<Clock::time_point> changed_;
  std::int64_t changed_server_time_ = 0;
  std::string nothing_;
  std::uint64_t failed_ = 0;
  std::uint64_t log_count_ = 0;
  bool under_way_ = false;
  bool request_failed_ = false;  // since the newest data
  std::string failure_;
};

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

/// The warnings and errors that were written to the program log: what went wrong inside the module reaches a
/// person only by them. Thread-safe.
class Warnings {
 public:
  /// A line of the log without time and level.
  void Add(std::string_view line);

  struct Lines {
    std::uint64_t count = 0;
    std::string first;  ///< what the others follow from
    std::string last;
  };
  [[nodiscard]] Lines All() const;
  /// Those of one writer, "StockRanking" for "StockRanking::FetchStockRanking Failed.".
  [[nodiscard]] Lines Of(std::string_view writer) const;

 private:
  mutable std::mutex mutex_;  // guards all members
  Lines all_;
  std::map<std::string, Lines, std::less<>> writers_;
};

}  // namespace cli

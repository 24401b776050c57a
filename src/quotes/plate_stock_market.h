// The member stocks of one plate as a ranked, paged list of short rows. Full quotes of a board are a matter
// of quotes/stock_market.h.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "frame/observer.h"
#include "frame/timer_subject.h"
#include "ranking/stock_market_summary.h"

/// Rows `start` to `end` of the members of one plate, ordered by one column.
struct PlateStockRankingTarget {
  std::wstring bk_code;         ///< code of the plate; empty: not set
  std::uint32_t sort_key = 0;   ///< column as in `PlateRangeRankingTarget`; 0 not set
  std::uint32_t sort_type = 0;  ///< 1 ascending, 2 descending
  std::uint32_t start = 0;      ///< first row, from 0
  std::uint32_t end = 0;        ///< end of the range, sent as it is: the row after the last one

  auto operator<=>(const PlateStockRankingTarget&) const = default;
  friend std::size_t hash_value(const PlateStockRankingTarget& target) {
    std::size_t hash = std::hash<std::wstring>{}(target.bk_code);
    for (const std::uint32_t number : {target.sort_key, target.sort_type, target.start, target.end}) {
      hash = hash * 31 + number;
    }
    return hash;
  }
};

/// One page of a plate's members.
struct PlateStockMarketData {
  std::int32_t total_num = 0;              ///< members of the plate, on all pages
  std::vector<StockMarketSummary> stocks;  ///< the page, in the order of the answer; every `trend` is 0

  bool operator==(const PlateStockMarketData&) const = default;
};

/// Delivers the page of a plate's members that each observer's target names.
///
/// - Key: `PlateStockRankingTarget`. With an empty `bk_code` or `sort_key` 0 nothing is asked.
/// - Who is told: every active observer whose target equals the key. Only the answer to the latest request
///   counts, whatever it asked for: with several targets and slow answers only the last target of a round
///   is refreshed.
/// - When: every 3 seconds while any observer is active, and at `Refresh`. The polling leaves out
///   rounds while the answer to the latest request is on its way, for ten seconds at most.
/// - Threads: callable from any thread. `Update` runs on a thread of the host's network library, or inside
///   `Resume` when it hands over the last page (a newer one follows unless it is fresh); it must not call
///   this service.
/// - Failure: one line in the log; observers keep what they have. An empty page means that the range holds
///   no row.
/// - Owner: the module; the object is valid until `DestroyStockMarket`.
class IPlateStockMarket
    : public ITimerSubject<IUpdate1<PlateStockMarketData>, PlateStockRankingTarget, PlateStockMarketData> {
 public:
  /// Asks for one page at once, for example after a target was changed; the answer goes the way of a polled
  /// one, to the active observers whose target equals the arguments. Nothing checks whether they are set.
  /// Returns at once. Callable from any thread.
  virtual void FetchStockMarkets(const std::wstring& bk_code, std::uint32_t start, std::uint32_t end,
                                 std::uint32_t sort_key, std::uint32_t sort_type) = 0;
};

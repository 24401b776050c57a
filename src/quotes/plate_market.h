// Ranked, paged quotes of plates (industry or concept boards). Short top lists of plates are a matter of
// ranking/plate_ranking.h, the members of one plate of quotes/plate_stock_market.h.
#pragma once

#include <compare>
#include <cstdint>
#include <vector>

#include "frame/field.h"
#include "frame/observer.h"
#include "frame/timer_subject.h"
#include "quotes/stock_market_item.h"

/// Rows `start` to `end` of the plates of one kind, ordered by one column.
struct PlateRangeRankingTarget {
  std::uint32_t bk_type = 0;  ///< kind of plate: 1 industry, 2 concept; 0 not set
  /// Column: 1 code, 2 name, 3 last, 4 change, 5 diff, 8 tr, 9 amt, 10 vol, 11 pe, 12 high, 13 low, 14 open,
  /// 15 preclose, 16 amp, 17 qrr, 18 cr, 19 mc, 20 lead, 21 lead_change, 22 bpin, 23 cud; 0 not set; any
  /// other number, 6 and 7 included, ranks by change.
  std::uint32_t sort_key = 0;
  std::uint32_t sort_type = 0;  ///< 1 ascending, 2 descending
  std::uint32_t start = 0;      ///< first row, from 0
  std::uint32_t end = 0;        ///< end of the range, sent as it is: the row after the last one

  auto operator<=>(const PlateRangeRankingTarget&) const = default;
};

/// Delivers the quotes of the plates that each observer's target names, in the order of the answer, each
/// with its leading stock and its counts of members up, unchanged and down. Directions stay 0; there is no
/// order book and nothing derived.
///
/// - Key: `PlateRangeRankingTarget`. With `bk_type` or `sort_key` 0 nothing is asked.
/// - Who is told: every active observer whose target equals the key.
/// - When: every 3 seconds while any observer is active, and at `Refresh`.
/// - Threads: callable from any thread. `Update` runs on a thread of the host's network library, or inside
///   `Resume` when it hands over the last list (a newer one follows unless it is fresh); it must not call
///   this service.
/// - Failure: one line in the log; observers keep what they have. An empty list means that the range holds
///   no row.
/// - Owner: the module; the object is valid until `DestroyStockMarket`.
class IPlateMarket : public ITimerSubject<IUpdate1<std::vector<StockMarketItem>>, PlateRangeRankingTarget,
                                          std::vector<StockMarketItem>> {
 public:
  /// Asks once for code and name of every plate of a kind, in an order; the arguments number as in
  /// `PlateRangeRankingTarget`. Returns at once; `done` is called on a thread of the host's network library,
  /// at most once: never after a failure (one line in the log), and never when a later call of this operation
  /// was made before the answer came. The list is not kept. Callable from any thread; an empty `done` is
  /// never called.
  virtual void FetchPlateItems(int sort_key, int sort_type, int bk_type, const CodeNameCallback& done) = 0;
};

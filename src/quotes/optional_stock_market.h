// Quotes of the user's watch list, sorted for each view. The watch list itself is the host's
// (host/watch_list.h).
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <vector>

#include "frame/field.h"
#include "frame/observer.h"
#include "frame/timer_subject.h"
#include "quotes/stock_market_item.h"

/// Column and direction by which one view wants the watch list.
struct SortingTarget {
  /// 1 to 19 as in `StockRangeRankingTarget`, 24 plate; any other number keeps the order of the answer.
  std::uint32_t sort_key = 0;
  std::uint32_t sort_type = 0;  ///< 1 ascending, 2 descending; any other number keeps the order of the answer

  auto operator<=>(const SortingTarget&) const = default;
};

/// One row of the watch list.
struct OptionalMarketItem : StockMarketItem {
  std::wstring plate;  ///< name of the first plate that a stock belongs to; empty for anything else

  bool operator==(const OptionalMarketItem&) const = default;
};

/// Delivers the quotes of the user's watch list, one request for all observers, each observer's list in the
/// order of its own target. A row whose figure is absent comes after the others in both directions; figures
/// within 0.001 of each other are equal.
///
/// - Key: `SortingTarget`. An observer without a target gets the list in the order of the answer.
/// - Who is told: every active observer.
/// - When: every 3 seconds while any observer is active, at `Refresh`, and when the user changes the watch
///   list. `Resume(observer, true)` always asks the server. An empty watch list asks for nothing and leaves
///   the observers what they have.
/// - Threads: callable from any thread. `Update` runs on a thread of the host's network library; it must not
///   call this service. To name plates, one such thread may first have to ask for those of all stocks, if
///   `GetStockCommon` was called and has not loaded them; other answers do not wait for it. Plates that are
///   not at hand are empty texts, until a later answer brings them.
/// - Failure: one line in the log; observers keep what they have.
/// - Owner: the module; the object is valid until `DestroyStockMarket`, and so must the host's watch list be.
class IOptionalStockMarket : public ITimerSubject<IUpdate1<std::vector<OptionalMarketItem>>, SortingTarget,
                                                  std::vector<OptionalMarketItem>> {
 public:
  /// Hands code and name of every row of the latest answer, in the order that the arguments name as
  /// `SortingTarget` does, to `done` on a thread of the host's task pool. Sends no request; before the first
  /// answer the list is empty. With an empty `done` nothing happens; after `DestroyStockMarket` has begun it
  /// is not called. Callable from any thread.
  virtual void FetchStockItems(int sort_key, int sort_type, const CodeNameCallback& done) = 0;
};

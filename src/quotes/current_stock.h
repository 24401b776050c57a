// The security that the whole client is looking at, and the list it was chosen from. Sends no request and has
// no thread; its quote is a matter of quotes/single_stock_market.h.
#pragma once

#include <string>
#include <vector>

#include "frame/observer.h"
#include "reference/stock_common.h"

/// The selected security. Both texts are empty before the first selection.
struct CurrentStockItem {
  std::wstring symbol, name;

  bool operator==(const CurrentStockItem&) const = default;
};

/// Holds the selection that quote panel, charts and detail pages follow, and steps through its list.
///
/// The list kinds: 1 and 2 index lists, 3 and 4 plate lists, 5 to 9 stock lists 1 to 5 (see
/// `IStockCommon`), 10 the custom list.
///
/// - Threads: one thread only, the host's user interface thread; there is no lock. `Update` runs inside the
///   operation that changed the selection. An observer may detach itself inside `Update`, or attach others:
///   `Attach` notifies those, and the change under way does not notify them again. It may also select another
///   security: all observers are then notified of that one, and nobody any more of the one before.
/// - Waiting: to select and to step are look-ups in the lists of `IStockCommon`, which is made if there is
///   none. Each list that is not loaded is asked for in this thread, for 8 seconds at most: call
///   `IStockCommon::Init` first. With lists that are held a silent server costs 8 seconds a minute at most.
/// - Failure: what cannot be found changes nothing and tells nobody.
/// - Owner: the module; unlike most services it survives `DestroyStockMarket`.
class ICurrentStock {
 public:
  /// Adds `observer` at the end; attached twice it is told twice. Tells it the selection at once if there is
  /// one. Null is ignored.
  virtual void Attach(IUpdate1<CurrentStockItem>* observer) = 0;

  /// Removes the first entry of `observer`; one that is not attached is ignored.
  virtual void Detach(IUpdate1<CurrentStockItem>* observer) = 0;

  /// Creates the reference data service if there is none yet. True when there is one.
  virtual bool EnsureStockCommon() = 0;

  /// Selects `symbol` and tells every observer. It is looked for in index list `variant` (1 or 2) and then,
  /// as with any other variant, in the stock lists 2, 3 and 1, in both plate lists and in both index lists.
  /// The first list that holds it becomes the current one. A symbol that is selected already changes nothing.
  virtual void SelectIndex(const std::wstring& symbol, int variant) = 0;

  /// The same, looking first in stock list `category` (1 to 5).
  virtual void SelectStock(const std::wstring& symbol, int category) = 0;

  /// The same, looking first in plate list `variant` (1 or 2).
  virtual void SelectPlate(const std::wstring& symbol, int variant) = 0;

  /// Sets the kind of the list that `Previous` and `Next` step through, and nothing else: neither the
  /// selection nor the position in the list.
  virtual void SetListKind(int kind) = 0;

  /// Replaces the custom list by a copy of `stocks` and returns its size. If the current list is the custom
  /// list and holds the selected symbol, the position moves to it. Nobody is told. An empty list is noted in
  /// the log.
  virtual int SetCustomStocks(const std::vector<BaseInfoItem>& stocks) = 0;

  /// Selects the entry before the current one, from the first on to the last, and tells every observer. In a
  /// list of kind 8 or 9, before the first selection, and in an empty custom list it selects the first entry
  /// of kind 6. An empty list changes nothing.
  virtual void Previous() = 0;

  /// Selects the entry after the current one, from the last on to the first; else as `Previous`.
  virtual void Next() = 0;

  /// A copy of the selection.
  virtual CurrentStockItem GetCurrentItem() = 0;

  virtual ~ICurrentStock() = default;
};

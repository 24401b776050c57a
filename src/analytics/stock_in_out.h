// Money that flows into and out of single stocks.
#pragma once

#include <cstdint>
#include <string>

#include "frame/observer.h"
#include "frame/timer_subject.h"

/// Amounts of one period, in the feed's unit (yuan). A negative amount of the feed wraps around.
struct FlowAmounts {
  std::uint64_t big_in = 0;     ///< in by big orders
  std::uint64_t big_out = 0;    ///< out by big orders
  std::uint64_t small_in = 0;   ///< in by small orders
  std::uint64_t small_out = 0;  ///< out by small orders

  bool operator==(const FlowAmounts&) const = default;
};

/// The flows of one stock.
struct StockInOutItem {
  std::wstring symbol;
  std::uint64_t mtime = 0;  ///< time of the figures as the feed writes it; 0 in a clearing item
  FlowAmounts d1;           ///< one day
  FlowAmounts d5;           ///< five days
  FlowAmounts d10;          ///< ten days

  bool operator==(const StockInOutItem&) const = default;
};

/// Delivers the flows of the stock that each observer's target names; all symbols travel in one request.
///
/// - Key: the symbol, "sh600000". `SetTarget` with another symbol than before first hands the observer an
///   item with the new symbol and zeros, inside the call, so that the view clears the old figures.
/// - Who is told: every active observer whose target is the symbol.
/// - When: at every change of the market's phase, 20 seconds after the round before at the earliest and an
///   hour at the latest, while any observer is active, and at `Refresh`. Sooner only when the server's clock
///   is set into another phase, or the holidays are learned.
/// - Threads: callable from any thread. `Update` runs on a thread of the host's network library, or inside
///   `Resume` (the last item; a newer one follows unless it is fresh) and `SetTarget`; it must not call
///   this service.
/// - Failure: a request that fails leaves two lines in the log, any other failure one; observers keep what
///   they have.
/// - Owner: the module; the object is valid until `DestroyStockMarket`.
class IStockInOut : public ITimerSubject<IUpdate1<StockInOutItem>, std::wstring, StockInOutItem> {};

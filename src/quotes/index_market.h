// Quotes of the three headline indices, for a ticker bar for example. Any other index, with its counts and
// its leading stock, is a matter of quotes/single_stock_market.h.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "frame/observer.h"
#include "frame/timer_subject.h"

/// One index quote.
struct IndexMarketSummary {
  std::wstring code;  ///< "sh000001", "sz399001" or "sz399006"
  std::wstring name;
  double last = 0;    ///< latest value, in points
  double change = 0;  ///< change rate in percent, as the feed sends it
  double diff = 0;    ///< change in points
  /// Figures that the server sent as null, and that read 0.0: bit 0 `last`, bit 1 `change`, bit 2 `diff`.
  std::uint32_t null_flags = 0;

  bool operator==(const IndexMarketSummary&) const = default;
};

/// Delivers the quotes of the indices sh000001, sz399001 and sz399006, in the order of the answer.
///
/// - Key: none. Targets may be set, but every observer gets the same list.
/// - Who is told: every attached observer, a suspended one included. `Attach` hands over the latest list,
///   if there is one, before it returns. `Resume(observer, true)` always asks the server.
/// - When: at every change of the market's phase and at least once an hour, while any observer is active. A
///   view that wants more calls `Refresh`.
/// - Threads: callable from any thread. `Update` runs on a thread of the host's network library, or inside
///   `Attach`; it must not call this service.
/// - Failure: one line in the log; observers keep what they have. The answer to an older request is
///   dropped. An empty list means that the answer held none.
/// - Owner: the module; the object is valid until `DestroyStockMarket`.
class IIndexMarket : public ITimerSubject<IUpdate1<std::vector<IndexMarketSummary>>, std::wstring,
                                          std::vector<IndexMarketSummary>> {};

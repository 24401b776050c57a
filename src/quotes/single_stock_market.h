// The full quote of one security, as a detail panel shows it. Lists of quotes are a matter of
// quotes/stock_market.h and quotes/optional_stock_market.h; the selection that panels follow of
// quotes/current_stock.h.
#pragma once

#include <string>

#include "frame/observer.h"
#include "frame/timer_subject.h"
#include "quotes/stock_market_item.h"

/// Delivers the quote of the security that each observer's target names. A stock comes with its five-level
/// order book, limit prices and average price; anything else with its leading stock and its counts of
/// members up, unchanged and down. Directions are set when the service's previous answer was of the same
/// security.
///
/// - Key: the symbol, "sh600000".
/// - Who is told: every active observer whose target is the symbol.
/// - When: every 3 seconds while any observer is active, and at `Refresh`.
/// - Threads: callable from any thread. `Update` runs on a thread of the host's network library, or inside
///   `Resume` when it hands over the last quote (a newer one follows unless it is fresh); it must not call
///   this service.
/// - Failure: one line in the log; observers keep what they have. A symbol unknown to the server delivers
///   nothing.
/// - Owner: the module; the object is valid until `DestroyStockMarket`.
class ISingleStockMarket : public ITimerSubject<IUpdate1<StockMarketItem>, std::wstring, StockMarketItem> {};

// Unusual events of the market, for a market monitor.
#pragma once

#include <boost/function/function1.hpp>
#include <cstdint>
#include <list>
#include <string>

#include "frame/observer.h"
#include "frame/timer_subject.h"

/// One event.
struct StockUnusualEventItem {
  std::wstring symbol = L"SH000001";  ///< always this: the feed names no symbol
  std::wstring time;                  ///< as the feed writes it
  std::wstring content;

  bool operator==(const StockUnusualEventItem&) const = default;
};

/// Receives events that were asked for once. The list is valid during the call only.
using UnusualEventCallback = boost::function<void(const std::list<StockUnusualEventItem>&)>;

/// Delivers the events of the day that each observer's target names, in the order of the answer.
///
/// - Key: a date (YYYYMMDD); 0 is today and follows the calendar past midnight. `SetTarget` with today's
///   date sets 0. A past day is not polled: ask for it with `FetchUnusualEvent`.
/// - Who is told: every active observer whose target is the date. `Resume(observer, true)` always asks the
///   server.
/// - When: at every change of the market's phase, 30 seconds after the round before at the earliest and an
///   hour at the latest, while any observer is active, and at `Refresh`. Sooner only when the server's clock
///   is set into another phase, or the holidays are learned.
/// - Threads: callable from any thread. `Update` runs on a thread of the host's network library; it must
///   not call this service.
/// - Failure: one line in the log, and an empty list, so that the view clears its events. An empty answer
///   gives an empty list too.
/// - Owner: the module; the object is valid until `DestroyStockMarket`.
class IStockUnusualEvent : public ITimerSubject<IUpdate1<std::list<StockUnusualEventItem>>, std::uint32_t,
                                                std::list<StockUnusualEventItem>> {
 public:
  /// Asks once for the events of `date` (0: today). Returns at once; `done`, which may be empty, is called
  /// once on a thread of the host's network library, after a failure with an empty list. It is not called
  /// when no server is configured. Nothing is kept. Callable from any thread.
  virtual void FetchUnusualEvent(std::uint32_t date, const UnusualEventCallback& done) = 0;
};

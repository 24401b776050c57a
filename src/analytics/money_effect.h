// The money-making effect: an average over the market in the course of a day.
#pragma once

#include <cstdint>
#include <vector>

#include "frame/observer.h"
#include "frame/timer_subject.h"

/// One point of the curve.
struct MoneyEffectItem {
  std::int32_t time = 0;  ///< the minute as the feed writes it: 931 is 09:31
  double average = 0;     ///< the feed's average change over the market, in percent

  bool operator==(const MoneyEffectItem&) const = default;
};

/// Delivers the curve of the day that each observer's target names.
///
/// - Key: a date (YYYYMMDD); 0 is today.
/// - Who is told: every active observer whose target is the date.
/// - When: today at every change of the market's phase and at least once an hour, while any observer is
///   active; a past day at `Resume` and `Refresh` only.
/// - Threads: callable from any thread. `Update` runs on a thread of the host's network library, or inside
///   `Resume` when it hands over the last rows (newer ones follow unless they are fresh); it must not call
///   this service.
/// - Failure: one line in the log; observers keep what they have. An empty list means that the day has no
///   rows.
/// - Owner: the module; the object is valid until `DestroyStockMarket`.
class IMoneyEffect : public ITimerSubject<IUpdate1<std::vector<MoneyEffectItem>>, std::uint32_t,
                                          std::vector<MoneyEffectItem>> {};

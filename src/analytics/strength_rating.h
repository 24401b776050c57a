// The breadth of the market in the course of a day. How stocks spread over ranges of change is a matter of
// analytics/stock_distribution.h.
#pragma once

#include <cstdint>
#include <vector>

#include "frame/observer.h"
#include "frame/timer_subject.h"

/// One minute.
struct StrengthRatingItem {
  std::int32_t min = 0;   ///< the minute as the feed writes it: 931 is 09:31
  std::int32_t up = 0;    ///< stocks that are up
  std::int32_t down = 0;  ///< stocks that are down

  bool operator==(const StrengthRatingItem&) const = default;
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
class IStrengthRating : public ITimerSubject<IUpdate1<std::vector<StrengthRatingItem>>, std::uint32_t,
                                             std::vector<StrengthRatingItem>> {};

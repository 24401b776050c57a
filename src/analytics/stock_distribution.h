// How the stocks of the market spread over ranges of change on one day. The counts in the course of the day
// are a matter of analytics/strength_rating.h.
#pragma once

#include <cstdint>
#include <vector>

#include "frame/observer.h"
#include "frame/timer_subject.h"

/// One range of change.
struct DistributionBucket {
  std::int32_t count = 0;  ///< stocks in the range
  double ratio = 0;        ///< `count` as a share of the sum over all ranges, 0 to 1; 0 when that sum is 0

  bool operator==(const DistributionBucket&) const = default;
};

/// The spread of one day. Without buckets it is a clearing item, or the day has none.
struct DistributionItem {
  std::int32_t up = 0;        ///< stocks that are up
  std::int32_t down = 0;      ///< stocks that are down
  std::int32_t nochange = 0;  ///< stocks that are unchanged
  /// The ranges in the feed's order, cut in the middle; of an odd number the second half has one more.
  std::vector<DistributionBucket> first_half;
  std::vector<DistributionBucket> second_half;

  bool operator==(const DistributionItem&) const = default;
};

/// Delivers the spread of the day that each observer's target names.
///
/// - Key: a date (YYYYMMDD); 0 is today. `SetTarget` of an observer that has a target already, also with
///   the same date, first hands it an empty item, inside the call, so that the view clears the old figures.
/// - Who is told: every active observer whose target is the date.
/// - When: today at every change of the market's phase and at least once an hour, while any observer is
///   active; a past day at `Resume` and `Refresh` only.
/// - Threads: callable from any thread. `Update` runs on a thread of the host's network library, or inside
///   `Resume` (the last item; a newer one follows unless it is fresh) and `SetTarget`; it must not call
///   this service.
/// - Failure: one line in the log; observers keep what they have.
/// - Owner: the module; the object is valid until `DestroyStockMarket`.
class IStockDistribution : public ITimerSubject<IUpdate1<DistributionItem>, std::uint32_t, DistributionItem> {
};

// The breadth of the market, minute by minute: how many stocks were up and how many down.
#include "analytics/strength_rating.h"

#include "analytics/daily_service.h"
#include "analytics/strength_rating_table.h"
#include "request/urls.h"

namespace analytics {
namespace {

using CStrengthRating = DailyCurve<IStrengthRating, kStrengthRatingTable, request::Fetch::kStrengthRating,
                                   &request::StrengthRatingUrl>;

}  // namespace

IStrengthRating* MakeStrengthRating() {
  return frame::MakeOrNull<frame::Running<CStrengthRating>>();
}

}  // namespace analytics

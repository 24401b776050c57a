// Which key of the feed fills which member of a row of the breadth curve.
#pragma once

#include "analytics/strength_rating.h"
#include "json/record_table.h"

namespace analytics {

inline constexpr auto kStrengthRatingTable = request::TableOf<StrengthRatingItem>(
    request::Read("min", &StrengthRatingItem::min, request::Integer{}),
    request::Read("up", &StrengthRatingItem::up, request::Integer{}),
    request::Read("down", &StrengthRatingItem::down, request::Integer{}));

}  // namespace analytics

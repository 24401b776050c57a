// Which key of the feed fills which member of a row of the money-effect curve.
#pragma once

#include "analytics/money_effect.h"
#include "json/record_table.h"

namespace analytics {

inline constexpr auto kMoneyEffectTable =
    request::TableOf<MoneyEffectItem>(request::Read("time", &MoneyEffectItem::time, request::Integer{}),
                                      request::Read("average", &MoneyEffectItem::average, request::Number{}));

}  // namespace analytics

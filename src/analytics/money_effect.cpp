// The money-making effect of a day, minute by minute.
#include "analytics/money_effect.h"

#include "analytics/daily_service.h"
#include "analytics/money_effect_table.h"
#include "request/urls.h"

namespace analytics {
namespace {

using CMoneyEffect =
    DailyCurve<IMoneyEffect, kMoneyEffectTable, request::Fetch::kMoneyEffect, &request::MoneyEffectUrl>;

}  // namespace

IMoneyEffect* MakeMoneyEffect() {
  return frame::MakeOrNull<frame::Running<CMoneyEffect>>();
}

}  // namespace analytics

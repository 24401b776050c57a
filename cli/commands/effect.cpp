#include "cli/commands/effect.h"

#include "analytics/money_effect_table.h"
#include "cli/commands/day_curve.h"
#include "cli/format/figures.h"
#include "cli/plot/market_charts.h"

namespace cli {
namespace {

constexpr const char* kExamples = R"(Examples:
  csm effect                        the average change of all stocks at every minute of today
  csm effect --plot                 the curve as a chart
  csm effect --date 2024-03-13      another day
  csm effect --json                 one JSON line)";

Table TableOf(const std::vector<MoneyEffectItem>& rows) {
  Table table({{"time"}, {"average", Align::kRight}});
  for (const MoneyEffectItem& row : rows) {
    table.Add({{MinuteText(row.time), Tone::kDim}, {Signed(row.average, 4), ToneOf(row.average)}});
  }
  return table;
}

}  // namespace

Runner SetUpEffect(Form& form) {
  return SetUpDayCurve<MoneyEffectItem>(form, kEffectFeed, &GetMoneyEffect, analytics::kMoneyEffectTable,
                                        {&TableOf, &EffectChart}, kExamples);
}

}  // namespace cli

#include "cli/commands/strength.h"

#include "analytics/strength_rating_table.h"
#include "cli/commands/day_curve.h"
#include "cli/format/figures.h"
#include "cli/plot/market_charts.h"

namespace cli {
namespace {

constexpr const char* kExamples = R"(Examples:
  csm strength                        stocks up and down at every minute of today
  csm strength --plot                 both curves as a chart
  csm strength --date 2024-03-13      another day
  csm strength --json                 one JSON line)";

Table TableOf(const std::vector<StrengthRatingItem>& rows) {
  Table table({{"time"}, {"up", Align::kRight}, {"down", Align::kRight}});
  for (const StrengthRatingItem& row : rows) {
    table.Add({{MinuteText(row.min), Tone::kDim},
               {Fixed(row.up, 0), row.up > row.down ? Tone::kRise : Tone::kPlain},
               {Fixed(row.down, 0), row.down > row.up ? Tone::kFall : Tone::kPlain}});
  }
  return table;
}

}  // namespace

Runner SetUpStrength(Form& form) {
  return SetUpDayCurve<StrengthRatingItem>(form, kStrengthFeed, &GetStrengthRating,
                                           analytics::kStrengthRatingTable, {&TableOf, &StrengthChart},
                                           kExamples);
}

}  // namespace cli

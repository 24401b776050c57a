#include "cli/commands/strength.h"

#include <memory>
#include <string>
#include <vector>

#include "analytics/strength_rating_table.h"
#include "cli/daily_query.h"
#include "cli/format/figures.h"
#include "cli/format/record_json.h"
#include "cli/plot/minute_chart.h"

namespace cli {
namespace {

using Rows = std::vector<StrengthRatingItem>;

constexpr const char* kExamples = R"(Examples:
  csm strength                        stocks up and down at every minute of today
  csm strength --plot                 both curves as a chart
  csm strength --date 2024-03-13      another day
  csm strength --json                 one JSON line)";

std::string JsonLine(const Delivery<Rows>& delivery, std::uint32_t date) {
  JsonWriter json;
  BeginJsonLine(json, kStrengthFeed.name, std::to_wstring(date), delivery.server_time);
  WriteRecords(json, analytics::kStrengthRatingTable, delivery.data);
  json.EndObject();
  return json.Text();
}

Table TableOf(const Rows& rows) {
  Table table({{"time"}, {"up", Align::kRight}, {"down", Align::kRight}});
  for (const StrengthRatingItem& row : rows) {
    table.Add({{MinuteText(row.min), Tone::kDim},
               {Fixed(row.up, 0), row.up > row.down ? Tone::kRise : Tone::kPlain},
               {Fixed(row.down, 0), row.down > row.up ? Tone::kFall : Tone::kPlain}});
  }
  return table;
}

std::vector<StyledLine> Chart(const Rows& rows, std::uint32_t date, const ChartSize& size) {
  Curve up{{}, Tone::kRise, false};
  Curve down{{}, Tone::kFall, true};
  for (const StrengthRatingItem& row : rows) {
    up.points.push_back({SessionMinute(row.min), static_cast<double>(row.up)});
    down.points.push_back({SessionMinute(row.min), static_cast<double>(row.down)});
  }
  const StyledLine title = {{"Strength", Tone::kStrong},
                            {"  " + DateText(date) + " " + MinuteText(rows.back().min) + "  "},
                            {"up " + Fixed(rows.back().up, 0) + " (line)", Tone::kRise},
                            {"  "},
                            {"down " + Fixed(rows.back().down, 0) + " (dots)", Tone::kFall}};
  return SessionChart({down, up}, 0, title, size);
}

int PrintStrength(const DailyOptions& options) {
  return RunDaily<Rows>(options, kStrengthFeed, &GetStrengthRating,
                        [&](QueryRun& run, const Delivery<Rows>& delivery, std::uint32_t date) {
                          if (options.query.json) {
                            run.output().WriteLine(JsonLine(delivery, date));
                          } else if (!delivery.data.empty() && options.plot.plot) {
                            run.Print(Chart(delivery.data, date, options.plot.Size()));
                          } else if (!delivery.data.empty()) {
                            run.Print(TableOf(delivery.data));
                          }
                          return !delivery.data.empty();
                        });
}

}  // namespace

Runner SetUpStrength(CLI::App& app) {
  const auto options = std::make_shared<DailyOptions>();
  AddDailyOptions(app, *options);
  AddPlotOptions(app, options->plot);
  app.footer(kExamples);
  return [options] { return PrintStrength(*options); };
}

}  // namespace cli

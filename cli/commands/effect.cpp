#include "cli/commands/effect.h"

#include <memory>
#include <string>
#include <vector>

#include "analytics/money_effect_table.h"
#include "cli/daily_query.h"
#include "cli/format/figures.h"
#include "cli/format/record_json.h"
#include "cli/plot/minute_chart.h"

namespace cli {
namespace {

using Rows = std::vector<MoneyEffectItem>;

constexpr const char* kExamples = R"(Examples:
  csm effect                        the average change of all stocks at every minute of today
  csm effect --plot                 the curve as a chart
  csm effect --date 2024-03-13      another day
  csm effect --json                 one JSON line)";

std::string JsonLine(const Delivery<Rows>& delivery, std::uint32_t date) {
  JsonWriter json;
  BeginJsonLine(json, kEffectFeed.name, std::to_wstring(date), delivery.server_time);
  WriteRecords(json, analytics::kMoneyEffectTable, delivery.data);
  json.EndObject();
  return json.Text();
}

Table TableOf(const Rows& rows) {
  Table table({{"time"}, {"average", Align::kRight}});
  for (const MoneyEffectItem& row : rows) {
    table.Add({{MinuteText(row.time), Tone::kDim}, {Signed(row.average, 4), ToneOf(row.average)}});
  }
  return table;
}

std::vector<StyledLine> Chart(const Rows& rows, std::uint32_t date, const ChartSize& size) {
  Curve curve{{}, Tone::kStrong, false};
  for (const MoneyEffectItem& row : rows) {
    curve.points.push_back({SessionMinute(row.time), row.average});
  }
  const StyledLine title = {{"Money-making effect", Tone::kStrong},
                            {"  " + DateText(date) + " " + MinuteText(rows.back().time) + "  "},
                            {Signed(rows.back().average, 4), ToneOf(rows.back().average)}};
  return SessionChart({curve}, 2, title, size);
}

int PrintEffect(const DailyOptions& options) {
  return RunDaily<Rows>(options, kEffectFeed, &GetMoneyEffect,
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

Runner SetUpEffect(CLI::App& app) {
  const auto options = std::make_shared<DailyOptions>();
  AddDailyOptions(app, *options);
  AddPlotOptions(app, options->plot);
  app.footer(kExamples);
  return [options] { return PrintEffect(*options); };
}

}  // namespace cli

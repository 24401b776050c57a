// What the commands that show one day's curve of the whole market have in common: a table of its minutes, a
// chart of them, one JSON line. Main thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cli/command.h"
#include "cli/daily_query.h"
#include "cli/follow.h"

namespace cli {

/// How such a curve looks to a person.
template <class Row>
struct DayCurveLook {
  Table (*table)(const std::vector<Row>& rows);
  std::vector<StyledLine> (*chart)(const std::vector<Row>& rows, std::uint32_t date, const ChartSize& size);
};

/// Adds the options of a command that shows the curve of a day, and `examples` at the end of its help.
/// `record_table` is that of the JSON lines.
template <class Row, class Service, class RecordTable>
Runner SetUpDayCurve(Form& form, const Feed& feed, Service* (*get)(), const RecordTable& record_table,
                     const DayCurveLook<Row>& look, const char* examples) {
  using Rows = std::vector<Row>;
  const auto options = std::make_shared<DailyOptions>();
  AddDailyOptions(form, *options);
  AddPlotOptions(form, options->plot);
  form.footer = examples;
  return [=, &feed, &record_table] {
    return RunDaily<Rows>(
        *options, feed, get, [&](QueryRun& run, const Delivery<Rows>& delivery, std::uint32_t date) {
          if (options->query.json) {
            run.output().WriteLine(RecordsLine(feed.name, std::to_wstring(date), delivery, record_table));
          } else if (!delivery.data.empty() && options->plot.plot) {
            run.Print(look.chart(delivery.data, date, options->plot.Size()));
          } else if (!delivery.data.empty()) {
            run.Print(look.table(delivery.data));
          }
          return !delivery.data.empty();
        });
  };
}

}  // namespace cli

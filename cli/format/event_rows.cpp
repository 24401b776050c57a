#include "cli/format/event_rows.h"

#include "cli/format/china_time.h"
#include "cli/views/trading_days.h"

namespace cli {

Table EventTable(const std::list<StockUnusualEventItem>& events) {
  Table table({{"time"}, {"event"}});
  for (const StockUnusualEventItem& event : events) {
    table.Add({{Printable(event.time), Tone::kDim}, {Printable(event.content)}});
  }
  return table;
}

std::string NoEventText(std::uint32_t date, std::int64_t time) {
  const std::string why = WhyNoFigures(date, time);
  return "no unusual event on " + DateText(date) + (why.empty() ? "" : ": " + why);
}

}  // namespace cli

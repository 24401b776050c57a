#include "cli/format/event_rows.h"

#include "cli/format/china_time.h"
#include "cli/views/symbols.h"
#include "cli/views/trading_days.h"
#include "host/text.h"

namespace cli {

Table EventTable(const std::list<StockUnusualEventItem>& events) {
  Table table({{"time"}, {"event"}});
  for (const StockUnusualEventItem& event : events) {
    table.Add({{Printable(event.time), Tone::kDim}, {Printable(event.content)}});
  }
  return table;
}

std::list<StockUnusualEventItem> EventsOf(const Security& security, std::list<StockUnusualEventItem> events) {
  if (security.type == stock::kSymbolStock) {
    std::erase_if(events, [&security](const StockUnusualEventItem& event) {
      return SymbolIn(common::ws2s(event.content, common::kUtf8)) != security.code;
    });
  }
  return events;
}

std::string NoEventText(std::uint32_t date, std::int64_t time) {
  const std::string why = WhyNoFigures(date, time);
  return "no unusual event on " + DateText(date) + (why.empty() ? "" : ": " + why);
}

}  // namespace cli

#include "cli/commands/index.h"

#include <memory>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "cli/follow.h"
#include "cli/format/china_time.h"
#include "cli/format/index_rows.h"
#include "cli/format/record_json.h"
#include "quotes/index_market_table.h"

namespace cli {
namespace {

using IndexList = std::vector<IndexMarketSummary>;

constexpr Feed kFeed{"index_market", "/pc/rt/stock_detail_list"};
constexpr const char* kExamples = R"(Examples:
  csm index                           three lines every three seconds, until Ctrl-C
  csm index --count 1                 the quotes of this moment
  csm index --json --for 60           a minute of JSON lines
  csm index --clock 09:29:50          the opening of the simulated market
  csm index --server https://host     another market server

A JSON line: {"service":"index_market","key":"","time":"2026-11-20T09:30:03+08:00","data":[{"code":"sh000001",...}]}
"time" is the server's. A figure that the server sent as null is null, and has its bit in "null_flags".)";

std::string JsonLine(const Delivery<IndexList>& delivery) {
  JsonWriter json;
  BeginJsonLine(json, kFeed.name, L"", delivery.server_time);
  WriteRecords(json, quotes::kIndexMarketSummaryTable, delivery.data);
  json.EndObject();
  return json.Text();
}

// A row for each quote, behind the time at which it arrived.
Table TableOf(const Delivery<IndexList>& delivery) {
  std::vector<Column> columns = IndexColumns();
  columns.insert(columns.begin(), Column{"time", Align::kLeft, 8});
  Table table(columns);
  std::string time = ClockTime(delivery.server_time);
  for (const IndexMarketSummary& quote : delivery.data) {
    std::vector<Cell> cells = IndexCells(quote);
    cells.insert(cells.begin(), Cell{time, Tone::kDim});
    table.Add(std::move(cells));
  }
  if (delivery.data.empty()) {
    table.Add({{time, Tone::kDim}, {"(no index in the answer)"}});
  }
  return table;
}

}  // namespace

int PrintIndices(const WatchOptions& options) {
  LineRun run(options, kFeed);
  IIndexMarket& market = Made(GetIndexMarket(), kFeed);
  bool has_header = false;
  const auto text_of = [&](const Delivery<IndexList>& delivery) {
    if (options.json) {
      return JsonLine(delivery);
    }
    const Table table = TableOf(delivery);
    std::string lines;
    if (!has_header) {
      lines = Render(table.Header(), run.palette()) + "\n";
      has_header = true;
    }
    lines += TextOf(table.Rows(), run.palette());
    lines.pop_back();
    return lines;
  };
  const Subscription<IIndexMarket, IndexList> subscription(
      market, run.loop(), [&](const Delivery<IndexList>& delivery) { run.OnUpdate(text_of(delivery)); });
  return run.Run([&market] { market.Refresh(); });
}

Runner SetUpIndex(Form& form) {
  const auto options = std::make_shared<WatchOptions>();
  AddWatchOptions(form, *options);
  form.footer = kExamples;
  return [options] { return PrintIndices(*options); };
}

}  // namespace cli

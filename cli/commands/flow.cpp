#include "cli/commands/flow.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "cli/format/china_time.h"
#include "cli/format/flow_rows.h"
#include "cli/format/record_json.h"
#include "cli/options.h"
#include "cli/query_run.h"
#include "cli/securities.h"
#include "cli/subscription.h"
#include "cli/trading_days.h"

namespace cli {
namespace {

constexpr const char* kExamples = R"(Examples:
  csm flow sh600000                  one, five and ten days
  csm flow sh600000 000001           several stocks; the market may be left out
  csm flow sh600000 --json           one JSON line a stock

Amounts in yuan, through big and through small orders; "net" is what came in less what went out.)";

struct FlowOptions {
  QueryOptions query;
  std::vector<std::string> symbols;
};

void WriteAmounts(JsonWriter& json, const FlowAmounts& amounts) {
  json.BeginObject();
  json.Key("big_in");
  json.Value(amounts.big_in);
  json.Key("big_out");
  json.Value(amounts.big_out);
  json.Key("small_in");
  json.Value(amounts.small_in);
  json.Key("small_out");
  json.Value(amounts.small_out);
  json.EndObject();
}

std::string JsonLine(const Delivery<StockInOutItem>& delivery) {
  const StockInOutItem& item = delivery.data;
  JsonWriter json;
  BeginJsonLine(json, kFlowFeed.name, item.symbol, delivery.server_time);
  json.BeginObject();
  json.Key("symbol");
  json.Value(item.symbol);
  json.Key("mtime");
  json.Value(item.mtime);
  for (const auto& [name, amounts] : kFlowPeriods) {
    json.Key(name);
    WriteAmounts(json, item.*amounts);
  }
  json.EndObject();
  json.EndObject();
  return json.Text();
}

class FlowQuery {
 public:
  explicit FlowQuery(const FlowOptions& options) : options_(options), run_(options.query, kFlowFeed) {}

  int Run() {
    return run_.Run(QueryRun::First::kLists, [this](IStockCommon& reference) { Ask(reference); });
  }

 private:
  using Flows = Subscription<IStockInOut, StockInOutItem>;

  struct Line {
    Security stock;
    std::optional<Delivery<StockInOutItem>> delivery;
  };

  void Ask(IStockCommon& reference) {
    for (const std::string& symbol : options_.symbols) {
      Security stock = FindSecurity(reference, symbol);
      if (stock.type != stock::kSymbolStock) {
        throw std::runtime_error(NoFlowsText(stock));
      }
      lines_.push_back({std::move(stock), {}});
    }
    IStockInOut* const service = GetStockInOut();
    if (service == nullptr) {
      throw std::runtime_error("the service of flows cannot be made");
    }
    for (const Line& line : lines_) {
      subscriptions_.push_back(std::make_unique<Flows>(
          *service, line.stock.code, run_.loop(),
          [this](const Delivery<StockInOutItem>& delivery) { OnUpdate(delivery); }, false));
    }
    service->Refresh();  // one request for all of them
  }

  void OnUpdate(const Delivery<StockInOutItem>& delivery) {
    for (Line& line : lines_) {
      if (line.stock.code == delivery.data.symbol) {
        line.delivery = delivery;
      }
    }
    const bool all =
        std::all_of(lines_.begin(), lines_.end(), [](const Line& line) { return line.delivery; });
    if (!all || run_.loop().ended()) {
      return;
    }
    if (options_.query.json) {
      for (const Line& line : lines_) {
        run_.output().WriteLine(JsonLine(*line.delivery));
      }
    } else {
      run_.Print(TableOf());
    }
    run_.TellClosed(SessionDate(delivery.server_time));
    run_.Finish();
  }

  [[nodiscard]] Table TableOf() const {
    std::vector<Column> columns = FlowColumns();
    columns.insert(columns.begin(), {{"code"}, {"name"}});
    Table table(columns);
    for (const Line& line : lines_) {
      for (std::vector<Cell>& row : FlowRows(line.delivery->data)) {
        row.insert(row.begin(), {{Printable(line.stock.code)}, {Printable(line.stock.name)}});
        table.Add(std::move(row));
      }
    }
    return table;
  }

  const FlowOptions& options_;
  QueryRun run_;
  std::vector<Line> lines_;
  std::vector<std::unique_ptr<Flows>> subscriptions_;
};

}  // namespace

Runner SetUpFlow(Form& form) {
  const auto options = std::make_shared<FlowOptions>();
  form.Add({.name = "SYMBOL",
            .help = "stocks: sh600000, 600000 or a name",
            .take = Into(options->symbols),
            .kind = Option::Kind::kSeveral,
            .is_required = true});
  AddQueryOptions(form, options->query);
  form.footer = kExamples;
  return [options] { return FlowQuery(*options).Run(); };
}

}  // namespace cli

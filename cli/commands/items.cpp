#include "cli/commands/items.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <string>

#include "c_stock_market.h"
#include "cli/follow.h"
#include "cli/format/record_json.h"
#include "cli/format/table.h"
#include "cli/options.h"
#include "cli/query_run.h"
#include "cli/row_range.h"
#include "cli/sort_options.h"
#include "cli/vocabulary.h"
#include "host/clock.h"

namespace cli {
namespace {

constexpr Feed kStockFeed{"stock_market", "/pc/rt/stock_price_list"};
constexpr Feed kPlateFeed{"plate_market", "/pc/rt/bk_price_list"};
constexpr const char* kStockExamples = R"(Examples:
  csm items stocks --sort code --asc        every A share by its code
  csm items stocks --board sme --rows 0:10  the ten stocks of a board that rose most
  csm items stocks --json                   one JSON line)";
constexpr const char* kPlateExamples = R"(Examples:
  csm items plates --kind concept --sort name   the concepts by name
  csm items plates --json                       one JSON line)";

struct ItemsOptions {
  QueryOptions query;
  SortOptions sort;
  int which = 1;  // board of stocks or kind of plates
  RowRange rows{0, RowRange::kOpen};
};

std::string JsonLine(const Feed& feed, const ItemsOptions& options, const std::string& what,
                     const CodeNameList& items) {
  const std::string key = "items " + what + " " + options.sort.Key() + " " + RowsText(options.rows);
  JsonWriter json;
  BeginJsonLine(json, feed.name, std::wstring(key.begin(), key.end()), common::GetCurrentServerTime());
  json.BeginArray();
  for (const auto& [code, name] : items) {
    json.BeginObject();
    json.Key("code");
    json.Value(code);
    json.Key("name");
    json.Value(name);
    json.EndObject();
  }
  json.EndArray();
  json.EndObject();
  return json.Text();
}

// The wanted rows: the server sends all.
CodeNameList RowsOf(const CodeNameList& items, const RowRange& rows) {
  const std::size_t end = std::min<std::size_t>(rows.end, items.size());
  const std::size_t start = std::min<std::size_t>(rows.start, end);
  return {items.begin() + static_cast<std::ptrdiff_t>(start),
          items.begin() + static_cast<std::ptrdiff_t>(end)};
}

using AskForItems = std::function<void(const CodeNameCallback&)>;

int PrintItems(const Feed& feed, const ItemsOptions& options, std::string_view what, const AskForItems& ask) {
  QueryRun run(options.query, feed);
  const auto show = [&](const CodeNameList& answer) {
    const CodeNameList items = RowsOf(answer, options.rows);
    if (options.query.json) {
      run.output().WriteLine(JsonLine(feed, options, std::string(what), items));
    } else {
      Table table({{"code", Align::kLeft, 8}, {"name"}});
      for (const auto& [code, name] : items) {
        table.Add({{Printable(code)}, {Printable(name)}});
      }
      run.Print(table);
      Say(std::to_string(items.size()) + " of " + std::to_string(answer.size()));
    }
    run.Finish();
  };
  return run.Run(QueryRun::First::kNothing, [&](IStockCommon&) {
    ask([&run, show](const CodeNameList& list) { run.loop().Post([show, list] { show(list); }); });
  });
}

int PrintStocks(const ItemsOptions& options) {
  return PrintItems(kStockFeed, options, NameOf(Boards(), options.which), [&](const CodeNameCallback& done) {
    Made(GetStockMarket(), kStockFeed)
        .FetchStockItems(options.sort.column, options.sort.direction, options.which, done);
  });
}

int PrintPlates(const ItemsOptions& options) {
  return PrintItems(kPlateFeed, options, NameOf(PlateKinds(), options.which),
                    [&](const CodeNameCallback& done) {
                      Made(GetPlateMarket(), kPlateFeed)
                          .FetchPlateItems(options.sort.column, options.sort.direction, options.which, done);
                    });
}

Runner SetUpItemsOfStocks(Form& form) {
  const auto options = std::make_shared<ItemsOptions>();
  options->sort.columns = StockColumns();
  AddChoice(form, "--board", Boards(), "the board, see below", options->which);
  AddSortOptions(form, options->sort);
  AddRowsOption(form, options->rows);
  AddQueryOptions(form, options->query);
  form.footer = ListOf("Boards", Boards()) + "\n\n" + ListOf("Columns to order by", StockColumns()) + "\n\n" +
                kStockExamples;
  return [options] { return PrintStocks(*options); };
}

Runner SetUpItemsOfPlates(Form& form) {
  const auto options = std::make_shared<ItemsOptions>();
  options->sort.columns = PlateColumns();
  AddChoice(form, "--kind", PlateKinds(), "industry or concept", options->which);
  AddSortOptions(form, options->sort);
  AddRowsOption(form, options->rows);
  AddQueryOptions(form, options->query);
  form.footer = ListOf("Columns to order by", PlateColumns()) + "\n\n" + kPlateExamples;
  return [options] { return PrintPlates(*options); };
}

}  // namespace

Runner SetUpItems(Form& form) {
  form.footer = "Examples:\n  csm items stocks --board gem\n  csm items plates";
  form.commands = {{"stocks", "The stocks of a board", &SetUpItemsOfStocks},
                   {"plates", "The plates of a kind", &SetUpItemsOfPlates}};
  return {};
}

}  // namespace cli

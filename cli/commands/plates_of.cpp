#include "cli/commands/plates_of.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/format/record_json.h"
#include "cli/format/table.h"
#include "cli/options.h"
#include "cli/reference_run.h"
#include "host/clock.h"
#include "host/text.h"

namespace cli {
namespace {

constexpr const char* kExamples = R"(Examples:
  csm plates-of sh600000           code and name of every plate
  csm plates-of 600000             the market may be left out
  csm plates-of sh600000 --json    one JSON line)";

using Plates = std::vector<std::pair<std::wstring, std::wstring>>;

struct PlatesOfOptions {
  QueryOptions query;
  std::string symbol;
};

// The stock that is meant: a symbol in lower case, or the first stock with those digits.
std::wstring Symbol(IStockCommon& reference, std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  const std::wstring symbol = common::s2ws(text, common::kUtf8);
  const std::vector<BaseInfoItem> stocks = reference.GetStockList(1);
  const auto found = std::find_if(stocks.begin(), stocks.end(), [&](const BaseInfoItem& stock) {
    return stock.code == L"sh" + symbol || stock.code == L"sz" + symbol;
  });
  return found != stocks.end() ? found->code : symbol;
}

std::string JsonLine(const std::wstring& symbol, const Plates& plates) {
  JsonWriter json;
  BeginJsonLine(json, "stock_common", symbol, common::GetCurrentServerTime());
  json.BeginArray();
  for (const auto& [code, name] : plates) {
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

int PrintPlates(const PlatesOfOptions& options) {
  ReferenceRun run(options.query);
  return run.Run(Needs::kLists, [&](IStockCommon& reference) {
    const std::wstring symbol = Symbol(reference, options.symbol);
    Plates plates;
    const bool found = reference.GetPlatesOfStock(symbol, plates);
    if (options.query.json) {
      run.output().WriteLine(JsonLine(symbol, plates));
    } else if (found) {
      Table table({{"code", Align::kLeft, 8}, {"name"}});
      for (const auto& [code, name] : plates) {
        table.Add({{Printable(code)}, {Printable(name)}});
      }
      run.Print(table);
    }
    if (!found) {
      Say("no plates are known of \"" + Printable(symbol) + "\"");
      return kFailure;
    }
    return kFine;
  });
}

}  // namespace

Runner SetUpPlatesOf(Form& form) {
  const auto options = std::make_shared<PlatesOfOptions>();
  form.Add({.name = "SYMBOL",
            .help = "a stock, sh600000 or 600000",
            .take = Into(options->symbol),
            .is_required = true});
  AddQueryOptions(form, options->query);
  form.footer = kExamples;
  return [options] { return PrintPlates(*options); };
}

}  // namespace cli

#include "cli/commands/lists.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cli/format/base_info.h"
#include "cli/format/record_json.h"
#include "cli/options.h"
#include "cli/reference_run.h"
#include "host/clock.h"

namespace cli {
namespace {

constexpr const char* kExamples = R"(Examples:
  csm lists stocks              all stocks; KIND 2 Shanghai, 3 Shenzhen, 4 GEM, 5 SME
  csm lists plates 2            the second kind of plates (concepts); the first are the industries
  csm lists indices 2           the indices of Shenzhen; 1 those of Shanghai
  csm lists stocks 4 --json     one JSON line

The type of a stock is its board: 1 other, 4 GEM, 5 SME, 6 main board. That of a plate is its kind.)";

struct List {
  std::string_view name;
  int kinds;
  const std::vector<BaseInfoItem>& (IStockCommon::*get)(int kind);
};
constexpr List kLists[] = {{"stocks", 5, &IStockCommon::GetStockList},
                           {"plates", 2, &IStockCommon::GetPlateList},
                           {"indices", 2, &IStockCommon::GetIndexList}};

struct ListsOptions {
  QueryOptions query;
  List list = kLists[0];
  int kind = 1;
};

List ListNamed(const std::string& name) {
  const auto* const found =
      std::find_if(std::begin(kLists), std::end(kLists), [&](const List& list) { return list.name == name; });
  if (found == std::end(kLists)) {
    throw UsageError("\"" + name + "\" is none of stocks, plates, indices");
  }
  return *found;
}

std::string JsonLine(const ListsOptions& options, const std::vector<BaseInfoItem>& items) {
  JsonWriter json;
  const std::wstring key(options.list.name.begin(), options.list.name.end());
  BeginJsonLine(json, "stock_common", key + L" " + std::to_wstring(options.kind),
                common::GetCurrentServerTime());
  json.BeginArray();
  for (const BaseInfoItem& item : items) {
    json.BeginObject();
    WriteBaseInfo(json, item);
    json.EndObject();
  }
  json.EndArray();
  json.EndObject();
  return json.Text();
}

int PrintList(const ListsOptions& options) {
  ReferenceRun run(options.query);
  return run.Run(Needs::kLists, [&](IStockCommon& reference) {
    const std::vector<BaseInfoItem> items = (reference.*options.list.get)(options.kind);
    if (options.query.json) {
      run.output().WriteLine(JsonLine(options, items));
      return kFine;
    }
    Table table(BaseInfoColumns());
    for (const BaseInfoItem& item : items) {
      table.Add(BaseInfoCells(item));
    }
    run.Print(table);
    Say(std::to_string(items.size()) + " " + std::string(options.list.name));
    return kFine;
  });
}

}  // namespace

Runner SetUpLists(Form& form) {
  const auto options = std::make_shared<ListsOptions>();
  form.Add({.name = "LIST",
            .help = "stocks, plates or indices",
            .take = [options = options.get()](const std::string& name) { options->list = ListNamed(name); },
            .is_required = true});
  form.Add({.name = "KIND",
            .help = "which of them, see below",
            .take = Into(options->kind, 1, 5),
            .value = "INT",
            .standard = std::to_string(options->kind)});
  form.checks.emplace_back([options = options.get()] {
    if (options->kind > options->list.kinds) {
      throw UsageError("KIND: there are " + std::to_string(options->list.kinds) + " kinds of " +
                       std::string(options->list.name));
    }
  });
  AddQueryOptions(form, options->query);
  form.footer = kExamples;
  return [options] { return PrintList(*options); };
}

}  // namespace cli

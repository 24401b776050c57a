#include "cli/commands/lists.h"

#include <CLI/Validators.hpp>
#include <memory>
#include <string>
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

struct ListsOptions {
  QueryOptions query;
  std::string list;
  int kind = 1;
};

const std::vector<BaseInfoItem>& Chosen(IStockCommon& reference, const ListsOptions& options) {
  if (options.list == "stocks") {
    return reference.GetStockList(options.kind);
  }
  return options.list == "plates" ? reference.GetPlateList(options.kind)
                                  : reference.GetIndexList(options.kind);
}

std::string JsonLine(const ListsOptions& options, const std::vector<BaseInfoItem>& items) {
  JsonWriter json;
  const std::wstring key(options.list.begin(), options.list.end());
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
    const std::vector<BaseInfoItem> items = Chosen(reference, options);
    if (options.query.json) {
      run.output().WriteLine(JsonLine(options, items));
      return kFine;
    }
    Table table(BaseInfoColumns());
    for (const BaseInfoItem& item : items) {
      table.Add(BaseInfoCells(item));
    }
    run.Print(table);
    Say(std::to_string(items.size()) + " " + options.list);
    return kFine;
  });
}

}  // namespace

Runner SetUpLists(CLI::App& app) {
  const auto options = std::make_shared<ListsOptions>();
  app.add_option("LIST", options->list, "stocks, plates or indices")
      ->required()
      ->check(CLI::IsMember({"stocks", "plates", "indices"}).description(""));
  app.add_option("KIND", options->kind, "which of them, see below")->capture_default_str();
  AddQueryOptions(app, options->query);
  app.footer(kExamples);
  return [options] { return PrintList(*options); };
}

}  // namespace cli

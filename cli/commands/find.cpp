#include "cli/commands/find.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "cli/format/base_info.h"
#include "cli/format/record_json.h"
#include "cli/options.h"
#include "cli/reference_run.h"
#include "cli/securities.h"
#include "host/clock.h"
#include "host/text.h"

namespace cli {
namespace {

constexpr const char* kExamples = R"(Examples:
  csm find 6000                 codes that begin so, with or without sh and sz
  csm find PAYH                 by the pinyin initials, in any case
  csm find 银行                 by a piece of the name
  csm find bank --limit 5       the five closest

The closest come first: the whole of a code, name or initials, then a beginning, then any piece.)";

struct FindOptions {
  QueryOptions query;
  std::string text;
  std::size_t limit = 20;
};

std::string JsonLine(const std::wstring& text, const std::vector<Match>& matches) {
  JsonWriter json;
  BeginJsonLine(json, "stock_common", L"find " + text, common::GetCurrentServerTime());
  json.BeginArray();
  for (const Match& match : matches) {
    json.BeginObject();
    json.Key("list");
    json.Value(match.list);
    WriteBaseInfo(json, *match.item);
    json.EndObject();
  }
  json.EndArray();
  json.EndObject();
  return json.Text();
}

int Find(const FindOptions& options) {
  ReferenceRun run(options.query);
  const std::wstring text = common::s2ws(options.text, common::kUtf8);
  return run.Run(Needs::kLists, [&](IStockCommon& reference) {
    const SecurityLists lists(reference);
    const std::vector<Match> matches = lists.Find(text, options.limit);
    if (options.query.json) {
      run.output().WriteLine(JsonLine(text, matches));
    } else if (!matches.empty()) {
      std::vector<Column> columns = BaseInfoColumns();
      columns.insert(columns.begin(), {"list"});
      Table table(columns);
      for (const Match& match : matches) {
        std::vector<Cell> cells = BaseInfoCells(*match.item);
        cells.insert(cells.begin(), {std::string(match.list), Tone::kDim});
        table.Add(std::move(cells));
      }
      run.Print(table);
    }
    if (matches.empty()) {
      Say("nothing is called \"" + Printable(text) + "\"");
      return kFailure;
    }
    return kFine;
  });
}

}  // namespace

Runner SetUpFind(Form& form) {
  const auto options = std::make_shared<FindOptions>();
  form.Add({.name = "TEXT",
            .help = "a piece of a code, of a name or of the pinyin initials",
            .take = Into(options->text),
            .is_required = true});
  form.Add({.name = "--limit",
            .help = "no more than so many",
            .take = Into(options->limit, 0, 1000000),
            .value = "N",
            .standard = std::to_string(options->limit)});
  AddQueryOptions(form, options->query);
  form.footer = kExamples;
  return [options] { return Find(*options); };
}

}  // namespace cli

#include "cli/format/base_info.h"

namespace cli {
namespace {

constexpr int kLongestText = 32;

using CodeName = CodeNameList::value_type;
constexpr auto kCodeNameTable =
    request::TableOf<CodeName>(request::Read("code", &CodeName::first, request::Text{}),
                               request::Read("name", &CodeName::second, request::Text{}));
constexpr auto kBaseInfoTable =
    request::TableOf<BaseInfoItem>(request::Read("code", &BaseInfoItem::code, request::Text{}),
                                   request::Read("name", &BaseInfoItem::name, request::Text{}),
                                   request::Read("pinyin", &BaseInfoItem::pinyin, request::Text{}),
                                   request::Read("type", &BaseInfoItem::type, request::Integer{}));

}  // namespace

Table BaseInfoTable(const std::vector<ListedItem>& items, bool with_list) {
  std::vector<Column> columns = {{"code", Align::kLeft, 8, kLongestText},
                                 {"name", Align::kLeft, 10, kLongestText},
                                 {"pinyin", Align::kLeft, 8, kLongestText},
                                 {"type", Align::kRight}};
  if (with_list) {
    columns.insert(columns.begin(), {"list"});
  }
  Table table(columns);
  for (const auto& [list, item] : items) {
    std::vector<Cell> cells = {{Printable(item.code)},
                               {Printable(item.name)},
                               {Printable(item.pinyin)},
                               {std::to_string(item.type)}};
    if (with_list) {
      cells.insert(cells.begin(), {std::string(list), Tone::kDim});
    }
    table.Add(std::move(cells));
  }
  return table;
}

Sheet BaseInfoSheet(const std::vector<ListedItem>& items, bool with_list) {
  return {[=](JsonWriter& json) {
            json.Array(items, [&](const ListedItem& item) {
              json.Object([&] {
                if (with_list) {
                  json.Member("list", item.first);
                }
                WriteMembers(json, kBaseInfoTable, item.second);
              });
            });
          },
          [=] {
            std::string text = (with_list ? "list," : "") + CsvHeader(kBaseInfoTable) + "\n";
            for (const auto& [list, item] : items) {
              text += (with_list ? std::string(list) + "," : "") + CsvLine(kBaseInfoTable, item) + "\n";
            }
            return text;
          }};
}

Table CodeNameTable(const CodeNameList& items) {
  Table table({{"code", Align::kLeft, 8}, {"name"}});
  for (const auto& [code, name] : items) {
    table.Add({{Printable(code)}, {Printable(name)}});
  }
  return table;
}

Sheet CodeNameSheet(const CodeNameList& items) {
  return SheetOf(kCodeNameTable, items);
}

}  // namespace cli

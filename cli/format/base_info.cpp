#include "cli/format/base_info.h"

#include <string>

namespace cli {
namespace {

constexpr int kLongestText = 32;

}  // namespace

std::vector<Column> BaseInfoColumns() {
  return {{"code", Align::kLeft, 8, kLongestText},
          {"name", Align::kLeft, 10, kLongestText},
          {"pinyin", Align::kLeft, 8, kLongestText},
          {"type", Align::kRight}};
}

std::vector<Cell> BaseInfoCells(const BaseInfoItem& item) {
  return {
      {Printable(item.code)}, {Printable(item.name)}, {Printable(item.pinyin)}, {std::to_string(item.type)}};
}

void WriteBaseInfo(JsonWriter& json, const BaseInfoItem& item) {
  json.Key("code");
  json.Value(item.code);
  json.Key("name");
  json.Value(item.name);
  json.Key("pinyin");
  json.Value(item.pinyin);
  json.Key("type");
  json.Value(item.type);
}

}  // namespace cli

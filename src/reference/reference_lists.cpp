#include "reference/reference_lists.h"

#include <algorithm>
#include <cwchar>
#include <string>
#include <utility>

#include "reference/base_info_table.h"
#include "request/record_reader.h"

namespace reference {
namespace {

using StockReader = request::RecordReader<kStockTable>;
using PlateReader = request::RecordReader<kPlateTable>;
using IndexReader = request::RecordReader<kIndexTable>;

wchar_t UpperAscii(wchar_t character) {
  return character >= L'a' && character <= L'z' ? static_cast<wchar_t>(character - L'a' + L'A') : character;
}

// Board of a stock: the number of its name, in any case; 1 for any other.
std::int32_t Board(const request::json::Value& value) {
  std::wstring name = value.Text();
  std::transform(name.begin(), name.end(), name.begin(), UpperAscii);
  if (name == L"MB") {
    return 6;
  }
  if (name == L"GEM") {
    return 4;
  }
  return name == L"SME" ? 5 : 1;
}

// Kind of a plate: 1 and 3 of the feed are our 1 and 2; its 2 is none of ours.
std::int32_t PlateKind(const request::json::Value& value) {
  switch (value.Integer()) {
    case 1:
      return 1;
    case 3:
      return 2;
    default:
      return 0;
  }
}

BaseInfoList ReadStocks(const request::json::Array& array) {
  BaseInfoList stocks;
  stocks.reserve(array.Size());
  array.ForEach([&stocks](const request::json::Value& element) {
    const request::json::Object object = element.AsObject();
    BaseInfoItem& stock = stocks.emplace_back();
    StockReader::Fill(stock, object);
    stock.type = Board(object.Member("b"));
  });
  return stocks;
}

}  // namespace

StockLists ReadStockLists(const request::json::Object& root) {
  return {ReadStocks(root.ArrayAt("sh")), ReadStocks(root.ArrayAt("sz"))};
}

PlateLists ReadPlateLists(const request::json::Object& root) {
  PlateLists plates;
  root.ArrayAt("bk_lists").ForEach([&plates](const request::json::Value& element) {
    const request::json::Object object = element.AsObject();
    const std::int32_t kind = PlateKind(object.Member("t"));
    if (kind == 0) {
      return;
    }
    BaseInfoItem& plate = (kind == 1 ? plates.kind1 : plates.kind2).emplace_back();
    PlateReader::Fill(plate, object);
    plate.type = kind;
  });
  return plates;
}

IndexLists ReadIndexLists(const request::json::Object& data) {
  IndexLists indices;
  for (const auto& [key, list] : {std::pair("sh", &indices.shanghai), std::pair("sz", &indices.shenzhen)}) {
    if (const request::json::Value value = data.Member(key); !value.IsUndefined()) {
      *list = IndexReader::ReadAll(value.AsArray());
    }
  }
  return indices;
}

HeldList::Pointer HeldList::Replace(Pointer list) {
  if (*list == Get()) {
    return list;
  }
  newest_ = (newest_ + 1) % generations_.size();
  return std::exchange(generations_[newest_], std::move(list));
}

}  // namespace reference

#include "reference/reference_lists.h"

#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>
#include <iterator>
#include <locale>
#include <string>
#include <string_view>
#include <utility>

#include "json/record_reader.h"
#include "reference/base_info_table.h"

namespace reference {
namespace {

constexpr std::int32_t kGem = 4;
constexpr std::int32_t kSme = 5;

using StockReader = request::RecordReader<kStockTable>;
using PlateReader = request::RecordReader<kPlateTable>;
using IndexReader = request::RecordReader<kIndexTable>;

// Board of a stock: the number of its name, in any case.
std::int32_t Board(const request::json::Value& value) {
  constexpr std::pair<std::wstring_view, std::int32_t> kBoards[] = {
      {L"MB", 6}, {L"GEM", kGem}, {L"SME", kSme}};
  const std::wstring name = value.Text();
  for (const auto& [board, number] : kBoards) {
    if (boost::algorithm::iequals(name, board, std::locale::classic())) {
      return number;
    }
  }
  return 1;
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

BaseInfoList OfBoard(const BaseInfoList& stocks, std::int32_t board) {
  BaseInfoList found;
  std::copy_if(stocks.begin(), stocks.end(), std::back_inserter(found),
               [board](const BaseInfoItem& stock) { return stock.type == board; });
  return found;
}

}  // namespace

StockLists ReadStockLists(const request::json::Object& root) {
  StockLists lists;
  lists.shanghai = ReadStocks(root.ArrayAt("sh"));
  lists.shenzhen = ReadStocks(root.ArrayAt("sz"));
  lists.all.reserve(lists.shanghai.size() + lists.shenzhen.size());
  for (const BaseInfoList* const exchange : {&lists.shanghai, &lists.shenzhen}) {
    lists.all.insert(lists.all.end(), exchange->begin(), exchange->end());
  }
  lists.gem = OfBoard(lists.all, kGem);
  lists.sme = OfBoard(lists.all, kSme);
  return lists;
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

}  // namespace reference

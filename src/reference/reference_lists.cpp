#include "reference/reference_lists.h"

#include <algorithm>
#include <array>
#include <boost/algorithm/string/predicate.hpp>
#include <cstddef>
#include <iterator>
#include <locale>
#include <string>
#include <string_view>
#include <utility>

#include "json/budget.h"
#include "json/record_reader.h"
#include "reference/base_info_table.h"

namespace reference {
namespace {

constexpr std::int32_t kGem = 4;
constexpr std::int32_t kSme = 5;

using StockReader = request::RecordReader<kStockTable>;
using PlateReader = request::RecordReader<kPlateTable>;
using IndexReader = request::RecordReader<kIndexTable>;

// Board of a stock: the number of its name, in any case. The name may take what is left, for a moment.
std::int32_t Board(const request::json::Value& value, request::json::Budget left) {
  constexpr std::pair<std::wstring_view, std::int32_t> kBoards[] = {
      {L"MB", 6}, {L"GEM", kGem}, {L"SME", kSme}};
  const std::wstring name = value.Text(left);
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

// Requires also for the other lists that a stock is in: that of all stocks, and perhaps that of its board.
BaseInfoList ReadStocks(const request::json::Array& array, request::json::Budget& budget) {
  BaseInfoList stocks;
  budget.Require(array.Size(), 2 * sizeof(BaseInfoItem));
  stocks.reserve(array.Size());
  StockReader::Plan plan;
  array.ForEach([&](const request::json::Value& element) {
    const request::json::Object object = element.AsObject();
    BaseInfoItem& stock = stocks.emplace_back();
    const std::size_t texts = StockReader::Fill(stock, object, plan, budget);
    budget.Require(1, texts);
    stock.type = Board(object.Member("b"), budget);
    if (stock.type == kGem || stock.type == kSme) {
      budget.Require(1, sizeof(BaseInfoItem) + texts);
    }
  });
  return stocks;
}

BaseInfoList OfBoard(const BaseInfoList& stocks, std::int32_t board) {
  const auto is_of_board = [board](const BaseInfoItem& stock) { return stock.type == board; };
  BaseInfoList found;
  found.reserve(static_cast<std::size_t>(std::count_if(stocks.begin(), stocks.end(), is_of_board)));
  std::copy_if(stocks.begin(), stocks.end(), std::back_inserter(found), is_of_board);
  return found;
}

}  // namespace

StockLists ReadStockLists(const request::json::Object& root) {
  StockLists lists;
  request::json::Budget budget(request::json::kMostSharedRecordMemory);
  lists.shanghai = ReadStocks(root.ArrayAt("sh"), budget);
  lists.shenzhen = ReadStocks(root.ArrayAt("sz"), budget);
  lists.all.reserve(lists.shanghai.size() + lists.shenzhen.size());
  for (const BaseInfoList* const exchange : {&lists.shanghai, &lists.shenzhen}) {
    lists.all.insert(lists.all.end(), exchange->begin(), exchange->end());
  }
  lists.gem = OfBoard(lists.all, kGem);
  lists.sme = OfBoard(lists.all, kSme);
  return lists;
}

PlateLists ReadPlateLists(const request::json::Object& root) {
  const request::json::Array array = root.ArrayAt("bk_lists");
  const auto kind_of = [](const request::json::Object& plate) { return PlateKind(plate.Member("t")); };
  std::array<std::size_t, 3> counts{};
  array.ForEach([&](const request::json::Value& element) {
    ++counts.at(static_cast<std::size_t>(kind_of(element.AsObject())));
  });
  request::json::Budget budget(request::json::kMostSharedRecordMemory);
  budget.Require(counts[1] + counts[2], sizeof(BaseInfoItem));
  PlateLists plates;
  plates.kind1.reserve(counts[1]);
  plates.kind2.reserve(counts[2]);
  PlateReader::Plan plan;
  array.ForEach([&](const request::json::Value& element) {
    const request::json::Object object = element.AsObject();
    const std::int32_t kind = kind_of(object);
    if (kind == 0) {
      return;
    }
    BaseInfoItem& plate = (kind == 1 ? plates.kind1 : plates.kind2).emplace_back();
    PlateReader::Fill(plate, object, plan, budget);
    plate.type = kind;
  });
  return plates;
}

IndexLists ReadIndexLists(const request::json::Object& data) {
  IndexLists indices;
  request::json::Budget budget(request::json::kMostSharedRecordMemory);
  for (const auto& [key, list] : {std::pair("sh", &indices.shanghai), std::pair("sz", &indices.shenzhen)}) {
    if (const request::json::Value value = data.Member(key); !value.IsUndefined()) {
      *list = IndexReader::ReadAll(value.AsArray(), budget);
    }
  }
  return indices;
}

}  // namespace reference

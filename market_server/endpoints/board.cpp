#include "endpoints/board.h"

#include <algorithm>
#include <cstddef>

namespace market_server::endpoints {
namespace {

using model::Board;
using model::Quote;

struct Column {
  std::string_view name;
  double (*number)(const Quote&);
  std::string_view (*text)(const Quote&);
};

constexpr Column kColumns[] = {
    {"code", nullptr, [](const Quote& q) -> std::string_view { return q.security->code; }},
    {"name", nullptr, [](const Quote& q) -> std::string_view { return q.security->name; }},
    {"last", [](const Quote& q) { return q.last; }, nullptr},
    {"change", [](const Quote& q) { return q.change; }, nullptr},
    {"diff", [](const Quote& q) { return q.diff; }, nullptr},
    {"b1p", [](const Quote& q) { return q.bids[0].price; }, nullptr},
    {"s1p", [](const Quote& q) { return q.asks[0].price; }, nullptr},
    {"tr", [](const Quote& q) { return q.tr; }, nullptr},
    {"amt", [](const Quote& q) { return q.amt; }, nullptr},
    {"vol", [](const Quote& q) { return static_cast<double>(q.vol); }, nullptr},
    {"pe", [](const Quote& q) { return q.pe; }, nullptr},
    {"high", [](const Quote& q) { return q.high; }, nullptr},
    {"low", [](const Quote& q) { return q.low; }, nullptr},
    {"open", [](const Quote& q) { return q.open; }, nullptr},
    {"preclose", [](const Quote& q) { return q.preclose; }, nullptr},
    {"amp", [](const Quote& q) { return q.amp; }, nullptr},
    {"qrr", [](const Quote& q) { return q.qrr; }, nullptr},
    {"cr", [](const Quote& q) { return q.cr; }, nullptr},
    {"mc", [](const Quote& q) { return q.mc; }, nullptr},
    {"lead", nullptr,
     [](const Quote& q) -> std::string_view {
       return q.lead == nullptr ? std::string_view{} : std::string_view(q.lead->name);
     }},
    {"lead_change", [](const Quote& q) { return q.lead_change; }, nullptr},
    {"bpin", [](const Quote& q) { return q.bpin; }, nullptr},
    {"cud", [](const Quote& q) { return static_cast<double>(q.cud); }, nullptr},
    {"five_change", [](const Quote& q) { return q.five_change; }, nullptr},
};
constexpr std::string_view kFallback = "change";

const Column& FindColumn(std::string_view name, bool plates) {
  const bool plates_only = name == "lead" || name == "lead_change" || name == "bpin" || name == "cud";
  const std::string_view wanted = plates_only && !plates ? kFallback : name;
  const Column* fallback = nullptr;
  for (const Column& column : kColumns) {
    if (column.name == wanted) return column;
    if (column.name == kFallback) fallback = &column;
  }
  return *fallback;
}

/// Sorts (key, row) pairs, so that each key is made once; equal keys keep the order of codes in both
/// directions.
template <class Key, class Get>
void SortBy(Rows& rows, bool ascending, Get&& get) {
  std::vector<std::pair<Key, const Quote*>> pairs;
  pairs.reserve(rows.size());
  for (const Quote* row : rows) pairs.emplace_back(get(*row), row);
  std::stable_sort(pairs.begin(), pairs.end(), [ascending](const auto& a, const auto& b) {
    return ascending ? a.first < b.first : b.first < a.first;
  });
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = pairs[i].second;
}

}  // namespace

Rows StocksOf(const model::BoardQuotes& board, std::string_view stock_type) {
  Rows rows;
  rows.reserve(board.stocks.size());
  for (const Quote& quote : board.stocks) {
    const Board of = quote.security->board;
    const bool shanghai = of == Board::shanghai_main || of == Board::star;
    const bool chosen = stock_type == "sh_a"   ? shanghai
                        : stock_type == "sz_a" ? !shanghai
                        : stock_type == "gem"  ? of == Board::growth
                        : stock_type == "sme"  ? of == Board::sme
                                               : true;
    if (chosen) rows.push_back(&quote);
  }
  return rows;
}

Rows PlatesOf(const model::BoardQuotes& board, std::string_view plate_type) {
  constexpr int kIndustry = 1;
  constexpr int kConcept = 3;
  Rows rows;
  for (const Quote& quote : board.plates) {
    const int kind = quote.security->plate_kind;
    const bool chosen = plate_type == "hy"   ? kind == kIndustry
                        : plate_type == "gn" ? kind == kConcept
                                             : kind == kIndustry || kind == kConcept;
    if (chosen) rows.push_back(&quote);
  }
  return rows;
}

void Sort(Rows& rows, std::string_view column_name, std::string_view direction) {
  if (rows.empty()) return;
  const Column& column = FindColumn(column_name, rows.front()->security->kind == model::Kind::plate);
  const bool ascending = direction == "asc";
  if (column.text != nullptr) {
    SortBy<std::string_view>(rows, ascending, column.text);
  } else {
    SortBy<double>(rows, ascending, column.number);
  }
}

Rows Page(const Rows& rows, std::int64_t start, std::int64_t end) {
  const auto size = static_cast<std::int64_t>(rows.size());
  const std::int64_t first = std::clamp<std::int64_t>(start, 0, size);
  const std::int64_t last = end < 0 ? size : std::clamp<std::int64_t>(end, first, size);
  return {rows.begin() + first, rows.begin() + last};
}

}  // namespace market_server::endpoints

#include "market_server/endpoints/board.h"

#include <algorithm>
#include <cstddef>
#include <vector>

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

/// Each key is made once, and only the rows up to `last` are put in order. Equal keys keep the order of codes
/// in both directions.
template <class Key, class Get>
Rows OrderBy(const Rows& rows, bool ascending, Get&& get, std::size_t first, std::size_t last) {
  struct Entry {
    Key key;
    std::uint32_t row;
  };
  std::vector<Entry> entries;
  entries.reserve(rows.size());
  for (const Quote* row : rows) entries.push_back({get(*row), static_cast<std::uint32_t>(entries.size())});
  const auto before = [ascending](const Entry& a, const Entry& b) {
    if (a.key < b.key) return ascending;
    if (b.key < a.key) return !ascending;
    return a.row < b.row;
  };
  const auto end = entries.begin() + static_cast<std::ptrdiff_t>(last);
  std::partial_sort(entries.begin(), end, entries.end(), before);
  Rows ordered;
  ordered.reserve(last - first);
  for (auto entry = entries.begin() + static_cast<std::ptrdiff_t>(first); entry != end; ++entry) {
    ordered.push_back(rows[entry->row]);
  }
  return ordered;
}

}  // namespace

Rows StocksOf(const model::BoardQuotes& board, std::string_view stock_type) {
  Rows rows;
  rows.reserve(board.stocks.size());
  for (const Quote& quote : board.stocks) {
    const Board of = quote.security->board;
    const bool shanghai = of == Board::kShanghaiMain || of == Board::kStar;
    const bool chosen = stock_type == "sh_a"   ? shanghai
                        : stock_type == "sz_a" ? !shanghai
                        : stock_type == "gem"  ? of == Board::kGrowth
                        : stock_type == "sme"  ? of == Board::kSme
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

Rows Page(const Rows& rows, std::string_view column_name, std::string_view direction, std::int64_t start,
          std::int64_t end) {
  if (rows.empty()) return {};
  const auto size = static_cast<std::int64_t>(rows.size());
  const std::int64_t first = std::clamp<std::int64_t>(start, 0, size);
  const std::int64_t last = end < 0 ? size : std::clamp<std::int64_t>(end, first, size);
  const Column& column = FindColumn(column_name, rows.front()->security->kind == model::Kind::kPlate);
  const bool ascending = direction == "asc";
  const auto from = static_cast<std::size_t>(first);
  const auto to = static_cast<std::size_t>(last);
  return column.text != nullptr ? OrderBy<std::string_view>(rows, ascending, column.text, from, to)
                                : OrderBy<double>(rows, ascending, column.number, from, to);
}

}  // namespace market_server::endpoints

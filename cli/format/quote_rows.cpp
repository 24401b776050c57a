#include "cli/format/quote_rows.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <span>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "ranking/plate_market_summary_table.h"
#include "ranking/stock_market_summary_table.h"

namespace cli {
namespace {

using Columns = std::vector<MemberColumn>;

constexpr int kLongestNumber = 20;
constexpr int kRankOfChange = 2;

// Everything that quotes have, in the order of a list's columns. What stands of a plate before a chart of it
// ranks high.
constexpr MemberColumn kFigures[] = {{"code", Writing::kText, 8, {}, 3},
                                     {"name", Writing::kText, 8, {}, 0},
                                     {"last", Writing::kPrice, 9, "diff", 1},
                                     {"diff", Writing::kSignedPrice, 8, {}, 5},
                                     {"change", Writing::kSignedPercent, 8, {}, kRankOfChange},
                                     {"bid1", Writing::kPrice, 9, {}, 12},
                                     {"ask1", Writing::kPrice, 9, {}, 12},
                                     {"num_u", Writing::kWhole, 5, {}, 5},
                                     {"num_z", Writing::kWhole, 5, {}, 5},
                                     {"num_d", Writing::kWhole, 5, {}, 5},
                                     {"lead", Writing::kText, 8, {}, 4},
                                     {"lead_change", Writing::kSignedPercent, 7, {}, 4},
                                     {"tr", Writing::kPercent, 7, {}, 6},
                                     {"vol", Writing::kAmount, 9, {}, 8},
                                     {"amt", Writing::kAmount, 9, {}, 7},
                                     {"open", Writing::kPrice, 8, {}, 9},
                                     {"high", Writing::kPrice, 8, {}, 9},
                                     {"low", Writing::kPrice, 8, {}, 9},
                                     {"preclose", Writing::kPrice, 8, {}, 10},
                                     {"amp", Writing::kPercent, 6, {}, 10},
                                     {"qrr", Writing::kRatio, 5, {}, 10},
                                     {"cr", Writing::kSignedPercent, 7, {}, 10},
                                     {"pe", Writing::kRatio, 7, {}, 11},
                                     {"pb", Writing::kRatio, 6, {}, 13},
                                     {"mc", Writing::kAmount, 8, {}, 11},
                                     {"cmc", Writing::kAmount, 8, {}, 13},
                                     {"tso", Writing::kAmount, 8, {}, 14},
                                     {"shares", Writing::kAmount, 8, {}, 14},
                                     {"status", Writing::kWhole, 0, {}, 15},
                                     {"plate", Writing::kText, 8, {}, 7},
                                     {"bpin", Writing::kAmount, 9, {}, 6},
                                     {"cud", Writing::kWhole, 4, {}, 7},
                                     {"avg_price", Writing::kPrice},
                                     {"limit_up", Writing::kPrice},
                                     {"limit_down", Writing::kPrice}};

// Those up to `last`, except `without`.
Columns Figures(std::string_view last, std::initializer_list<std::string_view> without) {
  Columns columns;
  for (const MemberColumn& column : kFigures) {
    if (std::find(without.begin(), without.end(), column.member) == without.end()) {
      columns.push_back(column);
    }
    if (column.member == last) {
      break;
    }
  }
  return columns;
}

Columns StockColumns(std::string_view last) {
  return Figures(last, {"num_u", "num_z", "num_d", "lead", "lead_change"});
}

Columns ColumnsFor(std::initializer_list<std::string_view> members) {
  Columns columns;
  std::transform(members.begin(), members.end(), std::back_inserter(columns), &FigureColumn);
  return columns;
}

constexpr auto kPlateName = request::TableOf<OptionalMarketItem>(
    request::Read("", "plate", &OptionalMarketItem::plate, request::Text{}));

// Rows whose cells `cells` makes.
template <class Records, class ToCells>
Table TableOf(const Records& records, const std::vector<Column>& columns, ToCells&& cells) {
  Table table(columns);
  for (const auto& record : records) {
    table.Add(cells(record));
  }
  return table;
}

template <class RecordTable, class Records>
Table TableAfter(const RecordTable& table, const Records& records, const Columns& columns) {
  return TableOf(records, ColumnsOf(columns),
                 [&](const auto& record) { return CellsOf(table, record, columns); });
}

// The same with the number of the row in front.
template <class RecordTable, class Records>
Table NumberedTable(const RecordTable& table, const Records& records, const Numbering& numbering,
                    std::span<const MemberColumn> columns) {
  std::vector<Column> numbered = ColumnsOf(columns);
  numbered.insert(numbered.begin(), {numbering.title, Align::kRight, 0, kLongestNumber, 8});
  std::size_t number = numbering.first;
  return TableOf(records, numbered, [&](const auto& record) {
    std::vector<Cell> cells = CellsOf(table, record, columns);
    cells.insert(cells.begin(), {std::to_string(number++), Tone::kDim});
    return cells;
  });
}

Columns Favouring(std::string_view sorted_by, Columns columns) {
  for (MemberColumn& column : columns) {
    if (column.member == sorted_by) {
      column.rank = std::min(column.rank, kRankOfChange);
    }
  }
  return columns;
}

}  // namespace

MemberColumn FigureColumn(std::string_view member) {
  const auto* const found = std::find_if(std::begin(kFigures), std::end(kFigures),
                                         [&](const MemberColumn& column) { return column.member == member; });
  return found == std::end(kFigures) ? MemberColumn{member} : *found;
}

ListLook::ListLook(std::vector<MemberColumn> all, std::vector<std::string_view> usual)
    : all_(std::move(all)), usual_(std::move(usual)) {}

std::vector<MemberColumn> ListLook::Usual(std::string_view sorted_by) const {
  std::vector<MemberColumn> columns;
  for (const MemberColumn& column : all_) {
    const bool is_usual = std::find(usual_.begin(), usual_.end(), column.member) != usual_.end();
    if (is_usual || column.member == sorted_by) {
      columns.push_back(column);
    }
  }
  return Favouring(sorted_by, columns);
}

std::vector<MemberColumn> ListLook::All(std::string_view sorted_by) const {
  return Favouring(sorted_by, all_);
}

std::vector<MemberColumn> ListLook::Chosen(const std::string& names) const {
  if (names == "all") {
    return all_;
  }
  std::vector<MemberColumn> columns;
  std::istringstream stream(names);
  for (std::string name; std::getline(stream, name, ',');) {
    const auto found = std::find_if(all_.begin(), all_.end(),
                                    [&](const MemberColumn& column) { return column.member == name; });
    if (found == all_.end()) {
      std::string right = "all";
      for (const MemberColumn& column : all_) {
        right += ", " + std::string(column.member);
      }
      throw std::invalid_argument("\"" + name + "\" is not one of " + right);
    }
    columns.push_back(*found);
    columns.back().rank = static_cast<int>(columns.size());
  }
  return columns;
}

const ListLook& BoardLook() {
  static const ListLook look(StockColumns("status"),
                             {"code", "name", "last", "diff", "change", "tr", "vol", "amt"});
  return look;
}

const ListLook& PlatesLook() {
  static const ListLook look(
      Figures("mc", {"bid1", "ask1", "pb"}),
      {"code", "name", "last", "change", "num_u", "num_z", "num_d", "lead", "lead_change", "amt"});
  return look;
}

const ListLook& WatchListLook() {
  static const ListLook look(StockColumns("plate"),
                             {"code", "name", "last", "diff", "change", "tr", "vol", "amt", "plate"});
  return look;
}

Table BoardTable(const std::vector<StockMarketItem>& quotes, const std::vector<MemberColumn>& columns) {
  return TableAfter(quotes::kFigureTable, quotes, columns);
}

Table PlateTable(const std::vector<StockMarketItem>& plates, const std::vector<MemberColumn>& columns) {
  return TableAfter(quotes::kPlateTable, plates, columns);
}

Table WatchListTable(const std::vector<OptionalMarketItem>& quotes,
                     const std::vector<MemberColumn>& columns) {
  return TableOf(quotes, ColumnsOf(columns), [&](const OptionalMarketItem& quote) {
    std::vector<Cell> cells = CellsOf(quotes::kFigureTable, quote, columns);
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (const auto plate = FindMember(kPlateName, quote, columns[i].member)) {
        cells[i] = CellOf(*plate, columns[i], {});
      }
    }
    return cells;
  });
}

std::string MissingFrom(const std::vector<OptionalMarketItem>& quotes,
                        const std::vector<std::wstring>& list) {
  std::string missing;
  for (const std::wstring& symbol : list) {
    const bool is_there = std::any_of(quotes.begin(), quotes.end(),
                                      [&](const OptionalMarketItem& quote) { return quote.code == symbol; });
    if (!is_there) {
      missing += (missing.empty() ? "" : " ") + Printable(symbol);
    }
  }
  return missing;
}

Table RankedTable(const std::vector<StockMarketSummary>& stocks, const Numbering& numbering) {
  return NumberedTable(ranking::kStockMarketSummaryTable, stocks, numbering,
                       ColumnsFor({"code", "name", "last", "diff", "change", "tr"}));
}

Table RankedTable(const std::vector<PlateMarketSummary>& plates) {
  Columns columns = ColumnsFor({"name", "change", "bpin", "cud", "lead", "lead_change"});
  MemberColumn code = FigureColumn("code");
  code.member = "bk";
  code.title = "code";
  columns.insert(columns.begin(), code);
  return NumberedTable(ranking::kPlateMarketSummaryTable, plates, {}, columns);
}

}  // namespace cli

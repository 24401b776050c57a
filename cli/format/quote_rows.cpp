#include "cli/format/quote_rows.h"

#include <algorithm>
#include <span>
#include <sstream>
#include <utility>

#include "cli/args/option.h"
#include "cli/format/quote_tables.h"
#include "ranking/plate_market_summary_table.h"
#include "ranking/stock_market_summary_table.h"

namespace cli {
namespace {

using Columns = std::vector<MemberColumn>;

constexpr MemberColumn kCode{"code", Writing::kText, 8};
constexpr MemberColumn kName{"name", Writing::kText, 8};
constexpr MemberColumn kLead{"lead", Writing::kText, 8};
constexpr MemberColumn kLast{"last", Writing::kPrice, 9, "diff"};
constexpr MemberColumn kChange{"change", Writing::kSignedPercent, 8};
constexpr MemberColumn kDiff{"diff", Writing::kSignedPrice, 8};
constexpr MemberColumn kTr{"tr", Writing::kPercent, 7};
constexpr MemberColumn kLeadChange{"lead_change", Writing::kSignedPercent, 7};

constexpr MemberColumn kAmt{"amt", Writing::kAmount, 9};
constexpr MemberColumn kVol{"vol", Writing::kAmount, 9};
constexpr MemberColumn kPe{"pe", Writing::kRatio, 7};
constexpr MemberColumn kHigh{"high", Writing::kPrice, 8};
constexpr MemberColumn kLow{"low", Writing::kPrice, 8};
constexpr MemberColumn kOpen{"open", Writing::kPrice, 8};
constexpr MemberColumn kPreclose{"preclose", Writing::kPrice, 8};
constexpr MemberColumn kAmp{"amp", Writing::kPercent, 6};
constexpr MemberColumn kQrr{"qrr", Writing::kRatio, 5};
constexpr MemberColumn kCr{"cr", Writing::kSignedPercent, 7};
constexpr MemberColumn kMc{"mc", Writing::kAmount, 8};
constexpr MemberColumn kNumU{"num_u", Writing::kWhole, 5};
constexpr MemberColumn kNumZ{"num_z", Writing::kWhole, 5};
constexpr MemberColumn kNumD{"num_d", Writing::kWhole, 5};

Columns StockColumns() {
  return {kCode,
          kName,
          kLast,
          kDiff,
          kChange,
          {"bid1", Writing::kPrice, 9},
          {"ask1", Writing::kPrice, 9},
          kTr,
          kVol,
          kAmt,
          kOpen,
          kHigh,
          kLow,
          kPreclose,
          kAmp,
          kQrr,
          kCr,
          kPe,
          {"pb", Writing::kRatio, 6},
          kMc,
          {"cmc", Writing::kAmount, 8},
          {"tso", Writing::kAmount, 8},
          {"shares", Writing::kAmount, 8},
          {"status", Writing::kWhole}};
}

Columns PlateColumns() {
  return {kCode, kName, kLast, kDiff, kChange, kNumU,     kNumZ, kNumD, kLead, kLeadChange, kTr,
          kVol,  kAmt,  kOpen, kHigh, kLow,    kPreclose, kAmp,  kQrr,  kCr,   kPe,         kMc};
}

Columns WithPlate() {
  Columns columns = StockColumns();
  columns.push_back({"plate", Writing::kText, 8});
  return columns;
}

constexpr auto kPlateName = request::TableOf<OptionalMarketItem>(
    request::Read("", "plate", &OptionalMarketItem::plate, request::Text{}));

template <class Records, class ToCells>
std::vector<StyledLine> LinesOf(const Records& records, const std::vector<Column>& columns, ToCells&& cells) {
  if (records.empty()) {
    return {{{"(no row)", Tone::kDim}}};
  }
  Table table(columns);
  for (const auto& record : records) {
    table.Add(cells(record));
  }
  return table.Lines();
}

template <class RecordTable, class Records>
std::vector<StyledLine> LinesAfter(const RecordTable& table, const Records& records, const Columns& columns) {
  return LinesOf(records, ColumnsOf(columns),
                 [&](const auto& record) { return CellsOf(table, record, columns); });
}

// The same with the number of the row in front.
template <class RecordTable, class Records>
std::vector<StyledLine> NumberedLines(const RecordTable& table, const Records& records,
                                      const Numbering& numbering, std::span<const MemberColumn> columns) {
  std::vector<Column> numbered = ColumnsOf(columns);
  numbered.insert(numbered.begin(), {numbering.title, Align::kRight});
  std::size_t number = numbering.first;
  return LinesOf(records, numbered, [&](const auto& record) {
    std::vector<Cell> cells = CellsOf(table, record, columns);
    cells.insert(cells.begin(), {std::to_string(number++), Tone::kDim});
    return cells;
  });
}

}  // namespace

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
  return columns;
}

std::vector<MemberColumn> ListLook::Fitting(std::string_view sorted_by, int width) const {
  constexpr std::size_t kAlways = 3;
  std::vector<std::string_view> wanted(
      usual_.begin(), usual_.begin() + static_cast<std::ptrdiff_t>(std::min(kAlways, usual_.size())));
  const auto want = [&wanted](std::string_view name) {
    if (std::find(wanted.begin(), wanted.end(), name) == wanted.end()) {
      wanted.push_back(name);
    }
  };
  want(sorted_by);
  std::for_each(usual_.begin(), usual_.end(), want);
  for (const MemberColumn& column : all_) {
    want(column.member);
  }
  std::vector<bool> fits(all_.size());
  for (const std::string_view name : wanted) {
    const auto found = std::find_if(all_.begin(), all_.end(),
                                    [&](const MemberColumn& column) { return column.member == name; });
    if (found == all_.end()) {
      continue;
    }
    width -= std::max(found->min_width, DisplayWidth(std::string(name))) + kColumnGap;
    if (width + kColumnGap < 0) {
      break;
    }
    fits[static_cast<std::size_t>(found - all_.begin())] = true;
  }
  std::vector<MemberColumn> columns;
  for (std::size_t i = 0; i < all_.size(); ++i) {
    if (fits[i]) {
      columns.push_back(all_[i]);
    }
  }
  return columns;
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
      throw UsageError("\"" + name + "\" is none of " + right);
    }
    columns.push_back(*found);
  }
  return columns;
}

const ListLook& BoardLook() {
  static const ListLook look(StockColumns(), {"code", "name", "last", "diff", "change", "tr", "vol", "amt"});
  return look;
}

const ListLook& PlatesLook() {
  static const ListLook look(PlateColumns(), {"code", "name", "last", "change", "num_u", "num_z", "num_d",
                                              "lead", "lead_change", "amt"});
  return look;
}

const ListLook& WatchListLook() {
  static const ListLook look(WithPlate(),
                             {"code", "name", "last", "diff", "change", "tr", "vol", "amt", "plate"});
  return look;
}

std::vector<StyledLine> BoardLines(const std::vector<StockMarketItem>& quotes,
                                   const std::vector<MemberColumn>& columns) {
  return LinesAfter(quotes::kFigureTable, quotes, columns);
}

std::vector<StyledLine> PlateLines(const std::vector<StockMarketItem>& plates,
                                   const std::vector<MemberColumn>& columns) {
  return LinesAfter(quotes::kPlateTable, plates, columns);
}

std::vector<StyledLine> WatchListLines(const std::vector<OptionalMarketItem>& quotes,
                                       const std::vector<MemberColumn>& columns) {
  return LinesOf(quotes, ColumnsOf(columns), [&](const OptionalMarketItem& quote) {
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

std::vector<StyledLine> RankedStockLines(const std::vector<StockMarketSummary>& stocks,
                                         const Numbering& numbering) {
  static constexpr MemberColumn kColumns[] = {kCode, kName, kLast, kDiff, kChange, kTr};
  return NumberedLines(ranking::kStockMarketSummaryTable, stocks, numbering, kColumns);
}

std::vector<StyledLine> RankedPlateLines(const std::vector<PlateMarketSummary>& plates) {
  static constexpr MemberColumn kColumns[] = {
      {"bk", Writing::kText, 8},   kName, kChange,    {"bpin", Writing::kAmount, 9},
      {"cud", Writing::kWhole, 4}, kLead, kLeadChange};
  return NumberedLines(ranking::kPlateMarketSummaryTable, plates, {}, kColumns);
}

}  // namespace cli

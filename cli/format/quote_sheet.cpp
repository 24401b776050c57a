#include "cli/format/quote_sheet.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "cli/format/figures.h"
#include "cli/format/price_limits.h"
#include "cli/format/quote_tables.h"
#include "cli/format/record_rows.h"
#include "cli/format/words.h"

namespace cli {
namespace {

constexpr int kGap = 3;
// Of the order book.
constexpr int kNameWidth = 4;
constexpr int kPriceWidth = 10;
constexpr int kVolumeWidth = 13;

constexpr MemberColumn kPrices[] = {{"open", Writing::kPrice},       {"high", Writing::kPrice},
                                    {"low", Writing::kPrice},        {"preclose", Writing::kPrice},
                                    {"avg_price", Writing::kPrice},  {"limit_up", Writing::kPrice},
                                    {"limit_down", Writing::kPrice}, {"amp", Writing::kPercent},
                                    {"pe", Writing::kRatio},         {"pb", Writing::kRatio}};
constexpr MemberColumn kTrade[] = {
    {"vol", Writing::kAmount}, {"amt", Writing::kAmount},       {"tr", Writing::kPercent},
    {"qrr", Writing::kRatio},  {"cr", Writing::kSignedPercent}, {"mc", Writing::kAmount},
    {"cmc", Writing::kAmount}, {"tso", Writing::kAmount},       {"shares", Writing::kAmount}};
// An index has no book and nothing that is derived from one.
constexpr MemberColumn kIndexPrices[] = {{"open", Writing::kPrice},  {"high", Writing::kPrice},
                                         {"low", Writing::kPrice},   {"preclose", Writing::kPrice},
                                         {"amp", Writing::kPercent}, {"pe", Writing::kRatio}};
constexpr MemberColumn kIndexTrade[] = {{"vol", Writing::kAmount},       {"amt", Writing::kAmount},
                                        {"tr", Writing::kPercent},       {"qrr", Writing::kRatio},
                                        {"cr", Writing::kSignedPercent}, {"mc", Writing::kAmount}};

bool IsPriceOfTheDay(std::string_view member) {
  static constexpr std::string_view kOfTheDay[] = {"open", "high", "low", "avg_price"};
  return std::find(std::begin(kOfTheDay), std::end(kOfTheDay), member) != std::end(kOfTheDay);
}

// The colour of a price: red above the previous close, green below it.
Tone ToneOfPrice(double price, const StockMarketItem& quote) {
  if (!quote.preclose.present) {
    return Tone::kPlain;
  }
  // Closer than half a tick is the same price.
  const double difference = price - quote.preclose.value;
  return difference > -0.005 && difference < 0.005 ? Tone::kPlain : ToneOf(difference);
}

Cell CellOfMember(const StockMarketItem& quote, const MemberColumn& column) {
  const MemberValue value = FindMember(kSingleQuoteTable, quote, column.member).value_or(MemberValue());
  Cell cell = CellOf(value, column, {});
  if (!value.moves) {
    cell.text += ' ';  // below the figures with room for a mark
  }
  if (value.figure && IsPriceOfTheDay(column.member)) {
    cell.tone = ToneOfPrice(*value.figure, quote);
  }
  return cell;
}

Table Names(const StockMarketItem& quote, std::span<const MemberColumn> columns) {
  Table table({{"", Align::kLeft, 10}, {"", Align::kRight, 10}});
  for (const MemberColumn& column : columns) {
    table.Add({{LabelOf(column.member), Tone::kDim}, CellOfMember(quote, column)});
  }
  return table;
}

const char* MarkOf(int direction) {
  if (direction == 0) {
    return " ";
  }
  return direction > 0 ? kRose : kFell;
}

template <class Type>
BookLevel<Type> LevelOf(const std::vector<BookLevel<Type>>& side, std::size_t index) {
  return index < side.size() ? side[index] : BookLevel<Type>();
}

std::vector<Cell> BookRow(const StockMarketItem& quote, const std::string& name,
                          const BookLevel<float>& price, const BookLevel<std::uint32_t>& volume) {
  Cell price_cell{std::string(kNoFigure) + " "};
  if (price.present) {
    price_cell = {Fixed(price.value, 2) + MarkOf(price.direction), ToneOfPrice(price.value, quote)};
  }
  Cell volume_cell{std::string(kNoFigure) + " "};
  if (volume.present) {
    volume_cell = {Fixed(volume.value, 0) + MarkOf(volume.direction), ToneOf(volume.direction)};
  }
  return {{name, Tone::kDim}, price_cell, volume_cell};
}

Table MembersOf(const StockMarketItem& quote) {
  Table table({{"", Align::kLeft, 10}, {"", Align::kRight, 10}});
  const auto add = [&](const char* name, const MemberColumn& column, Tone tone) {
    Cell cell = CellOfMember(quote, column);
    cell.tone = cell.tone == Tone::kPlain ? tone : cell.tone;
    table.Add({{name, Tone::kDim}, cell});
  };
  add("up", {"num_u", Writing::kWhole}, Tone::kRise);
  add("unchanged", {"num_z", Writing::kWhole}, Tone::kPlain);
  add("down", {"num_d", Writing::kWhole}, Tone::kFall);
  table.Add({{"leads", Tone::kDim}, {quote.lead.empty() ? kNoFigure : Printable(quote.lead) + " "}});
  add("", {"lead_change", Writing::kSignedPercent}, Tone::kPlain);
  return table;
}

StyledLine NameLine(const StockMarketItem& quote) {
  return {{Printable(quote.code) + "  "}, {Printable(quote.name), Tone::kStrong}};
}

void AddStatus(StyledLine& line, const StockMarketItem& quote) {
  const std::string status = StatusText(quote.status);
  if (!status.empty()) {
    line.push_back({"  " + status, Tone::kWarning});
  }
}

StyledLine Headline(const StockMarketItem& quote) {
  StyledLine line = NameLine(quote);
  line.push_back({"   "});
  const StyledLine price = PriceLine(quote);
  line.insert(line.end(), price.begin(), price.end());
  AddStatus(line, quote);
  TrimEnd(line);
  return line;
}

// The book with a line between offers and bids.
std::vector<StyledLine> LinesBeside(const StockMarketItem& quote, const Table& beside) {
  std::vector<StyledLine> lines = beside.Rows();
  if (quote.symbol_type == stock::kSymbolStock) {
    const std::string rule(kNameWidth + kPriceWidth + kVolumeWidth + 2 * kColumnGap, '-');
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(request::kBookLevels), {{rule, Tone::kDim}});
  }
  return lines;
}

Table BookOf(const StockMarketItem& quote) {
  constexpr std::size_t kLevels = request::kBookLevels;
  Table table(
      {{"", Align::kLeft, kNameWidth}, {"", Align::kRight, kPriceWidth}, {"", Align::kRight, kVolumeWidth}});
  for (std::size_t level = kLevels; level-- > 0;) {
    table.Add(BookRow(quote, "ask" + std::to_string(level + 1), LevelOf(quote.ask_prices, level),
                      LevelOf(quote.ask_volumes, level)));
  }
  for (std::size_t level = 0; level < kLevels; ++level) {
    table.Add(BookRow(quote, "bid" + std::to_string(level + 1), LevelOf(quote.bid_prices, level),
                      LevelOf(quote.bid_volumes, level)));
  }
  return table;
}

QuoteTables TablesOf(const StockMarketItem& quote) {
  if (quote.symbol_type == stock::kSymbolStock) {
    return {Names(quote, kPrices), Names(quote, kTrade), BookOf(quote)};
  }
  return {Names(quote, kIndexPrices), Names(quote, kIndexTrade), MembersOf(quote)};
}

}  // namespace

std::string StatusText(stock::StockStatus status) {
  switch (static_cast<int>(status)) {
    case 1:
    case 2:
    case 3:
    case 4:
    case 7:
      return "suspended";
    case 5:
      return "newly listed";
    case 6:
      return "ex rights";
    default:
      return "";
  }
}

std::vector<StyledLine> BookLines(const StockMarketItem& quote) {
  return LinesBeside(quote, BookOf(quote));
}

QuoteTables QuoteTablesOf(const StockMarketItem& quote) {
  return TablesOf(WithLimitsOfBoard(quote));
}

StyledLine PriceLine(const StockMarketItem& quote) {
  const auto cell = [&](const char* member, Writing writing, const char* toned_by) {
    const MemberColumn column{member, writing, 0, toned_by};
    return CellsOf(kSingleQuoteTable, quote, std::span(&column, 1)).front();
  };
  StyledLine line = {cell("last", Writing::kPrice, "diff")};
  line.push_back({"  "});
  line.push_back(cell("diff", Writing::kSignedPrice, ""));
  line.push_back({"  "});
  line.push_back(cell("change", Writing::kSignedPercent, ""));
  return line;
}

std::vector<StyledLine> QuoteSheet(const StockMarketItem& delivered) {
  const StockMarketItem quote = WithLimitsOfBoard(delivered);
  const QuoteTables tables = TablesOf(quote);
  std::vector<StyledLine> lines = SideBySide(SideBySide(tables.prices.Rows(), tables.trade.Rows(), kGap),
                                             LinesBeside(quote, tables.beside), kGap);
  lines.insert(lines.begin(), Headline(quote));
  return lines;
}

std::vector<StyledLine> NarrowQuoteSheet(const StockMarketItem& delivered) {
  const StockMarketItem quote = WithLimitsOfBoard(delivered);
  const QuoteTables tables = TablesOf(quote);
  std::vector<StyledLine> lines = {NameLine(quote), PriceLine(quote)};
  AddStatus(lines.front(), quote);
  TrimEnd(lines.back());
  for (const std::vector<StyledLine>& block :
       {LinesBeside(quote, tables.beside), tables.trade.Rows(), tables.prices.Rows()}) {
    lines.insert(lines.end(), block.begin(), block.end());
  }
  return lines;
}

}  // namespace cli

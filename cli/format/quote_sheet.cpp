#include "cli/format/quote_sheet.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "cli/format/figures.h"
#include "cli/format/price_limits.h"
#include "cli/format/quote_rows.h"
#include "cli/format/record_rows.h"
#include "cli/format/record_tables.h"
#include "cli/format/words.h"

namespace cli {
namespace {

constexpr int kGap = 3;
// Of the order book.
constexpr int kNameWidth = 4;
constexpr int kPriceWidth = 10;
constexpr int kVolumeWidth = 13;

using Members = std::span<const std::string_view>;

constexpr std::string_view kPrices[] = {"open",     "high",       "low", "preclose", "avg_price",
                                        "limit_up", "limit_down", "amp", "pe",       "pb"};
constexpr std::string_view kTrade[] = {"vol", "amt", "tr", "qrr", "cr", "mc", "cmc", "tso", "shares"};
// An index has no book and nothing that is derived from one.
constexpr std::string_view kIndexPrices[] = {"open", "high", "low", "preclose", "amp", "pe"};
constexpr std::string_view kIndexTrade[] = {"vol", "amt", "tr", "qrr", "cr", "mc"};

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

Cell CellOfMember(const StockMarketItem& quote, std::string_view member) {
  const MemberValue value = FindMember(kSingleQuoteTable, quote, member).value_or(MemberValue());
  Cell cell = CellOf(value, FigureColumn(member), {});
  if (!value.moves) {
    cell.text += ' ';  // below the figures with room for a mark
  }
  if (value.figure && IsPriceOfTheDay(member)) {
    cell.tone = ToneOfPrice(*value.figure, quote);
  }
  return cell;
}

Table Names(const StockMarketItem& quote, Members members) {
  Table table({{"", Align::kLeft, 10}, {"", Align::kRight, 10}});
  for (const std::string_view member : members) {
    table.Add({{LabelOf(member), Tone::kDim}, CellOfMember(quote, member)});
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
  const auto add = [&](const char* name, std::string_view member, Tone tone) {
    Cell cell = CellOfMember(quote, member);
    cell.tone = cell.tone == Tone::kPlain ? tone : cell.tone;
    table.Add({{name, Tone::kDim}, cell});
  };
  add("up", "num_u", Tone::kRise);
  add("unchanged", "num_z", Tone::kPlain);
  add("down", "num_d", Tone::kFall);
  table.Add({{"leads", Tone::kDim}, {quote.lead.empty() ? kNoFigure : Printable(quote.lead) + " "}});
  add("", "lead_change", Tone::kPlain);
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
  const int number = status;
  if (number == 5) {
    return "newly listed";
  }
  if (number == 6) {
    return "ex rights";
  }
  return number >= 1 && number <= 7 ? "suspended" : "";
}

QuoteTables QuoteTablesOf(const StockMarketItem& quote) {
  return TablesOf(WithLimitsOfBoard(quote));
}

StyledLine PriceLine(const StockMarketItem& quote) {
  const MemberColumn columns[] = {FigureColumn("last"), FigureColumn("diff"), FigureColumn("change")};
  const std::vector<Cell> cells = CellsOf(kSingleQuoteTable, quote, columns);
  return {cells[0], {"  "}, cells[1], {"  "}, cells[2]};
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

#include "cli/format/quote_sheet.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include "cli/format/figures.h"
#include "cli/format/quote_rows.h"
#include "cli/format/record_rows.h"
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

constexpr int kNewlyListed = 5;
constexpr std::wstring_view kWideBoards[] = {L"sz300", L"sz301", L"sh688", L"sh689"};

bool StartsWith(std::wstring_view text, std::wstring_view beginning) {
  return text.substr(0, beginning.size()) == beginning;
}

// In percent; nothing when there is none.
std::optional<int> LimitOf(const StockMarketItem& quote) {
  // The exchanges put an N before the name on the first day and a C on the next four.
  const bool marked =
      quote.name.size() > 1 && (quote.name[0] == L'N' || quote.name[0] == L'C') && quote.name[1] > 0x7f;
  if (marked || static_cast<int>(quote.status) == kNewlyListed) {
    return std::nullopt;
  }
  if (std::any_of(std::begin(kWideBoards), std::end(kWideBoards),
                  [&](std::wstring_view board) { return StartsWith(quote.code, board); })) {
    return 20;
  }
  return StartsWith(quote.name, L"ST") || StartsWith(quote.name, L"*ST") ? 5 : 10;
}

// To the fen, half a fen up.
PlainField<double> Moved(double preclose, int percent) {
  const std::int64_t fen = std::llround(preclose * 100);
  const std::int64_t moved = (fen * (100 + percent) + 50) / 100;
  return {static_cast<double>(moved) / 100, true};
}

}  // namespace

std::string StatusText(stock::StockStatus status) {
  const int number = status;
  if (number == 5) {
    return "new listing";
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

StockMarketItem WithLimitsOfBoard(StockMarketItem quote) {
  if (!quote.limit_up.present || !quote.limit_down.present) {
    return quote;
  }
  constexpr double kHalfAFen = 0.005;
  const std::optional<int> percent = LimitOf(quote);
  const bool can_tell = percent && quote.preclose.present && std::abs(quote.preclose.value) < 1e12;
  quote.limit_up = can_tell ? Moved(quote.preclose.value, *percent) : PlainField<double>();
  quote.limit_down = can_tell ? Moved(quote.preclose.value, -*percent) : PlainField<double>();
  const auto lies_beyond = [&](const auto& price) {
    return price.present && price.value > 0 &&
           (price.value > quote.limit_up.value + kHalfAFen ||
            price.value < quote.limit_down.value - kHalfAFen);
  };
  if (can_tell && (lies_beyond(quote.last) || lies_beyond(quote.high) || lies_beyond(quote.low))) {
    quote.limit_up = {};
    quote.limit_down = {};
  }
  return quote;
}

}  // namespace cli

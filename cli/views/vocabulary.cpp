#include "cli/views/vocabulary.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <iterator>
#include <limits>
#include <system_error>
#include <utility>

#include "cli/format/text.h"

namespace cli {
namespace {

constexpr Choice kBoardsTable[] = {{"all", 1, "all A shares"},
                                   {"sh", 2, "Shanghai"},
                                   {"sz", 3, "Shenzhen"},
                                   {"gem", 4, "growth enterprises"},
                                   {"sme", 5, "small and medium enterprises"}};

constexpr Choice kPlateKindsTable[] = {{"industry", 1, "what companies make"},
                                       {"concept", 2, "what investors talk of"}};

constexpr Choice kStockColumnsTable[] = {{"code", 1, "symbol", 'K'},
                                         {"name", 2, "name", 'N'},
                                         {"last", 3, "last price", 'L'},
                                         {"change", 4, "change against the previous close, in percent", 'C'},
                                         {"diff", 5, "change against the previous close, in yuan", 'D'},
                                         {"bid1", 6, "best bid", 'I'},
                                         {"ask1", 7, "best offer", 'A'},
                                         {"tr", 8, "turnover rate", 'T'},
                                         {"amt", 9, "amount of the session", 'M'},
                                         {"vol", 10, "volume of the session", 'V'},
                                         {"pe", 11, "price to earnings", 'P'},
                                         {"high", 12, "highest price", 'H'},
                                         {"low", 13, "lowest price", 'W'},
                                         {"open", 14, "first price", 'O'},
                                         {"preclose", 15, "previous close", 'Y'},
                                         {"amp", 16, "amplitude", 'U'},
                                         {"qrr", 17, "volume ratio", 'X'},
                                         {"cr", 18, "commission ratio", 'Z'},
                                         {"mc", 19, "market capitalisation", 'E'}};
constexpr Choice kOfPlates[] = {{"lead", 20, "leading stock", 'F'},
                                {"lead_change", 21, "its change in percent", 'J'},
                                {"bpin", 22, "the server's figure of that name", '<'},
                                {"cud", 23, "the server's count of that name", '>'}};

// Plates have no bids and offers.
constexpr auto kPlateColumnsTable = [] {
  std::array<Choice, std::size(kStockColumnsTable) - 2 + std::size(kOfPlates)> columns{};
  auto* const end =
      std::copy_if(std::begin(kStockColumnsTable), std::end(kStockColumnsTable), columns.begin(),
                   [](const Choice& column) { return column.name != "bid1" && column.name != "ask1"; });
  std::copy(std::begin(kOfPlates), std::end(kOfPlates), end);
  return columns;
}();

constexpr auto kWatchListColumnsTable = [] {
  std::array<Choice, std::size(kStockColumnsTable) + 2> columns{};
  columns.front() = {"none", 0, "the order of the list itself", '0'};
  std::copy(std::begin(kStockColumnsTable), std::end(kStockColumnsTable), columns.begin() + 1);
  columns.back() = {"plate", 24, "first plate of the stock", 'F'};
  return columns;
}();

constexpr Choice kPeriodsTable[] = {
    {"day", kByDay, "a trading day"}, {"week", 2, "Monday to Friday"}, {"month", 3, "a calendar month"}};
constexpr Choice kAdjustmentsTable[] = {{"none", kUnadjusted, "prices as they were traded at"},
                                        {"forward", 2, "today's prices stay, those of the past are changed"},
                                        {"backward", 3, "the first prices stay, later ones are changed"}};

constexpr Choice kDirectionsTable[] = {{"asc", kAscending, "the smallest first"},
                                       {"desc", kDescending, "the largest first"}};
constexpr Choice kSpansTable[] = {{"day", 0, "of the day"}, {"five minutes", 1, "of the last five minutes"}};

constexpr int kNameWidth = 14;

auto PlaceOf(Choices choices, int number) {
  return std::find_if(choices.begin(), choices.end(), [&](const Choice& c) { return c.number == number; });
}

Choice Find(Choices choices, int number) {
  const auto found = PlaceOf(choices, number);
  return found == choices.end() ? Choice{} : *found;
}

constexpr std::uint32_t kLargest = std::numeric_limits<std::int32_t>::max();

// False when `text` is neither empty nor a row.
bool ReadRow(std::string_view text, std::uint32_t& row) {
  if (text.empty()) {
    return true;
  }
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, row);
  return error == std::errc() && rest == end && row <= kLargest;
}

}  // namespace

constinit const Choices kBoards = kBoardsTable;
constinit const Choices kPlateKinds = kPlateKindsTable;
constinit const Choices kStockColumns = kStockColumnsTable;
constinit const Choices kPlateColumns = kPlateColumnsTable;
constinit const Choices kWatchListColumns = kWatchListColumnsTable;
constinit const Choices kPeriods = kPeriodsTable;
constinit const Choices kDirections = kDirectionsTable;
constinit const Choices kSpans = kSpansTable;
constinit const Choices kAdjustments = kAdjustmentsTable;

std::string SeriesText(int period, int adjustment) {
  const std::string adjusted =
      adjustment == kUnadjusted ? "" : ", adjusted " + std::string(NameOf(kAdjustments, adjustment));
  return "by " + std::string(NameOf(kPeriods, period)) + adjusted;
}

std::string_view NameOf(Choices choices, int number) {
  return Find(choices, number).name;
}

int StepFrom(Choices choices, int number, int step) {
  const auto count = static_cast<int>(choices.size());
  const auto place = static_cast<int>(PlaceOf(choices, number) - choices.begin());
  return choices[static_cast<std::size_t>(((place + step) % count + count) % count)].number;
}

std::string_view HelpOf(Choices choices, int number) {
  return Find(choices, number).help;
}

std::optional<int> NumberOf(Choices choices, std::string_view name) {
  const auto found =
      std::find_if(choices.begin(), choices.end(), [&](const Choice& c) { return c.name == name; });
  return found == choices.end() ? std::nullopt : std::optional(found->number);
}

std::string NamesOf(Choices choices) {
  std::string names;
  for (const Choice& choice : choices) {
    names += (names.empty() ? "" : ", ") + std::string(choice.name);
  }
  return names;
}

std::string ListOf(std::string_view title, Choices choices) {
  std::string text = std::string(title) + ":";
  for (const Choice& choice : choices) {
    text += "\n  " + Pad(choice.name, kNameWidth, Align::kLeft) + (choice.help.empty() ? "" : " ") +
            std::string(choice.help);
  }
  return text;
}

void Order::By(int new_column) {
  if (std::exchange(column, new_column) == new_column) {
    Reverse();
  } else {
    const std::string_view name = NameOf(columns, column);
    direction = name == "code" || name == "name" ? kAscending : kDescending;
  }
}

std::string Order::Key() const {
  const std::string name(NameOf(columns, column));
  return column == 0 ? name : name + (direction == kAscending ? " asc" : " desc");
}

std::string Order::Title() const {
  if (column == 0) {
    return "";
  }
  return "by " + std::string(NameOf(columns, column)) +
         (direction == kAscending ? ", ascending" : ", descending");
}

std::optional<RowRange> ParseRows(std::string_view text) {
  const std::size_t colon = text.find(':');
  RowRange rows{0, RowRange::kOpen};
  if (colon == std::string_view::npos || !ReadRow(text.substr(0, colon), rows.start) ||
      !ReadRow(text.substr(colon + 1), rows.end) || rows.end <= rows.start) {
    return std::nullopt;
  }
  return rows;
}

std::string RowsText(const RowRange& rows) {
  return std::to_string(rows.start) + ":" + (rows.end == RowRange::kOpen ? "" : std::to_string(rows.end));
}

}  // namespace cli

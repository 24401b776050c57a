// Values that have names: boards, columns, periods and the like, each with the number that a service knows it
// by; and what a list is ordered by. One table of names serves options, their help, titles and keys.
// Constants and pure functions.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace cli {

/// One value of an option.
struct Choice {
  std::string_view name;
  int number = 0;         ///< what the service calls it
  std::string_view help;  ///< for a person, a few words
  char key = '\0';        ///< chooses it where single keys do; 0: none
};

using Choices = std::span<const Choice>;

/// Name and help of `number`; empty when there is none.
[[nodiscard]] std::string_view NameOf(Choices choices, int number);
[[nodiscard]] std::string_view HelpOf(Choices choices, int number);
/// The number that stands `step` places after `number`; the first one follows the last.
[[nodiscard]] int StepFrom(Choices choices, int number, int step);
/// The number of `name`; nothing when there is none.
[[nodiscard]] std::optional<int> NumberOf(Choices choices, std::string_view name);
/// "all, sh, sz".
[[nodiscard]] std::string NamesOf(Choices choices);
/// "TITLE:", then a line for each choice; for the end of a help text.
[[nodiscard]] std::string ListOf(std::string_view title, Choices choices);

extern const Choices kBoards;       ///< of stocks: all, sh, sz, gem, sme
extern const Choices kPlateKinds;   ///< industry, concept
extern const Choices kPeriods;      ///< what a candle stands for: day, week, month
extern const Choices kAdjustments;  ///< of the prices of candles: none, forward, backward
extern const Choices kDirections;   ///< of an order: asc, desc
extern const Choices kSpans;        ///< of a ranking: the day, or five minutes of it
/// Columns by which lists of stocks can be ordered, each with a key of its own; lists of plates and the
/// members of a plate; the watch list.
extern const Choices kStockColumns;
extern const Choices kPlateColumns;
extern const Choices kWatchListColumns;

inline constexpr int kByDay = 1;
inline constexpr int kUnadjusted = 1;
inline constexpr int kAscending = 1;
inline constexpr int kDescending = 2;

/// "by week, adjusted forward".
[[nodiscard]] std::string SeriesText(int period, int adjustment);

/// How a list is ordered.
struct Order {
  Choices columns;              ///< those that it can be
  int column = 4;               ///< number of one of them; until it is chosen, the default
  int direction = kDescending;  ///< `kAscending` or `kDescending`

  /// By another column, the largest first, codes and names from A to Z; by the same one the other way round.
  void By(int new_column);
  void Reverse() { direction = direction == kAscending ? kDescending : kAscending; }

  /// "change desc", for the key of a JSON line; "none" alone for the order of the list itself.
  [[nodiscard]] std::string Key() const;
  /// "by change, descending", for a title; empty for the order of the list itself.
  [[nodiscard]] std::string Title() const;
};

/// Rows `start` to the one before `end` of a list, counted from 0: "--rows A:B".
struct RowRange {
  static constexpr std::uint32_t kOpen = 0xFFFFFFFF;  ///< as `end`: to the end of the list

  std::uint32_t start = 0;
  std::uint32_t end = 20;

  bool operator==(const RowRange&) const = default;
};

/// "A:B", ":B", "A:" or ":"; nothing for anything else, for an empty range, and above 2147483647.
[[nodiscard]] std::optional<RowRange> ParseRows(std::string_view text);
/// What `ParseRows` reads.
[[nodiscard]] std::string RowsText(const RowRange& rows);

}  // namespace cli

// Rows under each other: cells padded to common widths in terminal columns, then painted, in the one place
// where a meaning becomes a colour. A table knows nothing of what its cells mean; cells hold printable text.
#pragma once

#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "cli/format/text.h"

namespace cli {

/// What a piece of text means to the eye. A rise is red and a fall green, as Chinese investors expect it.
enum class Tone { kPlain, kStrong, kDim, kRise, kFall, kWarning };

/// The tone of a figure that is shown with its sign.
[[nodiscard]] Tone ToneOf(double change);

class Palette {
 public:
  explicit Palette(bool colour) : colour_(colour) {}
  [[nodiscard]] std::string Paint(std::string_view text, Tone tone) const;

 private:
  bool colour_;
};

struct Cell {
  std::string text;
  Tone tone = Tone::kPlain;

  bool operator==(const Cell&) const = default;
};

/// Cells side by side, without anything between them.
using StyledLine = std::vector<Cell>;

/// `line` painted.
[[nodiscard]] std::string Render(const StyledLine& line, const Palette& palette);

/// Takes the blanks at the end of `line` away.
void TrimEnd(StyledLine& line);

/// `line` in exactly `width` columns: cut, or filled up with blanks.
[[nodiscard]] StyledLine Fitted(const StyledLine& line, int width);

/// `line` without those of its last cells that `width` columns have no room for; the first stays in any case.
[[nodiscard]] StyledLine WholeCells(StyledLine line, int width);

/// Columns that a terminal needs for `line`.
[[nodiscard]] int DisplayWidth(const StyledLine& line);

/// `right` beside `left`, `gap` columns after the widest line of `left`.
[[nodiscard]] std::vector<StyledLine> SideBySide(const std::vector<StyledLine>& left,
                                                 const std::vector<StyledLine>& right, int gap);

struct Column {
  std::string title;
  Align align = Align::kLeft;
  int min_width = 0;  ///< keeps rows that are printed at different times under each other
  int max_width = std::numeric_limits<int>::max();
  /// Of two columns that do not both fit the one of the higher rank is left out, or else the later one.
  int rank = 0;
  std::string name{};  ///< what it is known by, whatever language the title is in; empty: the title
};

/// Between the columns of a table.
inline constexpr int kColumnGap = 2;

class Table {
 public:
  /// Titles are shown in the language of words.h.
  explicit Table(std::vector<Column> columns);

  /// Adds a row; a missing cell is empty, a cell too many is dropped.
  void Add(std::vector<Cell> row);
  /// Adds the rows of a table with the same columns.
  void Append(const Table& other) { rows_.insert(rows_.end(), other.rows_.begin(), other.rows_.end()); }

  [[nodiscard]] const std::vector<Column>& columns() const { return columns_; }
  [[nodiscard]] const std::vector<std::vector<Cell>>& rows() const { return rows_; }
  /// Those of its columns that fit into `width`, in their order; the best one in any case.
  [[nodiscard]] Table Fitting(int width) const;

  [[nodiscard]] std::vector<StyledLine> Rows() const;
  /// Header and rows, with the columns that fit into `width`.
  [[nodiscard]] std::vector<StyledLine> Lines(int width = std::numeric_limits<int>::max()) const;

 private:
  [[nodiscard]] std::vector<int> Widths() const;
  [[nodiscard]] StyledLine Line(const std::vector<Cell>& row, const std::vector<int>& widths) const;

  std::vector<Column> columns_;
  std::vector<std::vector<Cell>> rows_;
};

/// Each line painted and ended by a line feed.
[[nodiscard]] std::string TextOf(const std::vector<StyledLine>& lines, const Palette& palette);

}  // namespace cli

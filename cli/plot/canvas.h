// A picture made of terminal cells: dots of two by four to a cell (braille), or a character of its own, each
// with a tone. Used by one thread. What is drawn is the charts' matter.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/format/table.h"

namespace cli {

class Canvas {
 public:
  /// Dots side by side and on top of each other in one cell.
  static constexpr int kDotColumns = 2;
  static constexpr int kDotRows = 4;

  /// An empty picture. Nothing is drawn outside of it.
  Canvas(int columns, int rows);

  [[nodiscard]] int columns() const { return columns_; }
  [[nodiscard]] int rows() const { return rows_; }

  /// Sets one dot; (0, 0) is the upper left one. The latest tone of a cell holds for all of it.
  void Dot(int x, int y, Tone tone);
  /// Sets the dots of a straight line, both ends included.
  void Line(int x0, int y0, int x1, int y1, Tone tone);
  /// Puts one character that is one column wide into a cell, over its dots.
  void Put(int column, int row, std::string_view character, Tone tone);
  /// The same, but only into a cell that is empty.
  void PutBehind(int column, int row, std::string_view character, Tone tone);
  /// Writes printable text from a cell on; wide characters take two cells. A character that does not fit is
  /// left out.
  void Write(int column, int row, std::string_view text, Tone tone);

  /// The rows from the top, without blanks at their ends.
  [[nodiscard]] std::vector<StyledLine> Lines() const;

 private:
  struct Square {
    std::string character;  // empty: dots, or nothing
    std::uint8_t dots = 0;
    bool covered = false;  // by the right half of the wide character before it
    Tone tone = Tone::kPlain;
  };

  [[nodiscard]] Square* At(int column, int row);
  [[nodiscard]] static std::string TextOf(const Square& square);

  int columns_;
  int rows_;
  std::vector<Square> squares_;
};

}  // namespace cli

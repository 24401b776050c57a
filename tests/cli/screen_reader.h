// What a terminal shows after all that was written to it: enough of one to read screens that are drawn piece
// by piece. Colours are not kept. Used by one thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tests {

class ScreenReader {
 public:
  ScreenReader(int columns, int rows) { Resize(columns, rows); }

  /// What is read next goes to a screen of this size, which is empty.
  void Resize(int columns, int rows);

  /// Reads on. Text that ends in the middle of a character or of a control sequence goes on with the next
  /// call.
  void Read(std::string_view text);

  /// The rows without blanks at their ends.
  [[nodiscard]] std::vector<std::string> Rows() const;
  /// The character in a cell; empty: the second half of a wide one.
  [[nodiscard]] const std::string& At(int row, int column) const {
    return screen_.at(static_cast<std::size_t>(row)).at(static_cast<std::size_t>(column));
  }
  /// All of them, one a line.
  [[nodiscard]] std::string Text() const;
  /// Control sequences that were not understood.
  [[nodiscard]] const std::vector<std::string>& unknown() const { return unknown_; }

 private:
  using Row = std::vector<std::string>;  // a column holds a character; the second one of a wide one is empty

  // How much of `text` is a whole character or control sequence; 0: its end is missing.
  [[nodiscard]] static std::size_t WholePiece(std::string_view text);
  void Take(std::string_view piece);
  void Obey(std::string_view sequence);
  void Put(const std::string& character);
  void Erase(int row, int from, int to);
  void Place(int row, int column);

  int columns_ = 0;
  int rows_ = 0;
  std::vector<Row> screen_;
  int row_ = 0;
  int column_ = 0;
  std::string last_;
  std::string pending_;
  std::vector<std::string> unknown_;
};

}  // namespace tests

#include "screen_reader.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include "cli/format/text.h"

namespace tests {
namespace {

bool IsFinal(char c) {
  return c >= '@' && c <= '~';
}

std::size_t CharacterLength(unsigned char first) {
  if (first < 0x80) {
    return 1;
  }
  if (first < 0xe0) {
    return 2;
  }
  return first < 0xf0 ? 3 : 4;
}

}  // namespace

void ScreenReader::Resize(int columns, int rows) {
  columns_ = columns;
  rows_ = rows;
  screen_.assign(static_cast<std::size_t>(rows), Row(static_cast<std::size_t>(columns), " "));
  Place(0, 0);
}

void ScreenReader::Read(std::string_view text) {
  pending_ += text;
  std::string_view left = pending_;
  for (std::size_t length = WholePiece(left); length > 0; length = WholePiece(left)) {
    Take(left.substr(0, length));
    left.remove_prefix(length);
  }
  pending_ = std::string(left);
}

std::size_t ScreenReader::WholePiece(std::string_view text) {
  if (text.empty()) {
    return 0;
  }
  std::size_t length = CharacterLength(static_cast<unsigned char>(text[0]));
  if (text[0] == '\x1b' && text.size() > 1 && text[1] == '[') {
    const auto* const end = std::find_if(text.begin() + 2, text.end(), IsFinal);
    return end == text.end() ? 0 : static_cast<std::size_t>(end - text.begin()) + 1;
  }
  if (text[0] == '\x1b') {
    length = text.size() > 1 && text[1] == '(' ? 3 : 2;
  }
  return length <= text.size() ? length : 0;
}

void ScreenReader::Take(std::string_view piece) {
  switch (piece[0]) {
    case '\x1b':
      Obey(piece);
      break;
    case '\r':
      column_ = 0;
      break;
    case '\n':
      Place(row_ + 1, column_);
      break;
    case '\b':
      Place(row_, column_ - 1);
      break;
    default:
      Put(std::string(piece));
      break;
  }
}

void ScreenReader::Put(const std::string& character) {
  const int width = cli::DisplayWidth(character);
  if (column_ + width <= columns_) {
    Row& row = screen_[static_cast<std::size_t>(row_)];
    row[static_cast<std::size_t>(column_)] = character;
    if (width == 2) {
      row[static_cast<std::size_t>(column_) + 1].clear();
    }
  }
  column_ += width;
  last_ = character;
}

void ScreenReader::Erase(int row, int from, int to) {
  Row& cells = screen_[static_cast<std::size_t>(row)];
  const auto end = std::min(static_cast<std::size_t>(std::max(to, 0)), cells.size());
  for (auto i = static_cast<std::size_t>(from); i < end; ++i) {
    cells[i] = " ";
  }
}

void ScreenReader::Place(int row, int column) {
  row_ = std::clamp(row, 0, rows_ - 1);
  column_ = std::clamp(column, 0, columns_ - 1);
}

void ScreenReader::Obey(std::string_view sequence) {
  if (sequence[1] == '(') {
    return;  // character set
  }
  const bool is_private = sequence.size() > 2 && sequence[2] == '?';
  int numbers[2] = {0, 0};
  std::size_t count = 0;
  for (const char c : sequence.substr(2)) {
    if (std::isdigit(static_cast<unsigned char>(c)) != 0 && count < 2) {
      numbers[count] = numbers[count] * 10 + (c - '0');
    } else if (c == ';') {
      ++count;
    }
  }
  const int times = std::max(numbers[0], 1);
  const auto at = [&](Row& row) { return row.begin() + std::min(column_, columns_ - 1); };
  switch (sequence[1] == '[' ? sequence.back() : '\0') {
    case 'H':
      Place(times - 1, std::max(numbers[1], 1) - 1);
      break;
    case 'd':
      Place(times - 1, column_);
      break;
    case 'G':
      Place(row_, times - 1);
      break;
    case 'A':
      Place(row_ - times, column_);
      break;
    case 'B':
      Place(row_ + times, column_);
      break;
    case 'C':
      Place(row_, column_ + times);
      break;
    case 'D':
      Place(row_, column_ - times);
      break;
    case 'K':
      Erase(row_, numbers[0] == 0 ? column_ : 0, numbers[0] == 1 ? column_ + 1 : columns_);
      break;
    case 'J':
      for (int row = numbers[0] == 2 ? 0 : row_; row < rows_; ++row) {
        Erase(row, numbers[0] != 2 && row == row_ ? column_ : 0, columns_);
      }
      break;
    case 'X':
      Erase(row_, column_, column_ + times);
      break;
    case 'b':
      for (int i = 0; i < times; ++i) {
        Put(std::string(last_));
      }
      break;
    case 'P': {
      Row& row = screen_[static_cast<std::size_t>(row_)];
      for (int i = 0; i < times; ++i) {
        row.erase(at(row));
        row.emplace_back(" ");
      }
      break;
    }
    case '@': {
      Row& row = screen_[static_cast<std::size_t>(row_)];
      for (int i = 0; i < times; ++i) {
        row.insert(at(row), " ");
        row.pop_back();
      }
      break;
    }
    case 'L':
      for (int i = 0; i < times; ++i) {
        screen_.insert(screen_.begin() + row_, Row(static_cast<std::size_t>(columns_), " "));
        screen_.pop_back();
      }
      break;
    case 'M':
      for (int i = 0; i < times; ++i) {
        screen_.erase(screen_.begin() + row_);
        screen_.emplace_back(static_cast<std::size_t>(columns_), " ");
      }
      break;
    case 'm':
      break;
    case 'h':
    case 'l':
      // A screen of its own begins empty.
      if (is_private && numbers[0] == 1049) {
        Resize(columns_, rows_);
      }
      break;
    default:
      unknown_.emplace_back(sequence.substr(1));
      break;
  }
}

std::vector<std::string> ScreenReader::Rows() const {
  std::vector<std::string> rows;
  for (const Row& row : screen_) {
    std::string text;
    for (const std::string& cell : row) {
      text += cell;
    }
    text.erase(text.find_last_not_of(' ') + 1);
    rows.push_back(text);
  }
  return rows;
}

std::string ScreenReader::Text() const {
  std::string text;
  for (const std::string& row : Rows()) {
    text += row + "\n";
  }
  return text;
}

}  // namespace tests

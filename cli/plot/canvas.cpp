#include "cli/plot/canvas.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "cli/format/text.h"

namespace cli {
namespace {

// Bits of the dots of one cell, by row and column, as U+2800 and the following count them.
constexpr std::array<std::array<std::uint8_t, Canvas::kDotColumns>, Canvas::kDotRows> kDots = {
    {{0x01, 0x08}, {0x02, 0x10}, {0x04, 0x20}, {0x40, 0x80}}};

// The bytes of the character that begins `text`.
std::string_view FirstCharacter(std::string_view text) {
  std::size_t length = 1;
  while (length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U) {
    ++length;
  }
  return text.substr(0, length);
}

}  // namespace

Canvas::Canvas(int columns, int rows)
    : columns_(std::max(columns, 0)),
      rows_(std::max(rows, 0)),
      squares_(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_)) {}

Canvas::Square* Canvas::At(int column, int row) {
  if (column < 0 || column >= columns_ || row < 0 || row >= rows_) {
    return nullptr;
  }
  return &squares_[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) +
                   static_cast<std::size_t>(column)];
}

void Canvas::Dot(int x, int y, Tone tone) {
  if (x < 0 || y < 0) {
    return;
  }
  if (Square* const square = At(x / kDotColumns, y / kDotRows)) {
    square->dots |= kDots[static_cast<std::size_t>(y % kDotRows)][static_cast<std::size_t>(x % kDotColumns)];
    square->tone = tone;
  }
}

void Canvas::Line(int x0, int y0, int x1, int y1, Tone tone) {
  const int steps = std::max({std::abs(x1 - x0), std::abs(y1 - y0), 1});
  const auto between = [steps](int from, int to, int step) {
    const int product = 2 * (to - from) * step;
    return from + (product + (product < 0 ? -steps : steps)) / (2 * steps);
  };
  for (int step = 0; step <= steps; ++step) {
    Dot(between(x0, x1, step), between(y0, y1, step), tone);
  }
}

void Canvas::Put(int column, int row, std::string_view character, Tone tone) {
  if (Square* const square = At(column, row)) {
    *square = {std::string(character), 0, false, tone};
  }
}

void Canvas::PutBehind(int column, int row, std::string_view character, Tone tone) {
  const Square* const square = At(column, row);
  if (square != nullptr && square->character.empty() && square->dots == 0 && !square->covered) {
    Put(column, row, character, tone);
  }
}

void Canvas::Write(int column, int row, std::string_view text, Tone tone) {
  while (!text.empty()) {
    const std::string_view character = FirstCharacter(text);
    text.remove_prefix(character.size());
    const int width = DisplayWidth(character);
    if (column >= 0 && width > 0 && column + width <= columns_) {
      Put(column, row, character, tone);
      for (int i = 1; i < width; ++i) {
        if (Square* const square = At(column + i, row)) {
          *square = {{}, 0, true, tone};
        }
      }
    }
    column += width;
  }
}

std::string Canvas::TextOf(const Square& square) {
  if (!square.character.empty()) {
    return square.character;
  }
  if (square.dots == 0) {
    return " ";
  }
  constexpr wchar_t kNoDots = 0x2800;
  const wchar_t braille = static_cast<wchar_t>(kNoDots + square.dots);
  return Utf8(std::wstring_view(&braille, 1));
}

std::vector<StyledLine> Canvas::Lines() const {
  std::vector<StyledLine> lines;
  for (int row = 0; row < rows_; ++row) {
    const auto begin =
        squares_.begin() + static_cast<std::ptrdiff_t>(row) * static_cast<std::ptrdiff_t>(columns_);
    auto end = begin + columns_;
    while (end != begin && TextOf(*(end - 1)) == " " && !(end - 1)->covered) {
      --end;
    }
    StyledLine line;
    for (auto square = begin; square != end; ++square) {
      if (square->covered) {
        continue;
      }
      const std::string text = TextOf(*square);
      const Tone tone = text == " " ? Tone::kPlain : square->tone;
      if (!line.empty() && line.back().tone == tone) {
        line.back().text += text;
      } else {
        line.push_back({text, tone});
      }
    }
    lines.push_back(std::move(line));
  }
  return lines;
}

}  // namespace cli

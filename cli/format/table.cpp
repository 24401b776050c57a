#include "cli/format/table.h"

#include <algorithm>
#include <numeric>
#include <type_traits>
#include <utility>

#include "cli/format/words.h"

namespace cli {
namespace {

constexpr std::string_view kCutMark = "…";

// As much of `line` as `width` columns take, with a mark where something is missing. A word with a digit in
// it is never cut: what is left of it would be another number.
StyledLine Cut(const StyledLine& line, int width) {
  std::string text;
  for (const Cell& cell : line) {
    text += cell.text;
  }
  const std::string clipped = Clip(text, width);
  if (clipped == text) {
    return line;
  }
  if (clipped.empty()) {
    return {};
  }
  std::size_t length = clipped.size() - kCutMark.size();
  const std::size_t begin = length == 0 ? 0 : text.find_last_of(' ', length - 1) + 1;
  const std::string_view word = std::string_view(text).substr(begin, text.find(' ', begin) - begin);
  if (word.find_first_of("0123456789") != std::string_view::npos) {
    length = begin;
  }
  StyledLine cut;
  for (const Cell& cell : line) {
    cut.push_back({cell.text.substr(0, length), cell.tone});
    length -= cut.back().text.size();
  }
  cut.push_back({std::string(kCutMark), Tone::kDim});
  return cut;
}

// Of the tones, in their order.
constexpr const char* kSequences[] = {"", "\x1b[1m", "\x1b[2m", "\x1b[31m", "\x1b[32m", "\x1b[33m"};

}  // namespace

std::string Render(const StyledLine& line, const Palette& palette) {
  std::string text;
  for (const Cell& cell : line) {
    text += palette.Paint(cell.text, cell.tone);
  }
  return text;
}

void TrimEnd(StyledLine& line) {
  while (!line.empty()) {
    std::string& text = line.back().text;
    text.erase(text.find_last_not_of(' ') + 1);
    if (!text.empty()) {
      return;
    }
    line.pop_back();
  }
}

StyledLine Fitted(const StyledLine& line, int width) {
  StyledLine fitted = Cut(line, width);
  fitted.push_back({std::string(static_cast<std::size_t>(std::max(width - DisplayWidth(fitted), 0)), ' ')});
  return fitted;
}

StyledLine WholeCells(StyledLine line, int width) {
  while (line.size() > 1 && DisplayWidth(line) > width) {
    line.pop_back();
  }
  return line;
}

int DisplayWidth(const StyledLine& line) {
  int width = 0;
  for (const Cell& cell : line) {
    width += DisplayWidth(cell.text);
  }
  return width;
}

std::vector<StyledLine> SideBySide(const std::vector<StyledLine>& left, const std::vector<StyledLine>& right,
                                   int gap) {
  int widest = 0;
  for (const StyledLine& line : left) {
    widest = std::max(widest, DisplayWidth(line));
  }
  std::vector<StyledLine> lines = left;
  lines.resize(std::max(left.size(), right.size()));
  for (std::size_t i = 0; i < right.size(); ++i) {
    const int blanks = widest + gap - DisplayWidth(lines[i]);
    lines[i].push_back({std::string(static_cast<std::size_t>(std::max(blanks, 0)), ' ')});
    lines[i].insert(lines[i].end(), right[i].begin(), right[i].end());
  }
  return lines;
}

Table::Table(std::vector<Column> columns) : columns_(std::move(columns)) {
  for (Column& column : columns_) {
    column.name = column.name.empty() ? column.title : column.name;
    column.title = LabelOf(column.name);
  }
}

void Table::Add(std::vector<Cell> row) {
  row.resize(columns_.size());
  for (std::size_t i = 0; i < row.size(); ++i) {
    row[i].text = Clip(row[i].text, columns_[i].max_width);
  }
  rows_.push_back(std::move(row));
}

std::vector<StyledLine> Table::Rows() const {
  const std::vector<int> widths = Widths();
  std::vector<StyledLine> lines;
  for (const std::vector<Cell>& row : rows_) {
    lines.push_back(Line(row, widths));
  }
  return lines;
}

std::vector<StyledLine> Table::Lines(int width) const {
  const Table fitting = Fitting(width);
  std::vector<Cell> titles;
  for (const Column& column : fitting.columns_) {
    titles.push_back({Clip(column.title, column.max_width), Tone::kDim});
  }
  std::vector<StyledLine> lines = fitting.Rows();
  lines.insert(lines.begin(), fitting.Line(titles, fitting.Widths()));
  return lines;
}

Table Table::Fitting(int width) const {
  const std::vector<int> widths = Widths();
  std::vector<std::size_t> by_rank(columns_.size());
  std::iota(by_rank.begin(), by_rank.end(), std::size_t{0});
  std::stable_sort(by_rank.begin(), by_rank.end(),
                   [&](std::size_t a, std::size_t b) { return columns_[a].rank < columns_[b].rank; });
  std::size_t kept = 0;
  for (int used = -kColumnGap; kept < by_rank.size(); ++kept) {
    used += kColumnGap + widths[by_rank[kept]];
    if (used > width && kept > 0) {
      break;
    }
  }
  if (kept == columns_.size()) {
    return *this;
  }
  by_rank.resize(kept);
  std::sort(by_rank.begin(), by_rank.end());
  const auto chosen = [&by_rank](const auto& all) {
    std::remove_cvref_t<decltype(all)> some;
    for (const std::size_t i : by_rank) {
      some.push_back(all[i]);
    }
    return some;
  };
  Table fitting(chosen(columns_));
  for (const std::vector<Cell>& row : rows_) {
    fitting.rows_.push_back(chosen(row));
  }
  return fitting;
}

std::vector<int> Table::Widths() const {
  std::vector<int> widths;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    int width = std::max(columns_[i].min_width, DisplayWidth(Clip(columns_[i].title, columns_[i].max_width)));
    for (const std::vector<Cell>& row : rows_) {
      width = std::max(width, DisplayWidth(row[i].text));
    }
    widths.push_back(width);
  }
  return widths;
}

StyledLine Table::Line(const std::vector<Cell>& row, const std::vector<int>& widths) const {
  StyledLine line;
  for (std::size_t i = 0; i < row.size(); ++i) {
    if (i > 0) {
      line.push_back({std::string(kColumnGap, ' ')});
    }
    line.push_back({Pad(row[i].text, widths[i], columns_[i].align), row[i].tone});
  }
  TrimEnd(line);
  return line;
}

std::string TextOf(const std::vector<StyledLine>& lines, const Palette& palette) {
  std::string text;
  for (const StyledLine& line : lines) {
    text += Render(line, palette) + "\n";
  }
  return text;
}

Tone ToneOf(double change) {
  if (change > 0) {
    return Tone::kRise;
  }
  return change < 0 ? Tone::kFall : Tone::kPlain;
}

std::string Palette::Paint(std::string_view text, Tone tone) const {
  if (!colour_ || tone == Tone::kPlain || text.empty()) {
    return std::string(text);
  }
  return kSequences[static_cast<std::size_t>(tone)] + std::string(text) + "\x1b[0m";
}

}  // namespace cli

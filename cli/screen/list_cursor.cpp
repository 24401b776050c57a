#include "cli/screen/list_cursor.h"

#include <algorithm>
#include <utility>

#include "cli/screen/picture.h"

namespace cli {

void ListCursor::SetRows(std::vector<std::wstring> codes) {
  if (moved_ && row_ < codes_.size()) {
    const auto found = std::find(codes.begin(), codes.end(), codes_[row_]);
    row_ = found == codes.end() ? row_ : static_cast<std::size_t>(found - codes.begin());
  }
  codes_ = std::move(codes);
  row_ = std::min(row_, std::max<std::size_t>(codes_.size(), 1) - 1);
}

void ListCursor::Reset() {
  *this = ListCursor();
}

bool ListCursor::OnKey(const Key& key) {
  const auto here = static_cast<std::ptrdiff_t>(row_);
  const auto page = static_cast<std::ptrdiff_t>(room_);
  switch (key.kind) {
    case KeyKind::kUp:
      MoveTo(here - 1);
      return true;
    case KeyKind::kDown:
      MoveTo(here + 1);
      return true;
    case KeyKind::kPageUp:
      MoveTo(here - page);
      return true;
    case KeyKind::kPageDown:
      MoveTo(here + page);
      return true;
    case KeyKind::kHome:
      MoveTo(0);
      return true;
    case KeyKind::kEnd:
      MoveTo(std::ssize(codes_) - 1);
      return true;
    default:
      return false;
  }
}

void ListCursor::MoveTo(std::ptrdiff_t row) {
  row_ = static_cast<std::size_t>(
      std::clamp<std::ptrdiff_t>(row, 0, std::max<std::ptrdiff_t>(std::ssize(codes_), 1) - 1));
  moved_ = true;
}

std::optional<std::size_t> ListCursor::row() const {
  return codes_.empty() ? std::nullopt : std::optional(row_);
}

std::string ListCursor::Position() const {
  return codes_.empty() ? std::string()
                        : "row " + std::to_string(row_ + 1) + " of " + std::to_string(codes_.size());
}

std::vector<StyledLine> ListCursor::Picture(const std::vector<StyledLine>& lines, const std::wstring& current,
                                            const ChartSize& size) {
  if (lines.empty()) {
    return {};
  }
  const std::size_t rows = std::min(lines.size() - 1, codes_.size());
  room_ = static_cast<std::size_t>(std::max(size.rows - 1, 1));
  first_ = std::min(first_, rows - std::min(rows, room_));
  first_ = std::clamp(first_, row_ - std::min(row_, room_ - 1), row_);
  std::vector<StyledLine> picture = {lines.front()};
  picture.front().insert(picture.front().begin(), {"  "});
  for (std::size_t i = first_; i < std::min(rows, first_ + room_); ++i) {
    const char* const mark = i == row_ ? "▸ " : codes_[i] == current ? "• " : "  ";
    picture.push_back(lines[i + 1]);
    picture.back().insert(picture.back().begin(), {mark, Tone::kStrong});
  }
  return CutTo(std::move(picture), size);
}

}  // namespace cli

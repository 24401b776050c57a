#include "cli/screen/list_cursor.h"

#include <algorithm>
#include <utility>

#include "cli/format/figures.h"

namespace cli {

std::optional<std::ptrdiff_t> PlaceAfter(const Key& key, std::size_t here, std::size_t page,
                                         std::size_t last) {
  const auto from = static_cast<std::ptrdiff_t>(here);
  const auto rows = static_cast<std::ptrdiff_t>(page);
  switch (key.kind) {
    case KeyKind::kUp:
      return from - 1;
    case KeyKind::kDown:
      return from + 1;
    case KeyKind::kPageUp:
      return from - rows;
    case KeyKind::kPageDown:
      return from + rows;
    case KeyKind::kHome:
      return 0;
    case KeyKind::kEnd:
      return static_cast<std::ptrdiff_t>(last);
    default:
      return std::nullopt;
  }
}

void ListCursor::SetRows(std::vector<std::wstring> codes) {
  const std::size_t total = codes.size();
  SetPage(std::move(codes), 0, total);
}

void ListCursor::SetPage(std::vector<std::wstring> codes, std::size_t first,
                         std::optional<std::size_t> total) {
  const std::wstring aimed = !aim_.empty() ? aim_ : moved_ && row() ? codes_[*row()] : L"";
  codes_ = std::move(codes);
  first_ = first;
  total_ = total;
  if (aimed.empty() || !MoveTo(aimed)) {
    row_ = std::min(row_, Last());
  }
}

void ListCursor::Reset() {
  *this = ListCursor();
}

bool ListCursor::OnKey(const Key& key) {
  std::optional<std::ptrdiff_t> place = PlaceAfter(key, row_, room_, Last());
  if (key.kind == KeyKind::kClick && key.row >= 1) {
    const std::size_t clicked = top_ + static_cast<std::size_t>(key.row) - 1;
    place = clicked < codes_.size() ? std::optional(static_cast<std::ptrdiff_t>(first_ + clicked)) : place;
  }
  if (place) {
    MoveTo(*place);
  }
  return place.has_value();
}

// While it is not known how many there are, a full page may be followed by another one.
std::size_t ListCursor::Last() const {
  const std::size_t seen = first_ + codes_.size() + (codes_.size() >= room_ ? 1 : 0);
  return std::max<std::size_t>(total_.value_or(seen), 1) - 1;
}

void ListCursor::MoveTo(std::ptrdiff_t row) {
  row_ = std::min(static_cast<std::size_t>(std::max<std::ptrdiff_t>(row, 0)), Last());
  moved_ = true;
  aim_.clear();
}

void ListCursor::Aim(const std::wstring& code, std::ptrdiff_t row) {
  MoveTo(row);
  aim_ = code;
}

bool ListCursor::MoveTo(const std::wstring& code) {
  const auto found = std::find(codes_.begin(), codes_.end(), code);
  if (found != codes_.end()) {
    MoveTo(static_cast<std::ptrdiff_t>(first_) + (found - codes_.begin()));
  }
  return found != codes_.end();
}

std::optional<std::size_t> ListCursor::row() const {
  return row_ >= first_ && row_ - first_ < codes_.size() ? std::optional(row_ - first_) : std::nullopt;
}

std::string ListCursor::Position() const {
  if (codes_.empty()) {
    return {};
  }
  return "row " + Fixed(static_cast<double>(row_ + 1), 0) +
         (total_ ? " of " + Fixed(static_cast<double>(*total_), 0) : "");
}

std::vector<StyledLine> ListCursor::Picture(const std::vector<StyledLine>& lines, const std::wstring& current,
                                            const ChartSize& size) {
  if (lines.empty()) {
    return {};
  }
  const std::size_t rows = std::min(lines.size() - 1, codes_.size());
  room_ = static_cast<std::size_t>(std::max(size.rows - 1, 1));
  top_ = std::min(top_, rows - std::min(rows, room_));
  if (row()) {
    top_ = std::clamp(top_, *row() - std::min(*row(), room_ - 1), *row());
  }
  std::vector<StyledLine> picture = {lines.front()};
  picture.front().insert(picture.front().begin(), {"  "});
  for (std::size_t i = top_; i < std::min(rows, top_ + room_); ++i) {
    const char* const mark = row() == i ? "▸ " : codes_[i] == current ? "• " : "  ";
    picture.push_back(lines[i + 1]);
    picture.back().insert(picture.back().begin(), {mark, Tone::kStrong});
  }
  return CutTo(std::move(picture), size);
}

}  // namespace cli

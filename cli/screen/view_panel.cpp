#include "cli/screen/view_panel.h"

#include <algorithm>
#include <utility>

#include "cli/format/figures.h"
#include "cli/screen/picture.h"

namespace cli {
namespace {

struct KnobKeys {
  Knob knob;
  char32_t next;
  char32_t previous;
  KeyHint hint;
};
constexpr KnobKeys kKnobs[] = {{Knob::kGroup, U'b', U'B', {"b B", "group"}},
                               {Knob::kColumn, U's', U'S', {"s S", "column"}},
                               {Knob::kDirection, U'd', U'd', {"d", "direction"}},
                               {Knob::kSpan, U'v', U'v', {"v", "five minutes or the day"}},
                               {Knob::kPeriod, U't', U'T', {"t T", "day, week, month"}},
                               {Knob::kAdjustment, U'a', U'A', {"a A", "adjustment"}}};

std::string RowText(std::size_t row, std::optional<std::size_t> total) {
  return "row " + Fixed(static_cast<double>(row + 1), 0) +
         (total ? " of " + Fixed(static_cast<double>(*total), 0) : "");
}

}  // namespace

// --- Lines

ViewPanel::ViewPanel(PanelContext& context, std::unique_ptr<View> view)
    : context_(context), view_(std::move(view)) {}

bool ViewPanel::TurnKnob(const Key& key) {
  for (const KnobKeys& keys : kKnobs) {
    if (key == Typed(keys.next) || key == Typed(keys.previous)) {
      return view_->Turn(keys.knob, key == Typed(keys.next) ? 1 : -1);
    }
  }
  return false;
}

std::vector<KeyHint> ViewPanel::KnobHints() const {
  std::vector<KeyHint> hints;
  for (const Knob knob : view_->Knobs()) {
    hints.push_back(std::find_if(std::begin(kKnobs), std::end(kKnobs), [&](const KnobKeys& keys) {
                      return keys.knob == knob;
                    })->hint);
  }
  return hints;
}

bool ViewPanel::OnKey(const Key& key) {
  const std::size_t last = count_ - std::min(count_, room_);
  switch (key.kind) {
    case KeyKind::kUp:
      first_ -= std::min<std::size_t>(first_, 1);
      break;
    case KeyKind::kDown:
      first_ = std::min(first_ + 1, last);
      break;
    case KeyKind::kPageUp:
      first_ -= std::min(first_, room_);
      break;
    case KeyKind::kPageDown:
      first_ = std::min(first_ + room_, last);
      break;
    case KeyKind::kHome:
      first_ = 0;
      break;
    case KeyKind::kEnd:
      first_ = last;
      break;
    default:
      return TurnKnob(key);
  }
  context_.views.changed();
  return true;
}

std::vector<KeyHint> ViewPanel::Keys() const {
  std::vector<KeyHint> hints = KnobHints();
  hints.insert(hints.begin(), {"↑↓ PgUp PgDn", "scroll"});
  return hints;
}

std::string ViewPanel::Position() const {
  if (count_ <= room_) {
    return {};
  }
  return "lines " + std::to_string(first_ + 1) + " to " + std::to_string(std::min(first_ + room_, count_)) +
         " of " + std::to_string(count_);
}

std::vector<StyledLine> ViewPanel::LinesFor(const ChartSize& size) const {
  return view_->has_data() && view_->WhyEmpty().empty() ? view_->Lines(size.columns)
                                                        : std::vector<StyledLine>();
}

std::vector<StyledLine> ViewPanel::Picture(const ChartSize& size) {
  std::vector<StyledLine> lines = LinesFor(size);
  room_ = static_cast<std::size_t>(std::max(size.rows, 1));
  count_ = lines.size();
  first_ = std::min(first_, count_ - std::min(count_, room_));
  lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(first_));
  return CutTo(std::move(lines), size);
}

std::vector<StyledLine> ChartPanel::Picture(const ChartSize& size) {
  if (!view().has_data() || !view().WhyEmpty().empty()) {
    return {};
  }
  return ChartIn(size, [this](const ChartSize& room) { return view().Chart(room); });
}

// --- Lists

ListPanel::ListPanel(PanelContext& context, std::unique_ptr<View> shown, Steps steps)
    : ViewPanel(context, std::move(shown)), steps_(steps) {
  view().OnArrivals([this] { OnRows(); });
}

void ListPanel::Show() {
  ViewPanel::Show();
  OnRows();
}

void ListPanel::OnRows() {
  cursor_.SetRows(view().RowKeys());
  if (steps_ == Steps::kYes && view().shown() && view().has_data()) {
    std::vector<BaseInfoItem> list;
    for (const Security& security : view().Securities()) {
      list.push_back({security.code, security.name, L"", 0});
    }
    context().step_through(std::move(list));
  }
}

void ListPanel::Select(const Security& security) {
  current_ = security;
  context().views.changed();
}

std::optional<Security> ListPanel::AtCursor() const {
  const std::vector<Security> rows = view().Securities();
  return cursor_.row() && *cursor_.row() < rows.size() ? std::optional(rows[*cursor_.row()]) : std::nullopt;
}

bool ListPanel::OnKey(const Key& key) {
  if (cursor_.OnKey(key)) {
    context().views.changed();
  } else if (key.kind == KeyKind::kEnter) {
    if (const auto security = AtCursor()) {
      context().select(*security);
    }
  } else if (TurnKnob(key)) {
    cursor_.Reset();
  } else {
    return false;
  }
  return true;
}

std::vector<KeyHint> ListPanel::Keys() const {
  std::vector<KeyHint> hints = KnobHints();
  hints.insert(hints.begin(), {kCursorHint, {"Enter", "select"}});
  return hints;
}

std::vector<StyledLine> ListPanel::Picture(const ChartSize& size) {
  if (!view().has_data() || !view().WhyEmpty().empty() || !view().WhyNothingToAsk().empty()) {
    return {};
  }
  const std::string note = view().Note();
  const ChartSize room{size.columns, size.rows - (note.empty() ? 0 : 1)};
  std::vector<StyledLine> lines =
      cursor_.Picture(view().Lines(room.columns - kMarkColumns), current_.code, room);
  if (!note.empty()) {
    lines.push_back({{note, Tone::kDim}});
  }
  return CutTo(std::move(lines), size);
}

// --- Lists that come page by page

PagedPanel::PagedPanel(PanelContext& context, std::unique_ptr<View> shown, PagedList& list)
    : ViewPanel(context, std::move(shown)), list_(list) {
  view().OnArrivals([this] { OnRows(); });
  list_.SetRange({start_, start_ + room_});
}

void PagedPanel::Show() {
  ViewPanel::Show();
  if (!rows_.empty()) {
    context().step_through(list_.WholeList());
  }
}

// Once it was moved the cursor goes with its row.
void PagedPanel::OnRows() {
  const auto aimed = moved_ ? AtCursor() : std::nullopt;
  rows_ = view().Securities();
  first_ = list_.first_row();
  const auto found = std::find_if(rows_.begin(), rows_.end(),
                                  [&](const Security& row) { return aimed && row.code == aimed->code; });
  if (found != rows_.end()) {
    cursor_ = first_ + static_cast<std::uint32_t>(found - rows_.begin());
  }
  if (view().shown()) {
    context().step_through(list_.WholeList());
  }
}

void PagedPanel::Select(const Security& security) {
  ViewPanel::Select(security);
  current_ = security;
  const auto is_it = [&](const auto& row) { return row.code == current_.code; };
  const auto seen = std::find_if(rows_.begin(), rows_.end(), is_it);
  if (seen != rows_.end()) {
    MoveTo(first_ + static_cast<std::uint32_t>(seen - rows_.begin()));
    return;
  }
  const std::vector<BaseInfoItem> whole = list_.WholeList();
  const auto known = std::find_if(whole.begin(), whole.end(), is_it);
  if (known != whole.end()) {
    MoveTo(static_cast<std::uint32_t>(known - whole.begin()));
  }
}

std::optional<Security> PagedPanel::AtCursor() const {
  const std::size_t row = cursor_ - first_;
  return cursor_ >= first_ && row < rows_.size() ? std::optional(rows_[row]) : std::nullopt;
}

// The row that the cursor can be in at most. While it is not known how many there are, a full page may be
// followed by another one.
std::uint32_t PagedPanel::Last() const {
  const std::size_t seen = first_ + rows_.size() + (rows_.size() >= room_ ? 1 : 0);
  return static_cast<std::uint32_t>(std::max<std::size_t>(list_.total().value_or(seen), 1) - 1);
}

void PagedPanel::TurnTo(std::uint32_t start) {
  start_ = start;
  list_.SetRange({start_, start_ + room_});
}

bool PagedPanel::MoveTo(std::uint32_t row) {
  cursor_ = std::min(row, Last());
  moved_ = true;
  context().views.changed();
  // A step beyond the edge turns the page.
  if (cursor_ < start_ || cursor_ >= start_ + room_) {
    TurnTo(cursor_ / room_ * room_);
  }
  return true;
}

bool PagedPanel::OnKey(const Key& key) {
  switch (key.kind) {
    case KeyKind::kUp:
      return MoveTo(cursor_ - std::min(cursor_, 1U));
    case KeyKind::kDown:
      return MoveTo(cursor_ + 1);
    case KeyKind::kPageUp:
      return MoveTo(cursor_ - std::min(cursor_, room_));
    case KeyKind::kPageDown:
      return MoveTo(cursor_ + room_);
    case KeyKind::kHome:
      return MoveTo(0);
    case KeyKind::kEnd:
      return MoveTo(Last());
    case KeyKind::kEnter:
      if (const auto security = AtCursor()) {
        context().select(*security);
      }
      return true;
    default:
      break;
  }
  if (!TurnKnob(key)) {
    return false;
  }
  cursor_ = 0;
  start_ = 0;
  moved_ = false;
  rows_.clear();
  return true;
}

std::vector<KeyHint> PagedPanel::Keys() const {
  std::vector<KeyHint> hints = KnobHints();
  hints.insert(hints.begin(), {kCursorHint, {"Enter", "select"}});
  return hints;
}

std::string PagedPanel::Position() const {
  return rows_.empty() ? std::string() : RowText(cursor_, list_.total());
}

std::vector<StyledLine> PagedPanel::Picture(const ChartSize& size) {
  const auto rows = static_cast<std::uint32_t>(std::max(size.rows - 1, 1));
  if (rows != room_) {
    room_ = rows;
    TurnTo(cursor_ / room_ * room_);
  }
  if (rows_.empty() || size.rows <= 0) {
    return {};
  }
  std::vector<StyledLine> lines = view().Lines(size.columns - kMarkColumns);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    Cell mark{"  "};
    if (i > 0 && first_ + i - 1 == cursor_) {
      mark = {"▸ ", Tone::kStrong};
    } else if (i > 0 && i - 1 < rows_.size() && rows_[i - 1].code == current_.code) {
      mark = {"• ", Tone::kStrong};
    }
    lines[i].insert(lines[i].begin(), mark);
  }
  return CutTo(std::move(lines), size);
}

std::unique_ptr<Panel> MakeBoardPanel(PanelContext& context) {
  ListChoice choice;
  choice.order.columns = StockColumns();
  auto view = std::make_unique<BoardView>(context.views, choice);
  PagedList& list = *view;
  return std::make_unique<PagedPanel>(context, std::move(view), list);
}

std::unique_ptr<Panel> PanelFor(PanelContext& context, std::unique_ptr<View> view) {
  if (auto* const list = dynamic_cast<PagedList*>(view.get()); list != nullptr && !list->has_fixed_rows()) {
    return std::make_unique<PagedPanel>(context, std::move(view), *list);
  }
  if (dynamic_cast<QuoteView*>(view.get()) != nullptr) {
    return std::make_unique<ViewPanel>(context, std::move(view));
  }
  return std::make_unique<ListPanel>(context, std::move(view), ListPanel::Steps::kYes);
}

}  // namespace cli

#include "cli/screen/view_panel.h"

#include <algorithm>
#include <utility>

#include "cli/format/words.h"

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

}  // namespace

// --- Lines

ViewPanel::ViewPanel(PanelContext& context, std::unique_ptr<View> view)
    : context_(context), view_(std::move(view)) {}

bool ViewPanel::TurnKnob(const Key& key) {
  for (const KnobKeys& keys : kKnobs) {
    const bool is_next = key == Typed(keys.next);
    if ((is_next || key == Typed(keys.previous)) && view_->Turn(keys.knob, is_next ? 1 : -1)) {
      return true;
    }
  }
  const Choices columns = view_->OrderColumns();
  const auto chosen = std::find_if(columns.begin(), columns.end(), [&](const Choice& column) {
    return column.key != '\0' && key == Typed(static_cast<char32_t>(column.key));
  });
  if (chosen == columns.end()) {
    return false;
  }
  view_->OrderBy(chosen->number);
  return true;
}

bool ViewPanel::OrderAt(const StyledLine& header, int column) {
  int end = 0;
  for (const Cell& cell : header) {
    end += DisplayWidth(cell.text);
    if (column >= end) {
      continue;
    }
    for (const Choice& choice : view_->OrderColumns()) {
      if (const std::string label = LabelOf(choice.name);
          Pad(label, DisplayWidth(cell.text), Align::kLeft) == cell.text ||
          Pad(label, DisplayWidth(cell.text), Align::kRight) == cell.text) {
        view_->OrderBy(choice.number);
        return true;
      }
    }
    return false;
  }
  return false;
}

std::vector<PanelColumn> ViewPanel::Columns() const {
  std::vector<PanelColumn> columns;
  for (const std::string& name : view_->ColumnNames()) {
    columns.push_back({name});
  }
  for (const Choice& choice : view_->OrderColumns()) {
    const auto found = std::find_if(columns.begin(), columns.end(),
                                    [&](const PanelColumn& column) { return column.name == choice.name; });
    if (found == columns.end()) {
      columns.push_back({std::string(choice.name), choice.key});
    } else {
      found->key = choice.key;
    }
  }
  return columns;
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
  const std::optional<std::ptrdiff_t> place = PlaceAfter(key, first_, room_, last);
  if (!place) {
    return TurnKnob(key);
  }
  first_ = std::min(static_cast<std::size_t>(std::max<std::ptrdiff_t>(*place, 0)), last);
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

namespace {

PagedList* PagesOf(View& view) {
  auto* const list = dynamic_cast<PagedList*>(&view);
  return list == nullptr || list->has_fixed_rows() ? nullptr : list;
}

}  // namespace

ListPanel::ListPanel(PanelContext& context, std::unique_ptr<View> shown, Steps steps)
    : ViewPanel(context, std::move(shown)), paged_(PagesOf(view())), steps_(steps), take_(context.select) {
  view().OnArrivals([this] { OnRows(); });
}

void ListPanel::Show() {
  ViewPanel::Show();
  OnRows();
}

void ListPanel::OnRows() {
  if (paged_ != nullptr) {
    cursor_.SetPage(view().RowKeys(), paged_->first_row(), paged_->total());
  } else {
    cursor_.SetRows(view().RowKeys());
  }
  if (steps_ == Steps::kYes && view().shown() && !view().Securities().empty()) {
    context().step_through(WholeList());
  }
}

std::vector<BaseInfoItem> ListPanel::WholeList() const {
  if (paged_ != nullptr) {
    return paged_->WholeList();
  }
  std::vector<BaseInfoItem> list;
  for (const Security& security : view().Securities()) {
    list.push_back({security.code, security.name, L"", 0});
  }
  return list;
}

void ListPanel::Select(const Security& security) {
  ViewPanel::Select(security);
  current_ = security;
  if (steps_ == Steps::kYes && !cursor_.MoveTo(current_.code)) {
    const std::vector<BaseInfoItem> whole = WholeList();
    const auto known = std::find_if(whole.begin(), whole.end(),
                                    [&](const BaseInfoItem& item) { return item.code == current_.code; });
    if (known != whole.end()) {
      cursor_.Aim(current_.code, known - whole.begin());
    }
  }
  TurnPage();
  context().views.changed();
}

void ListPanel::TurnPage() {
  if (paged_ != nullptr) {
    const auto start = static_cast<std::uint32_t>(cursor_.page());
    paged_->SetRange({start, start + static_cast<std::uint32_t>(cursor_.room())});
  }
}

std::optional<Security> ListPanel::AtCursor() const {
  const std::vector<Security> rows = view().Securities();
  const bool is_there = cursor_.row() && *cursor_.row() < rows.size() && !rows[*cursor_.row()].code.empty();
  return is_there ? std::optional(rows[*cursor_.row()]) : std::nullopt;
}

// A click into the cursor's row takes it as Enter does.
bool ListPanel::OnKey(const Key& key) {
  const std::optional<std::size_t> before = cursor_.row();
  const bool is_header = key.kind == KeyKind::kClick && key.row == 0;
  if (is_header ? OrderAt(header_, key.column) : TurnKnob(key)) {
    cursor_.Reset();
    header_.clear();
    return true;
  }
  const bool is_moved = cursor_.OnKey(key);
  if (is_moved) {
    TurnPage();
    context().views.changed();
  }
  const bool is_taken =
      key.kind == KeyKind::kEnter || (is_moved && key.kind == KeyKind::kClick && cursor_.row() == before);
  if (const auto security = is_taken ? AtCursor() : std::nullopt) {
    take_(*security);
  }
  return is_moved || is_taken;
}

std::vector<KeyHint> ListPanel::Keys() const {
  std::vector<KeyHint> hints = KnobHints();
  hints.insert(hints.begin(), {kCursorHint, {"Enter", "select"}});
  return hints;
}

std::vector<StyledLine> ListPanel::Picture(const ChartSize& size) {
  const std::string note = view().Note();
  const ChartSize room{size.columns, size.rows - (note.empty() || paged_ != nullptr ? 0 : 1)};
  // Rows stay until those of another page are there.
  const bool has_rows = view().has_data() || (paged_ != nullptr && !view().Securities().empty());
  const bool is_shown = has_rows && view().WhyEmpty().empty() && view().WhyNothingToAsk().empty();
  std::vector<StyledLine> lines = cursor_.Picture(
      is_shown ? view().Lines(room.columns - kMarkColumns) : std::vector<StyledLine>(1), current_.code, room);
  TurnPage();
  if (!is_shown) {
    return {};
  }
  header_ = lines.empty() ? StyledLine() : lines.front();
  if (room.rows < size.rows) {
    lines.push_back({{note, Tone::kDim}});
  }
  return CutTo(std::move(lines), size);
}

std::unique_ptr<Panel> MakeBoardPanel(PanelContext& context) {
  return PanelFor(context, std::make_unique<BoardView>(context.views, ListBy(kStockColumns)));
}

}  // namespace cli

#include "cli/screen/screen.h"

#include <algorithm>
#include <span>
#include <sstream>
#include <utility>

#include "cli/format/china_time.h"
#include "cli/format/text.h"
#include "cli/format/words.h"

namespace cli {
namespace {

constexpr int kHeadRows = 2;
constexpr int kFootRows = 2;
constexpr int kAroundPicture = 2;  // title and state
constexpr int kFinderRows = 12;
constexpr int kHelpKeysWidth = 22;
constexpr int kHelpKeyWidth = 4;
constexpr int kPositionGap = 2;  // before a position that stands beside the state
constexpr int kWheelRows = 3;
constexpr char32_t kEndOfInput = U'\x04';

constexpr KeyHint kOwnKeys[] = {
    {"1 to 9", "page"},
    {"Tab, Shift-Tab", "next or previous panel: it comes into sight and gets the keys"},
    {"n, p", "next and previous security of the list"},
    {"/", "look for a security by code, name or pinyin"},
    {"r", "ask again now"},
    {"j k g G", "down, up, first, last"},
    {"mouse",
     "wheel: scroll; click: a page, a row (again: as Enter), the head of a column to order by it, a "
     "minute or a candle to read it; with Shift it marks text as usual"},
    {"?", "these keys and what the columns say; ↑↓ scroll, any other key closes them"},
    {"q, Ctrl-C", "quit"}};

StyledLine TitleLine(const std::string& title, const std::string& position, bool has_keys, int columns) {
  StyledLine line = {{has_keys ? "▸ " : "  ", Tone::kStrong},
                     {title, has_keys ? Tone::kStrong : Tone::kPlain}};
  const int left = columns - DisplayWidth(line);
  const bool fits = !position.empty() && left >= DisplayWidth(position) + 3;
  std::string rule = " ";
  for (int width = fits ? DisplayWidth(position) + 2 : 1; width < left; ++width) {
    rule += "─";
  }
  line.push_back({rule, Tone::kDim});
  if (fits) {
    line.push_back({" " + position, Tone::kDim});
  }
  return line;
}

bool IsMouse(const Key& key) {
  return key.kind == KeyKind::kClick || key.kind == KeyKind::kWheelUp || key.kind == KeyKind::kWheelDown;
}

// Rows that a key moves by.
int RowsOf(const Key& key) {
  return IsMouse(key) && key.kind != KeyKind::kClick ? kWheelRows : 1;
}

using Letter = std::pair<Key, KeyKind>;
constexpr Letter kLetters[] = {{Typed(U'j'), KeyKind::kDown},
                               {Typed(U'k'), KeyKind::kUp},
                               {Typed(U'g'), KeyKind::kHome},
                               {Typed(U'G'), KeyKind::kEnd}};

// What a panel that does not know a letter or the wheel may know as a key.
Key Plain(const Key& key) {
  if (RowsOf(key) > 1) {
    return {key.kind == KeyKind::kWheelUp ? KeyKind::kUp : KeyKind::kDown};
  }
  const auto letter = std::ranges::find(kLetters, key, &Letter::first);
  return letter == std::end(kLetters) ? key : Key{letter->second};
}

// What `effect` says beside `keys`, in as many lines as it takes.
void AddHint(std::vector<StyledLine>& lines, const std::string& keys, std::string_view effect, int columns) {
  constexpr int kLeft = kHelpKeysWidth + 2;
  std::istringstream rest(
      Wrapped("  " + Pad(keys, kHelpKeysWidth, Align::kLeft) + std::string(effect), columns, kLeft));
  for (std::string line; std::getline(rest, line);) {
    lines.push_back({{line}});
  }
}

void AddHints(std::vector<StyledLine>& lines, const std::string& title, std::span<const KeyHint> hints,
              int columns) {
  lines.push_back({{title, Tone::kStrong}});
  for (const KeyHint& hint : hints) {
    AddHint(lines, std::string(hint.keys), hint.effect, columns);
  }
}

}  // namespace

Screen::Screen(std::vector<std::unique_ptr<Panel>> panels, std::vector<Page> pages, ScreenActions actions)
    : panels_(std::move(panels)), pages_(std::move(pages)), actions_(std::move(actions)) {}

void Screen::Resize(const ChartSize& size) {
  if (size.columns != size_.columns || size.rows != size_.rows) {
    size_ = size;
    Arrange();
  }
}

void Screen::Open(std::vector<std::unique_ptr<Panel>> panels, std::vector<Page> pages) {
  shown_.clear();
  placed_.clear();
  panels_ = std::move(panels);
  pages_ = std::move(pages);
  focus_ = 0;
  Turn(0);
}

std::vector<Panel*> Screen::Seen() const {
  std::vector<Panel*> seen;
  for (const PlacedPart& part : placed_) {
    seen.push_back(panels_[part.panel].get());
  }
  return seen;
}

void Screen::Turn(std::size_t page) {
  if (page < pages_.size()) {
    page_ = page;
    reaches_ = false;
    Arrange();
  }
}

void Screen::Select(const Security& security) {
  for (const std::unique_ptr<Panel>& panel : panels_) {
    panel->Select(security);
  }
}

Area Screen::Room() const {
  return {0, kHeadRows, size_.columns, size_.rows - kHeadRows - kFootRows};
}

// Hidden before shown: a panel that comes into sight finds nobody left who asks in vain.
void Screen::Arrange() {
  const auto is_placed = [this](std::size_t panel) {
    return std::any_of(placed_.begin(), placed_.end(),
                       [panel](const PlacedPart& part) { return part.panel == panel; });
  };
  placed_.clear();
  if (!is_too_small() && !helps_ && page_ < pages_.size()) {
    placed_ = Place(pages_[page_], Room());
    if (reaches_ && !is_placed(focus_)) {
      placed_ = Place(BeginningWith(focus_, pages_[page_]), Room());
    }
  }
  std::vector<PlacedPart> wanted = placed_;
  if (!placed_.empty() && shown_as_on_.rows > 0) {
    wanted = Place(pages_[page_], {0, 0, std::max(size_.columns, shown_as_on_.columns),
                                   std::max(size_.rows, shown_as_on_.rows)});
  }
  std::set<std::size_t> seen;
  for (const PlacedPart& part : wanted) {
    seen.insert(part.panel);
  }
  for (const std::size_t panel : shown_) {
    if (seen.count(panel) == 0) {
      panels_[panel]->Hide();
    }
  }
  const std::set<std::size_t> before = std::exchange(shown_, seen);
  for (const PlacedPart& part : wanted) {
    if (before.count(part.panel) == 0) {
      panels_[part.panel]->Show();
    }
  }
  if (!placed_.empty() && !is_placed(focus_)) {
    focus_ = placed_.front().panel;
  }
}

void Screen::ShowAsOn(const ChartSize& size) {
  shown_as_on_ = size;
  Arrange();
}

void Screen::Refresh() {
  for (const std::size_t panel : shown_) {
    panels_[panel]->Refresh();
  }
  actions_.refresh();
}

void Screen::OnInterval(stock::MarketStatus phase) {
  const stock::MarketStatus before = std::exchange(phase_, phase);
  const bool is_new = before != phase && before != stock::kMarketUnknown;
  if (std::exchange(asks_once_more_, is_new) || is_new) {
    Refresh();
    return;
  }
  if (IsClosed(phase)) {
    return;
  }
  for (const std::size_t panel : shown_) {
    if (!panels_[panel]->PollsItself()) {
      panels_[panel]->Refresh();
    }
  }
  actions_.refresh();
}

std::vector<std::size_t> Screen::OnPage() const {
  std::vector<std::size_t> panels;
  if (page_ < pages_.size()) {
    for (const PageColumn& column : pages_[page_].columns) {
      for (const PagePart& part : column.parts) {
        panels.push_back(part.panel);
      }
    }
  }
  return panels;
}

void Screen::MoveFocus(int step) {
  const std::vector<std::size_t> panels = OnPage();
  if (placed_.empty()) {
    return;
  }
  const auto count = std::ssize(panels);
  const auto position = std::find(panels.begin(), panels.end(), focus_) - panels.begin();
  focus_ = panels[static_cast<std::size_t>((position + step + count) % count)];
  reaches_ = true;
  Arrange();
}

void Screen::OnKey(const Key& key) {
  told_.clear();
  if (is_too_small()) {
    OnOwnKey(key);
    return;
  }
  if (OnOverlayKey(key)) {
    return;
  }
  if (IsMouse(key)) {
    OnMouse(key);
  } else if (shown_.count(focus_) == 0 || !OnPanelKey(*panels_[focus_], key)) {
    OnOwnKey(key);
  }
}

bool Screen::OnPanelKey(Panel& panel, const Key& key) {
  if (panel.OnKey(key)) {
    return true;
  }
  for (int row = 1; row < RowsOf(key); ++row) {
    panel.OnKey(Plain(key));
  }
  return Plain(key) != key && panel.OnKey(Plain(key));
}

// A click gives the keys to the panel below it, the wheel does not.
void Screen::OnMouse(const Key& key) {
  const auto inside = [&](const PlacedPart& part) {
    return key.column >= part.area.column && key.column < part.area.column + part.area.columns &&
           key.row >= part.area.row && key.row < part.area.row + part.area.rows;
  };
  const auto part = std::find_if(placed_.begin(), placed_.end(), inside);
  if (part != placed_.end()) {
    focus_ = key.kind == KeyKind::kClick ? part->panel : focus_;
    Key local = key;
    local.column -= part->area.column;
    local.row -= part->area.row + 1;
    static_cast<void>(OnPanelKey(*panels_[part->panel], local));
  } else if (key.kind == KeyKind::kClick && key.row == size_.rows - 1) {
    int end = 0;
    const StyledLine tabs = Tabs();
    for (std::size_t page = 0; page < tabs.size(); ++page) {
      const int begin = std::exchange(end, end + DisplayWidth(tabs[page].text));
      if (key.column >= begin && key.column < end) {
        Turn(page);
      }
    }
  }
}

bool Screen::OnOverlayKey(const Key& key) {
  if (helps_ && (Plain(key).kind == KeyKind::kUp || Plain(key).kind == KeyKind::kDown)) {
    const auto rows = static_cast<std::size_t>(RowsOf(key));
    help_first_ += Plain(key).kind == KeyKind::kDown ? rows : 0;
    help_first_ -= Plain(key).kind == KeyKind::kUp ? std::min(help_first_, rows) : 0;
    return true;
  }
  if (helps_) {
    helps_ = false;
    Arrange();
    return true;
  }
  if (!finder_) {
    return false;
  }
  Key local = RowsOf(key) > 1 ? Plain(key) : key;
  local.row -= kHeadRows;
  switch (finder_->OnKey(local)) {
    case Finder::Outcome::kOpen:
      break;
    case Finder::Outcome::kChosen: {
      const Security chosen = finder_->chosen();
      finder_.reset();
      actions_.select(chosen);
      break;
    }
    case Finder::Outcome::kCancelled:
      finder_.reset();
      break;
  }
  return true;
}

void Screen::OnOwnKey(const Key& key) {
  if (key.kind == KeyKind::kTab || key.kind == KeyKind::kBackTab) {
    MoveFocus(key.kind == KeyKind::kTab ? 1 : -1);
    return;
  }
  if (key.kind != KeyKind::kCharacter) {
    return;
  }
  switch (key.character) {
    case U'q':
    case U'Q':
    case kEndOfInput:
      actions_.quit();
      break;
    case U'n':
      actions_.next();
      break;
    case U'p':
      actions_.previous();
      break;
    case U'r':
    case U'R':
      Refresh();
      break;
    case U'/':
      if (!is_too_small()) {
        finder_.emplace(actions_.find);
      }
      break;
    case U'?':
      helps_ = !is_too_small() && !panels_.empty();
      help_first_ = 0;
      Arrange();
      break;
    default:
      if (key.character >= U'1' && key.character <= U'9') {
        Turn(key.character - U'1');
      }
      break;
  }
}

std::vector<StyledLine> Screen::PartOf(const PlacedPart& part, Panel::Clock::time_point now,
                                       stock::MarketStatus phase) {
  Panel& panel = *panels_[part.panel];
  const ChartSize inside{part.area.columns, std::max(part.area.rows - kAroundPicture, 0)};
  const FeedReport report = panel.Report(now, phase);
  StyledLine state = StateLine(report);
  std::vector<StyledLine> lines = panel.Picture(inside);
  if (lines.empty() && DisplayWidth(state) > inside.columns) {
    std::istringstream whole(Wrapped(report.text, inside.columns));
    for (std::string line; std::getline(whole, line);) {
      lines.push_back({{line}});
    }
  }
  lines.resize(static_cast<std::size_t>(inside.rows));
  const std::string position = panel.Position();
  const StyledLine title = TitleLine(panel.Title(), position, part.panel == focus_, inside.columns);
  const int left = inside.columns - DisplayWidth(position) - kPositionGap;
  if (title.back().text != " " + position && DisplayWidth(state) <= left) {
    state = Fitted(state, left + kPositionGap);
    state.push_back({position, Tone::kDim});
  }
  lines.insert(lines.begin(), title);
  lines.push_back(state);
  for (StyledLine& line : lines) {
    line = Fitted(line, part.area.columns);
  }
  return lines;
}

std::vector<StyledLine> Screen::Body(Panel::Clock::time_point now, stock::MarketStatus phase) {
  const Area room = Room();
  std::vector<StyledLine> body(static_cast<std::size_t>(room.rows));
  for (const PlacedPart& part : placed_) {
    const std::vector<StyledLine> lines = PartOf(part, now, phase);
    for (std::size_t i = 0; i < lines.size(); ++i) {
      StyledLine& row = body[static_cast<std::size_t>(part.area.row - room.row) + i];
      if (part.area.column > 0) {
        row = Fitted(row, part.area.column - kPageGap);
        row.push_back({" │ ", Tone::kDim});
      }
      row.insert(row.end(), lines[i].begin(), lines[i].end());
    }
  }
  if (finder_) {
    const ChartSize size{room.columns, std::min(kFinderRows, room.rows)};
    std::vector<StyledLine> lines = finder_->Picture(size);
    lines.push_back(TitleLine("", "", false, room.columns));
    std::copy(lines.begin(), lines.begin() + std::min<std::ptrdiff_t>(std::ssize(lines), room.rows),
              body.begin());
  }
  return body;
}

std::vector<StyledLine> Screen::HelpLines() const {
  std::vector<StyledLine> lines;
  AddHints(lines, "Keys", kOwnKeys, size_.columns);
  const Panel& panel = *panels_[focus_];
  const std::vector<KeyHint> keys = panel.Keys();
  if (!keys.empty()) {
    AddHints(lines, panel.Title(), keys, size_.columns);
  }
  std::vector<StyledLine> columns;
  bool has_keys = false;
  for (const auto& [name, key] : panel.Columns()) {
    has_keys = has_keys || key != '\0';
    if (const std::string_view meaning = MeaningOf(name); !meaning.empty()) {
      const std::string own_key(1, key == '\0' ? ' ' : key);
      AddHint(columns, Pad(own_key, kHelpKeyWidth, Align::kLeft) + LabelOf(name), meaning, size_.columns);
    }
  }
  if (!columns.empty()) {
    lines.push_back(
        {{has_keys ? "Columns; a key orders by its column, again the other way" : "Columns", Tone::kStrong}});
    lines.insert(lines.end(), columns.begin(), columns.end());
  }
  return lines;
}

std::vector<StyledLine> Screen::Help() {
  std::vector<StyledLine> lines = HelpLines();
  const auto room = static_cast<std::size_t>(Room().rows);
  help_first_ = std::min(help_first_, lines.size() - std::min(lines.size(), room));
  lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(help_first_));
  const bool has_more = lines.size() > room;
  lines.resize(room);
  if (has_more) {
    lines.back() = {{"  ↓ more", Tone::kDim}};
  }
  return lines;
}

StyledLine Screen::HintLine() const {
  if (!told_.empty()) {
    return {{told_, Tone::kWarning}};
  }
  if (helps_) {
    return {{"↑ ↓ scroll   any other key closes", Tone::kDim}};
  }
  if (finder_) {
    return {{"Enter selects   ↑ ↓ another one   Esc back", Tone::kDim}};
  }
  StyledLine line;
  if (const std::size_t panels = OnPage().size(); !placed_.empty() && placed_.size() < panels) {
    line = {{"Tab"}, {" " + std::to_string(panels - placed_.size()) + " more", Tone::kDim}};
  }
  if (shown_.count(focus_) > 0) {
    for (const KeyHint& hint : panels_[focus_]->Keys()) {
      StyledLine longer = line;
      longer.push_back({(line.empty() ? "" : "   ") + std::string(hint.keys)});
      longer.push_back({" " + std::string(hint.effect), Tone::kDim});
      if (DisplayWidth(longer) > size_.columns) {
        break;  // the help has them all
      }
      line = std::move(longer);
    }
  }
  return line;
}

// All names, or where they do not fit the numbers and the name of this page.
StyledLine Screen::Tabs() const {
  StyledLine line;
  for (const bool with_names : {true, false}) {
    line.clear();
    for (std::size_t i = 0; i < pages_.size() && pages_.size() > 1; ++i) {
      const std::string number = std::to_string(i + 1);
      const std::string page = number + " " + std::string(pages_[i].name);
      line.push_back(i == page_ ? Cell{"[" + page + "]", Tone::kStrong}
                                : Cell{" " + (with_names ? page : number), Tone::kDim});
    }
    if (DisplayWidth(line) <= size_.columns) {
      break;
    }
  }
  return line;
}

// `line` and at the right what never goes.
StyledLine Screen::WithKeys(StyledLine line, const std::string& keys) const {
  line = Fitted(line, size_.columns - DisplayWidth(keys) - 1);
  line.push_back({" " + keys, Tone::kDim});
  return line;
}

std::vector<StyledLine> Screen::Picture(const ScreenHead& head, Panel::Clock::time_point now,
                                        stock::MarketStatus phase) {
  if (is_too_small()) {
    return {{{"too small: " + std::to_string(size_.columns) + " by " + std::to_string(size_.rows) +
                  ", at least " + std::to_string(kLeast.columns) + " by " + std::to_string(kLeast.rows),
              Tone::kWarning}},
            {{"q quit", Tone::kDim}}};
  }
  std::vector<StyledLine> lines = helps_ ? Help() : Body(now, phase);
  lines.insert(lines.begin(), {head.indices, head.state});
  constexpr std::string_view kAlways = "/ find  ? keys  q quit";
  const StyledLine tabs = Tabs();
  const bool fits = DisplayWidth(tabs) + DisplayWidth(kAlways) < size_.columns;
  lines.push_back(fits || finder_ || helps_ || !told_.empty() ? HintLine() : WithKeys(HintLine(), "? keys"));
  lines.push_back(fits ? WithKeys(tabs, std::string(kAlways)) : tabs);
  for (StyledLine& line : lines) {
    line = Fitted(line, size_.columns);
  }
  return lines;
}

}  // namespace cli

#include "desktop/list_pane.h"

#include <algorithm>
#include <chrono>
#include <limits>

#include "desktop/words.h"

namespace desktop {
namespace {

constexpr std::chrono::milliseconds kScrollRest(40);
constexpr int kRowsForWidths = 60;
constexpr int kRowPadding = 6;
constexpr int kTitlePadding = 26;
constexpr int kMostMore = 40;  // pixels that a column gets besides what it needs
constexpr int kLeastColumns = 3;
constexpr int kLeastText = 100;  // pixels
constexpr int kNever = 1000;     // rank of what is shown on demand only
constexpr std::string_view kRowNumber = "row";

const QString kHeaderKey = QStringLiteral("/header");

}  // namespace

ListPane::ListPane(Desk& desk, const QString& id, std::unique_ptr<cli::View> shown, ListTraits traits)
    : Pane(desk, id),
      traits_(traits),
      pages_(dynamic_cast<cli::PagedList*>(shown.get())),
      table_(new ViewTable(this)),
      list_(new QTableView),
      painter_(new CellPainter(this)) {
  Add(std::move(shown));
  for (const cli::Knob knob : {cli::Knob::kGroup, cli::Knob::kSpan}) {
    if (view().SettingOf(knob)) {
      AddKnob(knob);
    }
  }
  SetUpList();
  SetUpHeader();
  SetBody(list_);
  sight_.setSingleShot(true);
  sight_.setInterval(kScrollRest);
  connect(&sight_, &QTimer::timeout, this, &ListPane::AskForSight);
  connect(&desk, &Desk::listsLoaded, this, [this] { Refresh(false); });
  connect(&desk, &Desk::suggested, this, [this](const cli::Security& security) {
    if (!view().WhyNothingToAsk().empty() && pinned().code.empty()) {
      view().Select(security);
    }
  });
}

void ListPane::SetUpList() {
  list_->setModel(table_);
  list_->setItemDelegate(painter_);
  list_->setShowGrid(false);
  list_->setSelectionMode(QAbstractItemView::NoSelection);
  list_->setFrameShape(QFrame::NoFrame);
  list_->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
  list_->setWordWrap(false);
  list_->setTabKeyNavigation(false);
  list_->setContextMenuPolicy(Qt::CustomContextMenu);
  list_->setAccessibleName(Title());
  list_->verticalHeader()->hide();
  list_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  list_->verticalHeader()->setDefaultSectionSize(list_->fontMetrics().height() + kRowPadding);
  if (traits_.is_watch_list) {
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
    list_->setSelectionBehavior(QAbstractItemView::SelectRows);
    list_->setDragDropMode(QAbstractItemView::InternalMove);
  }
  list_->viewport()->installEventFilter(this);
  list_->installEventFilter(this);
  connect(list_->verticalScrollBar(), &QScrollBar::valueChanged, &sight_, qOverload<>(&QTimer::start));
  connect(list_->verticalScrollBar(), &QScrollBar::rangeChanged, &sight_, qOverload<>(&QTimer::start));
  connect(list_, &QTableView::clicked, this, [this](const QModelIndex& index) { OnRow(index.row()); });
  connect(list_, &QTableView::customContextMenuRequested, this, &ListPane::OnMenu);
}

void ListPane::SetUpHeader() {
  QHeaderView* const header = list_->horizontalHeader();
  header->setSectionsMovable(true);
  header->setHighlightSections(false);
  header->setMinimumSectionSize(24);
  header->setContextMenuPolicy(Qt::CustomContextMenu);
  const auto arranged = [this] { is_arranged_ = is_arranged_ || !is_fitting_; };
  connect(header, &QHeaderView::sectionMoved, this, arranged);
  connect(header, &QHeaderView::sectionResized, this, arranged);
  connect(header, &QHeaderView::sectionClicked, this, &ListPane::OnHeader);
  connect(header, &QHeaderView::customContextMenuRequested, this, &ListPane::OnHeaderMenu);
  connect(table_, &QAbstractItemModel::modelReset, this, &ListPane::RestoreColumns);
}

// The columns are others than before.
void ListPane::RestoreColumns() {
  {
    const QSignalBlocker quiet(list_->horizontalHeader());
    const QByteArray kept = desk().settings().value(id() + kHeaderKey).toByteArray();
    is_arranged_ = list_->horizontalHeader()->restoreState(kept);
  }
  ShowOrder();
  FitColumns();
}

// Until the user has arranged them: each column as wide as its figures, the less important ones left out
// where there is no room for them, the room that is left shared by all.
void ListPane::FitColumns() {
  if (is_arranged_ || table_->size() == 0) {
    return;
  }
  is_fitting_ = true;
  const QFontMetrics metrics = list_->fontMetrics();
  const QFontMetrics title_metrics = list_->horizontalHeader()->fontMetrics();
  const int digit = metrics.horizontalAdvance(QLatin1Char('0'));
  const int begin = static_cast<int>(table_->first());
  const int end = std::min(table_->rowCount(), begin + kRowsForWidths);
  struct Wanted {
    int column;
    int rank;
    int width;
  };
  std::vector<Wanted> columns;
  for (int column = 0; column < table_->columnCount(); ++column) {
    const cli::Column& shape = table_->column(column);
    const QString title = table_->headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
    int width = std::max(title_metrics.horizontalAdvance(title) + kTitlePadding, shape.min_width * digit);
    for (int row = begin; row < end; ++row) {
      const QString text = table_->data(table_->index(row, column), Qt::DisplayRole).toString();
      width = std::max(width, CellPainter::WidthFor(metrics, text));
    }
    columns.push_back({column, shape.name == kRowNumber ? kNever : shape.rank, width});
  }
  std::stable_sort(columns.begin(), columns.end(),
                   [](const Wanted& a, const Wanted& b) { return a.rank < b.rank; });
  const int room = list_->viewport()->width();
  int used = 0;
  int shown = 0;
  for (const Wanted& one : columns) {
    const bool fits = one.rank < kNever && (shown < kLeastColumns || used + one.width <= room);
    list_->setColumnHidden(one.column, !fits);
    used += fits ? one.width : 0;
    shown += fits ? 1 : 0;
  }
  const int more = std::clamp((room - used) / std::max(shown, 1), 0, kMostMore);
  for (const Wanted& one : columns) {
    if (!list_->isColumnHidden(one.column)) {
      // A text may be cut, a figure not.
      const bool is_cut = used > room && table_->column(one.column).align == cli::Align::kLeft &&
                          one.width - (used - room) >= kLeastText;
      list_->setColumnWidth(one.column, is_cut ? one.width - (used - room) : one.width + more);
      used = is_cut ? room : used;
    }
  }
  is_fitting_ = false;
}

void ListPane::Save() {
  if (is_arranged_) {
    desk().settings().setValue(id() + kHeaderKey, list_->horizontalHeader()->saveState());
  }
}

void ListPane::ShowOrder() {
  const auto column = view().SettingOf(cli::Knob::kColumn);
  const auto direction = view().SettingOf(cli::Knob::kDirection);
  if (column && direction) {
    table_->SetOrder(table_->ColumnOf(cli::NameOf(column->choices, column->number)),
                     direction->number == cli::kAscending);
  }
}

// Another column is sorted with the largest on top, the same one the other way round; the third click gives
// the watch list its own order back.
void ListPane::OnHeader(int section) {
  const auto column = view().SettingOf(cli::Knob::kColumn);
  if (!column) {
    return;
  }
  const auto number = cli::NumberOf(column->choices, table_->column(section).name);
  if (!number) {
    desk().Tell(Word("The server does not sort by this column", "服务器不支持按此列排序"));
    return;
  }
  const bool is_same = *number == column->number;
  const bool is_ascending = view().SettingOf(cli::Knob::kDirection)->number == cli::kAscending;
  if (is_same && !(traits_.is_watch_list && is_ascending)) {
    view().Turn(cli::Knob::kDirection, 1);
  } else {
    view().Set(cli::Knob::kDirection, cli::kDescending);
    view().Set(cli::Knob::kColumn, is_same ? 0 : *number);
  }
  OnTurned();
}

void ListPane::OnHeaderMenu(const QPoint& at) {
  QMenu menu;
  for (int column = 0; column < table_->columnCount(); ++column) {
    QAction* const action =
        menu.addAction(table_->headerData(column, Qt::Horizontal, Qt::DisplayRole).toString());
    action->setCheckable(true);
    action->setChecked(!list_->isColumnHidden(column));
    action->setToolTip(table_->headerData(column, Qt::Horizontal, Qt::ToolTipRole).toString());
    connect(action, &QAction::toggled, this, [this, column](bool on) {
      is_arranged_ = true;
      list_->setColumnHidden(column, !on);
      if (on && list_->columnWidth(column) <= list_->horizontalHeader()->minimumSectionSize()) {
        list_->resizeColumnToContents(column);
      }
    });
  }
  menu.setToolTipsVisible(true);
  menu.exec(list_->horizontalHeader()->mapToGlobal(at));
}

void ListPane::Draw() {
  sight_.start();
  ViewTable::Place place;
  if (pages_ != nullptr) {
    place = {pages_->first_row(), pages_->total(), [this] { return pages_->WholeList(); }};
  }
  cli::Table rows = view().AsTable();
  if (rows.columns().empty()) {
    return;
  }
  const bool was_empty = table_->size() == 0;
  table_->Show(std::move(rows), view().RowKeys(), view().Securities(), std::move(place));
  if (was_empty) {
    FitColumns();
  }
  MarkCurrent(false);
  if (traits_.steps && pinned().code.empty()) {
    StepHere();
  }
  if (const auto first = table_->SecurityAt(0)) {
    desk().Suggest(*first);
  }
}

void ListPane::StepHere() {
  desk().StepThrough(this, [this] {
    std::vector<BaseInfoItem> list;
    for (int row = 0; row < table_->rowCount(); ++row) {
      if (const auto security = table_->SecurityAt(row)) {
        list.push_back({security->code, security->name, L"", 0});
      }
    }
    return list;
  });
}

bool ListPane::IsSettled() const {
  const cli::FeedState state = Report().state;
  return Pane::IsSettled() && (pages_ == nullptr || pages_->total().has_value() ||
                               state == cli::FeedState::kEmpty || state == cli::FeedState::kFailed);
}

QString ListPane::Note() const {
  const QString note = pages_ == nullptr ? Pane::Note() : QString();
  const int rows = table_->rowCount();
  return !note.isEmpty() || rows == 0 ? note : Word("%1 rows", "共 %1 行").arg(rows);
}

void ListPane::OnTurned() {
  table_->Clear();
  list_->scrollToTop();
  ShowOrder();
  ShowState();
}

void ListPane::OnSecurity(const cli::Security& security) {
  const std::string before = view().Title();
  Pane::OnSecurity(security);
  if (view().Title() != before) {
    OnTurned();
  }
  MarkCurrent(true);
}

// The row of the current security; it is brought into sight when it has become another one.
void ListPane::MarkCurrent(bool in_sight) {
  const int row = in_sight ? table_->RowOf(desk().current().code) : table_->RowHere(desk().current().code);
  painter_->SetCurrentRow(row);
  list_->viewport()->update();
  if (row < 0) {
    return;
  }
  if (list_->currentIndex().row() != row) {
    const QSignalBlocker quiet(list_->selectionModel());
    list_->setCurrentIndex(table_->index(row, 0));
  }
  if (in_sight) {
    list_->scrollTo(table_->index(row, std::max(0, list_->horizontalHeader()->logicalIndexAt(0))));
  }
}

void ListPane::OnRow(int row) {
  const auto security = table_->SecurityAt(row);
  if (!security || security->code == desk().current().code) {
    return;
  }
  if (traits_.steps) {
    StepHere();
  }
  desk().Select(*security);
}

void ListPane::OnMenu(const QPoint& at) {
  const auto security = table_->SecurityAt(list_->rowAt(at.y()));
  if (!security) {
    return;
  }
  QMenu menu;
  menu.addAction(Word("Add to the watch list", "加入自选"),
                 [&] { desk().Tell(desk().watch_list().Add(*security)); });
  menu.addAction(Word("Remove from the watch list", "移出自选"),
                 [&] { desk().Tell(desk().watch_list().Remove(*security)); });
  menu.exec(list_->viewport()->mapToGlobal(at));
}

void ListPane::AskForSight() {
  if (pages_ == nullptr || !seen()) {
    return;
  }
  const int top = std::max(list_->rowAt(0), 0);
  const int shown =
      list_->viewport()->height() / std::max(list_->verticalHeader()->defaultSectionSize(), 1) + 1;
  const auto held_first = static_cast<int>(table_->first());
  const auto held_end = held_first + static_cast<int>(table_->size());
  const int total = static_cast<int>(pages_->total().value_or(std::numeric_limits<int>::max()));
  const int first = std::max(top - shown, 0);
  const int end = std::min(top + 2 * shown, total);
  // There is no need to ask as long as what is here goes beyond what is seen.
  const bool ends_above = held_first > 0 && top - held_first < shown / 2;
  const bool ends_below = held_end < total && held_end - (top + shown) < shown / 2;
  if (end > first && (ends_above || ends_below || held_end - held_first > 4 * shown)) {
    pages_->SetRange({static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(end)});
  }
}

bool ListPane::eventFilter(QObject* watched, QEvent* event) {
  const bool in_rows = watched == list_->viewport();
  if (in_rows && event->type() == QEvent::Resize) {
    FitColumns();
    sight_.start();
  } else if (in_rows && event->type() == QEvent::MouseButtonPress) {
    pressed_ = table_->SecurityAt(list_->rowAt(static_cast<QMouseEvent&>(*event).pos().y()));
  } else if (in_rows && event->type() == QEvent::Drop && traits_.is_watch_list) {
    const int to = list_->rowAt(static_cast<QDropEvent&>(*event).pos().y());
    OnDrop(to < 0 ? table_->rowCount() - 1 : to);
    event->accept();
    return true;
  } else if (!in_rows && event->type() == QEvent::KeyPress) {
    OnKey(static_cast<QKeyEvent&>(*event));
    return true;
  }
  return Pane::eventFilter(watched, event);
}

// Arrow keys select as they go. A row that becomes the current one otherwise, because the list gets the focus
// or loses rows, is nobody's choice.
void ListPane::OnKey(QKeyEvent& key) {
  const QModelIndex before = list_->currentIndex();
  if (traits_.is_watch_list && key.key() == Qt::Key_Delete) {
    if (const auto security = table_->SecurityAt(before.row())) {
      desk().Tell(desk().watch_list().Remove(*security));
    }
    return;
  }
  static_cast<QObject*>(list_)->event(&key);
  if (list_->currentIndex() != before) {
    OnRow(list_->currentIndex().row());
  }
}

// Rows may have changed places since the drag began.
void ListPane::OnDrop(int to) {
  const std::optional<cli::Security> security = std::exchange(pressed_, std::nullopt);
  if (!security || table_->RowOf(security->code) == to) {
    return;
  }
  const auto column = view().SettingOf(cli::Knob::kColumn);
  if (column && column->number != 0) {
    desk().Tell(Word("Rows are moved in the list's own order only: click the sorted column until it is back",
                     "仅可在自选自身顺序下拖动：请先取消排序"));
    return;
  }
  desk().Tell(desk().watch_list().Move(*security, static_cast<std::size_t>(to)));
}

}  // namespace desktop

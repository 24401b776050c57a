#include "desktop/main_window.h"

#include <algorithm>

#include "cli/format/chart_headings.h"
#include "cli/format/text.h"
#include "desktop/theme.h"
#include "desktop/words.h"

namespace desktop {
namespace {

constexpr int kMessageTime = 6000;  // ms
constexpr QSize kPaneWindow(720, 460);
constexpr int kMostWindows = 50;  // that are opened again

const QString kGeometry = QStringLiteral("window/geometry");
const QString kPage = QStringLiteral("window/page");
const QString kWindows = QStringLiteral("windows");

// What is kept of the windows, as an array of Qt's.
QString KeyOfWindow(int number) {
  return QStringLiteral("%1/%2/").arg(kWindows).arg(number);
}

QLabel* MadeLabel() {
  auto* const label = new QLabel;
  label->setTextFormat(Qt::PlainText);
  label->setContentsMargins(8, 0, 8, 0);
  return label;
}

void Say(QLabel& label, const QString& text, bool is_warning) {
  label.setText(text);
  label.setForegroundRole(is_warning ? QPalette::BrightText : QPalette::PlaceholderText);
}

}  // namespace

PaneWindow::PaneWindow(Desk& desk, const PaneKind& kind, const cli::Security& security, int number)
    : kind_(kind) {
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  pane_ = kind.make(desk, QStringLiteral("window%1/%2").arg(number).arg(Text(kind.name))).release();
  layout->addWidget(pane_);
  QString title = Word(kind.english, kind.chinese);
  if (kind.of_security && !security.code.empty()) {
    pane_->Pin(security);
    title += QStringLiteral(": ") + Text(cli::NameText(security));
  }
  setWindowTitle(title);
  resize(kPaneWindow);
}

MainWindow::MainWindow(Desk& desk)
    : desk_(desk),
      indices_(new IndexStrip(desk)),
      stack_(new QStackedWidget),
      finder_(new Finder(desk, this)),
      badge_(MadeLabel()),
      connection_(MadeLabel()),
      clock_(MadeLabel()),
      doctor_(MadeLabel()) {
  const QString badge = Text(desk.session().badge());
  setWindowTitle(Word("Chinese A-shares", "A股行情") +
                 (badge.isEmpty() ? badge : QStringLiteral(" – ") + badge));
  auto* const body = new QWidget;
  auto* const layout = new QVBoxLayout(body);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(indices_);
  layout->addWidget(stack_, 1);
  setCentralWidget(body);
  MakePageBar();
  for (QLabel* const label : {badge_, connection_, clock_, doctor_}) {
    statusBar()->addPermanentWidget(label);
  }
  statusBar()->setSizeGripEnabled(false);
  connect(&desk_, &Desk::told, this,
          [this](const QString& text) { statusBar()->showMessage(text, kMessageTime); });
  connect(&desk_, &Desk::ticked, this, &MainWindow::SayStatus);
  resize(desk_.options().size);
  restoreGeometry(desk_.settings().value(kGeometry).toByteArray());
  const std::string asked = desk_.options().page;
  ShowPage(asked.empty() ? desk_.settings().value(kPage).toString().toStdString() : asked);
  ReopenWindows();
  SayStatus();
  if (desk_.settings().status() != QSettings::NoError) {
    desk_.Tell(
        Word("Layout and colours are as at first: %1 cannot be read", "布局与配色已恢复默认：无法读取 %1")
            .arg(desk_.settings().fileName()));
  }
  qApp->installEventFilter(this);
}

void MainWindow::MakePageBar() {
  auto* const bar = new QToolBar(Word("Pages", "页面"));
  bar->setObjectName(QStringLiteral("pages"));
  bar->setMovable(false);
  bar->setContextMenuPolicy(Qt::PreventContextMenu);
  auto* const button = new QToolButton;
  button->setText(QStringLiteral("☰"));
  button->setPopupMode(QToolButton::InstantPopup);
  button->setAccessibleName(Word("Menu", "菜单"));
  button->setMenu(new QMenu(button));
  MakeMenu(*button->menu());
  bar->addWidget(button);
  auto* const group = new QActionGroup(this);
  int number = 1;
  for (const PageKind& kind : PageKinds()) {
    QAction* const action = bar->addAction(Word(kind.english, kind.chinese));
    action->setCheckable(true);
    action->setShortcut(QKeySequence(QStringLiteral("F%1").arg(number++)));
    action->setToolTip(QStringLiteral("%1 (%2)").arg(action->text(), action->shortcut().toString()));
    group->addAction(action);
    page_actions_.emplace(kind.name, action);
    connect(action, &QAction::triggered, this, [this, name = kind.name] { ShowPage(name); });
  }
  addToolBar(Qt::LeftToolBarArea, bar);
}

void MainWindow::MakeMenu(QMenu& menu) {
  QMenu* const add = menu.addMenu(Word("Open a pane on this page", "在本页打开"));
  QMenu* const window = menu.addMenu(Word("Open a window", "新窗口"));
  for (const PaneKind& kind : PaneKinds()) {
    add->addAction(Word(kind.english, kind.chinese), [this, &kind] { page().Open(kind); });
    window->addAction(Word(kind.english, kind.chinese),
                      [this, &kind] { OpenWindow(kind, desk_.current()).show(); });
  }
  menu.addAction(Word("Arrange this page as at first", "恢复本页布局"), [this] { page().Arrange(); });
  menu.addSeparator();
  menu.addAction(Word("Light or dark", "浅色/深色"),
                 [this] { desk_.ChooseTheme(!CurrentTheme().is_dark, CurrentTheme().green_up); });
  menu.addAction(Word("Exchange the colours of rises and falls", "红涨绿跌/绿涨红跌"),
                 [this] { desk_.ChooseTheme(CurrentTheme().is_dark, !CurrentTheme().green_up); });
  menu.addSeparator();
  const auto add_key = [&](const QString& text, const char* key, const auto& work) {
    QAction* const action = menu.addAction(text, work);
    action->setShortcut(QKeySequence(QLatin1String(key)));
    action->setShortcutContext(Qt::ApplicationShortcut);
    addAction(action);
  };
  const auto edit = [this](std::string (cli::WatchListEdits::*change)(const cli::Security&)) {
    desk_.Tell((desk_.watch_list().*change)(desk_.current()));
  };
  add_key(Word("Add to the watch list", "加入自选"), "Ins", [edit] { edit(&cli::WatchListEdits::Add); });
  add_key(Word("Remove from the watch list", "移出自选"), "Shift+Del",
          [edit] { edit(&cli::WatchListEdits::Remove); });
  add_key(Word("Put back what was removed", "撤销移出"), "Ctrl+Z",
          [this] { desk_.Tell(desk_.watch_list().Undo()); });
  add_key(Word("Ask again", "刷新"), "Ctrl+R", [this] { desk_.RefreshAll(); });
  menu.addSeparator();
  add_key(Word("Quit", "退出"), "Ctrl+Q", [this] { close(); });
}

void MainWindow::SayStatus() {
  if (isMinimized() || !isVisible()) {
    return;
  }
  const stock_host::Connection state = stock_host::ConnectionState();
  const bool failing = state == stock_host::Connection::kFailing;
  const QString connection = failing ? Word("not connected to %1", "连接失败 %1")
                             : state == stock_host::Connection::kLive
                                 ? Word("connected to %1", "已连接 %1")
                                 : Word("connecting to %1", "正在连接 %1");
  const bool by_server = stock_host::ReadServerClock().known;
  const Desk::Verdict verdict = desk_.Doctor();
  Say(*badge_, Text(desk_.session().badge()), true);
  Say(*connection_, connection.arg(Text(cli::Printable(desk_.session().server_text()))), failing);
  Say(*clock_, by_server ? Word("clock: server", "时钟：服务器") : Word("clock: this machine", "时钟：本机"),
      false);
  Say(*doctor_, Word("doctor: ", "自检：") + verdict.text.left(60), !verdict.good);
  doctor_->setToolTip(verdict.details);
}

void MainWindow::ShowPage(std::string_view name) {
  const auto kinds = PageKinds();
  auto kind = std::ranges::find(kinds, name, &PageKind::name);
  kind = kind == kinds.end() ? kinds.begin() : kind;
  auto found = pages_.find(kind->name);
  if (found == pages_.end()) {
    auto* const made = new Page(desk_, *kind);
    stack_->addWidget(made);
    found = pages_.emplace(kind->name, made).first;
  }
  stack_->setCurrentWidget(found->second);
  page_actions_.at(kind->name)->setChecked(true);
  if (Pane* const first = found->second->Find(kind->panes.front().pane)) {
    first->setFocus();
  }
}

PaneWindow& MainWindow::OpenWindow(const PaneKind& kind, const cli::Security& security) {
  ForgetClosed();
  windows_.push_back(std::make_unique<PaneWindow>(desk_, kind, security, static_cast<int>(windows_.size())));
  return *windows_.back();
}

void MainWindow::ForgetClosed() {
  std::erase_if(windows_, [](const auto& window) { return !window->isVisible() && !window->isMinimized(); });
}

void MainWindow::Save() {
  QSettings& settings = desk_.settings();
  settings.setValue(kGeometry, saveGeometry());
  settings.setValue(kPage, Text(page().kind().name));
  for (const auto& [name, made] : pages_) {
    made->Save();
  }
  ForgetClosed();
  settings.remove(kWindows);
  settings.setValue(kWindows + QStringLiteral("/size"), static_cast<int>(windows_.size()));
  int number = 0;
  for (const auto& window : windows_) {
    const QString key = KeyOfWindow(++number);
    settings.setValue(key + QStringLiteral("kind"), Text(window->kind().name));
    settings.setValue(key + QStringLiteral("code"), QString::fromStdWString(window->pane().pinned().code));
    settings.setValue(key + QStringLiteral("name"), QString::fromStdWString(window->pane().pinned().name));
    settings.setValue(key + QStringLiteral("geometry"), window->saveGeometry());
    window->pane().Save();
  }
  settings.sync();
}

void MainWindow::ReopenWindows() {
  const auto kept = [this](int number, const char* what) {
    return desk_.settings().value(KeyOfWindow(number) + QLatin1String(what));
  };
  const int count = desk_.settings().value(kWindows + QStringLiteral("/size")).toInt();
  for (int number = 1; number <= std::min(count, kMostWindows); ++number) {
    if (const PaneKind* const kind = FindPaneKind(kept(number, "kind").toString().toStdString())) {
      PaneWindow& window = OpenWindow(*kind, cli::SecurityOf(kept(number, "code").toString().toStdWString(),
                                                             kept(number, "name").toString().toStdWString()));
      window.restoreGeometry(kept(number, "geometry").toByteArray());
      window.show();
    }
  }
}

void MainWindow::closeEvent(QCloseEvent* event) {
  Save();
  windows_.clear();
  QMainWindow::closeEvent(event);
  qApp->quit();
}

// Letters that nothing else wants open the finder; Page Up and Page Down step wherever the focus is.
bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::KeyPress || !watched->isWidgetType() || finder_->isVisible() ||
      QApplication::activePopupWidget() != nullptr || qobject_cast<QLineEdit*>(watched) != nullptr ||
      !static_cast<QWidget*>(watched)->isActiveWindow()) {
    return QMainWindow::eventFilter(watched, event);
  }
  const auto& key = static_cast<QKeyEvent&>(*event);
  if (key.key() == Qt::Key_PageUp || key.key() == Qt::Key_PageDown) {
    desk_.Step(key.key() == Qt::Key_PageDown ? 1 : -1);
    return true;
  }
  const bool plain = (key.modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier)) == Qt::NoModifier;
  if (plain && !key.text().isEmpty() && key.text().at(0).isLetterOrNumber()) {
    finder_->Open(key.text());
    return true;
  }
  return QMainWindow::eventFilter(watched, event);
}

}  // namespace desktop

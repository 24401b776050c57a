#include "desktop/page.h"

#include <QtGui/QResizeEvent>

#include "desktop/words.h"

namespace desktop {

Page::Page(Desk& desk, const PageKind& kind) : desk_(desk), kind_(kind) {
  setWindowFlags(Qt::Widget);
  setDockNestingEnabled(true);
  setDockOptions(AnimatedDocks | AllowNestedDocks | AllowTabbedDocks);
  setTabPosition(Qt::AllDockWidgetAreas, QTabWidget::North);
  QStringList open = desk_.settings().value(Key("panes")).toStringList();
  if (open.isEmpty()) {
    for (const Placing& placing : kind_.panes) {
      open << Text(placing.pane);
    }
  }
  for (const QString& name : open) {
    if (const PaneKind* const pane = FindPaneKind(name.toStdString())) {
      docks_.emplace(pane->name, Make(*pane));
    }
  }
  Arrange();
  is_arranged_ = restoreState(desk_.settings().value(Key("docks")).toByteArray());
}

QString Page::Key(const char* what) const {
  return Text(kind_.name) + QLatin1Char('/') + QString::fromLatin1(what);
}

QDockWidget* Page::Make(const PaneKind& kind) {
  auto* const dock = new QDockWidget(Word(kind.english, kind.chinese), this);
  dock->setObjectName(Text(kind.name));
  std::unique_ptr<Pane> pane = kind.make(desk_, Text(kind_.name) + QLatin1Char('/') + Text(kind.name));
  Pane* const made = pane.release();
  dock->setWidget(made);
  connect(dock, &QDockWidget::visibilityChanged, made, [made](bool visible) { made->SetOnStage(visible); });
  return dock;
}

void Page::Arrange() {
  for (const Placing& placing : kind_.panes) {
    QDockWidget* const dock = Dock(placing.pane);
    QDockWidget* const beside = Dock(placing.beside);
    if (dock == nullptr) {
      continue;
    }
    dock->setFloating(false);
    dock->show();
    if (beside == nullptr) {
      addDockWidget(Qt::LeftDockWidgetArea, dock);
    } else if (placing.how == Placing::How::kTab) {
      tabifyDockWidget(beside, dock);
      beside->raise();
    } else {
      splitDockWidget(beside, dock, placing.how == Placing::How::kRight ? Qt::Horizontal : Qt::Vertical);
    }
  }
  for (const auto& [name, dock] : docks_) {
    if (dockWidgetArea(dock) == Qt::NoDockWidgetArea) {
      addDockWidget(Qt::RightDockWidgetArea, dock);
    }
  }
  is_arranged_ = false;
  ShareOut();
}

// Until the user moves something the panes keep their shares of the window.
void Page::ShareOut() {
  for (const Placing& placing : kind_.panes) {
    QDockWidget* const dock = Dock(placing.pane);
    QDockWidget* const beside = Dock(placing.beside);
    if (dock == nullptr || beside == nullptr || placing.how == Placing::How::kTab) {
      continue;
    }
    const bool is_right = placing.how == Placing::How::kRight;
    const int whole = is_right ? dock->width() + beside->width() : dock->height() + beside->height();
    const int part = whole * placing.share / 100;
    resizeDocks({beside, dock}, {whole - part, part}, is_right ? Qt::Horizontal : Qt::Vertical);
  }
}

void Page::resizeEvent(QResizeEvent* event) {
  QMainWindow::resizeEvent(event);
  if (!is_arranged_ && event->oldSize() != event->size()) {
    ShareOut();
  }
}

std::vector<Pane*> Page::Panes() const {
  std::vector<Pane*> panes;
  for (const auto& [name, dock] : docks_) {
    panes.push_back(static_cast<Pane*>(dock->widget()));
  }
  return panes;
}

QDockWidget* Page::Dock(std::string_view pane) const {
  const auto found = docks_.find(pane);
  return found == docks_.end() ? nullptr : found->second;
}

Pane* Page::Find(std::string_view pane) const {
  QDockWidget* const dock = Dock(pane);
  return dock == nullptr ? nullptr : static_cast<Pane*>(dock->widget());
}

void Page::Open(const PaneKind& kind) {
  QDockWidget* dock = Dock(kind.name);
  if (dock == nullptr) {
    dock = Make(kind);
    docks_.emplace(kind.name, dock);
    addDockWidget(Qt::RightDockWidgetArea, dock);
  }
  dock->show();
  dock->raise();
}

void Page::Save() {
  QStringList open;
  for (const auto& [name, dock] : docks_) {
    open << Text(name);
    static_cast<Pane*>(dock->widget())->Save();
  }
  desk_.settings().setValue(Key("panes"), open);
  desk_.settings().setValue(Key("docks"), saveState());
}

}  // namespace desktop

#include "desktop/page.h"

namespace desktop {

Page::Page(Desk& desk, const PageKind& kind) : desk_(desk), kind_(kind) {
  setWindowFlags(Qt::Widget);
  setDockNestingEnabled(true);
  setDockOptions(AnimatedDocks | AllowNestedDocks | AllowTabbedDocks);
  setTabPosition(Qt::AllDockWidgetAreas, QTabWidget::North);
  QStringList open = desk_.settings().value(Key(QStringLiteral("panes"))).toStringList();
  if (open.isEmpty()) {
    for (const Placing& placing : kind_.panes) {
      open << Text(placing.pane);
    }
  }
  for (const QString& name : open) {
    const PaneKind* const pane = FindPaneKind(name.toStdString());
    if (pane != nullptr && Dock(pane->name) == nullptr) {
      Make(*pane);
    }
  }
  Arrange();
  is_arranged_ = restoreState(desk_.settings().value(Key(QStringLiteral("docks"))).toByteArray());
}

QDockWidget* Page::Make(const PaneKind& kind) {
  auto* const dock = new QDockWidget(Word(kind.english, kind.chinese), this);
  dock->setObjectName(Text(kind.name));
  Pane* const pane = kind.make(desk_, Key(dock->objectName())).release();
  dock->setWidget(pane);
  connect(dock, &QDockWidget::visibilityChanged, pane, &Pane::SetOnStage);
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
  for (QDockWidget* const dock : Docks()) {
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
  for (const QDockWidget* const dock : Docks()) {
    panes.push_back(static_cast<Pane*>(dock->widget()));
  }
  return panes;
}

QDockWidget* Page::Dock(std::string_view pane) const {
  return pane.empty() ? nullptr : findChild<QDockWidget*>(Text(pane), Qt::FindDirectChildrenOnly);
}

Pane* Page::Find(std::string_view pane) const {
  const QDockWidget* const dock = Dock(pane);
  return dock == nullptr ? nullptr : static_cast<Pane*>(dock->widget());
}

void Page::Open(const PaneKind& kind) {
  QDockWidget* dock = Dock(kind.name);
  if (dock == nullptr) {
    dock = Make(kind);
    addDockWidget(Qt::RightDockWidgetArea, dock);
  }
  dock->show();
  dock->raise();
}

void Page::Save() {
  QStringList open;
  for (const QDockWidget* const dock : Docks()) {
    open << dock->objectName();
    static_cast<Pane*>(dock->widget())->Save();
  }
  desk_.settings().setValue(Key(QStringLiteral("panes")), open);
  desk_.settings().setValue(Key(QStringLiteral("docks")), saveState());
}

}  // namespace desktop

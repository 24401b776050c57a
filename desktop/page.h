// A page of a window: panes as docks that are moved, put above each other, closed and opened again, made when
// the page is first looked at. Main thread only.
#pragma once

#include <QtWidgets/QtWidgets>
#include <string_view>
#include <vector>

#include "desktop/pane_kinds.h"
#include "desktop/words.h"

namespace desktop {

class Page final : public QMainWindow {
 public:
  Page(Desk& desk, const PageKind& kind);

  [[nodiscard]] const PageKind& kind() const { return kind_; }
  [[nodiscard]] std::vector<Pane*> Panes() const;
  /// Null: the page has no such pane at present.
  [[nodiscard]] Pane* Find(std::string_view pane) const;
  [[nodiscard]] QDockWidget* Dock(std::string_view pane) const;
  /// Opens a pane that the page does not have, or shows it again.
  void Open(const PaneKind& kind);
  /// As it is at first.
  void Arrange();
  void Save();

 private:
  QDockWidget* Make(const PaneKind& kind);
  [[nodiscard]] QList<QDockWidget*> Docks() const {
    return findChildren<QDockWidget*>(QString(), Qt::FindDirectChildrenOnly);
  }
  void resizeEvent(QResizeEvent* event) override;
  void ShareOut();
  [[nodiscard]] QString Key(const QString& what) const { return Text(kind_.name) + QLatin1Char('/') + what; }

  Desk& desk_;
  const PageKind& kind_;
  bool is_arranged_ = false;  // by the user, some time
};

}  // namespace desktop

// Lists: a view's rows in a table that is sorted by clicking its header, whose columns are chosen, moved and
// remembered, and whose rows select securities. Of a list that comes page by page only the rows in sight and
// a page around them are asked for. Main thread only.
#pragma once

#include <QtWidgets/QtWidgets>
#include <memory>
#include <optional>

#include "cli/views/list_views.h"
#include "desktop/pane.h"
#include "desktop/view_table.h"

namespace desktop {

/// What a list can do besides.
struct ListTraits {
  bool steps = true;           ///< Page Up and Page Down step through it
  bool is_watch_list = false;  ///< rows are removed and dragged
};

class ListPane final : public Pane {
 public:
  ListPane(Desk& desk, const QString& id, std::unique_ptr<cli::View> view, ListTraits traits);

  [[nodiscard]] ViewTable& table() { return *table_; }
  [[nodiscard]] QTableView& list() { return *list_; }
  void Save() override;
  [[nodiscard]] bool IsSettled() const override;

 private:
  void Draw() override;
  void OnSecurity(const cli::Security& security) override;
  void OnTurned() override;
  [[nodiscard]] bool HasPicture() const override {
    return table_->rowCount() > 0 && view().WhyEmpty().empty() && view().WhyNothingToAsk().empty();
  }
  [[nodiscard]] QString Note() const override;
  bool eventFilter(QObject* watched, QEvent* event) override;

  void SetUpList();
  void SetUpHeader();
  void RestoreColumns();
  void FitColumns();
  void ShowOrder();
  void OnHeader(int column);
  void OnHeaderMenu(const QPoint& at);
  void OnMenu(const QPoint& at);
  void OnRow(int row);
  void OnKey(QKeyEvent& key);
  void OnDrop(int to);
  void AskForSight();
  void MarkCurrent(bool in_sight);
  void StepHere();

  const ListTraits traits_;
  cli::PagedList* const pages_;  // null: the list comes as a whole
  ViewTable* table_;
  QTableView* list_;
  CellPainter* painter_;
  QTimer sight_;
  std::optional<cli::Security> pressed_;  // in the row that the mouse was pressed in last
  bool is_arranged_ = false;              // the columns, by the user
  bool is_fitting_ = false;               // or by this pane, just now
};

}  // namespace desktop

// Paints the cells of all lists: figures in the colour of what they mean, a mark for what moved, a short
// flash for what has changed. Main thread only.
#pragma once

#include <QtWidgets/QStyledItemDelegate>
#include <string>

namespace desktop {

class CellPainter final : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  /// The row that stands for the current security, -1: none.
  void SetCurrentRow(int row) { current_row_ = row; }
  /// Pixels that a text needs in a cell.
  [[nodiscard]] static int WidthFor(const QFontMetrics& metrics, const QString& text);

 private:
  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

  int current_row_ = -1;
};

}  // namespace desktop

#include "desktop/cell_painter.h"

#include <QtGui/QPainter>

#include "desktop/theme.h"
#include "desktop/view_table.h"

namespace desktop {
namespace {

constexpr int kPadding = 6;
constexpr int kMark = 6;  // width and height of the triangle
constexpr int kFlashAlpha = 60;

void PaintMark(QPainter& painter, const QRect& cell, int direction, const QColor& colour) {
  const int x = cell.right() - kPadding - kMark / 2 + 2;
  const int y = cell.center().y() + 1;
  const int up = direction > 0 ? -1 : 1;
  const QPoint triangle[] = {
      {x - kMark / 2, y - up * kMark / 3}, {x + kMark / 2, y - up * kMark / 3}, {x, y + up * kMark / 2}};
  painter.setPen(Qt::NoPen);
  painter.setBrush(colour);
  painter.drawPolygon(triangle, 3);
}

}  // namespace

int CellPainter::WidthFor(const QFontMetrics& metrics, const QString& text) {
  return metrics.horizontalAdvance(text) + 2 * kPadding + kMark + 2;
}

void CellPainter::paint(QPainter* painter, const QStyleOptionViewItem& option,
                        const QModelIndex& index) const {
  const Theme& theme = CurrentTheme();
  const QRect& cell = option.rect;
  if (index.row() == current_row_) {
    painter->fillRect(cell, theme.selection);
  } else if (index.row() % 2 == 1) {
    painter->fillRect(cell, theme.stripe);
  }
  const auto tone = static_cast<cli::Tone>(index.data(ViewTable::kTone).toInt());
  const int flash = index.data(ViewTable::kFlash).toInt();
  if (flash != 0) {
    QColor colour = flash > 0 ? theme.rise : theme.fall;
    colour.setAlpha(kFlashAlpha);
    painter->fillRect(cell, colour);
  }
  const QString text = index.data(Qt::DisplayRole).toString();
  if (text.isEmpty()) {
    return;
  }
  const auto alignment = static_cast<Qt::Alignment>(index.data(Qt::TextAlignmentRole).toInt());
  const bool is_figure = alignment.testFlag(Qt::AlignRight);
  const QRect room = cell.adjusted(kPadding, 0, is_figure ? -kPadding - kMark - 2 : -kPadding, 0);
  painter->setFont(option.font);
  painter->setPen(theme.Of(tone));
  const bool fits = option.fontMetrics.horizontalAdvance(text) <= room.width();
  // A figure that is cut would be another figure.
  painter->drawText(room, static_cast<int>(alignment),
                    fits        ? text
                    : is_figure ? QStringLiteral("…")
                                : option.fontMetrics.elidedText(text, Qt::ElideRight, room.width()));
  const int mark = index.data(ViewTable::kMark).toInt();
  if (mark != 0) {
    painter->setRenderHint(QPainter::Antialiasing);
    PaintMark(*painter, cell, mark, mark > 0 ? theme.rise : theme.fall);
    painter->setRenderHint(QPainter::Antialiasing, false);
  }
}

}  // namespace desktop

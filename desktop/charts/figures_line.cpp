#include "desktop/charts/figures_line.h"

#include <QFontMetrics>
#include <QPainter>
#include <QResizeEvent>
#include <utility>

namespace desktop {
namespace {

constexpr int kNarrow = 560;  // pixels: below, figures have two lines
constexpr int kMargin = 4;

}  // namespace

std::vector<Figure> FiguresOf(const cli::StyledLine& line, const ChartColours& colours) {
  std::vector<Figure> figures;
  figures.reserve(line.size());
  for (const cli::Cell& cell : line) {
    figures.push_back({QString::fromStdString(cell.text), colours.Of(cell.tone)});
  }
  return figures;
}

FiguresLine::FiguresLine(QWidget* parent) : QWidget(parent) {
  setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void FiguresLine::Show(std::vector<Figure> figures) {
  if (figures != figures_) {
    figures_ = std::move(figures);
    update();
  }
}

QString FiguresLine::Text() const {
  QString text;
  for (const Figure& figure : figures_) {
    text += figure.text;
  }
  return text.simplified();
}

int FiguresLine::Lines() const {
  return width() < kNarrow ? 2 : 1;
}

QSize FiguresLine::sizeHint() const {
  return {kNarrow, Lines() * fontMetrics().height() + kMargin};
}

void FiguresLine::resizeEvent(QResizeEvent* event) {
  if ((event->oldSize().width() < kNarrow) != (event->size().width() < kNarrow)) {
    updateGeometry();
  }
}

// A word that does not fit goes to the next line, and is cut on the last one.
void FiguresLine::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  const QFontMetrics metrics = fontMetrics();
  const int right = width() - kMargin;
  int x = kMargin;
  int line = 0;
  for (const Figure& figure : figures_) {
    painter.setPen(figure.colour);
    for (const QString& word : figure.text.split(QLatin1Char(' '))) {
      const int room = metrics.horizontalAdvance(word);
      if (x + room > right && x > kMargin && line + 1 < Lines() && !word.isEmpty()) {
        x = kMargin;
        ++line;
      }
      if (x < right) {
        const QString shown = metrics.elidedText(word, Qt::ElideRight, right - x);
        painter.drawText(x, line * metrics.height() + metrics.ascent() + kMargin / 2, shown);
      }
      x += room + metrics.horizontalAdvance(QLatin1Char(' '));
    }
    x -= metrics.horizontalAdvance(QLatin1Char(' '));
  }
}

}  // namespace desktop

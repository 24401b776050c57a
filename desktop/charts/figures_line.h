// Figures in their colours above a chart, side by side, on as many lines as they need of at most two. Plain
// text only, whatever it says. Used by the UI thread.
#pragma once

#include <QColor>
#include <QString>
#include <QWidget>
#include <vector>

#include "cli/format/table.h"
#include "desktop/charts/chart_colours.h"

namespace desktop {

struct Figure {
  QString text;
  QColor colour;

  bool operator==(const Figure&) const = default;
};

[[nodiscard]] std::vector<Figure> FiguresOf(const cli::StyledLine& line, const ChartColours& colours);

class FiguresLine final : public QWidget {
 public:
  explicit FiguresLine(QWidget* parent);

  /// Repaints if they differ from those that are shown.
  void Show(std::vector<Figure> figures);
  /// All of them, in their order.
  [[nodiscard]] QString Text() const;

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override { return {40, sizeHint().height()}; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  [[nodiscard]] int Lines() const;

  std::vector<Figure> figures_;
};

}  // namespace desktop

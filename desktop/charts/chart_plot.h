// One plot of a chart: its canvas, its grid, and scales whose labels the chart words. Used by the UI thread.
#pragma once

#include <qwt_column_symbol.h>
#include <qwt_plot.h>
#include <qwt_plot_canvas.h>
#include <qwt_plot_grid.h>
#include <qwt_text.h>

#include <QList>
#include <functional>
#include <initializer_list>

#include "desktop/theme.h"

namespace desktop {

class ChartPlot final : public QwtPlot {
 public:
  /// The words beside a value of a scale.
  using Labels = std::function<QwtText(double)>;

  /// Without scales and without frame.
  explicit ChartPlot(QWidget* parent);

  void PutOnTheme();
  /// Shows the scale `axis` with these words.
  void ShowScale(int axis, Labels labels);
  void ShowGrid(bool upright, bool across);
  /// Plain text for a label, in the font of the plot.
  [[nodiscard]] QwtText Words(const QString& text, const QColor& colour) const;
  /// Removes all that is drawn but the grid.
  void Clear();

  /// `low` to `high` with labels at round values, about one in `pixels`.
  void SetRange(int axis, double low, double high, int pixels);
  /// `low` to `high` with labels at `ticks`.
  void SetTicks(int axis, double low, double high, const QList<double>& ticks);

 private:
  QwtPlotGrid& grid_;
};

/// Gives plots that stand below each other scales of equal widths, so that their canvases do, too.
void AlignSides(std::initializer_list<ChartPlot*> plots);

/// A column without frame; whom it is given to owns it.
[[nodiscard]] QwtColumnSymbol* MakeColumn(const QColor& colour);

/// Five values at equal distances, or three where there is little room.
[[nodiscard]] QList<double> EvenTicks(double low, double high, int height);

}  // namespace desktop

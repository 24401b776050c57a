// One plot of a chart: its canvas, its grid, scales whose labels the chart words, and what is drawn on it.
// Used by the UI thread.
#pragma once

#include <qwt_column_symbol.h>
#include <qwt_plot.h>
#include <qwt_plot_canvas.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_marker.h>
#include <qwt_text.h>

#include <QList>
#include <QPen>
#include <QVector>
#include <functional>
#include <initializer_list>
#include <vector>

#include "desktop/theme.h"

namespace desktop {

struct VolumeBar {
  double place = 0;  ///< on the bottom scale; its neighbour stands 1 beside it
  double volume = 0;
  bool rise = true;
};

class ChartPlot final : public QwtPlot {
 public:
  /// The words beside a value of a scale.
  using Labels = std::function<QwtText(double)>;

  /// Without scales and without frame.
  explicit ChartPlot(QWidget* parent);

  /// Shows the scale `axis` with these words.
  void ShowScale(int axis, Labels labels);
  void HideGrid() { grid_.hide(); }
  /// Removes all that is drawn but the grid, and takes on the colours of the theme.
  void Clear();

  /// `low` to `high` with labels at round values, about one in `pixels`.
  void SetRange(int axis, double low, double high, int pixels);
  /// `low` to `high` with labels at `ticks`.
  void SetTicks(int axis, double low, double high, const QList<double>& ticks);

  /// Plain text for a label, in the font of the plot.
  [[nodiscard]] QwtText Words(const QString& text, const QColor& colour) const;
  void AddWords(const QwtText& words, const QPointF& at, Qt::Alignment beside, int spacing = 2);
  QwtPlotCurve& AddCurve(const QVector<QPointF>& points, const QPen& pen);
  void AddLine(QwtPlotMarker::LineStyle style, double at, Qt::PenStyle pen);
  /// How many neighbours share a bar, so that each bar has two pixels at least.
  [[nodiscard]] std::size_t SharingABar(double neighbours) const;
  /// Bars in the colours of rises and falls that `sharing` places share, and a left scale labelled by the
  /// largest volume.
  void AddVolumes(const std::vector<VolumeBar>& bars, std::size_t sharing);

 private:
  QwtPlotGrid& grid_;
};

/// Gives plots that stand below each other scales of equal widths, so that their canvases do, too.
void AlignSides(std::initializer_list<ChartPlot*> plots);

/// A column without frame; whom it is given to owns it.
[[nodiscard]] QwtColumnSymbol* MakeColumn(const QColor& colour);

}  // namespace desktop

// A chart whose points can be read one by one: cross-hairs through plots that stand below each other, and the
// figures of the point on top. Used by the UI thread.
#pragma once

#include <QPointF>
#include <cstddef>
#include <optional>
#include <vector>

#include "desktop/charts/chart.h"
#include "desktop/charts/chart_plot.h"
#include "desktop/charts/cross_hair.h"

namespace desktop {

/// The mouse reads the point below it. Left and Right read point after point, Escape ends that.
class ReadingChart : public Chart {
 public:
  /// The point that is read.
  [[nodiscard]] std::optional<std::size_t> reading() const { return reading_; }

 protected:
  using Chart::Chart;

  /// A plot below those that are there; the first one has a line across, too.
  ChartPlot& AddPlot(int stretch);

  [[nodiscard]] virtual std::size_t Points() const = 0;
  /// The place of a point on the first plot; from point to point more to the right.
  [[nodiscard]] virtual QPointF PlaceOf(std::size_t point) const = 0;
  /// Shows and describes the point that is read, or the chart as a whole; also when there is no point.
  virtual void ShowFigures() = 0;
  /// Draws all points into empty plots.
  virtual void DrawPoints() = 0;

  void Read(std::optional<std::size_t> point);
  /// Goes one point to the left (-1) or the right; starts with the last point in sight.
  void ReadNext(int way);

  void keyPressEvent(QKeyEvent* event) override;

 private:
  bool Draw() final;
  void ReadAt(std::optional<QPointF> place);

  std::vector<ChartPlot*> plots_;
  std::vector<CrossHair*> cross_hairs_;
  std::optional<std::size_t> reading_;
};

}  // namespace desktop

// What all charts share: figures on top, plots below each other, and points that are read one by one, with
// cross-hairs through the plots. Whatever is shown stands in the accessible description, too. Used by the UI
// thread.
#pragma once

#include <QLabel>
#include <QPointF>
#include <QVBoxLayout>
#include <QWidget>
#include <cstddef>
#include <optional>
#include <vector>

#include "cli/format/table.h"
#include "desktop/charts/chart_plot.h"
#include "desktop/words.h"

namespace desktop {

/// A piece of text in its colour.
struct Figure {
  QString text;
  QColor colour;
};

/// The mouse reads the point below it. Left and Right read point after point, Escape ends that.
class Chart : public QWidget {
 public:
  /// False: there is nothing to draw, and the chart is empty.
  [[nodiscard]] bool HasPicture() const { return has_picture_; }

  [[nodiscard]] QSize sizeHint() const override { return {480, 320}; }
  [[nodiscard]] QSize minimumSizeHint() const override { return {160, 120}; }

 protected:
  /// Its figures have about so many characters.
  explicit Chart(int characters);

  /// A plot below those that are there. The first one with cross-hairs has a line across, too.
  ChartPlot& AddPlot(int stretch, bool has_cross_hair);

  [[nodiscard]] virtual std::size_t Points() const = 0;
  /// The place of a point on the first plot; from point to point more to the right.
  [[nodiscard]] virtual QPointF PlaceOf(std::size_t /*point*/) const { return {}; }
  /// Draws all points, one at least, into empty plots, in the colours and the size of the moment.
  virtual void DrawPoints() = 0;
  /// Shows and describes the point that is read, or the chart as a whole, if it has a point.
  virtual void ShowFigures() = 0;

  /// What is drawn is no longer what it has.
  void Redraw();
  /// Has `now` from now on; nothing happens if it has that already.
  template <class Data>
  void Take(Data& kept, const Data& now) {
    if (kept != now) {
      kept = now;
      Redraw();
    }
  }
  void Read(std::optional<std::size_t> point);
  /// Goes one point to the left (-1) or the right; starts with the last point in sight.
  void ReadNext(int way);
  [[nodiscard]] std::optional<std::size_t> reading() const { return reading_; }

  [[nodiscard]] static std::vector<Figure> FiguresOf(const cli::StyledLine& line);
  /// Shows `figures` side by side on top, and describes them and `more`.
  void Show(const std::vector<Figure>& figures, const QString& more = {});

  void keyPressEvent(QKeyEvent* event) override;

 private:
  class CrossHair;

  bool event(QEvent* event) override;
  void FitFigures();
  void DrawAll();
  void ReadAt(std::optional<QPointF> place);

  const int characters_;
  QVBoxLayout& layout_;
  QLabel& figures_;
  std::vector<ChartPlot*> plots_;
  std::vector<CrossHair*> cross_hairs_;
  std::optional<std::size_t> reading_;
  bool has_picture_ = false;
};

}  // namespace desktop

#include "desktop/charts/reading_chart.h"

#include <QKeyEvent>
#include <algorithm>
#include <cmath>

namespace desktop {

ChartPlot& ReadingChart::AddPlot(int stretch) {
  auto* const plot = new ChartPlot(this);
  body().addWidget(plot, stretch);
  const auto lines = plots_.empty() ? QwtPicker::CrossRubberBand : QwtPicker::VLineRubberBand;
  cross_hairs_.push_back(
      new CrossHair(plot->canvas(), lines, [this](std::optional<QPointF> place) { ReadAt(place); }));
  plots_.push_back(plot);
  plot->canvas()->setFocusPolicy(Qt::NoFocus);  // pickers answer arrow keys by moving the mouse
  return *plot;
}

bool ReadingChart::Draw() {
  for (ChartPlot* const plot : plots_) {
    plot->PutOnTheme();
    plot->Clear();
  }
  if (Points() > 0) {
    DrawPoints();
    for (ChartPlot* const plot : plots_) {
      plot->replot();
    }
  }
  Read(reading_);
  return Points() > 0;
}

// Where the point is out of sight there is no cross-hair.
void ReadingChart::Read(std::optional<std::size_t> point) {
  reading_ = point && Points() > 0 ? std::optional(std::min(*point, Points() - 1)) : std::nullopt;
  for (CrossHair* const cross_hair : cross_hairs_) {
    cross_hair->setRubberBandPen(CurrentTheme().averages[0]);
    if (reading_ && plots_.front()->axisInterval(QwtPlot::xBottom).contains(PlaceOf(*reading_).x())) {
      cross_hair->Place(PlaceOf(*reading_));
    } else {
      cross_hair->Hide();
    }
  }
  ShowFigures();
}

void ReadingChart::ReadAt(std::optional<QPointF> place) {
  if (!place || Points() == 0) {
    Read(std::nullopt);
    return;
  }
  std::size_t first = 0;
  for (std::size_t count = Points(); count > 1;) {
    const std::size_t half = count / 2;
    if (place->x() >= (PlaceOf(first + half - 1).x() + PlaceOf(first + half).x()) / 2) {
      first += half;
      count -= half;
    } else {
      count = half;
    }
  }
  Read(first);
}

void ReadingChart::ReadNext(int way) {
  if (reading_) {
    Read(way < 0 ? *reading_ - std::min<std::size_t>(*reading_, 1) : *reading_ + 1);
  } else {
    ReadAt(QPointF(plots_.front()->axisInterval(QwtPlot::xBottom).maxValue(), 0));
  }
}

void ReadingChart::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape && reading_) {
    Read(std::nullopt);
  } else if ((event->key() == Qt::Key_Left || event->key() == Qt::Key_Right) && Points() > 0) {
    ReadNext(event->key() == Qt::Key_Left ? -1 : 1);
  } else {
    Chart::keyPressEvent(event);
  }
}

}  // namespace desktop

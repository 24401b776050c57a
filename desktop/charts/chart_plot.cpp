#include "desktop/charts/chart_plot.h"

#include <qwt_plot_histogram.h>
#include <qwt_plot_layout.h>
#include <qwt_scale_draw.h>
#include <qwt_scale_engine.h>
#include <qwt_scale_widget.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace desktop {
namespace {

constexpr int kAxes[] = {QwtPlot::yLeft, QwtPlot::yRight, QwtPlot::xBottom};
constexpr double kHalfBar = 0.35;
constexpr double kAirAboveBars = 1.08;

class WordedScale final : public QwtScaleDraw {
 public:
  explicit WordedScale(ChartPlot::Labels labels) : labels_(std::move(labels)) {}
  [[nodiscard]] QwtText label(double value) const override { return labels_(value); }
  /// The words of a value may have changed.
  void Forget() { invalidateCache(); }

 private:
  const ChartPlot::Labels labels_;
};

}  // namespace

ChartPlot::ChartPlot(QWidget* parent) : QwtPlot(parent), grid_(*new QwtPlotGrid) {
  auto* const drawn = new QwtPlotCanvas(this);
  drawn->setFrameStyle(QFrame::NoFrame);
  drawn->setFocusIndicator(QwtPlotCanvas::NoFocusIndicator);
  drawn->setFocusProxy(parent);   // pickers answer arrow keys by moving the mouse
  drawn->setMouseTracking(true);  // a cross-hair follows without a button
  setCanvas(drawn);
  setAutoReplot(false);
  setAutoFillBackground(false);
  setMinimumSize(1, 1);
  plotLayout()->setCanvasMargin(0);
  plotLayout()->setAlignCanvasToScales(true);
  plotLayout()->setSpacing(0);
  for (const int axis : kAxes) {
    enableAxis(axis, false);
    axisWidget(axis)->setMargin(0);
    axisWidget(axis)->setSpacing(2);
  }
  grid_.attach(this);
}

void ChartPlot::ShowScale(int axis, Labels labels) {
  auto* const scale = new WordedScale(std::move(labels));
  scale->setTickLength(QwtScaleDiv::MajorTick, 3);
  scale->enableComponent(QwtAbstractScaleDraw::Backbone, false);
  setAxisScaleDraw(axis, scale);
  enableAxis(axis, true);
}

void ChartPlot::Clear() {
  grid_.detach();
  detachItems(QwtPlotItem::Rtti_PlotItem, true);
  grid_.attach(this);
  const Theme& theme = CurrentTheme();
  setCanvasBackground(theme.base);
  grid_.setPen(theme.line, 1, Qt::SolidLine);
  for (const int axis : kAxes) {
    setAxisFont(axis, font());
    QPalette palette = axisWidget(axis)->palette();
    palette.setColor(QPalette::WindowText, theme.line);
    palette.setColor(QPalette::Text, theme.dim);
    axisWidget(axis)->setPalette(palette);
  }
}

void ChartPlot::SetRange(int axis, double low, double high, int pixels) {
  const int labels = std::max((axis == xBottom ? width() : height()) / pixels, 2);
  const QwtScaleDiv division = QwtLinearScaleEngine().divideScale(low, high, labels, 1);
  SetTicks(axis, low, high, division.ticks(QwtScaleDiv::MajorTick));
}

void ChartPlot::SetTicks(int axis, double low, double high, const QList<double>& ticks) {
  if (auto* const scale = dynamic_cast<WordedScale*>(axisScaleDraw(axis))) {
    scale->Forget();
  }
  setAxisScaleDiv(axis, QwtScaleDiv(low, high, {}, {}, ticks));
}

QwtText ChartPlot::Words(const QString& text, const QColor& colour) const {
  QwtText words(text, QwtText::PlainText);
  words.setColor(colour);
  words.setFont(font());
  return words;
}

void ChartPlot::AddWords(const QwtText& words, const QPointF& at, Qt::Alignment beside, int spacing) {
  auto* const marker = new QwtPlotMarker;
  marker->setValue(at);
  marker->setLabel(words);
  marker->setLabelAlignment(beside);
  marker->setSpacing(spacing);
  marker->attach(this);
}

QwtPlotCurve& ChartPlot::AddCurve(const QVector<QPointF>& points, const QPen& pen) {
  auto* const curve = new QwtPlotCurve;
  curve->setRenderHint(QwtPlotItem::RenderAntialiased);
  curve->setPen(pen);
  curve->setSamples(points);
  curve->attach(this);
  return *curve;
}

void ChartPlot::AddLine(QwtPlotMarker::LineStyle style, double at, Qt::PenStyle pen) {
  auto* const marker = new QwtPlotMarker;
  marker->setLineStyle(style);
  marker->setLinePen(CurrentTheme().dim, 1, pen);
  marker->setValue(at, at);
  marker->attach(this);
}

std::size_t ChartPlot::SharingABar(double neighbours) const {
  return static_cast<std::size_t>(std::max(std::ceil(neighbours * 2 / std::max(canvas()->width(), 1)), 1.0));
}

void ChartPlot::AddVolumes(const std::vector<VolumeBar>& bars, std::size_t sharing) {
  const double half = kHalfBar * static_cast<double>(sharing);
  double most = 0;
  for (const bool rise : {true, false}) {
    QVector<QwtIntervalSample> samples;
    for (const VolumeBar& bar : bars) {
      most = std::max(most, bar.volume);
      if (bar.rise == rise && bar.volume > 0) {
        samples.push_back({bar.volume, bar.place - half, bar.place + half});
      }
    }
    auto* const histogram = new QwtPlotHistogram;
    histogram->setSymbol(MakeColumn(rise ? CurrentTheme().rise : CurrentTheme().fall));
    histogram->setSamples(samples);
    histogram->attach(this);
  }
  SetTicks(QwtPlot::yLeft, 0, most > 0 ? most * kAirAboveBars : 1,
           most > 0 ? QList<double>{most} : QList<double>{});
}

void AlignSides(std::initializer_list<ChartPlot*> plots) {
  for (ChartPlot* const plot : plots) {
    plot->updateAxes();  // scales measure the labels that they have been given
  }
  for (const int axis : {static_cast<int>(QwtPlot::yLeft), static_cast<int>(QwtPlot::yRight)}) {
    double widest = 0;
    for (ChartPlot* const plot : plots) {
      QwtScaleDraw* const scale = plot->axisScaleDraw(axis);
      scale->setMinimumExtent(0);
      if (plot->axisEnabled(axis)) {
        widest = std::max(widest, scale->extent(plot->axisWidget(axis)->font()));
      }
    }
    for (ChartPlot* const plot : plots) {
      plot->axisScaleDraw(axis)->setMinimumExtent(widest);
      plot->updateLayout();
    }
  }
}

QwtColumnSymbol* MakeColumn(const QColor& colour) {
  auto* const column = new QwtColumnSymbol(QwtColumnSymbol::Box);
  column->setFrameStyle(QwtColumnSymbol::NoFrame);
  column->setPalette(QPalette(colour, colour));
  return column;
}

}  // namespace desktop

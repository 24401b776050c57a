#include "desktop/charts/chart_plot.h"

#include <qwt_plot_layout.h>
#include <qwt_scale_draw.h>
#include <qwt_scale_engine.h>
#include <qwt_scale_widget.h>

#include <algorithm>
#include <utility>

namespace desktop {
namespace {

constexpr int kAxes[] = {QwtPlot::yLeft, QwtPlot::yRight, QwtPlot::xBottom};

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

void ChartPlot::PutOnTheme() {
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

void ChartPlot::ShowScale(int axis, Labels labels) {
  auto* const scale = new WordedScale(std::move(labels));
  scale->setTickLength(QwtScaleDiv::MajorTick, 3);
  scale->enableComponent(QwtAbstractScaleDraw::Backbone, false);
  setAxisScaleDraw(axis, scale);
  enableAxis(axis, true);
}

void ChartPlot::ShowGrid(bool upright, bool across) {
  grid_.enableX(upright);
  grid_.enableY(across);
}

void ChartPlot::Clear() {
  grid_.detach();
  detachItems(QwtPlotItem::Rtti_PlotItem, true);
  grid_.attach(this);
}

QwtText ChartPlot::Words(const QString& text, const QColor& colour) const {
  QwtText words(text, QwtText::PlainText);
  words.setColor(colour);
  words.setFont(font());
  return words;
}

void ChartPlot::SetRange(int axis, double low, double high, int pixels) {
  const int room = axis == xBottom ? width() : height();
  SetTicks(axis, low, high,
           QwtLinearScaleEngine()
               .divideScale(low, high, std::max(room / pixels, 2), 1)
               .ticks(QwtScaleDiv::MajorTick));
}

void ChartPlot::SetTicks(int axis, double low, double high, const QList<double>& ticks) {
  if (auto* const scale = dynamic_cast<WordedScale*>(axisScaleDraw(axis))) {
    scale->Forget();
  }
  setAxisScaleDiv(axis, QwtScaleDiv(low, high, {}, {}, ticks));
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
  QPalette palette;
  palette.setColor(QPalette::Window, colour);
  column->setPalette(palette);
  return column;
}

QList<double> EvenTicks(double low, double high, int height) {
  const int parts = height < 120 ? 2 : height < 500 ? 4 : 8;
  QList<double> ticks;
  for (int i = 0; i <= parts; ++i) {
    ticks.push_back(low + (high - low) * i / parts);
  }
  return ticks;
}

}  // namespace desktop

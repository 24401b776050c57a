#include "desktop/charts/breadth_charts.h"

#include <qwt_plot_barchart.h>

#include <algorithm>
#include <cmath>

#include "cli/format/figures.h"
#include "cli/plot/market_charts.h"
#include "cli/plot/scale.h"

namespace desktop {
namespace {

constexpr int kCharacters = 60;  // of figures
constexpr int kLabelPixels = 36;
constexpr double kAir = 10;          // pixels
constexpr int kRoomForShares = 240;  // pixels

QString ShareText(const DistributionBucket& bucket) {
  return Text(cli::Fixed(bucket.ratio * 100, 1) + "%");
}

}  // namespace

SessionChart::SessionChart() : Chart(kCharacters), plot_(AddPlot(1, true)) {
  plot_.ShowScale(QwtPlot::yLeft,
                  [this](double value) { return Text(cli::Fixed(value, picture_.decimals)); });
  plot_.ShowScale(QwtPlot::xBottom, [this](double place) { return axis_.LabelOf(place); });
}

void SessionChart::DrawPoints() {
  cli::Range range;
  for (const cli::Curve& curve : picture_.curves) {
    QVector<QPointF> points;
    for (const cli::SessionPoint& point : curve.points) {
      if (point.minute >= 0 && std::isfinite(point.value)) {
        range.Add(point.value);
        points.push_back({static_cast<double>(point.minute), point.value});
      }
    }
    plot_.AddCurve(points, {CurrentTheme().Of(curve.tone), 1.4, curve.dotted ? Qt::DotLine : Qt::SolidLine});
  }
  if (range.low < 0 && range.high > 0) {
    plot_.AddLine(QwtPlotMarker::HLine, 0, Qt::DashLine);
  }
  const cli::Range wide = range.Widened();
  plot_.SetRange(QwtPlot::yLeft, wide.low, wide.high, kLabelPixels);
  plot_.SetTicks(QwtPlot::xBottom, axis_.begin(), axis_.end(), axis_.Ticks(plot_.width()));
}

void SessionChart::ShowFigures() {
  std::vector<Figure> texts = FiguresOf(picture_.title);
  if (reading()) {
    texts.resize(std::min<std::size_t>(texts.size(), 1));
    texts.push_back({QStringLiteral("  ") + axis_.LabelOf(PlaceOf(*reading()).x()), CurrentTheme().text});
    for (const cli::Curve& curve : picture_.curves) {
      const double value = *reading() < curve.points.size() ? curve.points[*reading()].value : std::nan("");
      texts.push_back(
          {QStringLiteral("  ") + Text(cli::Fixed(value, picture_.decimals)), CurrentTheme().Of(curve.tone)});
    }
  }
  Show(texts);
}

DistributionChart::DistributionChart() : Chart(kCharacters), plot_(AddPlot(1, false)) {
  plot_.HideGrid();
  plot_.ShowScale(QwtPlot::yLeft, [this](double place) {
    const auto below = static_cast<std::size_t>(std::max(place, 0.0));
    return below < Points() ? Text(cli::RangeName(Points() - 1 - below, Points())) : QString();
  });
}

// The first range stands on top.
void DistributionChart::DrawPoints() {
  QList<double> places;
  double most = 1;
  double widest = 0;
  for (const auto* const half : {&item_.first_half, &item_.second_half}) {
    QVector<QPointF> samples;
    const QColor& colour = half == &item_.first_half ? CurrentTheme().fall : CurrentTheme().rise;
    for (const DistributionBucket& bucket : *half) {
      const double place = static_cast<double>(Points()) - 1 - places.size();
      const double count = bucket.count;
      places.push_back(place);
      if (count > 0) {
        samples.push_back({place, count});
      }
      QString text = Text(cli::Fixed(count, 0));
      if (width() >= kRoomForShares) {
        text += QStringLiteral("  ") + ShareText(bucket);
      }
      const QwtText label = plot_.Words(text, colour);
      plot_.AddWords(label, {count, place}, Qt::AlignRight, 4);
      most = std::max(most, count);
      widest = std::max(widest, label.textSize().width());
    }
    auto* const bars = new QwtPlotBarChart;
    bars->setOrientation(Qt::Horizontal);
    bars->setLayoutPolicy(QwtPlotAbstractBarChart::ScaleSamplesToAxes);
    bars->setLayoutHint(0.6);
    bars->setSymbol(MakeColumn(colour));
    bars->setSamples(samples);
    bars->attach(&plot_);
  }
  plot_.SetTicks(QwtPlot::yLeft, -0.6, static_cast<double>(Points()) - 0.4, places);
  // The counts stand beside the bars.
  AlignSides({&plot_});
  const double room = plot_.canvas()->width();
  plot_.SetTicks(QwtPlot::xBottom, 0, most * room / std::max(room - widest - kAir, room / 4), {});
}

void DistributionChart::ShowFigures() {
  QString words;
  std::size_t index = 0;
  for (const auto* const half : {&item_.first_half, &item_.second_half}) {
    for (const DistributionBucket& bucket : *half) {
      words += QStringLiteral("; %1 %2 %3")
                   .arg(Text(cli::RangeName(index++, Points())), Text(cli::Fixed(bucket.count, 0)),
                        ShareText(bucket));
    }
  }
  Show(FiguresOf(cli::DistributionHeading(item_, date_)), words);
}

}  // namespace desktop

#include "desktop/charts/breadth_charts.h"

#include <qwt_plot_barchart.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_marker.h>

#include <QVector>
#include <algorithm>
#include <cmath>
#include <utility>

#include "cli/format/figures.h"
#include "cli/plot/market_charts.h"
#include "cli/plot/scale.h"

namespace desktop {
namespace {

constexpr int kCharacters = 60;  // of figures
constexpr int kLabelPixels = 36;
constexpr double kAir = 10;          // pixels
constexpr int kRoomForShares = 240;  // pixels

QString Count(const DistributionBucket& bucket) {
  return QString::fromStdString(cli::Fixed(bucket.count, 0));
}

}  // namespace

SessionChart::SessionChart(QWidget* parent)
    : ReadingChart("session_chart", kCharacters, parent), plot_(AddPlot(1)) {
  plot_.ShowScale(QwtPlot::yLeft, [this](double value) {
    return QString::fromStdString(cli::Fixed(value, picture_.decimals));
  });
  plot_.ShowScale(QwtPlot::xBottom, [this](double place) { return axis_.LabelOf(place); });
}

void SessionChart::SetPicture(const cli::SessionPicture& picture) {
  if (picture != picture_) {
    picture_ = picture;
    Redraw();
  }
}

std::size_t SessionChart::Points() const {
  return picture_.curves.empty() ? 0 : picture_.curves.front().points.size();
}

QPointF SessionChart::PlaceOf(std::size_t point) const {
  return {static_cast<double>(picture_.curves.front().points[point].minute),
          plot_.axisInterval(QwtPlot::yLeft).minValue()};
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
    auto* const drawn = new QwtPlotCurve;
    drawn->setRenderHint(QwtPlotItem::RenderAntialiased);
    drawn->setPen(CurrentTheme().Of(curve.tone), 1.4, curve.dotted ? Qt::DotLine : Qt::SolidLine);
    drawn->setSamples(points);
    drawn->attach(&plot_);
  }
  if (range.low < 0 && range.high > 0) {
    auto* const zero = new QwtPlotMarker;
    zero->setLineStyle(QwtPlotMarker::HLine);
    zero->setLinePen(CurrentTheme().dim, 1, Qt::DashLine);
    zero->setYValue(0);
    zero->attach(&plot_);
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
      texts.push_back({QStringLiteral("  ") + QString::fromStdString(cli::Fixed(value, picture_.decimals)),
                       CurrentTheme().Of(curve.tone)});
    }
  }
  Show(texts);
}

DistributionChart::DistributionChart(QWidget* parent)
    : Chart("distribution_chart", kCharacters, parent), plot_(*new ChartPlot(this)) {
  plot_.ShowGrid(false, false);
  body().addWidget(&plot_, 1);
  plot_.ShowScale(QwtPlot::yLeft, [this](double place) {
    const std::size_t count = item_.first_half.size() + item_.second_half.size();
    const auto below = static_cast<std::size_t>(std::max(place, 0.0));
    return below < count ? QString::fromStdString(cli::RangeName(count - 1 - below, count)) : QString();
  });
}

void DistributionChart::SetItem(const DistributionItem& item, std::uint32_t date) {
  if (item != item_ || date != date_) {
    item_ = item;
    date_ = date;
    Redraw();
  }
}

// The first range stands on top.
bool DistributionChart::Draw() {
  plot_.PutOnTheme();
  plot_.Clear();
  const std::size_t count = item_.first_half.size() + item_.second_half.size();
  if (!cli::HasFigures(item_) || count == 0) {
    return false;
  }
  QString words;
  const bool has_room = width() >= kRoomForShares;
  QList<double> places;
  double most = 1;
  double widest = 0;
  std::size_t index = 0;
  for (const auto* const half : {&item_.first_half, &item_.second_half}) {
    QVector<QPointF> samples;
    const QColor& colour = half == &item_.first_half ? CurrentTheme().fall : CurrentTheme().rise;
    for (const DistributionBucket& bucket : *half) {
      const auto place = static_cast<double>(count - 1 - index);
      const QString text =
          Count(bucket) + QString::fromStdString("  " + cli::Fixed(bucket.ratio * 100, 1) + "%");
      words += QStringLiteral("; %1 %2").arg(QString::fromStdString(cli::RangeName(index, count)),
                                             text.simplified());
      places.push_back(place);
      if (bucket.count > 0) {
        samples.push_back({place, static_cast<double>(bucket.count)});
      }
      most = std::max(most, static_cast<double>(bucket.count));
      const QwtText label = plot_.Words(has_room ? text : Count(bucket), colour);
      widest = std::max(widest, label.textSize().width());
      auto* const marker = new QwtPlotMarker;
      marker->setValue(bucket.count, place);
      marker->setLabel(label);
      marker->setLabelAlignment(Qt::AlignRight);
      marker->setSpacing(4);
      marker->attach(&plot_);
      ++index;
    }
    auto* const bars = new QwtPlotBarChart;
    bars->setOrientation(Qt::Horizontal);
    bars->setLayoutPolicy(QwtPlotAbstractBarChart::ScaleSamplesToAxes);
    bars->setLayoutHint(0.6);
    bars->setSymbol(MakeColumn(colour));
    bars->setSamples(samples);
    bars->attach(&plot_);
  }
  plot_.SetTicks(QwtPlot::yLeft, -0.6, static_cast<double>(count) - 0.4, places);
  // The counts stand beside the bars.
  AlignSides({&plot_});
  const double room = plot_.canvas()->width();
  plot_.SetTicks(QwtPlot::xBottom, 0, most * room / std::max(room - widest - kAir, room / 4), {});
  plot_.replot();
  Show(FiguresOf(cli::DistributionHeading(item_, date_)), words);
  return true;
}

}  // namespace desktop

#include "desktop/charts/breadth_charts.h"

#include <qwt_plot_barchart.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_marker.h>

#include <QGridLayout>
#include <QKeyEvent>
#include <QVector>
#include <algorithm>
#include <cmath>
#include <utility>

#include "cli/format/figures.h"
#include "cli/plot/distribution_bars.h"
#include "cli/plot/range.h"

namespace desktop {
namespace {

constexpr int kLabelPixels = 36;
constexpr double kAir = 10;          // pixels
constexpr int kRoomForShares = 240;  // pixels

QString Count(const DistributionBucket& bucket) {
  return QString::fromStdString(cli::Fixed(bucket.count, 0));
}

}  // namespace

SessionChart::SessionChart(QWidget* parent)
    : Chart("session_chart", parent),
      plot_(*new ChartPlot(this)),
      cross_(*new CrossHair(plot_.canvas(), QwtPicker::VLineRubberBand,
                            [this](std::optional<QPointF> place) { ReadAt(place); })) {
  body().addWidget(&plot_, 1);
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

bool SessionChart::Draw() {
  plot_.SetColours(colours());
  plot_.Clear();
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
    drawn->setPen(colours().Of(curve.tone), 1.4, curve.dotted ? Qt::DotLine : Qt::SolidLine);
    drawn->setSamples(points);
    drawn->attach(&plot_);
  }
  if (range.empty()) {
    Read(std::nullopt);
    return false;
  }
  if (range.low < 0 && range.high > 0) {
    auto* const zero = new QwtPlotMarker;
    zero->setLineStyle(QwtPlotMarker::HLine);
    zero->setLinePen(colours().dim, 1, Qt::DashLine);
    zero->setYValue(0);
    zero->attach(&plot_);
  }
  const cli::Range wide = range.Widened();
  plot_.SetRange(QwtPlot::yLeft, wide.low, wide.high, kLabelPixels);
  plot_.SetTicks(QwtPlot::xBottom, axis_.begin(), axis_.end(), axis_.Ticks(plot_.width()));
  plot_.replot();
  cross_.setRubberBandPen(colours().line);
  Read(read_);
  return true;
}

void SessionChart::ReadAt(std::optional<QPointF> place) {
  if (!place || picture_.curves.empty()) {
    Read(std::nullopt);
    return;
  }
  const std::vector<cli::SessionPoint>& points = picture_.curves.front().points;
  const auto distance = [&](const cli::SessionPoint& point) { return std::fabs(point.minute - place->x()); };
  const auto nearest = std::min_element(
      points.begin(), points.end(), [&](const auto& a, const auto& b) { return distance(a) < distance(b); });
  Read(static_cast<std::size_t>(nearest - points.begin()));
}

void SessionChart::Read(std::optional<std::size_t> point) {
  const bool is_there = point && !picture_.curves.empty() && *point < picture_.curves.front().points.size();
  read_ = is_there ? point : std::nullopt;
  std::vector<Figure> texts = FiguresOf(picture_.title, colours());
  if (read_) {
    const int minute = picture_.curves.front().points[*read_].minute;
    cross_.Place({static_cast<double>(minute), plot_.axisInterval(QwtPlot::yLeft).minValue()});
    texts.resize(std::min<std::size_t>(texts.size(), 1));
    texts.push_back({QStringLiteral("  ") + axis_.LabelOf(minute), colours().text});
    for (const cli::Curve& curve : picture_.curves) {
      const double value = *read_ < curve.points.size() ? curve.points[*read_].value : std::nan("");
      texts.push_back({QStringLiteral("  ") + QString::fromStdString(cli::Fixed(value, picture_.decimals)),
                       colours().Of(curve.tone)});
    }
  } else {
    cross_.Hide();
  }
  figures().Show(std::move(texts));
  Describe(figures().Text());
}

void SessionChart::keyPressEvent(QKeyEvent* event) {
  const bool back = event->key() == Qt::Key_Left;
  const std::size_t count = picture_.curves.empty() ? 0 : picture_.curves.front().points.size();
  if (event->key() == Qt::Key_Escape && read_) {
    Read(std::nullopt);
  } else if ((back || event->key() == Qt::Key_Right) && count > 0) {
    const std::size_t from = read_.value_or(back ? count : count - 1);
    Read(back ? from - std::min<std::size_t>(from, 1) : std::min(from + 1, count - 1));
  } else {
    Chart::keyPressEvent(event);
  }
}

DistributionChart::DistributionChart(QWidget* parent)
    : Chart("distribution_chart", parent), plot_(*new ChartPlot(this)) {
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
  plot_.SetColours(colours());
  plot_.Clear();
  const std::size_t count = item_.first_half.size() + item_.second_half.size();
  if (!cli::HasFigures(item_) || count == 0) {
    figures().Show({});
    return false;
  }
  figures().Show(FiguresOf(cli::DistributionHeading(item_, date_), colours()));
  QString words = figures().Text();
  const bool has_room = width() >= kRoomForShares;
  QList<double> places;
  double most = 1;
  double widest = 0;
  std::size_t index = 0;
  for (const auto* const half : {&item_.first_half, &item_.second_half}) {
    QVector<QPointF> samples;
    const QColor& colour = half == &item_.first_half ? colours().down : colours().up;
    for (const DistributionBucket& bucket : *half) {
      const auto place = static_cast<double>(count - 1 - index);
      const QString text =
          Count(bucket) + QString::fromStdString("  " + cli::Fixed(bucket.ratio * 100, 1) + "%");
      words += QStringLiteral("; %1 %2").arg(QString::fromStdString(cli::RangeName(index, count)), text);
      places.push_back(place);
      samples.push_back({place, static_cast<double>(bucket.count)});
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
  Describe(words.simplified());
  return true;
}

BreadthCharts::BreadthCharts(QWidget* parent)
    : QWidget(parent),
      strength_(*new SessionChart(this)),
      effect_(*new SessionChart(this)),
      distribution_(*new DistributionChart(this)) {
  auto* const grid = new QGridLayout(this);
  grid->setContentsMargins(0, 0, 0, 0);
  grid->setSpacing(2);
  grid->addWidget(&strength_, 0, 0);
  grid->addWidget(&effect_, 1, 0);
  grid->addWidget(&distribution_, 0, 1, 2, 1);
  grid->setColumnStretch(0, 3);
  grid->setColumnStretch(1, 2);
}

void BreadthCharts::SetColours(const ChartColours& colours) {
  strength_.SetColours(colours);
  effect_.SetColours(colours);
  distribution_.SetColours(colours);
}

}  // namespace desktop

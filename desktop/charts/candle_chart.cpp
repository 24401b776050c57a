#include "desktop/charts/candle_chart.h"

#include <qwt_picker_machine.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_magnifier.h>
#include <qwt_plot_tradingcurve.h>

#include <QKeyEvent>
#include <QVector>
#include <algorithm>
#include <cmath>

#include "cli/format/chart_headings.h"
#include "cli/format/china_time.h"
#include "cli/format/figures.h"
#include "cli/plot/scale.h"
#include "desktop/charts/volume_bars.h"

namespace desktop {
namespace {

constexpr int kCharacters = 120;  // of its figures
constexpr int kUsualPixels = 8;   // of a candle and the air beside it
constexpr std::size_t kLeastRoom = 30;
constexpr int kDatePixels = 96;
constexpr int kPricePixels = 30;
constexpr double kWidth = 0.7;
constexpr double kWidestPixels = 15;
constexpr double kAir = 0.03;
constexpr double kZoomStep = 1.25;
constexpr std::ptrdiff_t kKeySteps = 10;  // of what is in sight

// The wheel's turns, without a change of the scales: the chart makes that.
class Wheel final : public QwtPlotMagnifier {
 public:
  explicit Wheel(CandleChart& chart, QWidget* canvas) : QwtPlotMagnifier(canvas), chart_(chart) {
    setMouseButton(Qt::NoButton);
    setZoomInKey(0);
    setZoomOutKey(0);
    setWheelFactor(kZoomStep);  // away from the user zooms in
  }

 protected:
  void rescale(double factor) override { chart_.Zoom(factor); }

 private:
  CandleChart& chart_;
};

}  // namespace

CandleChart::CandleChart(QWidget* parent)
    : ReadingChart("candle_chart", kCharacters, parent), prices_(AddPlot(3)), volumes_(AddPlot(1)) {
  prices_.ShowScale(QwtPlot::yLeft,
                    [](double price) { return QString::fromStdString(cli::Fixed(price, 2)); });
  volumes_.ShowScale(QwtPlot::yLeft,
                     [](double volume) { return QString::fromStdString(cli::ShortAmount(volume)); });
  volumes_.ShowScale(QwtPlot::xBottom, [this](double place) {
    const auto candle = static_cast<std::size_t>(std::max(place, 0.0));
    return candle < candles_.size() ? QString::fromStdString(cli::DateText(candles_[candle].date))
                                    : QString();
  });
  for (ChartPlot* const plot : {&prices_, &volumes_}) {
    new Wheel(*this, plot->canvas());
    auto* const drag = new QwtPicker(plot->canvas());
    drag->setStateMachine(new QwtPickerDragPointMachine);
    plot->canvas()->setFocusPolicy(Qt::NoFocus);
    connect(drag, &QwtPicker::appended, this, [this](const QPoint& at) { dragged_ = at; });
    connect(drag, &QwtPicker::moved, this, [this](const QPoint& at) { Drag(at); });
  }
}

void CandleChart::SetSeries(const StockKLineData& series) {
  if (series == series_) {
    return;
  }
  const bool is_same = series.symbol == series_.symbol && series.period == series_.period &&
                       series.adjustment == series_.adjustment;
  const std::size_t before = candles_.size();
  series_ = series;
  candles_ = cli::WithPrices({series.candles.begin(), series.candles.end()});
  averages_ = cli::Averages(candles_, candles_.size());
  if (!is_same) {
    back_ = 0;
    Read(std::nullopt);
  } else if (back_ > 0 && candles_.size() > before) {
    back_ += candles_.size() - before;
  }
  Redraw();
}

std::size_t CandleChart::Count() const {
  const auto usual = static_cast<std::size_t>(std::max(prices_.canvas()->width() / kUsualPixels, 1));
  return std::min(std::max(wanted_ == 0 ? usual : wanted_, kFewest), candles_.size());
}

std::size_t CandleChart::First() const {
  const std::size_t count = Count();
  return candles_.size() - count - std::min(back_, candles_.size() - count);
}

// The candle that is read keeps its place, else the newest one in sight.
void CandleChart::Zoom(double factor) {
  if (candles_.empty() || !std::isfinite(factor) || factor <= 0) {
    return;
  }
  const auto count = static_cast<double>(Count());
  const std::size_t first = First();
  const std::size_t last = first + Count() - 1;
  const double most = static_cast<double>(candles_.size());
  double next = std::round(count * factor);
  if (next == count) {
    next += factor > 1 ? 1 : factor < 1 ? -1 : 0;
  }
  next = std::clamp(next, std::min(static_cast<double>(kFewest), most), most);
  const std::size_t anchor = std::clamp(reading().value_or(last), first, last);
  const auto after = std::round(static_cast<double>(last - anchor) * next / count);
  wanted_ = static_cast<std::size_t>(next);
  const double back = static_cast<double>(candles_.size() - 1 - anchor) - after;
  back_ = static_cast<std::size_t>(std::clamp(back, 0.0, most - next));
  Redraw();
}

void CandleChart::ScrollBy(std::ptrdiff_t candles) {
  const auto most = static_cast<std::ptrdiff_t>(candles_.size() - Count());
  const auto now = std::min(static_cast<std::ptrdiff_t>(back_), most);
  const auto next =
      static_cast<std::size_t>(std::clamp(now - std::clamp(candles, -most, most), std::ptrdiff_t{0}, most));
  if (next != back_) {
    back_ = next;
    Redraw();
  }
}

// A few candles do not fill the chart.
std::size_t CandleChart::Room() const {
  return candles_.size() < kLeastRoom ? std::max(Count(), kLeastRoom) : Count();
}

double CandleChart::PixelsPerCandle() const {
  return static_cast<double>(std::max(prices_.canvas()->width(), 1)) / static_cast<double>(Room());
}

void CandleChart::Drag(const QPoint& to) {
  const auto candles = static_cast<int>((dragged_.x() - to.x()) / PixelsPerCandle());
  if (candles != 0) {
    dragged_.rx() -= static_cast<int>(std::lround(candles * PixelsPerCandle()));
    ScrollBy(candles);
  }
}

QPointF CandleChart::PlaceOf(std::size_t candle) const {
  return {static_cast<double>(candle), candles_[candle].close};
}

void CandleChart::DrawPoints() {
  const std::size_t first = First();
  const std::size_t last = first + Count();
  const std::size_t sharing = SharingABar(static_cast<double>(last - first), prices_.canvas()->width());
  DrawAverages(first, last, sharing);
  DrawCandles(first, last, sharing);
  cli::Range range;
  for (std::size_t i = first; i < last; ++i) {
    const KLineCandle& candle = candles_[i];
    for (const double price : {candle.open, candle.high, candle.low, candle.close}) {
      range.Add(price);
    }
    for (const cli::Average& average : averages_) {
      range.Add(average.values[i]);
    }
  }
  range = range.Widened();
  const double air = (range.high - range.low) * kAir;
  prices_.SetRange(QwtPlot::yLeft, range.low - air, range.high + air, kPricePixels);
  AlignSides({&prices_, &volumes_});
  LabelDates(first, last);
}

// Rises are hollow, so that they differ from falls without colours, too. Where there is little room
// neighbours share a candle.
void CandleChart::DrawCandles(std::size_t first, std::size_t last, std::size_t sharing) {
  QVector<QwtOHLCSample> rises;
  QVector<QwtOHLCSample> falls;
  std::vector<VolumeBar> bars;
  for (std::size_t i = first; i < last; i += sharing) {
    const std::size_t end = std::min(i + sharing, last);
    const double place = static_cast<double>(i + end - 1) / 2;
    KLineCandle joined = candles_[i];
    double volume = 0;
    for (std::size_t at = i; at < end; ++at) {
      joined.high = std::max(joined.high, candles_[at].high);
      joined.low = std::min(joined.low, candles_[at].low);
      joined.close = candles_[at].close;
      volume += static_cast<double>(candles_[at].volume) / static_cast<double>(end - i);
    }
    const bool rise = cli::IsRise(joined);
    (rise ? rises : falls).push_back({place, joined.open, joined.high, joined.low, joined.close});
    bars.push_back({place, volume, rise});
  }
  ShowVolumes(volumes_, bars, sharing);
  for (const bool rise : {true, false}) {
    const QColor& colour = rise ? CurrentTheme().rise : CurrentTheme().fall;
    auto* const curve = new QwtPlotTradingCurve;
    curve->setSymbolPen(colour, 1);
    curve->setSymbolBrush(QwtPlotTradingCurve::Increasing, CurrentTheme().base);
    curve->setSymbolBrush(QwtPlotTradingCurve::Decreasing, colour);
    curve->setSymbolExtent(kWidth * static_cast<double>(sharing));
    curve->setMinSymbolWidth(1);
    curve->setMaxSymbolWidth(kWidestPixels);
    curve->setSamples(rise ? rises : falls);
    curve->attach(&prices_);
  }
}

void CandleChart::DrawAverages(std::size_t first, std::size_t last, std::size_t sharing) {
  for (std::size_t i = 0; i < averages_.size(); ++i) {
    QVector<QPointF> points;
    for (std::size_t at = first; at < last; at += sharing) {
      if (std::isfinite(averages_[i].values[at])) {
        points.push_back({static_cast<double>(at), averages_[i].values[at]});
      }
    }
    auto* const curve = new QwtPlotCurve;
    curve->setPen(CurrentTheme().averages.at(i), 1);
    curve->setRenderHint(QwtPlotItem::RenderAntialiased, sharing == 1);
    curve->setSamples(points);
    curve->attach(&prices_);
  }
}

// Dates keep their candles while one scrolls; none stands where its half would be cut off.
void CandleChart::LabelDates(std::size_t first, std::size_t last) {
  const double pixels = PixelsPerCandle();
  const auto step = static_cast<std::size_t>(std::max(std::ceil(kDatePixels / pixels), 1.0));
  QList<double> ticks;
  for (std::size_t i = first; i < last; ++i) {
    const double place = (static_cast<double>(i - first) + 0.5) * pixels;
    if (i % step == 0 && place + kDatePixels / 2.0 <= prices_.canvas()->width()) {
      ticks.push_back(static_cast<double>(i));
    }
  }
  const double begin = static_cast<double>(first) - 0.5;
  const double end = begin + static_cast<double>(Room());
  for (ChartPlot* const plot : {&prices_, &volumes_}) {
    plot->SetTicks(QwtPlot::xBottom, begin, end, ticks);
  }
}

void CandleChart::ShowFigures() {
  if (candles_.empty()) {
    return;
  }
  const std::size_t first = First();
  const std::size_t last = first + Count() - 1;
  const std::size_t shown = reading().value_or(last);
  std::vector<Figure> figures = FiguresOf(cli::CandleFigures(candles_[shown]));
  for (std::size_t i = 0; i < averages_.size(); ++i) {
    figures.push_back({QStringLiteral("  MA%1 %2")
                           .arg(averages_[i].span)
                           .arg(QString::fromStdString(cli::Fixed(averages_[i].values[shown], 2))),
                       CurrentTheme().averages.at(i)});
  }
  Show(figures, QStringLiteral("; %1: %2 - %3")
                    .arg(last - first + 1)
                    .arg(QString::fromStdString(cli::DateText(candles_[first].date)),
                         QString::fromStdString(cli::DateText(candles_[last].date))));
}

void CandleChart::keyPressEvent(QKeyEvent* event) {
  const auto all = static_cast<std::ptrdiff_t>(candles_.size());
  const auto step = std::max<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(Count()) / kKeySteps, 1);
  const int way = event->key() == Qt::Key_Left ? -1 : 1;
  switch (candles_.empty() ? Qt::Key_unknown : event->key()) {
    case Qt::Key_Plus:
    case Qt::Key_Equal:
      Zoom(1 / kZoomStep);
      break;
    case Qt::Key_Minus:
      Zoom(kZoomStep);
      break;
    case Qt::Key_Home:
    case Qt::Key_End:
      ScrollBy(event->key() == Qt::Key_Home ? -all : all);
      break;
    case Qt::Key_Left:
    case Qt::Key_Right:
      if (event->modifiers().testFlag(Qt::ShiftModifier)) {
        ReadNext(way);
        Follow();
      } else {
        ScrollBy(way * step);
      }
      break;
    default:
      ReadingChart::keyPressEvent(event);
  }
}

// The chart goes where it is read.
void CandleChart::Follow() {
  const std::size_t at = reading().value_or(First());
  if (at < First()) {
    ScrollBy(-static_cast<std::ptrdiff_t>(First() - at));
  } else if (at >= First() + Count()) {
    ScrollBy(static_cast<std::ptrdiff_t>(at + 1 - First() - Count()));
  }
}

}  // namespace desktop

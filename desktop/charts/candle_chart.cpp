#include "desktop/charts/candle_chart.h"

#include <qwt_picker.h>
#include <qwt_picker_machine.h>
#include <qwt_plot_magnifier.h>
#include <qwt_plot_tradingcurve.h>

#include <QKeyEvent>
#include <algorithm>
#include <cmath>

#include "cli/format/chart_headings.h"
#include "cli/format/china_time.h"
#include "cli/format/figures.h"
#include "cli/plot/scale.h"

namespace desktop {
namespace {

constexpr int kCharacters = 120;     // of its figures
constexpr int kUsualPixels = 8;      // of a candle and the air beside it
constexpr std::size_t kFewest = 10;  // candles in sight, however far one zooms in
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
  Wheel(CandleChart& chart, QWidget* canvas) : QwtPlotMagnifier(canvas), chart_(chart) {
    setMouseButton(Qt::NoButton);
    setZoomInKey(0);
    setZoomOutKey(0);
    setWheelFactor(kZoomStep);  // away from the user zooms in
  }

 private:
  void rescale(double factor) override { chart_.Zoom(factor); }

  CandleChart& chart_;
};

}  // namespace

CandleChart::CandleChart() : Chart(kCharacters), prices_(AddPlot(3, true)), volumes_(AddPlot(1, true)) {
  prices_.ShowScale(QwtPlot::yLeft, [](double price) { return Text(cli::Fixed(price, 2)); });
  volumes_.ShowScale(QwtPlot::yLeft, [](double volume) { return Text(cli::ShortAmount(volume)); });
  volumes_.ShowScale(QwtPlot::xBottom, [this](double place) {
    const auto candle = static_cast<std::size_t>(std::max(place, 0.0));
    return candle < candles_.size() ? Text(cli::DateText(candles_[candle].date)) : QString();
  });
  for (ChartPlot* const plot : {&prices_, &volumes_}) {
    new Wheel(*this, plot->canvas());
    auto* const drag = new QwtPicker(plot->canvas());
    drag->setStateMachine(new QwtPickerDragPointMachine);
    connect(drag, &QwtPicker::appended, this, [this](const QPoint& at) { dragged_ = at.x(); });
    connect(drag, &QwtPicker::moved, this, [this](const QPoint& at) {
      const auto candles = static_cast<int>((dragged_ - at.x()) / PixelsPerCandle());
      dragged_ -= static_cast<int>(std::lround(candles * PixelsPerCandle()));
      ScrollBy(candles);
    });
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
  const auto usual = static_cast<std::size_t>(prices_.canvas()->width() / kUsualPixels);
  return std::min(std::max(wanted_ == 0 ? usual : wanted_, kFewest), candles_.size());
}

std::size_t CandleChart::First() const {
  const std::size_t most = candles_.size() - Count();
  return most - std::min(back_, most);
}

// The candle that is read keeps its place, else the newest one in sight.
void CandleChart::Zoom(double factor) {
  if (candles_.empty()) {
    return;
  }
  const auto all = static_cast<double>(candles_.size());
  const auto count = static_cast<double>(Count());
  const std::size_t last = First() + Count() - 1;
  const std::size_t anchor = std::clamp(reading().value_or(last), First(), last);
  const double wanted = factor > 1 ? std::ceil(count * factor) : std::floor(count * factor);
  const double next = std::clamp(wanted, std::min(static_cast<double>(kFewest), all), all);
  const double after = std::round(static_cast<double>(last - anchor) * next / count);
  const double back = static_cast<double>(candles_.size() - 1 - anchor) - after;
  wanted_ = static_cast<std::size_t>(next);
  back_ = static_cast<std::size_t>(std::clamp(back, 0.0, all - next));
  Redraw();
}

void CandleChart::ScrollBy(std::ptrdiff_t candles) {
  const auto most = static_cast<std::ptrdiff_t>(candles_.size() - Count());
  const auto now = std::min(static_cast<std::ptrdiff_t>(back_), most);
  const auto next = static_cast<std::size_t>(std::clamp(now - candles, std::ptrdiff_t{0}, most));
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

void CandleChart::DrawPoints() {
  const std::size_t first = First();
  const std::size_t last = first + Count();
  const std::size_t sharing = prices_.SharingABar(static_cast<double>(last - first));
  cli::Range range;
  for (std::size_t i = 0; i < averages_.size(); ++i) {
    QVector<QPointF> points;
    for (std::size_t at = first; at < last; ++at) {
      const double value = averages_[i].values[at];
      range.Add(value);
      if (std::isfinite(value) && (at - first) % sharing == 0) {
        points.push_back({static_cast<double>(at), value});
      }
    }
    prices_.AddCurve(points, {CurrentTheme().averages.at(i), 1})
        .setRenderHint(QwtPlotItem::RenderAntialiased, sharing == 1);
  }
  for (std::size_t at = first; at < last; ++at) {
    const KLineCandle& candle = candles_[at];
    for (const double price : {candle.open, candle.high, candle.low, candle.close}) {
      range.Add(price);
    }
  }
  DrawCandles(first, last, sharing);
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
  volumes_.AddVolumes(bars, sharing);
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
  for (ChartPlot* const plot : {&prices_, &volumes_}) {
    plot->SetTicks(QwtPlot::xBottom, begin, begin + static_cast<double>(Room()), ticks);
  }
}

void CandleChart::ShowFigures() {
  const std::size_t first = First();
  const std::size_t last = first + Count() - 1;
  const std::size_t shown = reading().value_or(last);
  std::vector<Figure> figures = FiguresOf(cli::CandleFigures(candles_[shown]));
  for (std::size_t i = 0; i < averages_.size(); ++i) {
    const QString value = Text(cli::Fixed(averages_[i].values[shown], 2));
    figures.push_back(
        {QStringLiteral("  MA%1 %2").arg(averages_[i].span).arg(value), CurrentTheme().averages.at(i)});
  }
  Show(figures,
       QStringLiteral("; %1: %2 - %3")
           .arg(last - first + 1)
           .arg(Text(cli::DateText(candles_[first].date)), Text(cli::DateText(candles_[last].date))));
}

void CandleChart::keyPressEvent(QKeyEvent* event) {
  const int key = event->key();
  const bool is_arrow = key == Qt::Key_Left || key == Qt::Key_Right;
  const auto first = static_cast<std::ptrdiff_t>(First());
  const auto count = static_cast<std::ptrdiff_t>(Count());
  if (candles_.empty()) {
    Chart::keyPressEvent(event);
  } else if (key == Qt::Key_Plus || key == Qt::Key_Equal) {
    Zoom(1 / kZoomStep);
  } else if (key == Qt::Key_Minus) {
    Zoom(kZoomStep);
  } else if (key == Qt::Key_Home || key == Qt::Key_End) {
    ScrollBy(key == Qt::Key_Home ? -std::ssize(candles_) : std::ssize(candles_));
  } else if (is_arrow && event->modifiers().testFlag(Qt::ShiftModifier)) {
    ReadNext(key == Qt::Key_Left ? -1 : 1);
    // The chart goes where it is read.
    const auto at = static_cast<std::ptrdiff_t>(reading().value_or(First()));
    ScrollBy(at < first ? at - first : std::max(at + 1 - first - count, std::ptrdiff_t{0}));
  } else if (is_arrow) {
    const std::ptrdiff_t step = std::max(count / kKeySteps, std::ptrdiff_t{1});
    ScrollBy(key == Qt::Key_Left ? -step : step);
  } else {
    Chart::keyPressEvent(event);
  }
}

}  // namespace desktop

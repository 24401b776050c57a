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
#include "cli/plot/range.h"
#include "desktop/charts/volume_bars.h"

namespace desktop {
namespace {

constexpr int kUsualPixels = 8;  // of a candle and the air beside it
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
    : Chart("candle_chart", parent),
      prices_(*new ChartPlot(this)),
      volumes_(*new ChartPlot(this)),
      price_cross_(*new CrossHair(prices_.canvas(), QwtPicker::CrossRubberBand,
                                  [this](std::optional<QPointF> place) { ReadAt(place); })),
      volume_cross_(*new CrossHair(volumes_.canvas(), QwtPicker::VLineRubberBand,
                                   [this](std::optional<QPointF> place) { ReadAt(place); })) {
  body().addWidget(&prices_, 3);
  body().addWidget(&volumes_, 1);
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
    read_.reset();
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
  const std::size_t anchor = read_ && *read_ >= first && *read_ <= last ? *read_ : last;
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

bool CandleChart::Draw() {
  for (ChartPlot* const plot : {&prices_, &volumes_}) {
    plot->SetColours(colours());
    plot->Clear();
  }
  if (candles_.empty()) {
    Read(std::nullopt);
    return false;
  }
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
  prices_.replot();
  volumes_.replot();
  price_cross_.setRubberBandPen(colours().line);
  volume_cross_.setRubberBandPen(colours().line);
  Read(read_);
  return true;
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
  ShowVolumes(volumes_, bars, sharing, colours());
  for (const bool rise : {true, false}) {
    const QColor& colour = rise ? colours().up : colours().down;
    auto* const curve = new QwtPlotTradingCurve;
    curve->setSymbolPen(colour, 1);
    curve->setSymbolBrush(QwtPlotTradingCurve::Increasing, colours().background);
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
    curve->setPen(colours().averages.at(i), 1);
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

void CandleChart::ReadAt(std::optional<QPointF> place) {
  if (!place || candles_.empty()) {
    Read(std::nullopt);
    return;
  }
  const auto first = static_cast<double>(First());
  const double last = first + static_cast<double>(Count()) - 1;
  Read(static_cast<std::size_t>(std::clamp(std::round(place->x()), first, last)));
}

void CandleChart::Read(std::optional<std::size_t> candle) {
  read_ = candle && *candle < candles_.size() ? candle : std::nullopt;
  if (read_ && *read_ >= First() && *read_ < First() + Count()) {
    const auto place = static_cast<double>(*read_);
    price_cross_.Place({place, candles_[*read_].close});
    volume_cross_.Place({place, 0});
  } else {
    price_cross_.Hide();
    volume_cross_.Hide();
  }
  ShowFigures();
}

void CandleChart::ShowFigures() {
  if (candles_.empty()) {
    figures().Show({});
    return;
  }
  const std::size_t first = First();
  const std::size_t last = first + Count() - 1;
  const std::size_t shown = read_.value_or(last);
  std::vector<Figure> texts = FiguresOf(cli::CandleFigures(candles_[shown]), colours());
  for (std::size_t i = 0; i < averages_.size(); ++i) {
    texts.push_back({QStringLiteral("  MA%1 %2")
                         .arg(averages_[i].span)
                         .arg(QString::fromStdString(cli::Fixed(averages_[i].values[shown], 2))),
                     colours().averages.at(i)});
  }
  figures().Show(std::move(texts));
  Describe(QStringLiteral("%1; %2: %3 - %4")
               .arg(figures().Text())
               .arg(last - first + 1)
               .arg(QString::fromStdString(cli::DateText(candles_[first].date)),
                    QString::fromStdString(cli::DateText(candles_[last].date))));
}

void CandleChart::keyPressEvent(QKeyEvent* event) {
  const auto page = static_cast<std::ptrdiff_t>(Count());
  const auto all = static_cast<std::ptrdiff_t>(candles_.size());
  const bool reads = event->modifiers().testFlag(Qt::ShiftModifier);
  const int key = event->key();
  if (candles_.empty()) {
    Chart::keyPressEvent(event);
  } else if (key == Qt::Key_Plus || key == Qt::Key_Equal) {
    Zoom(1 / kZoomStep);
  } else if (key == Qt::Key_Minus) {
    Zoom(kZoomStep);
  } else if (key == Qt::Key_Home || key == Qt::Key_End) {
    ScrollBy(key == Qt::Key_Home ? -all : all);
  } else if (key == Qt::Key_Left || key == Qt::Key_Right) {
    const std::ptrdiff_t way = key == Qt::Key_Left ? -1 : 1;
    if (!reads) {
      ScrollBy(way * std::max<std::ptrdiff_t>(page / kKeySteps, 1));
    } else {
      const std::size_t last = First() + Count() - 1;
      const auto next = read_ ? static_cast<std::ptrdiff_t>(*read_) + way : static_cast<std::ptrdiff_t>(last);
      read_ = static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(next, 0, all - 1));
      // The chart goes where it is read.
      if (*read_ < First()) {
        ScrollBy(-1);
      } else if (*read_ >= First() + Count()) {
        ScrollBy(1);
      }
      Read(read_);
    }
  } else if (key == Qt::Key_Escape && read_) {
    Read(std::nullopt);
  } else {
    Chart::keyPressEvent(event);
  }
}

}  // namespace desktop

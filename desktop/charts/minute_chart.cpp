#include "desktop/charts/minute_chart.h"

#include <qwt_plot_curve.h>
#include <qwt_plot_marker.h>
#include <qwt_symbol.h>

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

constexpr int kCharacters = 80;    // of its figures
constexpr int kLabelledEvent = 8;  // characters
constexpr int kMarkSize = 7;

// 931 for "09:31", "09:31:20" and "0931"; negative for what is no time.
std::int32_t ClockOf(const std::wstring& time) {
  std::int32_t clock = 0;
  int digits = 0;
  for (const wchar_t character : time) {
    if (character >= L'0' && character <= L'9' && digits < 4) {
      clock = clock * 10 + (character - L'0');
      ++digits;
    }
  }
  return digits == 4 ? clock : -1;
}

QwtPlotCurve* AddCurve(QwtPlot& plot, const QVector<QPointF>& points, const QColor& colour, double width) {
  auto* const curve = new QwtPlotCurve;
  curve->setRenderHint(QwtPlotItem::RenderAntialiased);
  curve->setPen(colour, width);
  curve->setSamples(points);
  curve->attach(&plot);
  return curve;
}

void AddLine(QwtPlot& plot, QwtPlotMarker::LineStyle style, double at, const QColor& colour,
             Qt::PenStyle pen) {
  auto* const marker = new QwtPlotMarker;
  marker->setLineStyle(style);
  marker->setLinePen(colour, 1, pen);
  marker->setValue(at, at);
  marker->attach(&plot);
}

QColor OfChange(double change) {
  return change == 0 ? CurrentTheme().dim : CurrentTheme().Of(cli::ToneOf(change));
}

}  // namespace

MinuteChart::MinuteChart(QWidget* parent)
    : ReadingChart("minute_chart", kCharacters, parent), prices_(AddPlot(3)), volumes_(AddPlot(1)) {
  prices_.ShowScale(QwtPlot::yLeft, [this](double price) { return PriceLabel(price); });
  prices_.ShowScale(QwtPlot::yRight, [this](double price) { return RateLabel(price); });
  volumes_.ShowScale(QwtPlot::yLeft,
                     [](double volume) { return QString::fromStdString(cli::ShortAmount(volume)); });
  volumes_.ShowScale(QwtPlot::yRight, [](double) { return QwtText(); });
  volumes_.ShowScale(QwtPlot::xBottom, [this](double place) { return axis_.LabelOf(place); });
}

void MinuteChart::SetLine(const StockMLineData& line, bool average) {
  if (line == line_ && average == average_) {
    return;
  }
  const bool is_same = line.symbol == line_.symbol;
  line_ = line;
  average_ = average;
  axis_ = SessionAxis(line.days);
  minutes_.clear();
  double before = line.preclose;
  for (std::size_t day = 0; day < line.days.size(); ++day) {
    for (const MinutePoint& point : line.days[day].points) {
      const double place = axis_.At(day, point.time);
      if (std::isfinite(place) && std::isfinite(point.price) && point.price > 0) {
        minutes_.push_back({place, line.days[day].date, point, point.price >= before});
        before = point.price;
      }
    }
  }
  if (!is_same) {
    Read(std::nullopt);
  }
  Redraw();
}

void MinuteChart::SetEvents(const std::list<StockUnusualEventItem>& events) {
  if (events != events_) {
    events_ = events;
    Redraw();
  }
}

QwtText MinuteChart::PriceLabel(double price) const {
  QwtText label(QString::fromStdString(cli::Fixed(price, 2)));
  if (line_.preclose > 0) {
    label.setColor(OfChange(std::round((price - line_.preclose) * 1000)));
  }
  return label;
}

QwtText MinuteChart::RateLabel(double price) const {
  const double rate = (price - line_.preclose) / line_.preclose * 100;
  QwtText label(QString::fromStdString(cli::SignedPercent(rate, 2)));
  label.setColor(OfChange(std::round(rate * 1000)));
  return label;
}

QPointF MinuteChart::PlaceOf(std::size_t minute) const {
  return {minutes_[minute].place, minutes_[minute].point.price};
}

void MinuteChart::DrawPoints() {
  const bool has_preclose = line_.preclose > 0;
  const cli::Range range = cli::RangeOfDays(line_.days, line_.preclose, average_).Widened();
  for (const int axis : {static_cast<int>(QwtPlot::yLeft), static_cast<int>(QwtPlot::yRight)}) {
    prices_.SetTicks(axis, range.low, range.high, EvenTicks(range.low, range.high, prices_.height()));
  }
  prices_.enableAxis(QwtPlot::yRight, has_preclose);
  volumes_.enableAxis(QwtPlot::yRight, has_preclose);
  volumes_.SetTicks(QwtPlot::yRight, 0, 1, {});

  std::vector<VolumeBar> bars;
  for (const Minute& minute : minutes_) {
    bars.push_back({minute.place, static_cast<double>(minute.point.volume), minute.rise});
  }
  const std::size_t sharing = SharingABar(axis_.end() - axis_.begin(), volumes_.canvas()->width());
  ShowVolumes(volumes_, Joined(bars, sharing), sharing);
  DrawDays();
  if (has_preclose) {
    AddLine(prices_, QwtPlotMarker::HLine, line_.preclose, CurrentTheme().dim, Qt::DashLine);
  }
  const QList<double> ticks = axis_.Ticks(volumes_.width());
  for (ChartPlot* const plot : {&prices_, &volumes_}) {
    plot->SetTicks(QwtPlot::xBottom, axis_.begin(), axis_.end(), ticks);
  }
  AlignSides({&prices_, &volumes_});
  DrawEvents();
}

// A curve ends with its day.
void MinuteChart::DrawDays() {
  for (auto first = minutes_.begin(); first != minutes_.end();) {
    QVector<QPointF> prices;
    QVector<QPointF> averages;
    const std::uint32_t date = first->date;
    if (first != minutes_.begin()) {
      for (ChartPlot* const plot : {&prices_, &volumes_}) {
        AddLine(*plot, QwtPlotMarker::VLine, first->place - 1, CurrentTheme().dim, Qt::DotLine);
      }
    }
    for (; first != minutes_.end() && first->date == date; ++first) {
      prices.push_back({first->place, first->point.price});
      if (average_ && std::isfinite(first->point.avg_price) && first->point.avg_price > 0) {
        averages.push_back({first->place, first->point.avg_price});
      }
    }
    AddCurve(prices_, averages, CurrentTheme().averages[1], 1);
    AddCurve(prices_, prices, CurrentTheme().averages[0], 1.4);
  }
}

// Every event has its mark; words stand at those that have room for them.
void MinuteChart::DrawEvents() {
  QVector<QPointF> marks;
  double free_from = axis_.begin();
  const double minutes_of_pixel = (axis_.end() - axis_.begin()) / std::max(prices_.canvas()->width(), 1);
  for (const Minute& minute : minutes_) {
    const QString text = EventsAt(minute);
    if (text.isEmpty()) {
      continue;
    }
    marks.push_back({minute.place, minute.point.price});
    const bool is_long = text.size() > kLabelledEvent;
    const QwtText words =
        prices_.Words(is_long ? text.left(kLabelledEvent) + QChar(0x2026) : text, CurrentTheme().event);
    const double room = (words.textSize().width() + kMarkSize) * minutes_of_pixel;
    const bool fits_right = minute.place + room <= axis_.end();
    if (minute.place >= free_from && (fits_right || minute.place - room >= free_from)) {
      auto* const marker = new QwtPlotMarker;
      marker->setValue(minute.place, minute.point.price);
      marker->setLabel(words);
      marker->setLabelAlignment((fits_right ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignTop);
      marker->attach(&prices_);
      free_from = minute.place + (fits_right ? room : 0);
    }
  }
  QwtPlotCurve* const curve = AddCurve(prices_, marks, CurrentTheme().event, 1);
  curve->setStyle(QwtPlotCurve::NoCurve);
  curve->setSymbol(new QwtSymbol(QwtSymbol::Diamond, CurrentTheme().event, CurrentTheme().base,
                                 QSize(kMarkSize, kMarkSize)));
}

QString MinuteChart::EventsAt(const Minute& minute) const {
  QStringList texts;
  if (minute.date == minutes_.back().date) {
    for (const StockUnusualEventItem& event : events_) {
      if (ClockOf(event.time) == minute.point.time) {
        texts.push_back(QString::fromStdString(cli::Printable(event.content)));
      }
    }
  }
  return texts.join(QStringLiteral(", "));
}

void MinuteChart::ShowFigures() {
  if (minutes_.empty()) {
    return;
  }
  const Minute& shown = reading() ? minutes_[*reading()] : minutes_.back();
  std::vector<Figure> figures = FiguresOf(cli::MinuteFigures(shown.date, shown.point, average_));
  const QString event = EventsAt(shown);
  if (!event.isEmpty()) {
    figures.push_back({QStringLiteral("  ") + event, CurrentTheme().event});
  }
  Show(figures, QStringLiteral("; %1 %2; %3 - %4")
                    .arg(Word("preclose"), QString::fromStdString(cli::Fixed(line_.preclose, 2)),
                         QString::fromStdString(cli::DateText(minutes_.front().date)),
                         QString::fromStdString(cli::DateText(minutes_.back().date))));
}

}  // namespace desktop

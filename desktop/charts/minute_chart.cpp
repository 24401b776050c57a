#include "desktop/charts/minute_chart.h"

#include <qwt_symbol.h>

#include <algorithm>
#include <cmath>

#include "cli/format/chart_headings.h"
#include "cli/format/china_time.h"
#include "cli/format/figures.h"
#include "cli/plot/scale.h"

namespace desktop {
namespace {

constexpr int kCharacters = 80;    // of its figures
constexpr int kLabelledEvent = 8;  // characters
constexpr QSize kMark(7, 7);

// 931 for "09:31", "09:31:20" and "0931"; negative for what is no time.
int ClockOf(const std::wstring& time) {
  const QString digits = QString::fromStdWString(time).remove(QLatin1Char(':')).left(4);
  bool is_number = false;
  const int clock = digits.toInt(&is_number);
  return is_number && digits.size() == 4 ? clock : -1;
}

// A label of a price in the colour of its change.
QwtText Label(const std::string& text, double change) {
  QwtText label(Text(text));
  const double seen = std::round(change * 1000);
  label.setColor(seen == 0 ? CurrentTheme().dim : CurrentTheme().Of(cli::ToneOf(seen)));
  return label;
}

// At equal distances, so that the previous close in the middle has one.
QList<double> EvenTicks(const cli::Range& range, int height) {
  const int parts = height < 120 ? 2 : height < 500 ? 4 : 8;
  QList<double> ticks;
  for (int i = 0; i <= parts; ++i) {
    ticks.push_back(range.low + (range.high - range.low) * i / parts);
  }
  return ticks;
}

}  // namespace

MinuteChart::MinuteChart() : Chart(kCharacters), prices_(AddPlot(3, true)), volumes_(AddPlot(1, true)) {
  prices_.ShowScale(QwtPlot::yLeft, [this](double price) {
    return Label(cli::Fixed(price, 2), line_.preclose > 0 ? price - line_.preclose : 0);
  });
  prices_.ShowScale(QwtPlot::yRight, [this](double price) {
    const double rate = (price - line_.preclose) / line_.preclose * 100;
    return Label(cli::SignedPercent(rate, 2), rate);
  });
  volumes_.ShowScale(QwtPlot::yLeft, [](double volume) { return Text(cli::ShortAmount(volume)); });
  volumes_.ShowScale(QwtPlot::yRight, [](double) { return QwtText(); });
  volumes_.ShowScale(QwtPlot::xBottom, [this](double place) { return axis_.LabelOf(place); });
}

void MinuteChart::SetLine(const StockMLineData& line, bool average) {
  if (line == line_ && average == average_) {
    return;
  }
  if (line.symbol != line_.symbol) {
    Read(std::nullopt);
  }
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
  Redraw();
}

void MinuteChart::SetEvents(const std::list<StockUnusualEventItem>& events) {
  QMap<int, QStringList> texts;
  for (const StockUnusualEventItem& event : events) {
    texts[ClockOf(event.time)] << Shown(event.content);
  }
  Take(events_, texts);
}

void MinuteChart::DrawPoints() {
  const bool has_preclose = line_.preclose > 0;
  const cli::Range range = cli::RangeOfDays(line_.days, line_.preclose, average_).Widened();
  for (const int axis : {static_cast<int>(QwtPlot::yLeft), static_cast<int>(QwtPlot::yRight)}) {
    prices_.SetTicks(axis, range.low, range.high, EvenTicks(range, prices_.height()));
  }
  prices_.enableAxis(QwtPlot::yRight, has_preclose);
  volumes_.enableAxis(QwtPlot::yRight, has_preclose);
  volumes_.SetTicks(QwtPlot::yRight, 0, 1, {});
  DrawVolumes();
  DrawDays();
  if (has_preclose) {
    prices_.AddLine(QwtPlotMarker::HLine, line_.preclose, Qt::DashLine);
  }
  for (ChartPlot* const plot : {&prices_, &volumes_}) {
    plot->SetTicks(QwtPlot::xBottom, axis_.begin(), axis_.end(), axis_.Ticks(volumes_.width()));
  }
  AlignSides({&prices_, &volumes_});
  DrawEvents();
}

// Where there is little room neighbours share a bar: their mean, in the direction of the last.
void MinuteChart::DrawVolumes() {
  const std::size_t sharing = volumes_.SharingABar(axis_.end() - axis_.begin());
  std::vector<VolumeBar> bars;
  for (std::size_t first = 0; first < minutes_.size(); first += sharing) {
    const std::size_t end = std::min(first + sharing, minutes_.size());
    VolumeBar bar{(minutes_[first].place + minutes_[end - 1].place) / 2, 0, minutes_[end - 1].rise};
    for (std::size_t i = first; i < end; ++i) {
      bar.volume += static_cast<double>(minutes_[i].point.volume) / static_cast<double>(end - first);
    }
    bars.push_back(bar);
  }
  volumes_.AddVolumes(bars, sharing);
}

// A curve ends with its day.
void MinuteChart::DrawDays() {
  for (auto first = minutes_.begin(); first != minutes_.end();) {
    QVector<QPointF> prices;
    QVector<QPointF> averages;
    const std::uint32_t date = first->date;
    if (first != minutes_.begin()) {
      prices_.AddLine(QwtPlotMarker::VLine, first->place - 1, Qt::DotLine);
      volumes_.AddLine(QwtPlotMarker::VLine, first->place - 1, Qt::DotLine);
    }
    for (; first != minutes_.end() && first->date == date; ++first) {
      prices.push_back({first->place, first->point.price});
      if (average_ && std::isfinite(first->point.avg_price) && first->point.avg_price > 0) {
        averages.push_back({first->place, first->point.avg_price});
      }
    }
    prices_.AddCurve(averages, {CurrentTheme().averages[1], 1});
    prices_.AddCurve(prices, {CurrentTheme().averages[0], 1.4});
  }
}

// Every event has its mark; words stand at those that have room for them.
void MinuteChart::DrawEvents() {
  const QColor& colour = CurrentTheme().event;
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
    const QwtText words = prices_.Words(is_long ? text.left(kLabelledEvent) + QChar(0x2026) : text, colour);
    const double room = (words.textSize().width() + kMark.width()) * minutes_of_pixel;
    const bool fits_right = minute.place + room <= axis_.end();
    if (minute.place >= free_from && (fits_right || minute.place - room >= free_from)) {
      prices_.AddWords(words, marks.back(), (fits_right ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignTop);
      free_from = minute.place + (fits_right ? room : 0);
    }
  }
  QwtPlotCurve& curve = prices_.AddCurve(marks, {colour, 1});
  curve.setStyle(QwtPlotCurve::NoCurve);
  curve.setSymbol(new QwtSymbol(QwtSymbol::Diamond, colour, CurrentTheme().base, kMark));
}

QString MinuteChart::EventsAt(const Minute& minute) const {
  const bool is_last_day = minute.date == minutes_.back().date;
  return is_last_day ? events_.value(minute.point.time).join(QStringLiteral(", ")) : QString();
}

void MinuteChart::ShowFigures() {
  const Minute& shown = reading() ? minutes_[*reading()] : minutes_.back();
  std::vector<Figure> figures = FiguresOf(cli::MinuteFigures(shown.date, shown.point, average_));
  const QString event = EventsAt(shown);
  if (!event.isEmpty()) {
    figures.push_back({QStringLiteral("  ") + event, CurrentTheme().event});
  }
  Show(figures,
       QStringLiteral("; %1 %2; %3 - %4")
           .arg(TitleOf("preclose"), Text(cli::Fixed(line_.preclose, 2)),
                Text(cli::DateText(minutes_.front().date)), Text(cli::DateText(minutes_.back().date))));
}

}  // namespace desktop

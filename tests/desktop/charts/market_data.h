// A small market for charts, whose figures can be worked out by hand.
#pragma once

#include <gtest/gtest.h>
#include <qwt_plot.h>
#include <qwt_plot_seriesitem.h>
#include <qwt_plot_tradingcurve.h>
#include <qwt_series_store.h>

#include <QApplication>
#include <QMouseEvent>
#include <QTest>
#include <QWheelEvent>
#include <QWidget>
#include <QWindow>
#include <cstdint>
#include <vector>

#include "charts/stock_kline.h"
#include "charts/stock_mline.h"

namespace desktop {

/// Day i of `count`, from 2000-01-01 on: opens at 10 + i, closes 1 above, trades between 1 below and 2 above
/// its open, 1,000 shares more than the day before. Months have 28 days.
inline StockKLineData RisingSeries(int count) {
  StockKLineData series;
  series.symbol = L"sh600000";
  series.period = 1;
  series.adjustment = 1;
  for (int i = 0; i < count; ++i) {
    const auto day = static_cast<std::uint32_t>(i);
    const double open = 10 + i;
    series.candles.push_back({(2000 + day / 336) * 10000 + (day / 28 % 12 + 1) * 100 + day % 28 + 1, open,
                              open, open + 2, open + 1, open - 1, 1000 * (day + 1), 1e6, 1.0});
  }
  return series;
}

/// 09:30 to 15:00 of `date`, previous close 10: the price rises by 0.01 a minute from 10.00 on, the average
/// by 0.004; a hundred shares a minute.
inline StockMLineData RisingLine(std::uint32_t date) {
  StockMLineData line;
  line.symbol = L"sh600000";
  line.preclose = 10;
  line.days.push_back({date, {}});
  for (int i = 0; i <= 240; ++i) {
    const int minute = i <= 120 ? 570 + i : 660 + i;
    line.days[0].points.push_back(
        {minute / 60 * 100 + minute % 60, 10 + 0.01 * i, 100, 1000, 1, 0.01 * i, 0.1 * i, 10 + 0.004 * i});
  }
  return line;
}

/// Gives a widget its size and lets it lay out and paint.
inline void ShowIn(QWidget& widget, int width, int height) {
  widget.resize(width, height);
  widget.show();
  QApplication::processEvents();
}

/// Moves the mouse over a canvas, with the left button down or not.
inline void MoveMouse(QWidget& canvas, const QPoint& to, Qt::MouseButtons down = Qt::NoButton) {
  QMouseEvent event(QEvent::MouseMove, to, canvas.mapToGlobal(to), Qt::NoButton, down, Qt::NoModifier);
  QApplication::sendEvent(&canvas, &event);
}

/// One click of the wheel, away from the user if it zooms in.
inline void TurnWheel(QWidget& canvas, bool zooms_in) {
  const QPoint middle = canvas.rect().center();
  QWheelEvent event(middle, canvas.mapToGlobal(middle), {}, {0, zooms_in ? 120 : -120}, Qt::NoButton,
                    Qt::NoModifier, Qt::NoScrollPhase, false);
  QApplication::sendEvent(&canvas, &event);
}

/// The plots of a chart from the top down.
inline std::vector<QwtPlot*> PlotsOf(const QWidget& chart) {
  const QList<QwtPlot*> plots = chart.findChildren<QwtPlot*>();
  return {plots.begin(), plots.end()};
}

template <class Sample>
const QwtSeriesStore<Sample>& SeriesOf(const QwtPlotItem& item) {
  return dynamic_cast<const QwtSeriesStore<Sample>&>(item);
}
/// Of candles it is a base that others do not see.
template <>
inline const QwtSeriesStore<QwtOHLCSample>& SeriesOf(const QwtPlotItem& item) {
  return (const QwtSeriesStore<QwtOHLCSample>&)dynamic_cast<const QwtPlotTradingCurve&>(item);
}

/// The samples of all items of a kind, item after item.
template <class Sample>
std::vector<Sample> SamplesOf(const QwtPlot& plot, QwtPlotItem::RttiValues kind) {
  std::vector<Sample> samples;
  for (const QwtPlotItem* const item : plot.itemList(kind)) {
    const auto& series = SeriesOf<Sample>(*item);
    for (std::size_t i = 0; i < series.dataSize(); ++i) {
      samples.push_back(series.sample(static_cast<int>(i)));
    }
  }
  return samples;
}

inline QString Text(const char* text) {
  return QString::fromUtf8(text);
}

/// The canvas of `plot` stands above that of `below`, both are equally wide and lie in the chart.
inline void ExpectAbove(const QWidget& chart, const QwtPlot& plot, const QwtPlot& below) {
  const auto box = [&](const QwtPlot& of) {
    return QRect(of.canvas()->mapTo(&chart, QPoint()), of.canvas()->size());
  };
  EXPECT_EQ(box(plot).left(), box(below).left());
  EXPECT_EQ(box(plot).right(), box(below).right());
  EXPECT_LT(box(plot).bottom(), box(below).top());
  EXPECT_GT(box(plot).height(), box(below).height());
  EXPECT_TRUE(chart.rect().contains(box(plot)) && chart.rect().contains(box(below)));
}

/// True when the description of what is shown holds `text`.
inline testing::AssertionResult Says(const QWidget& chart, const QString& text) {
  return chart.accessibleDescription().contains(text) ? testing::AssertionSuccess()
                                                      : testing::AssertionFailure()
                                                            << chart.accessibleDescription().toStdString()
                                                            << " lacks " << text.toStdString();
}

}  // namespace desktop

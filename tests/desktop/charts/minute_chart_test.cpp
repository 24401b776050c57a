#include "desktop/charts/minute_chart.h"

#include <qwt_plot_marker.h>
#include <qwt_scale_draw.h>

#include <cmath>
#include <limits>

#include "market_data.h"

namespace desktop {
namespace {

// Points of all curves: averages, prices, then the marks of events.
std::vector<QPointF> PointsIn(const MinuteChart& chart) {
  return SamplesOf<QPointF>(*PlotsOf(chart).at(0), QwtPlotItem::Rtti_PlotCurve);
}

QStringList BottomLabels(const MinuteChart& chart) {
  const QwtPlot& volumes = *PlotsOf(chart).at(1);
  QStringList labels;
  for (const double tick : volumes.axisScaleDiv(QwtPlot::xBottom).ticks(QwtScaleDiv::MajorTick)) {
    labels.push_back(volumes.axisScaleDraw(QwtPlot::xBottom)->label(tick).text());
  }
  return labels;
}

StockUnusualEventItem Event(const wchar_t* time, const wchar_t* content) {
  StockUnusualEventItem event;
  event.time = time;
  event.content = content;
  return event;
}

TEST(MinuteChart, showsTheNewestMinute) {
  MinuteChart chart;
  ShowIn(chart, 800, 500);
  chart.SetLine(RisingLine(20240315), true);
  ASSERT_TRUE(chart.HasPicture());
  EXPECT_TRUE(
      Says(chart, Text("2024-03-15 15:00 12.40 +2.40 +24.00% average 10.96 volume 100; preclose 10.00")));
}

TEST(MinuteChart, putsThePreviousCloseInTheMiddleAndLeavesLunchOut) {
  MinuteChart chart;
  ShowIn(chart, 800, 500);
  chart.SetLine(RisingLine(20240315), true);
  const QwtInterval range = PlotsOf(chart).at(0)->axisInterval(QwtPlot::yLeft);
  EXPECT_NEAR(range.minValue(), 7.6, 1e-9);
  EXPECT_NEAR(range.maxValue(), 12.4, 1e-9);
  const QwtPlot& prices = *PlotsOf(chart).at(0);
  EXPECT_EQ(prices.axisScaleDraw(QwtPlot::yRight)->label(12.4).text(), Text("+24.00%"));
  EXPECT_EQ(prices.axisScaleDraw(QwtPlot::yLeft)->label(7.6).text(), Text("7.60"));
  EXPECT_EQ(BottomLabels(chart),
            QStringList({Text("09:30"), Text("10:30"), Text("11:30/13:00"), Text("14:00"), Text("15:00")}));
  const std::vector<QPointF> points = PointsIn(chart);
  ASSERT_EQ(points.size(), 2 * 241U);
  EXPECT_EQ(points[241 + 120], QPointF(120, 11.2));   // 11:30
  EXPECT_EQ(points[241 + 121], QPointF(121, 11.21));  // 13:01
}

TEST(MinuteChart, hasNoAverageForAnIndexAndNoRatesWithoutPreviousClose) {
  MinuteChart chart;
  ShowIn(chart, 800, 500);
  StockMLineData line = RisingLine(20240315);
  line.preclose = 0;
  chart.SetLine(line, false);
  EXPECT_EQ(PointsIn(chart).size(), 241U);
  EXPECT_FALSE(Says(chart, Text("average")));
  EXPECT_FALSE(PlotsOf(chart).at(0)->axisEnabled(QwtPlot::yRight));
}

TEST(MinuteChart, leavesMinutesWithoutAPriceOut) {
  MinuteChart chart;
  ShowIn(chart, 800, 500);
  StockMLineData line = RisingLine(20240315);
  line.days[0].points[5].price = 0;
  line.days[0].points[6].price = std::numeric_limits<double>::quiet_NaN();
  line.days[0].points[7].avg_price = 0;
  line.days[0].points[8].time = 2599;
  chart.SetLine(line, true);
  for (const QPointF& point : PointsIn(chart)) {
    EXPECT_GE(point.y(), 10);
  }
  EXPECT_EQ(PointsIn(chart).size(), 2 * 238U - 1);
  EXPECT_GT(PlotsOf(chart).at(0)->axisInterval(QwtPlot::yLeft).minValue(), 7);
}

TEST(MinuteChart, showsTheAuctionWhereTheDataHoldIt) {
  MinuteChart chart;
  ShowIn(chart, 800, 500);
  StockMLineData line = RisingLine(20240315);
  line.days[0].points.insert(line.days[0].points.begin(), {920, 10, 0, 0, 0, 0, 0, 10});
  chart.SetLine(line, true);
  EXPECT_EQ(PlotsOf(chart).at(0)->axisInterval(QwtPlot::xBottom).minValue(), -15);
  EXPECT_EQ(PointsIn(chart).at(0).x(), -10);
}

TEST(MinuteChart, standsPastDaysSideBySide) {
  MinuteChart chart;
  ShowIn(chart, 800, 500);
  StockMLineData line = RisingLine(20240314);
  line.days.push_back(RisingLine(20240315).days[0]);
  chart.SetLine(line, true);
  EXPECT_EQ(BottomLabels(chart), QStringList({Text("03-14"), Text("03-15")}));
  EXPECT_EQ(PointsIn(chart).size(), 4 * 241U);
  EXPECT_TRUE(Says(chart, Text("2024-03-14 - 2024-03-15")));
  const QwtPlot& prices = *PlotsOf(chart).at(0);
  EXPECT_EQ(prices.itemList(QwtPlotItem::Rtti_PlotCurve).size(), 5);  // a line ends with its day
}

TEST(MinuteChart, readsMinutesByKeysAndMouse) {
  MinuteChart chart;
  ShowIn(chart, 800, 500);
  chart.SetLine(RisingLine(20240315), true);
  QTest::keyClick(&chart, Qt::Key_Left);
  EXPECT_TRUE(Says(chart, Text("15:00 12.40")));
  QTest::keyClick(&chart, Qt::Key_Left);
  EXPECT_TRUE(Says(chart, Text("14:59 12.39 +2.39 +23.90% average 10.96")));
  QTest::keyClick(&chart, Qt::Key_Right);
  QTest::keyClick(&chart, Qt::Key_Right);
  EXPECT_TRUE(Says(chart, Text("15:00 12.40")));
  QTest::keyClick(&chart, Qt::Key_Escape);
  for (const QwtPlot* const plot : PlotsOf(chart)) {
    const double x = plot->transform(QwtPlot::xBottom, 121);
    MoveMouse(*const_cast<QWidget*>(plot->canvas()), {static_cast<int>(std::lround(x)), 10});
    EXPECT_TRUE(Says(chart, Text("13:01 11.21 +1.21 +12.10% average 10.48 volume 100")));
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(const_cast<QWidget*>(plot->canvas()), &leave);
    EXPECT_TRUE(Says(chart, Text("15:00 12.40")));
  }
}

TEST(MinuteChart, marksEventsOfTheirMinutes) {
  MinuteChart chart;
  ShowIn(chart, 800, 500);
  chart.SetLine(RisingLine(20240315), true);
  chart.SetEvents({Event(L"15:00", L"大笔买入"), Event(L"10:00", L"急速拉升"), Event(L"nonsense", L"x"),
                   Event(L"12:00", L"lunch")});
  const std::vector<QPointF> points = PointsIn(chart);
  ASSERT_EQ(points.size(), 2 * 241U + 2);
  EXPECT_EQ(points[points.size() - 2], QPointF(30, 10.3));
  EXPECT_EQ(points.back(), QPointF(240, 12.4));
  QStringList words;
  for (const QwtPlotItem* const item : PlotsOf(chart).at(0)->itemList(QwtPlotItem::Rtti_PlotMarker)) {
    words.push_back(dynamic_cast<const QwtPlotMarker&>(*item).label().text());
  }
  EXPECT_TRUE(words.contains(Text("急速拉升")));
  EXPECT_TRUE(words.contains(Text("大笔买入")));
  EXPECT_TRUE(Says(chart, Text("大笔买入")));
}

TEST(MinuteChart, keepsTheMinuteThatIsReadWhileTheDayGrows) {
  MinuteChart chart;
  ShowIn(chart, 800, 500);
  StockMLineData line = RisingLine(20240315);
  line.days[0].points.resize(100);
  chart.SetLine(line, true);
  QTest::keyClick(&chart, Qt::Key_Left);
  chart.SetLine(RisingLine(20240315), true);
  EXPECT_TRUE(Says(chart, Text("11:09 10.99")));
  line.days[0].points.resize(3);  // the next morning
  chart.SetLine(line, true);
  EXPECT_TRUE(Says(chart, Text("09:32 10.02")));
}

TEST(MinuteChart, isEmptyWithoutMinutes) {
  MinuteChart chart;
  ShowIn(chart, 400, 300);
  StockMLineData line = RisingLine(20240315);
  chart.SetLine(line, true);
  EXPECT_TRUE(chart.HasPicture());
  line.days[0].points.clear();
  chart.SetLine(line, true);
  EXPECT_FALSE(chart.HasPicture());
  EXPECT_EQ(chart.accessibleDescription(), Text(""));
  QTest::keyClick(&chart, Qt::Key_Left);
  line.days[0].points.resize(1);
  line.days[0].points[0] = {930, 10, 100, 1000, 1, 0, 0, 10};
  chart.SetLine(line, true);
  EXPECT_TRUE(Says(chart, Text("09:30 10.00 0.00 0.00%")));
}

TEST(MinuteChart, standsAboveItsVolumesWhateverItsSize) {
  for (const QSize size : {QSize(160, 120), QSize(400, 300), QSize(1200, 800)}) {
    MinuteChart chart;
    StockMLineData line = RisingLine(20240315);
    line.days[0].points[3].volume = 123456789;  // its label is wider than those of the prices
    chart.SetLine(line, true);
    ShowIn(chart, size.width(), size.height());
    ExpectAbove(chart, *PlotsOf(chart).at(0), *PlotsOf(chart).at(1));
  }
}

}  // namespace
}  // namespace desktop

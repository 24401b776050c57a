#include "desktop/charts/candle_chart.h"

#include <qwt_plot_curve.h>
#include <qwt_plot_picker.h>
#include <qwt_plot_tradingcurve.h>

#include <cmath>
#include <limits>

#include "market_data.h"

namespace desktop {
namespace {

std::vector<QwtOHLCSample> DrawnIn(const CandleChart& chart) {
  return SamplesOf<QwtOHLCSample>(*PlotsOf(chart).at(0), QwtPlotItem::Rtti_PlotTradingCurve);
}

TEST(CandleChart, showsTheNewestCandlesWithTheirFiguresAndAverages) {
  CandleChart chart;
  ShowIn(chart, 800, 500);
  chart.SetSeries(RisingSeries(500));
  ASSERT_TRUE(chart.HasPicture());
  EXPECT_EQ(chart.First() + chart.Count(), 500U);
  // Candle 499 closes at 510, candle 498 at 509: up by 0.1965 percent. The mean of the last n closes is
  // 510 - (n - 1) / 2.
  StockKLineData series = RisingSeries(500);
  series.candles.back().preclose = 509;
  chart.SetSeries(series);
  EXPECT_TRUE(Says(chart, Text("open 509.00 high 511.00 low 508.00 close 510.00 +0.20% volume 50.00万")));
  EXPECT_TRUE(Says(chart, Text("MA5 508.00 MA10 505.50 MA20 500.50 MA60 480.50")));
}

TEST(CandleChart, drawsEveryCandleWithItsFourPricesAtItsIndex) {
  CandleChart chart;
  ShowIn(chart, 800, 500);
  chart.SetSeries(RisingSeries(40));
  const std::vector<QwtOHLCSample> drawn = DrawnIn(chart);
  ASSERT_EQ(drawn.size(), 40U);
  EXPECT_EQ(drawn[7].time, 7);
  EXPECT_EQ(drawn[7].open, 17);
  EXPECT_EQ(drawn[7].high, 19);
  EXPECT_EQ(drawn[7].low, 16);
  EXPECT_EQ(drawn[7].close, 18);
}

TEST(CandleChart, zoomsByKeysAndWheelBetweenTenCandlesAndAll) {
  CandleChart chart;
  ShowIn(chart, 800, 500);
  chart.SetSeries(RisingSeries(500));
  const std::size_t usual = chart.Count();
  QTest::keyClick(&chart, Qt::Key_Plus);
  EXPECT_LT(chart.Count(), usual);
  QTest::keyClick(&chart, Qt::Key_Minus);
  QTest::keyClick(&chart, Qt::Key_Minus);
  EXPECT_GT(chart.Count(), usual);
  const std::size_t before = chart.Count();
  TurnWheel(*PlotsOf(chart).at(0)->canvas(), true);
  EXPECT_LT(chart.Count(), before);
  TurnWheel(*PlotsOf(chart).at(1)->canvas(), false);
  TurnWheel(*PlotsOf(chart).at(1)->canvas(), false);
  EXPECT_GT(chart.Count(), before);
  for (int i = 0; i < 60; ++i) {
    QTest::keyClick(&chart, Qt::Key_Equal);
  }
  EXPECT_EQ(chart.Count(), 10U);
  EXPECT_EQ(chart.First(), 490U);
  for (int i = 0; i < 60; ++i) {
    QTest::keyClick(&chart, Qt::Key_Minus);
  }
  EXPECT_EQ(chart.Count(), 500U);
  EXPECT_EQ(chart.First(), 0U);
}

TEST(CandleChart, scrollsByKeysToBothEnds) {
  CandleChart chart;
  ShowIn(chart, 800, 500);
  chart.SetSeries(RisingSeries(500));
  const std::size_t newest = chart.First();
  QTest::keyClick(&chart, Qt::Key_Right);
  EXPECT_EQ(chart.First(), newest);
  QTest::keyClick(&chart, Qt::Key_Left);
  EXPECT_LT(chart.First(), newest);
  QTest::keyClick(&chart, Qt::Key_Home);
  EXPECT_EQ(chart.First(), 0U);
  QTest::keyClick(&chart, Qt::Key_Left);
  EXPECT_EQ(chart.First(), 0U);
  EXPECT_TRUE(Says(chart, Text("2000-01-01 - ")));
  QTest::keyClick(&chart, Qt::Key_End);
  EXPECT_EQ(chart.First(), newest);
}

TEST(CandleChart, followsTheMouseThatDragsIt) {
  CandleChart chart;
  ShowIn(chart, 800, 500);
  chart.SetSeries(RisingSeries(500));
  const std::size_t newest = chart.First();
  QWidget& canvas = *PlotsOf(chart).at(0)->canvas();
  const int a_quarter = canvas.width() / 4;
  QTest::mousePress(&canvas, Qt::LeftButton, {}, {a_quarter, 50});
  MoveMouse(canvas, {2 * a_quarter, 60}, Qt::LeftButton);
  MoveMouse(canvas, {3 * a_quarter, 60}, Qt::LeftButton);
  QTest::mouseRelease(&canvas, Qt::LeftButton, {}, {3 * a_quarter, 60});
  EXPECT_NEAR(static_cast<double>(newest - chart.First()), static_cast<double>(chart.Count()) / 2, 2);
}

TEST(CandleChart, readsTheCandleUnderTheMouse) {
  CandleChart chart;
  ShowIn(chart, 800, 500);
  chart.SetSeries(RisingSeries(50));
  QwtPlot& prices = *PlotsOf(chart).at(0);
  const auto x = static_cast<int>(prices.transform(QwtPlot::xBottom, 20));
  for (const QwtPlot* const plot : PlotsOf(chart)) {
    QWidget& canvas = *const_cast<QWidget*>(plot->canvas());
    MoveMouse(canvas, {x, 20});
    EXPECT_TRUE(Says(chart, Text("2000-01-21 open 30.00 high 32.00 low 29.00 close 31.00")));
    EXPECT_TRUE(Says(chart, Text("MA20 21.50 MA60 --")));
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(&canvas, &leave);
    EXPECT_TRUE(Says(chart, Text("2000-02-22 open 59.00")));
  }
}

TEST(CandleChart, crossesTheCandleThatIsReadInBothPlotsWhateverTheSize) {
  CandleChart chart;
  ShowIn(chart, 800, 500);
  chart.SetSeries(RisingSeries(50));
  QTest::keyClick(&chart, Qt::Key_Left, Qt::ShiftModifier);
  ShowIn(chart, 600, 400);
  const QwtPlot& prices = *PlotsOf(chart).at(0);
  int cross_hairs = 0;
  for (const QwtPlotPicker* const picker : chart.findChildren<QwtPlotPicker*>()) {
    ASSERT_TRUE(picker->isActive());
    ASSERT_EQ(picker->selection().size(), 1);
    EXPECT_NEAR(picker->selection()[0].x(), prices.transform(QwtPlot::xBottom, 49), 1);
    if (picker->plot() == &prices) {
      EXPECT_NEAR(picker->selection()[0].y(), prices.transform(QwtPlot::yLeft, 60), 1);
    }
    ++cross_hairs;
  }
  EXPECT_EQ(cross_hairs, 2);
  QTest::keyClick(&chart, Qt::Key_Escape);
  for (const QwtPlotPicker* const picker : chart.findChildren<QwtPlotPicker*>()) {
    EXPECT_FALSE(picker->isActive());
  }
}

// A picker that has the keys moves the mouse itself.
TEST(CandleChart, getsTheKeysOnceItIsClicked) {
  CandleChart chart;
  ShowIn(chart, 800, 500);
  chart.SetSeries(RisingSeries(500));
  chart.activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&chart));
  for (const QwtPlot* const plot : PlotsOf(chart)) {
    chart.clearFocus();
    const QPoint middle = plot->canvas()->rect().center();
    QTest::mouseClick(chart.windowHandle(), Qt::LeftButton, {}, plot->canvas()->mapTo(&chart, middle));
    EXPECT_EQ(QApplication::focusWidget(), &chart);
  }
}

TEST(CandleChart, readsByKeysAndScrollsAlong) {
  CandleChart chart;
  ShowIn(chart, 800, 500);
  chart.SetSeries(RisingSeries(500));
  QTest::keyClick(&chart, Qt::Key_Left, Qt::ShiftModifier);
  EXPECT_TRUE(Says(chart, Text("close 510.00")));
  const std::size_t out_of_sight = chart.Count() + 5;
  for (std::size_t i = 0; i < out_of_sight; ++i) {
    QTest::keyClick(&chart, Qt::Key_Left, Qt::ShiftModifier);
  }
  EXPECT_TRUE(Says(chart, QStringLiteral("close %1.00").arg(510 - out_of_sight)));
  EXPECT_EQ(chart.First(), 499 - out_of_sight);
  QTest::keyClick(&chart, Qt::Key_Escape);
  EXPECT_TRUE(Says(chart, QStringLiteral("close %1.00").arg(11 + chart.First() + chart.Count() - 1)));
}

TEST(CandleChart, keepsItsPlaceWhenADayIsAddedAndForgetsItForAnotherStock) {
  CandleChart chart;
  ShowIn(chart, 800, 500);
  chart.SetSeries(RisingSeries(500));
  QTest::keyClick(&chart, Qt::Key_Left);
  const std::size_t first = chart.First();
  chart.SetSeries(RisingSeries(501));
  EXPECT_EQ(chart.First(), first);
  StockKLineData other = RisingSeries(501);
  other.symbol = L"sz000001";
  chart.SetSeries(other);
  EXPECT_EQ(chart.First() + chart.Count(), 501U);
}

TEST(CandleChart, leavesDaysWithoutPricesOutAndPutsTheCloseForMissingOnes) {
  CandleChart chart;
  ShowIn(chart, 800, 500);
  StockKLineData series = RisingSeries(10);
  auto candle = std::next(series.candles.begin(), 3);
  candle->open = candle->high = candle->low = 0;  // suspended: the close alone is repeated
  (++candle)->close = std::numeric_limits<double>::quiet_NaN();
  series.candles.back() = {20000111, 19, 0, 0, 0, 0, 0, 0, 0};  // before the opening
  chart.SetSeries(series);
  const std::vector<QwtOHLCSample> drawn = DrawnIn(chart);
  ASSERT_EQ(drawn.size(), 8U);
  for (const QwtOHLCSample& sample : drawn) {
    EXPECT_GE(sample.low, 9);
    EXPECT_TRUE(sample.isValid());
  }
  EXPECT_GT(PlotsOf(chart).at(0)->axisInterval(QwtPlot::yLeft).minValue(), 5);
  EXPECT_TRUE(Says(chart, Text("2000-01-09 open 18.00")));
}

TEST(CandleChart, drawsOneCandleWithoutHeight) {
  CandleChart chart;
  ShowIn(chart, 800, 500);
  StockKLineData series = RisingSeries(1);
  series.candles.front() = {20240315, 5, 5, 5, 5, 5, 100, 500, 0};
  chart.SetSeries(series);
  EXPECT_EQ(chart.Count(), 1U);
  EXPECT_TRUE(Says(chart, Text("close 5.00 0.00% volume 100")));
  EXPECT_FALSE(chart.grab().isNull());
  for (const int key :
       {Qt::Key_Plus, Qt::Key_Minus, Qt::Key_Left, Qt::Key_Right, Qt::Key_Home, Qt::Key_End}) {
    QTest::keyClick(&chart, static_cast<Qt::Key>(key));
    QTest::keyClick(&chart, static_cast<Qt::Key>(key), Qt::ShiftModifier);
    EXPECT_EQ(chart.Count(), 1U);
  }
}

TEST(CandleChart, isEmptyWithoutCandles) {
  CandleChart chart;
  ShowIn(chart, 400, 300);
  EXPECT_FALSE(chart.HasPicture());
  EXPECT_EQ(chart.accessibleDescription(), Text(""));
  chart.SetSeries(RisingSeries(5));
  EXPECT_TRUE(chart.HasPicture());
  chart.SetSeries({});
  EXPECT_FALSE(chart.HasPicture());
  EXPECT_EQ(chart.accessibleDescription(), Text(""));
  QTest::keyClick(&chart, Qt::Key_Minus);
  QTest::keyClick(&chart, Qt::Key_Left, Qt::ShiftModifier);
}

TEST(CandleChart, standsAboveItsVolumesWhateverItsSize) {
  for (const QSize size : {QSize(160, 120), QSize(400, 300), QSize(1200, 800)}) {
    CandleChart chart;
    chart.SetSeries(RisingSeries(300));
    ShowIn(chart, size.width(), size.height());
    ExpectAbove(chart, *PlotsOf(chart).at(0), *PlotsOf(chart).at(1));
  }
}

TEST(CandleChart, paintsNothingAnewForTheSameSeries) {
  CandleChart chart;
  ShowIn(chart, 400, 300);
  chart.SetSeries(RisingSeries(30));
  const auto candles = [&] {
    return PlotsOf(chart).at(0)->itemList(QwtPlotItem::Rtti_PlotTradingCurve).at(0);
  };
  candles()->hide();
  chart.SetSeries(RisingSeries(30));
  EXPECT_FALSE(candles()->isVisible());
  chart.SetSeries(RisingSeries(31));
  EXPECT_TRUE(candles()->isVisible());
}

TEST(CandleChart, joinsNeighboursThatShareTwoPixels) {
  CandleChart chart;
  ShowIn(chart, 800, 500);
  chart.SetSeries(RisingSeries(8000));
  chart.Zoom(1000);
  ASSERT_EQ(chart.Count(), 8000U);
  const std::vector<QwtOHLCSample> drawn = DrawnIn(chart);
  ASSERT_LE(drawn.size(), 400U);
  EXPECT_EQ(drawn.front().open, 10);
  EXPECT_EQ(drawn.front().low, 9);
  EXPECT_EQ(drawn.back().close, 8010);
  EXPECT_EQ(drawn.back().high, 8011);
}

TEST(CandleChart, repaintsInOtherColours) {
  CandleChart chart;
  ShowIn(chart, 400, 300);
  chart.SetSeries(RisingSeries(30));
  const auto pen = [&] {
    const QwtPlotItemList items = PlotsOf(chart).at(0)->itemList(QwtPlotItem::Rtti_PlotTradingCurve);
    return dynamic_cast<const QwtPlotTradingCurve&>(*items.at(0)).symbolPen().color();
  };
  EXPECT_EQ(pen(), CurrentTheme().rise);
  SetTheme(MakeTheme(false, true));
  EXPECT_EQ(pen(), MakeTheme(false, false).fall);
}

}  // namespace
}  // namespace desktop

#include "desktop/charts/breadth_charts.h"

#include <qwt_plot_marker.h>

#include <QAbstractTextDocumentLayout>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

#include "cli/format/words.h"
#include "desktop/charts/flow_bars.h"
#include "market_data.h"

namespace desktop {
namespace {

std::vector<QPointF> BarsIn(const Chart& chart) {
  return SamplesOf<QPointF>(*PlotsOf(chart).at(0), QwtPlotItem::Rtti_PlotBarChart);
}

TEST(SessionChart, showsBothCurvesAndReadsAMinute) {
  SessionChart chart;
  ShowIn(chart, 600, 300);
  chart.SetPicture(cli::StrengthPicture({{930, 10, 20}, {1130, 30, 40}, {1500, 50, 5}}, 20240315));
  ASSERT_TRUE(chart.HasPicture());
  EXPECT_TRUE(Says(chart, Text("2024-03-15 15:00 up 50 (line) down 5 (dots)")));
  const std::vector<QPointF> points = SamplesOf<QPointF>(*PlotsOf(chart).at(0), QwtPlotItem::Rtti_PlotCurve);
  EXPECT_EQ(points, std::vector<QPointF>({{0, 20}, {120, 40}, {240, 5}, {0, 10}, {120, 30}, {240, 50}}));
  QTest::keyClick(&chart, Qt::Key_Left);
  QTest::keyClick(&chart, Qt::Key_Left);
  EXPECT_TRUE(Says(chart, Text("11:30/13:00 40 30")));
  QTest::keyClick(&chart, Qt::Key_Escape);
  QWidget& canvas = *PlotsOf(chart).at(0)->canvas();
  MoveMouse(canvas, {3, 10});
  EXPECT_TRUE(Says(chart, Text("09:30 20 10")));
}

TEST(SessionChart, hasAScaleAroundOnePointAndNothingWithoutAny) {
  SessionChart chart;
  ShowIn(chart, 600, 300);
  EXPECT_FALSE(chart.HasPicture());
  chart.SetPicture(cli::EffectPicture({{931, -0.5}}, 20240315));
  EXPECT_TRUE(Says(chart, Text("2024-03-15 09:31 -0.5")));
  EXPECT_TRUE(PlotsOf(chart).at(0)->axisInterval(QwtPlot::yLeft).contains(-0.5));
  chart.SetPicture({});
  EXPECT_FALSE(chart.HasPicture());
  QTest::keyClick(&chart, Qt::Key_Left);
}

DistributionItem Spread() {
  DistributionItem item;
  item.up = 30;
  item.down = 15;
  item.nochange = 2;
  for (int i = 1; i <= 5; ++i) {
    item.first_half.push_back({i, i * 0.02});
    item.second_half.push_back({i * 2, i * 0.04});
  }
  return item;
}

TEST(DistributionChart, hasABarForEachRange) {
  DistributionChart chart;
  ShowIn(chart, 400, 300);
  chart.SetItem(Spread(), 20240315);
  EXPECT_TRUE(Says(chart, Text("2024-03-15 up 30 unchanged 2 down 15; limit down 1 2.0%; below -7% 2 4.0%")));
  EXPECT_TRUE(Says(chart, Text("limit up 10 20.0%")));
  const std::vector<QPointF> bars = BarsIn(chart);
  ASSERT_EQ(bars.size(), 10U);
  EXPECT_EQ(bars.front(), QPointF(9, 1));  // on top
  EXPECT_EQ(bars.back(), QPointF(0, 10));
}

TEST(DistributionChart, hasNoBarForARangeWithoutStocks) {
  DistributionChart chart;
  ShowIn(chart, 400, 300);
  DistributionItem item = Spread();
  item.first_half[0] = {};
  chart.SetItem(item, 20240315);
  EXPECT_TRUE(Says(chart, Text("limit down 0 0.0%")));
  EXPECT_EQ(BarsIn(chart).size(), 9U);
  EXPECT_EQ(BarsIn(chart).front(), QPointF(8, 2));
}

TEST(DistributionChart, hasRoomForTheWordsBesideTheBars) {
  for (const int width : {160, 240, 400, 1200}) {
    DistributionChart chart;
    chart.SetItem(Spread(), 20240315);
    ShowIn(chart, width, 300);
    const QwtPlot& plot = *PlotsOf(chart).at(0);
    for (const QwtPlotItem* const item : plot.itemList(QwtPlotItem::Rtti_PlotMarker)) {
      const auto& marker = dynamic_cast<const QwtPlotMarker&>(*item);
      const double end =
          plot.transform(QwtPlot::xBottom, marker.xValue()) + marker.label().textSize().width();
      EXPECT_LT(end, plot.canvas()->width()) << width;
    }
  }
}

TEST(DistributionChart, isEmptyOnADayWithoutStocks) {
  DistributionChart chart;
  ShowIn(chart, 400, 300);
  chart.SetItem(Spread(), 20240315);
  EXPECT_TRUE(chart.HasPicture());
  chart.SetItem({}, 20240316);
  EXPECT_FALSE(chart.HasPicture());
  EXPECT_EQ(chart.accessibleDescription(), Text(""));
}

TEST(FlowBars, showAmountsAndNetsOfThreePeriods) {
  FlowBars chart;
  ShowIn(chart, 600, 300);
  chart.SetFlows({L"sh600000", 1, {120000000, 90000000, 60000000, 70000000}, {1, 2, 3, 4}, {5, 6, 7, 8}});
  EXPECT_TRUE(Says(chart, Text("1 day, big in 1.20亿, big out 9,000万, big net +3,000万, small in 6,000万, "
                               "small out 7,000万, small net -1,000万; 5 days, big in 1, big out 2")));
  const auto sets = SamplesOf<QwtSetSample>(*PlotsOf(chart).at(0), QwtPlotItem::Rtti_PlotMultiBarChart);
  ASSERT_EQ(sets.size(), 3U);
  EXPECT_EQ(sets[0].set, QVector<double>({120000000, 90000000, 60000000, 70000000}));
  EXPECT_EQ(sets[2].set, QVector<double>({5, 6, 7, 8}));
  chart.SetFlows({L"sh600000", 0, {}, {}, {}});
  EXPECT_FALSE(chart.HasPicture());
}

TEST(FlowBars, sayWhatTheBarsAreInANarrowPaneToo) {
  FlowBars chart;
  ShowIn(chart, 245, 190);
  chart.SetFlows({L"sh688553",
                  1,
                  {9'000'000'000, 4'000'000'000, 3'000'000'000, 5'000'000'000},
                  {9'000'000'000, 4'400'000'000, 3'000'000'000, 5'000'000'000},
                  {9'000'000'000, 4'401'000'000, 3'000'000'000, 5'000'000'000}});
  const QLabel& figures = *chart.findChild<QLabel*>();
  EXPECT_LE(figures.heightForWidth(figures.width()), figures.height());

  // A line ends at a blank, never before the unit of a figure.
  QTextDocument document;
  document.setHtml(figures.text());
  for (int width = 120; width <= 300; width += 10) {
    document.setTextWidth(width);
    document.documentLayout()->documentSize();
    const QTextBlock block = document.firstBlock();
    EXPECT_GT(block.layout()->lineCount(), 1);
    for (int line = 1; line < block.layout()->lineCount(); ++line) {
      const int start = block.layout()->lineAt(line).textStart();
      EXPECT_TRUE(block.text().at(start - 1).isSpace())
          << width << " " << block.text().mid(start).toStdString();
    }
  }
}

TEST(Charts, speakChineseOnceThatIsChosen) {
  DistributionChart chart;
  ShowIn(chart, 400, 300);
  chart.SetItem(Spread(), 20240315);
  cli::SetLanguage(cli::Language::kChinese);
  QEvent change(QEvent::LanguageChange);
  QApplication::sendEvent(&chart, &change);
  EXPECT_TRUE(Says(chart, Text("上涨 30 平盘 2 下跌 15; 跌停 1")));
  cli::SetLanguage(cli::Language::kEnglish);
}

}  // namespace
}  // namespace desktop

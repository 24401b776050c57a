#include "desktop/charts/flow_bars.h"

#include <qwt_plot_multi_barchart.h>

#include <QVector>
#include <algorithm>
#include <array>
#include <cstdint>

#include "cli/format/figures.h"
#include "cli/format/market_rows.h"
#include "cli/format/words.h"

namespace desktop {
namespace {

constexpr int kCharacters = 120;  // of its figures
constexpr int kLabelPixels = 48;
constexpr int kBars = 4;
constexpr std::array<std::size_t, kBars> kColumnOfBar = {1, 2, 4, 5};  // of the table of flows

QString TextOf(const std::string& text) {
  return QString::fromStdString(text);
}

}  // namespace

FlowBars::FlowBars(QWidget* parent) : Chart("flow_bars", kCharacters, parent), plot_(*new ChartPlot(this)) {
  body().addWidget(&plot_, 1);
  plot_.ShowScale(QwtPlot::yLeft, [](double amount) { return TextOf(cli::ShortAmount(amount)); });
  plot_.ShowScale(QwtPlot::xBottom, [](double place) {
    const auto period = static_cast<std::size_t>(std::clamp(place, 0.0, 2.0));
    return PeriodText(cli::kFlowPeriods[period].first + 1);
  });
}

// In and out as rise and fall, small orders paler.
QColor FlowBars::ColourOf(int bar) const {
  const Theme& theme = CurrentTheme();
  const QColor& full = bar % 2 == 0 ? theme.rise : theme.fall;
  const auto mixed = [](int a, int b) { return (a + b) / 2; };
  return bar < 2 ? full
                 : QColor(mixed(full.red(), theme.base.red()), mixed(full.green(), theme.base.green()),
                          mixed(full.blue(), theme.base.blue()));
}

QString FlowBars::PeriodText(const std::string& days) {
  const bool chinese = cli::CurrentLanguage() == cli::Language::kChinese;
  return TextOf(days) + (chinese       ? QStringLiteral("日")
                         : days == "1" ? QStringLiteral(" day")
                                       : QStringLiteral(" days"));
}

void FlowBars::SetFlows(const StockInOutItem& flows) {
  if (flows != flows_) {
    flows_ = flows;
    Redraw();
  }
}

// What is not four amounts in and out is left to the table: the rows of both are the same.
bool FlowBars::Draw() {
  plot_.PutOnTheme();
  plot_.Clear();
  if (!cli::HasFlows(flows_)) {
    return false;
  }
  QVector<QwtSetSample> samples;
  double most = 0;
  for (const auto& [name, member] : cli::kFlowPeriods) {
    const FlowAmounts& amounts = flows_.*member;
    QVector<double> set;
    for (const std::uint64_t amount :
         {amounts.big_in, amounts.big_out, amounts.small_in, amounts.small_out}) {
      set.push_back(std::max(static_cast<double>(static_cast<std::int64_t>(amount)), 0.0));
      most = std::max(most, set.back());
    }
    samples.push_back(QwtSetSample(samples.size(), set));
  }
  auto* const bars = new QwtPlotMultiBarChart;
  bars->setLayoutPolicy(QwtPlotAbstractBarChart::ScaleSamplesToAxes);
  bars->setLayoutHint(0.7);
  bars->setSpacing(0);
  for (int i = 0; i < kBars; ++i) {
    bars->setSymbol(i, MakeColumn(ColourOf(i)));
  }
  bars->setSamples(samples);
  bars->attach(&plot_);
  plot_.SetRange(QwtPlot::yLeft, 0, std::max(most, 1.0) * 1.05, kLabelPixels);
  plot_.SetTicks(QwtPlot::xBottom, -0.5, 2.5, {0, 1, 2});
  plot_.replot();

  const std::vector<cli::Column> columns = cli::FlowColumns();
  std::vector<Figure> nets;
  QStringList words;
  for (const std::vector<cli::Cell>& row : cli::FlowRows(flows_)) {
    QString line = PeriodText(row[0].text);
    for (std::size_t i = 1; i < row.size(); ++i) {
      line += QStringLiteral(", %1 %2").arg(Word(columns[i].title), TextOf(row[i].text));
    }
    words.push_back(line);
    nets.push_back({PeriodText(row[0].text) + QLatin1Char(' '), CurrentTheme().dim});
    nets.push_back({QStringLiteral("%1 %2  ").arg(Word(columns[3].title), TextOf(row[3].text)),
                    CurrentTheme().Of(row[3].tone)});
  }
  for (int i = 0; i < kBars; ++i) {
    nets.push_back(
        {QStringLiteral(" ■\u00a0") + Word(columns[kColumnOfBar.at(static_cast<std::size_t>(i))].title)
                                          .replace(QLatin1Char(' '), QChar(0xa0)),
         ColourOf(i)});
  }
  Show(nets, QStringLiteral("; ") + words.join(QStringLiteral("; ")));
  return true;
}

}  // namespace desktop

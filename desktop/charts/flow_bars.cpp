#include "desktop/charts/flow_bars.h"

#include <qwt_plot_multi_barchart.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

#include "cli/format/figures.h"

namespace desktop {
namespace {

constexpr int kCharacters = 120;  // of its figures
constexpr int kLabelPixels = 48;

struct Bar {
  std::size_t column;  // of the table of flows
  std::uint64_t FlowAmounts::*amount;
  bool is_in;
  bool is_small;
};
constexpr std::array kBars = {
    Bar{1, &FlowAmounts::big_in, true, false}, Bar{2, &FlowAmounts::big_out, false, false},
    Bar{4, &FlowAmounts::small_in, true, true}, Bar{5, &FlowAmounts::small_out, false, true}};

// In and out as rise and fall, small orders paler.
QColor ColourOf(const Bar& bar) {
  QColor colour = bar.is_in ? CurrentTheme().rise : CurrentTheme().fall;
  const QColor& base = CurrentTheme().base;
  if (bar.is_small) {
    colour.setRgb((colour.red() + base.red()) / 2, (colour.green() + base.green()) / 2,
                  (colour.blue() + base.blue()) / 2);
  }
  return colour;
}

QString PeriodText(const std::string& days) {
  return Text(days) + Word(days == "1" ? " day" : " days", "日");
}

}  // namespace

FlowBars::FlowBars() : Chart(kCharacters), plot_(AddPlot(1, false)) {
  plot_.ShowScale(QwtPlot::yLeft, [](double amount) { return Text(cli::ShortAmount(amount)); });
  plot_.ShowScale(QwtPlot::xBottom, [](double place) {
    return PeriodText(cli::kFlowPeriods[static_cast<std::size_t>(std::clamp(place, 0.0, 2.0))].first + 1);
  });
}

void FlowBars::DrawPoints() {
  QVector<QwtSetSample> samples;
  double most = 1;
  for (const auto& [name, member] : cli::kFlowPeriods) {
    QVector<double> set;
    for (const Bar& bar : kBars) {
      set << std::max(static_cast<double>(static_cast<std::int64_t>((flows_.*member).*bar.amount)), 0.0);
      most = std::max(most, set.back());
    }
    samples.push_back(QwtSetSample(samples.size(), set));
  }
  auto* const bars = new QwtPlotMultiBarChart;
  bars->setLayoutPolicy(QwtPlotAbstractBarChart::ScaleSamplesToAxes);
  bars->setLayoutHint(0.7);
  bars->setSpacing(0);
  int number = 0;
  for (const Bar& bar : kBars) {
    bars->setSymbol(number++, MakeColumn(ColourOf(bar)));
  }
  bars->setSamples(samples);
  bars->attach(&plot_);
  plot_.SetRange(QwtPlot::yLeft, 0, most * 1.05, kLabelPixels);
  plot_.SetTicks(QwtPlot::xBottom, -0.5, 2.5, {0, 1, 2});
}

// The nets of each period, then what the bars are.
void FlowBars::ShowFigures() {
  const std::vector<cli::Column> columns = cli::FlowColumns();
  std::vector<Figure> figures;
  QString words;
  for (const std::vector<cli::Cell>& row : cli::FlowRows(flows_)) {
    words += QStringLiteral("; ") + PeriodText(row[0].text);
    for (std::size_t i = 1; i < row.size(); ++i) {
      words += QStringLiteral(", %1 %2").arg(TitleOf(columns[i].title), Text(row[i].text));
    }
    figures.push_back({PeriodText(row[0].text) + QLatin1Char(' '), CurrentTheme().dim});
    figures.push_back({QStringLiteral("%1 %2  ").arg(TitleOf(columns[3].title), Text(row[3].text)),
                       CurrentTheme().Of(row[3].tone)});
  }
  for (const Bar& bar : kBars) {
    const QString name = TitleOf(columns[bar.column].title).replace(QLatin1Char(' '), QChar(0xa0));
    figures.push_back({QStringLiteral(" ■\u00a0") + name, ColourOf(bar)});
  }
  Show(figures, words);
}

}  // namespace desktop

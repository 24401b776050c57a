#include "desktop/chart_panes.h"

#include <array>

#include "cli/format/chart_headings.h"
#include "cli/format/event_rows.h"
#include "cli/plot/market_charts.h"
#include "desktop/theme.h"
#include "desktop/words.h"

namespace desktop {
namespace {

constexpr std::array kDays = {1, 2, 3, 5, 10};

}  // namespace

ChartColours ColoursOfCharts() {
  const Theme& theme = CurrentTheme();
  ChartColours colours = theme.is_dark ? DarkChartColours() : LightChartColours();
  colours.background = theme.base;
  colours.text = theme.text;
  colours.dim = theme.dim;
  colours.up = theme.rise;
  colours.down = theme.fall;
  return colours;
}

// --- Minutes

MinutePane::MinutePane(Desk& desk, const QString& id)
    : Pane(desk, id),
      line_(Add(std::make_unique<cli::MinuteLineView>(desk.views()))),
      events_(Add(std::make_unique<cli::EventsView>(desk.views(), 0, std::nullopt))),
      days_(new QComboBox),
      chart_(new MinuteChart) {
  for (const int count : kDays) {
    days_->addItem(count == 1 ? Word("Today", "分时") : Word("%1 days", "%1日").arg(count), count);
  }
  days_->setFocusPolicy(Qt::NoFocus);
  tools().setContentsMargins(6, 3, 6, 3);
  tools().addWidget(days_);
  tools().addStretch();
  connect(days_, QOverload<int>::of(&QComboBox::activated), this, [this] { ShowDays(); });
  SetBody(chart_);
}

void MinutePane::ShowDays() {
  const int count = days_->currentData().toInt();
  line_.SelectDays(count == 1 ? 0 : line_.Session(), count);
  Draw();
  ShowState();
}

bool MinutePane::HasPicture() const {
  return line_.has_data() && line_.WhyEmpty().empty();
}

void MinutePane::Draw() {
  chart_->SetColours(ColoursOfCharts());
  if (line_.newest() != nullptr) {
    chart_->SetLine(line_.newest()->data, cli::HasAverage(line_.security()));
  }
  if (events_.newest() != nullptr) {
    chart_->SetEvents(cli::EventsOf(line_.security(), events_.newest()->data));
  }
}

// --- Candles

CandlePane::CandlePane(Desk& desk, const QString& id)
    : Pane(desk, id),
      candles_(
          Add(std::make_unique<cli::KLineView>(desk.views(), cli::kByDay, cli::kUnadjusted, std::nullopt))),
      chart_(new CandleChart) {
  AddKnob(cli::Knob::kPeriod);
  AddKnob(cli::Knob::kAdjustment);
  SetBody(chart_);
}

void CandlePane::Draw() {
  chart_->SetColours(ColoursOfCharts());
  if (candles_.newest() != nullptr) {
    chart_->SetSeries(candles_.newest()->data);
  }
}

// --- Flows

FlowPane::FlowPane(Desk& desk, const QString& id)
    : Pane(desk, id), flows_(Add(std::make_unique<cli::FlowView>(desk.views()))), bars_(new FlowBars) {
  SetBody(bars_);
}

void FlowPane::Draw() {
  bars_->SetColours(ColoursOfCharts());
  if (flows_.newest() != nullptr) {
    bars_->SetFlows(flows_.newest()->data);
  }
}

// --- Breadth

CurvePane::CurvePane(Desk& desk, const QString& id, Of of)
    : Pane(desk, id), of_(of), chart_(new SessionChart) {
  Add(of == Of::kStrength ? cli::MakeStrengthView(desk.views(), 0) : cli::MakeEffectView(desk.views(), 0));
  SetBody(chart_);
}

void CurvePane::Draw() {
  chart_->SetColours(ColoursOfCharts());
  if (of_ == Of::kStrength) {
    const auto& strength = static_cast<cli::StrengthView&>(view());
    if (strength.newest() != nullptr) {
      chart_->SetPicture(cli::StrengthPicture(strength.newest()->data, strength.Session()));
    }
  } else {
    const auto& effect = static_cast<cli::EffectView&>(view());
    if (effect.newest() != nullptr) {
      chart_->SetPicture(cli::EffectPicture(effect.newest()->data, effect.Session()));
    }
  }
}

DistributionPane::DistributionPane(Desk& desk, const QString& id)
    : Pane(desk, id),
      spread_(Add(std::make_unique<cli::DistributionView>(desk.views(), 0))),
      chart_(new DistributionChart) {
  SetBody(chart_);
}

void DistributionPane::Draw() {
  chart_->SetColours(ColoursOfCharts());
  if (spread_.newest() != nullptr) {
    chart_->SetItem(spread_.newest()->data, spread_.Session());
  }
}

}  // namespace desktop

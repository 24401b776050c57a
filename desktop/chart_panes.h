// Panes of one chart each. How a chart is drawn is charts/'s matter. Main thread only.
#pragma once

#include "cli/views/market_views.h"
#include "cli/views/security_views.h"
#include "desktop/charts/breadth_charts.h"
#include "desktop/charts/candle_chart.h"
#include "desktop/charts/flow_bars.h"
#include "desktop/charts/minute_chart.h"
#include "desktop/pane.h"

namespace desktop {

/// Those of the theme in force.
[[nodiscard]] ChartColours ColoursOfCharts();

/// The minutes of the day or of the last days, with the market's events as marks.
class MinutePane final : public Pane {
 public:
  MinutePane(Desk& desk, const QString& id);
  [[nodiscard]] MinuteChart& chart() { return *chart_; }

 private:
  void Draw() override;
  void ShowDays();
  // The events alone may have come, or failed.
  [[nodiscard]] bool HasPicture() const override;

  cli::MinuteLineView& line_;
  cli::EventsView& events_;
  QComboBox* const days_;
  MinuteChart* const chart_;
};

class CandlePane final : public Pane {
 public:
  CandlePane(Desk& desk, const QString& id);
  [[nodiscard]] CandleChart& chart() { return *chart_; }

 private:
  void Draw() override;

  cli::KLineView& candles_;
  CandleChart* const chart_;
};

class FlowPane final : public Pane {
 public:
  FlowPane(Desk& desk, const QString& id);

 private:
  void Draw() override;

  cli::FlowView& flows_;
  FlowBars* const bars_;
};

/// Stocks up and down, or their average change, minute by minute.
class CurvePane final : public Pane {
 public:
  enum class Of { kStrength, kEffect };
  CurvePane(Desk& desk, const QString& id, Of of);

 private:
  void Draw() override;

  const Of of_;
  SessionChart* const chart_;
};

class DistributionPane final : public Pane {
 public:
  DistributionPane(Desk& desk, const QString& id);

 private:
  void Draw() override;

  cli::DistributionView& spread_;
  DistributionChart* const chart_;
};

}  // namespace desktop

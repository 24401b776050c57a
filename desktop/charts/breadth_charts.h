// The whole market on one day: stocks up and down minute by minute, their average change, their spread over
// ranges. Used by the UI thread.
#pragma once

#include <QWidget>
#include <cstdint>
#include <optional>

#include "analytics/stock_distribution.h"
#include "cli/plot/market_charts.h"
#include "desktop/charts/chart.h"
#include "desktop/charts/chart_plot.h"
#include "desktop/charts/cross_hair.h"
#include "desktop/charts/session_axis.h"

namespace desktop {

/// Curves over one day. The mouse, Left and Right read a minute, Escape ends that.
class SessionChart final : public Chart {
 public:
  explicit SessionChart(QWidget* parent = nullptr);

  void SetPicture(const cli::SessionPicture& picture);

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  bool Draw() override;
  void Read(std::optional<std::size_t> point);
  void ReadAt(std::optional<QPointF> place);

  ChartPlot& plot_;
  CrossHair& cross_;
  SessionAxis axis_;
  cli::SessionPicture picture_;
  std::optional<std::size_t> read_;  // a point of the curves
};

/// A lying bar for each range of change.
class DistributionChart final : public Chart {
 public:
  explicit DistributionChart(QWidget* parent = nullptr);

  void SetItem(const DistributionItem& item, std::uint32_t date);

 private:
  bool Draw() override;

  ChartPlot& plot_;
  DistributionItem item_;
  std::uint32_t date_ = 0;
};

/// The three of them: the curves below each other, the spread beside them.
class BreadthCharts final : public QWidget {
 public:
  explicit BreadthCharts(QWidget* parent = nullptr);

  void SetColours(const ChartColours& colours);
  [[nodiscard]] SessionChart& strength() const { return strength_; }
  [[nodiscard]] SessionChart& effect() const { return effect_; }
  [[nodiscard]] DistributionChart& distribution() const { return distribution_; }

 private:
  SessionChart& strength_;
  SessionChart& effect_;
  DistributionChart& distribution_;
};

}  // namespace desktop

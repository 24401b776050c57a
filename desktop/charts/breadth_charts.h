// The whole market on one day: stocks up and down minute by minute, their average change, their spread over
// ranges. Used by the UI thread.
#pragma once

#include <cstdint>

#include "analytics/stock_distribution.h"
#include "cli/plot/market_charts.h"
#include "desktop/charts/chart.h"
#include "desktop/charts/session_axis.h"

namespace desktop {

/// Curves over one day.
class SessionChart final : public Chart {
 public:
  SessionChart();

  void SetPicture(const cli::SessionPicture& picture);

 private:
  [[nodiscard]] std::size_t Points() const override;
  [[nodiscard]] QPointF PlaceOf(std::size_t point) const override;
  void DrawPoints() override;
  void ShowFigures() override;

  ChartPlot& plot_;
  SessionAxis axis_;
  cli::SessionPicture picture_;
};

/// A lying bar for each range of change.
class DistributionChart final : public Chart {
 public:
  DistributionChart();

  void SetItem(const DistributionItem& item, std::uint32_t date);

 private:
  [[nodiscard]] std::size_t Points() const override;
  void DrawPoints() override;
  void ShowFigures() override;

  ChartPlot& plot_;
  DistributionItem item_;
  std::uint32_t date_ = 0;
};

}  // namespace desktop

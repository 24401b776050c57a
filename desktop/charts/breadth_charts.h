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

  void SetPicture(const cli::SessionPicture& picture) { Take(picture_, picture); }

 private:
  [[nodiscard]] std::size_t Points() const override {
    return picture_.curves.empty() ? 0 : picture_.curves.front().points.size();
  }
  [[nodiscard]] QPointF PlaceOf(std::size_t point) const override {
    return {static_cast<double>(picture_.curves.front().points[point].minute),
            plot_.axisInterval(QwtPlot::yLeft).minValue()};
  }
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

  void SetItem(const DistributionItem& item, std::uint32_t date) {
    Take(item_, item);
    Take(date_, date);
  }

 private:
  [[nodiscard]] std::size_t Points() const override {
    return cli::HasFigures(item_) ? item_.first_half.size() + item_.second_half.size() : 0;
  }
  void DrawPoints() override;
  void ShowFigures() override;

  ChartPlot& plot_;
  DistributionItem item_;
  std::uint32_t date_ = 0;
};

}  // namespace desktop

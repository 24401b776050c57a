// Money that flows into and out of a stock in one, five and ten days, by the size of orders. Used by the UI
// thread.
#pragma once

#include <string>

#include "analytics/stock_in_out.h"
#include "desktop/charts/chart.h"
#include "desktop/charts/chart_plot.h"

namespace desktop {

/// Four bars for each period: in and out by big orders, then by small ones.
class FlowBars final : public Chart {
 public:
  explicit FlowBars(QWidget* parent = nullptr);

  void SetFlows(const StockInOutItem& flows);

 private:
  bool Draw() override;
  [[nodiscard]] QColor ColourOf(int bar) const;
  [[nodiscard]] static QString PeriodText(const std::string& days);

  ChartPlot& plot_;
  StockInOutItem flows_;
};

}  // namespace desktop

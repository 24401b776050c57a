// Money that flows into and out of a stock in one, five and ten days, by the size of orders. Used by the UI
// thread.
#pragma once

#include "analytics/stock_in_out.h"
#include "cli/format/market_rows.h"
#include "desktop/charts/chart.h"

namespace desktop {

/// Four bars for each period: in and out by big orders, then by small ones.
class FlowBars final : public Chart {
 public:
  FlowBars();

  void SetFlows(const StockInOutItem& flows) { Take(flows_, flows); }

 private:
  // What is not four amounts in and out is left to the table: the rows of both are the same.
  [[nodiscard]] std::size_t Points() const override {
    return cli::HasFlows(flows_) ? std::size(cli::kFlowPeriods) : 0;
  }
  void DrawPoints() override;
  void ShowFigures() override;

  ChartPlot& plot_;
  StockInOutItem flows_;
};

}  // namespace desktop

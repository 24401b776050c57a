#include "cli/screen/panels/flow_panel.h"

#include <string>

#include "c_stock_market.h"
#include "cli/format/chart_headings.h"
#include "cli/format/flow_rows.h"
#include "cli/screen/feed_panel.h"
#include "cli/screen/picture.h"

namespace cli {
namespace {

class FlowPanel final : public FeedPanel<IStockInOut, StockInOutItem, std::wstring> {
 public:
  explicit FlowPanel(PanelContext& context) : FeedPanel(context, kFlowFeed, &GetStockInOut) {
    FollowNothing(kNothingSelected);
  }

  [[nodiscard]] std::string Title() const override { return TitleOf("flows in yuan", security_); }

  void Select(const Security& security) override {
    security_ = security;
    if (security.type == stock::kSymbolStock) {
      Follow(security.code);
    } else {
      FollowNothing(NoFlowsText(security));
    }
  }

  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size) override {
    if (newest() == nullptr || !HasFlows(newest()->data)) {
      return {};
    }
    Table table(FlowColumns());
    for (std::vector<Cell>& row : FlowRows(newest()->data)) {
      table.Add(std::move(row));
    }
    return CutTo(table.Lines(), size);
  }

 private:
  [[nodiscard]] bool IsWanted(const StockInOutItem& flows) const override {
    return flows.symbol == security_.code;
  }
  [[nodiscard]] std::string WhyEmpty(const Delivery<StockInOutItem>& delivery) const override {
    return HasFlows(delivery.data) ? "" : "nothing flowed in or out within ten days";
  }
  [[nodiscard]] std::string NothingText() const override {
    return "the server has no flows of " + NameText(security_);
  }

  Security security_;
};

}  // namespace

std::unique_ptr<Panel> MakeFlowPanel(PanelContext& context) {
  return std::make_unique<FlowPanel>(context);
}

}  // namespace cli

#include "cli/screen/panels/minute_line_panel.h"

#include <string>

#include "c_stock_market.h"
#include "cli/format/chart_headings.h"
#include "cli/plot/minute_chart.h"
#include "cli/screen/feed_panel.h"
#include "cli/screen/picture.h"

namespace cli {
namespace {

class MinuteLinePanel final : public FeedPanel<IStockMLine, StockMLineData, std::wstring> {
 public:
  explicit MinuteLinePanel(PanelContext& context) : FeedPanel(context, kMinuteLineFeed, &GetStockMLine) {
    FollowNothing(kNothingSelected);
  }

  [[nodiscard]] std::string Title() const override { return TitleOf("minute line", security_); }

  void Select(const Security& security) override {
    security_ = security;
    Follow(security.code);
  }

  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size) override {
    if (newest() == nullptr || LastPoint(newest()->data) == nullptr) {
      return {};
    }
    const StockMLineData& line = newest()->data;
    return ChartIn(size, [&](const ChartSize& room) {
      return MinuteChart(line, {room, MinuteHeading(line), HasAverage(security_)});
    });
  }

 private:
  [[nodiscard]] bool IsWanted(const StockMLineData& line) const override {
    return line.symbol == security_.code;
  }
  [[nodiscard]] std::string WhyEmpty(const Delivery<StockMLineData>& delivery) const override {
    return LastPoint(delivery.data) == nullptr ? WhyNoPoint(delivery.data, security_, delivery.server_time)
                                               : "";
  }
  [[nodiscard]] std::string NothingText() const override {
    return "the server has no minute line of " + NameText(security_);
  }
  [[nodiscard]] std::uint32_t SessionOf(const Delivery<StockMLineData>& delivery) const override {
    return delivery.data.days.empty() ? FeedPanel::SessionOf(delivery) : delivery.data.days.back().date;
  }

  Security security_;
};

}  // namespace

std::unique_ptr<Panel> MakeMinuteLinePanel(PanelContext& context) {
  return std::make_unique<MinuteLinePanel>(context);
}

}  // namespace cli

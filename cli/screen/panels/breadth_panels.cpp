#include "cli/screen/panels/breadth_panels.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "c_stock_market.h"
#include "cli/plot/market_charts.h"
#include "cli/screen/feed_panel.h"
#include "cli/screen/picture.h"

namespace cli {
namespace {

// A service whose key is the day.
template <class Service, class Data>
class TodayPanel : public FeedPanel<Service, Data, std::uint32_t> {
 public:
  [[nodiscard]] std::string Title() const override { return title_; }

 protected:
  TodayPanel(PanelContext& context, const Feed& feed, Service* (*get)(), std::string title)
      : FeedPanel<Service, Data, std::uint32_t>(context, feed, get), title_(std::move(title)) {
    this->Follow(kToday);
  }

  [[nodiscard]] std::string NoFigures(const Delivery<Data>& delivery) const {
    return NoFiguresText(this->SessionOf(delivery), delivery.server_time);
  }

 private:
  static constexpr std::uint32_t kToday = 0;

  const std::string title_;
};

template <class Service, class Row>
class CurvePanel final : public TodayPanel<Service, std::vector<Row>> {
 public:
  using Rows = std::vector<Row>;
  using Chart = std::vector<StyledLine> (*)(const Rows& rows, std::uint32_t date, const ChartSize& size);

  CurvePanel(PanelContext& context, const Feed& feed, Service* (*get)(), std::string title, Chart chart)
      : TodayPanel<Service, Rows>(context, feed, get, std::move(title)), chart_(chart) {}

  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size) override {
    const Delivery<Rows>* const newest = this->newest();
    if (newest == nullptr || newest->data.empty()) {
      return {};
    }
    return ChartIn(
        size, [&](const ChartSize& room) { return chart_(newest->data, this->SessionOf(*newest), room); });
  }

 private:
  [[nodiscard]] std::string WhyEmpty(const Delivery<Rows>& delivery) const override {
    return delivery.data.empty() ? this->NoFigures(delivery) : "";
  }

  const Chart chart_;
};

class DistributionPanel final : public TodayPanel<IStockDistribution, DistributionItem> {
 public:
  explicit DistributionPanel(PanelContext& context)
      : TodayPanel(context, kDistributionFeed, &GetStockDistribution, "spread of the stocks' changes") {}

  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size) override {
    if (newest() == nullptr || !HasFigures(newest()->data)) {
      return {};
    }
    return CutTo(DistributionChart(newest()->data, SessionOf(*newest()), size.columns), size);
  }

 private:
  [[nodiscard]] std::string WhyEmpty(const Delivery<DistributionItem>& delivery) const override {
    return HasFigures(delivery.data) ? "" : NoFigures(delivery);
  }
};

}  // namespace

std::unique_ptr<Panel> MakeStrengthPanel(PanelContext& context) {
  return std::make_unique<CurvePanel<IStrengthRating, StrengthRatingItem>>(
      context, kStrengthFeed, &GetStrengthRating, "stocks up and down", &StrengthChart);
}

std::unique_ptr<Panel> MakeDistributionPanel(PanelContext& context) {
  return std::make_unique<DistributionPanel>(context);
}

std::unique_ptr<Panel> MakeMoneyEffectPanel(PanelContext& context) {
  return std::make_unique<CurvePanel<IMoneyEffect, MoneyEffectItem>>(
      context, kEffectFeed, &GetMoneyEffect, "average change of all stocks", &EffectChart);
}

}  // namespace cli

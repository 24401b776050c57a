#include "cli/screen/panels/kline_panel.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "cli/format/chart_headings.h"
#include "cli/line_run.h"
#include "cli/plot/candle_chart.h"
#include "cli/screen/feed_panel.h"
#include "cli/screen/picture.h"
#include "cli/vocabulary.h"

namespace cli {
namespace {

class KLinePanel final : public FeedPanel<IStockKLine, StockKLineData, std::wstring> {
 public:
  explicit KLinePanel(PanelContext& context) : FeedPanel(context, kKLineFeed, &GetStockKLine) {
    FollowNothing(kNothingSelected);
  }

  [[nodiscard]] std::string Title() const override {
    return TitleOf("candles " + SeriesText(period_, adjustment_), security_);
  }

  void Select(const Security& security) override {
    security_ = security;
    FollowSeries();
  }

  bool OnKey(const Key& key) override {
    if (key == Typed(U't') || key == Typed(U'T')) {
      period_ = StepFrom(Periods(), period_, key.character == U't' ? 1 : -1);
    } else if (key == Typed(U'a') || key == Typed(U'A')) {
      adjustment_ = StepFrom(Adjustments(), adjustment_, key.character == U'a' ? 1 : -1);
    } else {
      return false;
    }
    FollowSeries();
    return true;
  }
  [[nodiscard]] std::vector<KeyHint> Keys() const override {
    return {{"t T", "day, week, month"}, {"a A", "adjustment"}};
  }

  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size) override {
    if (newest() == nullptr || newest()->data.candles.empty() || IsTodayAlone(newest()->data)) {
      return {};
    }
    const std::list<KLineCandle>& all = newest()->data.candles;
    return ChartIn(size, [&](const ChartSize& room) {
      const std::size_t count = std::min(all.size(), CandlesThatFit(room));
      const std::vector<KLineCandle> candles(std::prev(all.end(), static_cast<std::ptrdiff_t>(count)),
                                             all.end());
      return CandleChart(candles, CandleHeading(candles.back()), room);
    });
  }

 private:
  void FollowSeries() {
    if (security_.code.empty()) {
      FollowNothing(kNothingSelected);
    } else if (security_.type == stock::kSymbolPlate) {
      FollowNothing("there are no candles of plates");
    } else {
      Follow(security_.code);
    }
  }

  // The service goes on with the series that it was last asked for in this way.
  void Resume(ServiceView& view) override {
    view.Resume(false);
    failures_before_ = FailuresOfHistory().first;
    view.service().FetchKLine(security_.code.c_str(), period_, adjustment_, {});
  }
  [[nodiscard]] bool IsWanted(const StockKLineData& data) const override {
    return data.symbol == security_.code && data.period == period_ && data.adjustment == adjustment_;
  }
  [[nodiscard]] std::string WhyEmpty(const Delivery<StockKLineData>& delivery) const override {
    if (IsTodayAlone(delivery.data)) {
      return NoPastText(security_, FailuresOfHistory().second);
    }
    return delivery.data.candles.empty() ? NoCandlesText(security_) : "";
  }
  // Today's candle alone is no series: with a week or a month before it, it would be another one.
  [[nodiscard]] bool IsTodayAlone(const StockKLineData& data) const {
    return data.candles.size() == 1 && FailuresOfHistory().first > failures_before_;
  }
  // A download may take long, and ends with a record in any case.
  [[nodiscard]] std::string NothingText() const override { return {}; }
  [[nodiscard]] std::uint32_t SessionOf(const Delivery<StockKLineData>& delivery) const override {
    return delivery.data.candles.empty() ? FeedPanel::SessionOf(delivery) : delivery.data.candles.back().date;
  }

  Security security_;
  int period_ = kByDay;
  int adjustment_ = kUnadjusted;
  std::uint64_t failures_before_ = 0;
};

}  // namespace

std::unique_ptr<Panel> MakeKLinePanel(PanelContext& context) {
  return std::make_unique<KLinePanel>(context);
}

}  // namespace cli

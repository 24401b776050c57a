#include "cli/screen/panels/quote_panel.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "c_stock_market.h"
#include "cli/format/quote_sheet.h"
#include "cli/screen/feed_panel.h"
#include "cli/screen/picture.h"

namespace cli {
namespace {

constexpr Feed kFeed{"single_stock_market", "/pc/rt/stock_detail_list", kQuotePolling, "SingleStockMarket"};

class QuotePanel final : public FeedPanel<ISingleStockMarket, StockMarketItem, std::wstring> {
 public:
  explicit QuotePanel(PanelContext& context) : FeedPanel(context, kFeed, &GetSingleStockMarket) {
    FollowNothing(kNothingSelected);
  }

  [[nodiscard]] std::string Title() const override { return TitleOf("quote", security_); }

  void Select(const Security& security) override {
    security_ = security;
    if (security.type == stock::kSymbolPlate) {
      FollowNothing("a plate is quoted among the others of its kind only");
    } else {
      Follow(security.code);
    }
  }

  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size) override {
    if (newest() == nullptr) {
      return {};
    }
    std::vector<StyledLine> lines = QuoteSheet(newest()->data);
    const bool fits = std::ssize(lines) <= size.rows &&
                      std::all_of(lines.begin(), lines.end(),
                                  [&](const auto& line) { return DisplayWidth(line) <= size.columns; });
    if (!fits) {
      lines = NarrowQuoteSheet(newest()->data);
    }
    return CutTo(std::move(lines), size);
  }

 private:
  [[nodiscard]] bool IsWanted(const StockMarketItem& quote) const override {
    return quote.code == security_.code;
  }

  Security security_;
};

}  // namespace

std::unique_ptr<Panel> MakeQuotePanel(PanelContext& context) {
  return std::make_unique<QuotePanel>(context);
}

}  // namespace cli

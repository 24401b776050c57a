#include "cli/screen/panels/watch_list_panel.h"

#include <string>
#include <utility>
#include <vector>

#include "c_stock_market.h"
#include "cli/format/chart_headings.h"
#include "cli/format/quote_rows.h"
#include "cli/screen/feed_panel.h"
#include "cli/screen/list_cursor.h"
#include "cli/screen/picture.h"
#include "cli/screen/sort_keys.h"
#include "cli/vocabulary.h"
#include "host_services/stock_host.h"

namespace cli {
namespace {

using Quotes = std::vector<OptionalMarketItem>;

class WatchListPanel final : public FeedPanel<IOptionalStockMarket, Quotes, SortingTarget> {
 public:
  explicit WatchListPanel(PanelContext& context)
      : FeedPanel(context, kWatchListFeed, &GetOptionalStockMarket) {
    sort_.columns = WatchListColumns();
    sort_.column = 0;
    FollowOrder();
  }

  [[nodiscard]] std::string Title() const override {
    const std::string order = sort_.Title();
    return order.empty() ? "watch list" : "watch list " + order;
  }

  void Select(const Security& security) override {
    current_ = security;
    context().redraw();
  }

  bool OnKey(const Key& key) override {
    if (cursor_.OnKey(key)) {
      context().redraw();
    } else if (key.kind == KeyKind::kEnter) {
      if (const OptionalMarketItem* const quote = AtCursor()) {
        context().select(SecurityOf(*quote));
      }
    } else if (key.kind == KeyKind::kDelete) {
      if (const OptionalMarketItem* const quote = AtCursor()) {
        Remove(SecurityOf(*quote));
      }
    } else if (key == Typed(U'+')) {
      Add(current_);
    } else if (key == Typed(U'-')) {
      Remove(current_);
    } else if (ChangeOrder(sort_, key)) {
      FollowOrder();
    } else {
      return false;
    }
    return true;
  }
  [[nodiscard]] std::vector<KeyHint> Keys() const override {
    return {kCursorHint,
            {"Enter", "select"},
            kColumnHint,
            kDirectionHint,
            {"+ -", "put in or take out the current one"},
            {"Del", "take out the row"}};
  }

  [[nodiscard]] PanelReport Report(Clock::time_point now, stock::MarketStatus phase) const override {
    if (stock_host::WatchList().empty()) {
      return {PanelState::kEmpty, "the watch list is empty; + puts the current security in"};
    }
    return FeedPanel::Report(now, phase);
  }

  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size) override {
    const std::vector<std::wstring> list = stock_host::WatchList();
    if (newest() == nullptr || list.empty()) {
      return {};
    }
    const std::string missing = MissingFrom(newest()->data, list);
    const ChartSize room{size.columns, size.rows - (missing.empty() ? 0 : 1)};
    std::vector<StyledLine> lines;
    if (!newest()->data.empty()) {
      lines = cursor_.Picture(
          WatchListLines(newest()->data, WatchListLook().Fitting(NameOf(sort_.columns, sort_.column),
                                                                 room.columns - kMarkColumns)),
          current_.code, room);
    }
    if (!missing.empty()) {
      lines.push_back({{"unknown to the server: " + missing, Tone::kDim}});
    }
    return CutTo(std::move(lines), size);
  }

 private:
  static Security SecurityOf(const OptionalMarketItem& quote) {
    return {quote.code, quote.name, stock::CheckSymbol(quote.code.c_str())};
  }

  void FollowOrder() {
    cursor_.Reset();
    Follow({static_cast<std::uint32_t>(sort_.column), static_cast<std::uint32_t>(sort_.direction)});
  }
  void OnData() override {
    std::vector<std::wstring> codes;
    std::vector<BaseInfoItem> list;
    for (const OptionalMarketItem& quote : newest()->data) {
      codes.push_back(quote.code);
      list.push_back({quote.code, quote.name, L"", 0});
    }
    cursor_.SetRows(std::move(codes));
    if (shown()) {
      context().step_through(std::move(list));
    }
  }
  [[nodiscard]] std::string WhyEmpty(const Delivery<Quotes>& delivery) const override {
    return delivery.data.empty() ? "the server knows nothing of the watch list" : "";
  }

  // Others ask the same endpoint: its answers say nothing about this list.
  [[nodiscard]] std::string NothingText() const override { return {}; }

  [[nodiscard]] const OptionalMarketItem* AtCursor() const {
    return newest() != nullptr && cursor_.row() ? &newest()->data[*cursor_.row()] : nullptr;
  }

  // The service is told of a change of the list and asks at once.
  void Add(const Security& security) {
    std::string error;
    if (security.code.empty()) {
      context().tell(kNothingSelected);
    } else if (stock_host::AddToWatchList(security.code, error)) {
      context().tell(NameText(security) + " is in the watch list");
    } else {
      context().tell(Printable(error));
    }
    context().redraw();
  }
  void Remove(const Security& security) {
    std::string error;
    if (security.code.empty()) {
      context().tell(kNothingSelected);
    } else if (stock_host::RemoveFromWatchList(security.code, error)) {
      context().tell(NameText(security) + " is not in the watch list any more");
    } else {
      context().tell(Printable(error));
    }
    context().redraw();
  }

  SortOptions sort_;
  ListCursor cursor_;
  Security current_;
};

}  // namespace

std::unique_ptr<Panel> MakeWatchListPanel(PanelContext& context) {
  return std::make_unique<WatchListPanel>(context);
}

}  // namespace cli

#include "cli/screen/panels/events_panel.h"

#include <algorithm>
#include <cstddef>
#include <list>
#include <string>

#include "c_stock_market.h"
#include "cli/format/event_rows.h"
#include "cli/screen/feed_panel.h"
#include "cli/screen/picture.h"

namespace cli {
namespace {

using Events = std::list<StockUnusualEventItem>;

class EventsPanel final : public FeedPanel<IStockUnusualEvent, Events, std::uint32_t> {
 public:
  explicit EventsPanel(PanelContext& context) : FeedPanel(context, kEventsFeed, &GetStockUnusualEvent) {
    Follow(kToday);
  }

  [[nodiscard]] std::string Title() const override { return "unusual events, the newest first"; }

  bool OnKey(const Key& key) override {
    const std::size_t last = count_ - std::min(count_, room_);
    switch (key.kind) {
      case KeyKind::kUp:
        first_ -= std::min<std::size_t>(first_, 1);
        break;
      case KeyKind::kDown:
        first_ = std::min(first_ + 1, last);
        break;
      case KeyKind::kPageUp:
        first_ -= std::min(first_, room_);
        break;
      case KeyKind::kPageDown:
        first_ = std::min(first_ + room_, last);
        break;
      case KeyKind::kHome:
        first_ = 0;
        break;
      case KeyKind::kEnd:
        first_ = last;
        break;
      default:
        return false;
    }
    context().redraw();
    return true;
  }
  [[nodiscard]] std::vector<KeyHint> Keys() const override { return {{"↑↓ PgUp PgDn Home End", "scroll"}}; }

  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size) override {
    if (newest() == nullptr || newest()->data.empty()) {
      return {};
    }
    room_ = static_cast<std::size_t>(std::max(size.rows - 1, 1));
    first_ = std::min(first_, count_ - std::min(count_, room_));
    std::vector<StyledLine> lines = EventTable(newest()->data).Lines();
    lines.erase(lines.begin() + 1, lines.begin() + 1 + static_cast<std::ptrdiff_t>(first_));
    return CutTo(std::move(lines), size);
  }

 private:
  static constexpr std::uint32_t kToday = 0;

  // Who has scrolled away from the newest goes on seeing the same ones.
  void OnData() override {
    const std::size_t count = newest()->data.size();
    if (first_ > 0 && count > count_) {
      first_ += count - count_;
    }
    count_ = count;
  }
  [[nodiscard]] std::string WhyEmpty(const Delivery<Events>& delivery) const override {
    return delivery.data.empty() ? NoEventText(SessionOf(delivery), delivery.server_time) : "";
  }
  [[nodiscard]] bool FailureArrivesEmpty() const override { return true; }

  std::size_t count_ = 0;
  std::size_t first_ = 0;
  std::size_t room_ = 1;
};

}  // namespace

std::unique_ptr<Panel> MakeEventsPanel(PanelContext& context) {
  return std::make_unique<EventsPanel>(context);
}

}  // namespace cli

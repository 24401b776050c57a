#include "cli/screen/panels/ranking_panels.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "c_stock_market.h"
#include "cli/format/quote_rows.h"
#include "cli/screen/feed_panel.h"
#include "cli/screen/list_cursor.h"
#include "cli/screen/sort_keys.h"
#include "cli/vocabulary.h"

namespace cli {
namespace {

constexpr std::int32_t kRows = 30;

// A list that keys put in another order, and take from another group: a board or a kind.
template <class Service, class Row>
class RankingPanel : public FeedPanel<Service, std::vector<Row>, RankingTarget> {
 public:
  void Select(const Security& security) override {
    current_ = security.code;
    this->context().redraw();
  }

  bool OnKey(const Key& key) override {
    if (cursor_.OnKey(key)) {
      this->context().redraw();
      return true;
    }
    if (key.kind == KeyKind::kEnter) {
      if (this->newest() != nullptr && cursor_.row()) {
        this->context().select(SecurityOf(this->newest()->data[*cursor_.row()]));
      }
      return true;
    }
    if (key == Typed(U'b') || key == Typed(U'B')) {
      group_ = StepFrom(groups_, group_, key.character == U'b' ? 1 : -1);
    } else if (!ChangeOrder(sort_, key) && !OnOwnKey(key)) {
      return false;
    }
    FollowList();
    return true;
  }

  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size) override {
    if (this->newest() == nullptr || this->newest()->data.empty()) {
      return {};
    }
    return cursor_.Picture(LinesOf(this->newest()->data), current_, size);
  }

 protected:
  using Base = FeedPanel<Service, std::vector<Row>, RankingTarget>;

  RankingPanel(PanelContext& context, const Feed& feed, Choices groups, Choices columns)
      : Base(context, feed, {}), groups_(groups) {
    sort_.columns = columns;
  }

  [[nodiscard]] int group() const { return group_; }
  [[nodiscard]] std::string OrderText() const { return sort_.Title(); }

  /// From now on the list that the keys chose.
  void FollowList() {
    cursor_.Reset();
    Base::Follow(FeedOfList(), AccessorOfList(), {sort_.column, sort_.direction, kRows});
  }

 private:
  virtual bool OnOwnKey(const Key& /*key*/) { return false; }
  [[nodiscard]] virtual const Feed& FeedOfList() const = 0;
  [[nodiscard]] virtual typename Base::Accessor AccessorOfList() const = 0;
  [[nodiscard]] virtual Security SecurityOf(const Row& row) const = 0;
  [[nodiscard]] virtual std::vector<StyledLine> LinesOf(const std::vector<Row>& rows) const = 0;

  void OnData() override {
    std::vector<std::wstring> codes;
    for (const Row& row : this->newest()->data) {
      codes.push_back(SecurityOf(row).code);
    }
    cursor_.SetRows(std::move(codes));
  }
  [[nodiscard]] std::string WhyEmpty(const Delivery<std::vector<Row>>& delivery) const override {
    return delivery.data.empty() ? "the list has no row" : "";
  }

  const Choices groups_;
  int group_ = 1;
  SortOptions sort_;
  ListCursor cursor_;
  std::wstring current_;
};

class StockRankingPanel final : public RankingPanel<IStockRanking, StockMarketSummary> {
 public:
  explicit StockRankingPanel(PanelContext& context)
      : RankingPanel(context, kStockRankingFeed, Boards(), StockColumns()) {
    FollowList();
  }

  [[nodiscard]] std::string Title() const override {
    return "first stocks of " + std::string(HelpOf(Boards(), group())) + " " + OrderText() +
           (five_minutes_ ? ", within five minutes" : "");
  }
  [[nodiscard]] std::vector<KeyHint> Keys() const override {
    return {kCursorHint, {"Enter", "select"}, {"b B", "board"},
            kColumnHint, kDirectionHint,      {"v", "five minutes or the day"}};
  }

 private:
  bool OnOwnKey(const Key& key) override {
    if (key != Typed(U'v')) {
      return false;
    }
    five_minutes_ = !five_minutes_;
    return true;
  }
  [[nodiscard]] const Feed& FeedOfList() const override {
    return five_minutes_ ? kFiveMinutesFeed : kStockRankingFeed;
  }
  [[nodiscard]] Base::Accessor AccessorOfList() const override {
    return [board = group(), five_minutes = five_minutes_] {
      return GetStockRanking(board, five_minutes, false);
    };
  }
  [[nodiscard]] Security SecurityOf(const StockMarketSummary& row) const override {
    return {row.code, row.name, stock::kSymbolStock};
  }
  [[nodiscard]] std::vector<StyledLine> LinesOf(const std::vector<StockMarketSummary>& rows) const override {
    return RankedStockLines(rows, {});
  }

  bool five_minutes_ = false;
};

class PlateRankingPanel final : public RankingPanel<IPlateRanking, PlateMarketSummary> {
 public:
  explicit PlateRankingPanel(PanelContext& context)
      : RankingPanel(context, kPlateRankingFeed, PlateKinds(), PlateColumns()) {
    FollowList();
  }

  [[nodiscard]] std::string Title() const override {
    return "first " + std::string(NameOf(PlateKinds(), group())) + " plates " + OrderText();
  }
  [[nodiscard]] std::vector<KeyHint> Keys() const override {
    return {kCursorHint, {"Enter", "select"}, {"b B", "kind"}, kColumnHint, kDirectionHint};
  }

 private:
  [[nodiscard]] const Feed& FeedOfList() const override { return kPlateRankingFeed; }
  [[nodiscard]] Base::Accessor AccessorOfList() const override {
    return [kind = group()] { return GetPlateRanking(kind, false); };
  }
  [[nodiscard]] Security SecurityOf(const PlateMarketSummary& row) const override {
    return {row.bk, row.name, stock::kSymbolPlate};
  }
  [[nodiscard]] std::vector<StyledLine> LinesOf(const std::vector<PlateMarketSummary>& rows) const override {
    return RankedPlateLines(rows);
  }
};

}  // namespace

std::unique_ptr<Panel> MakeStockRankingPanel(PanelContext& context) {
  return std::make_unique<StockRankingPanel>(context);
}

std::unique_ptr<Panel> MakePlateRankingPanel(PanelContext& context) {
  return std::make_unique<PlateRankingPanel>(context);
}

}  // namespace cli

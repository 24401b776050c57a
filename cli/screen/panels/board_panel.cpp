#include "cli/screen/panels/board_panel.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "c_stock_market.h"
#include "cli/format/quote_rows.h"
#include "cli/screen/feed_panel.h"
#include "cli/screen/list_cursor.h"
#include "cli/screen/picture.h"
#include "cli/screen/sort_keys.h"
#include "cli/vocabulary.h"

namespace cli {
namespace {

using Quotes = std::vector<StockMarketItem>;

constexpr Feed kFeed{"stock_market", "/pc/rt/get", kQuotePolling, "StockMarket"};
constexpr std::chrono::seconds kUntilNextOrder(10);
constexpr std::chrono::seconds kOrderLasts(60);
constexpr std::uint32_t kFirstRows = 30;  // before it is known how many there is room for

class BoardPanel final : public FeedPanel<IStockMarket, Quotes, StockRangeRankingTarget> {
 public:
  explicit BoardPanel(PanelContext& context) : FeedPanel(context, kFeed, &GetStockMarket) {
    sort_.columns = StockColumns();
    Follow(Target());
  }

  [[nodiscard]] std::string Title() const override {
    return "board: " + std::string(HelpOf(Boards(), board_)) + " " + sort_.Title();
  }

  void Show() override {
    FeedPanel::Show();
    if (order_.empty()) {
      AskForOrder();
    } else {
      context().step_through(order_);
    }
  }

  void Select(const Security& security) override {
    current_ = security.code;
    const auto has_code = [&](const auto& item) { return item.code == current_; };
    const auto seen = std::find_if(rows_.begin(), rows_.end(), has_code);
    const auto known = std::find_if(order_.begin(), order_.end(), has_code);
    if (seen != rows_.end()) {
      MoveTo(first_ + static_cast<std::uint32_t>(seen - rows_.begin()));
    } else if (known != order_.end()) {
      MoveTo(static_cast<std::uint32_t>(known - order_.begin()));
    }
  }

  bool OnKey(const Key& key) override {
    switch (key.kind) {
      case KeyKind::kUp:
        return MoveTo(cursor_ - std::min(cursor_, 1U));
      case KeyKind::kDown:
        return MoveTo(cursor_ + 1);
      case KeyKind::kPageUp:
        return MoveTo(cursor_ - std::min(cursor_, room_));
      case KeyKind::kPageDown:
        return MoveTo(cursor_ + room_);
      case KeyKind::kHome:
        return MoveTo(0);
      case KeyKind::kEnd:
        return MoveTo(Last());
      case KeyKind::kEnter:
        return SelectRow();
      default:
        return ChangeList(key);
    }
  }

  [[nodiscard]] std::vector<KeyHint> Keys() const override {
    return {kCursorHint, {"Enter", "select"}, {"b B", "board"}, kColumnHint, kDirectionHint};
  }

  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size) override {
    MakeRoom(static_cast<std::uint32_t>(std::max(size.rows - 1, 1)));
    if (rows_.empty() || size.rows <= 0) {
      return {};
    }
    std::vector<StyledLine> lines = BoardLines(
        rows_, BoardLook().Fitting(NameOf(sort_.columns, sort_.column), size.columns - kMarkColumns));
    for (std::size_t i = 0; i < lines.size(); ++i) {
      lines[i].insert(lines[i].begin(), i == 0 ? Cell{"  "} : MarkOf(i - 1));
    }
    return CutTo(std::move(lines), size);
  }

 private:
  [[nodiscard]] StockRangeRankingTarget Target() const {
    return {static_cast<std::uint32_t>(board_), static_cast<std::uint32_t>(sort_.column),
            static_cast<std::uint32_t>(sort_.direction), start_, start_ + room_};
  }

  [[nodiscard]] std::string WhyEmpty(const Delivery<Quotes>& delivery) const override {
    return delivery.data.empty() ? "the board has no row " + std::to_string(start_ + 1) : "";
  }

  // What is seen stays until the answer to the next question is there. Once it was moved the cursor goes with
  // its row.
  void OnData() override {
    const StockMarketItem* const aimed = moved_ ? AtCursor() : nullptr;
    const std::wstring code = aimed == nullptr ? std::wstring() : aimed->code;
    rows_ = newest()->data;
    first_ = start_;
    const auto found = std::find_if(rows_.begin(), rows_.end(),
                                    [&](const StockMarketItem& row) { return row.code == code; });
    if (found != rows_.end()) {
      cursor_ = first_ + static_cast<std::uint32_t>(found - rows_.begin());
    }
    PutSeenInOrder();
    if (Clock::now() - order_asked_ >= (order_.empty() ? kUntilNextOrder : kOrderLasts)) {
      AskForOrder();
    }
  }

  // Null while the rows around the cursor are still to come.
  [[nodiscard]] const StockMarketItem* AtCursor() const {
    const std::size_t row = cursor_ - first_;
    return cursor_ >= first_ && row < rows_.size() ? &rows_[row] : nullptr;
  }

  // The row that the cursor can be in at most. While it is not known how many there are, a full page may be
  // followed by another one.
  [[nodiscard]] std::uint32_t Last() const {
    const std::size_t seen = first_ + rows_.size() + (rows_.size() >= room_ ? 1 : 0);
    const std::size_t known = order_.empty() ? seen : order_.size();
    return static_cast<std::uint32_t>(std::max<std::size_t>(known, 1) - 1);
  }

  bool MoveTo(std::uint32_t row) {
    cursor_ = std::min(row, Last());
    moved_ = true;
    context().redraw();
    if (cursor_ >= start_ && cursor_ < start_ + room_) {
      return true;
    }
    // A step beyond the edge turns the page.
    start_ = cursor_ / room_ * room_;
    Follow(Target());
    return true;
  }

  void MakeRoom(std::uint32_t rows) {
    if (rows != room_) {
      room_ = rows;
      start_ = cursor_ / room_ * room_;
      Follow(Target());
    }
  }

  bool SelectRow() {
    if (const StockMarketItem* const row = AtCursor()) {
      context().select(SecurityOf(row->code, row->name));
    }
    return true;
  }

  // Another board or order: from its top.
  bool ChangeList(const Key& key) {
    if (key == Typed(U'b') || key == Typed(U'B')) {
      board_ = StepFrom(Boards(), board_, key.character == U'b' ? 1 : -1);
    } else if (!ChangeOrder(sort_, key)) {
      return false;
    }
    cursor_ = 0;
    moved_ = false;
    start_ = 0;
    rows_.clear();
    order_.clear();
    Follow(Target());
    AskForOrder();
    return true;
  }

  void AskForOrder() {
    IStockMarket* const market = GetStockMarket();
    if (market == nullptr) {
      return;
    }
    order_asked_ = Clock::now();
    const auto take = [this](const CodeNameList& list) { TakeOrder(list); };
    order_taker_ = std::make_shared<std::function<void(const CodeNameList&)>>(take);
    market->FetchStockItems(
        sort_.column, sort_.direction, board_,
        [&loop = context().loop, taker = std::weak_ptr(order_taker_)](const CodeNameList& list) {
          loop.Post([taker, list] {
            if (const auto alive = taker.lock()) {
              (*alive)(list);
            }
          });
        });
  }

  void TakeOrder(const CodeNameList& list) {
    order_.clear();
    for (const auto& [code, name] : list) {
      order_.push_back({code, name, L"", 0});
    }
    if (shown()) {
      context().step_through(order_);
    }
  }

  // The rows that are seen are newer than the order of the whole board; stepping goes by what is seen.
  void PutSeenInOrder() {
    if (order_.empty()) {
      return;
    }
    std::set<std::wstring_view> seen;
    std::vector<BaseInfoItem> items;
    for (const StockMarketItem& row : rows_) {
      seen.insert(row.code);
      items.push_back({row.code, row.name, L"", 0});
    }
    order_.erase(std::remove_if(order_.begin(), order_.end(),
                                [&](const BaseInfoItem& item) { return seen.count(item.code) > 0; }),
                 order_.end());
    order_.insert(order_.begin() + std::min<std::ptrdiff_t>(first_, std::ssize(order_)), items.begin(),
                  items.end());
    if (shown()) {
      context().step_through(order_);
    }
  }

  [[nodiscard]] Cell MarkOf(std::size_t row) const {
    if (first_ + row == cursor_) {
      return {"▸ ", Tone::kStrong};
    }
    return {rows_[row].code == current_ ? "• " : "  ", Tone::kStrong};
  }

  int board_ = 1;
  SortOptions sort_;
  std::uint32_t room_ = kFirstRows;
  std::uint32_t start_ = 0;  // first row that is asked for
  std::uint32_t cursor_ = 0;
  bool moved_ = false;
  Quotes rows_;
  std::uint32_t first_ = 0;  // number of the first of `rows_`
  std::wstring current_;
  std::vector<BaseInfoItem> order_;  // the whole board; empty: not known
  std::shared_ptr<std::function<void(const CodeNameList&)>> order_taker_;
  Clock::time_point order_asked_;
};

}  // namespace

std::unique_ptr<Panel> MakeBoardPanel(PanelContext& context) {
  return std::make_unique<BoardPanel>(context);
}

}  // namespace cli

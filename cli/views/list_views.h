// Views that are lists: of indices, of stocks and plates page by page, of the first by a column, of the
// user's own choice, of codes and names. See view.h.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "c_stock_market.h"
#include "cli/format/market_rows.h"
#include "cli/format/quote_rows.h"
#include "cli/views/service_view.h"
#include "cli/views/vocabulary.h"
#include "host/watch_list.h"
#include "quotes/stock_market_item_table.h"
#include "ranking/plate_market_summary_table.h"
#include "ranking/stock_market_summary_table.h"

namespace cli {

using Quotes = std::vector<StockMarketItem>;

class IndexView final : public ServiceView<IIndexMarket, std::vector<IndexMarketSummary>, std::wstring> {
 public:
  explicit IndexView(const ViewContext& context);
  [[nodiscard]] std::string Title() const override { return "indices"; }
  [[nodiscard]] Table AsTable() const override;
  [[nodiscard]] std::vector<StyledLine> LogLines(bool with_header) const override;
  [[nodiscard]] Sheet AsSheet() const override;
};

/// `ascii` as services have their texts.
[[nodiscard]] inline std::wstring Wide(std::string_view ascii) {
  return {ascii.begin(), ascii.end()};
}

/// What a list is made of and how it looks.
struct ListChoice {
  int group = 1;  ///< board of stocks or kind of plates
  Order order;
  std::optional<RowRange> rows;  ///< nothing: those that are in sight
  std::string columns;           ///< names; empty: the usual ones, or as many as there is room for

  /// "all change desc 0:20", where `what` is "all".
  [[nodiscard]] std::wstring Key(const std::wstring& what, const RowRange& shown) const;
  /// Those of `look`: the chosen ones, else all, or the usual ones where any number of them has room.
  [[nodiscard]] std::vector<MemberColumn> Columns(const ListLook& look, bool all) const;
};

/// The list that can be ordered by `columns` and is by one of them, the largest first.
[[nodiscard]] inline ListChoice ListBy(Choices columns, int column = Order().column) {
  ListChoice choice;
  choice.order = {columns, column};
  return choice;
}

/// Asks for code and name of a whole list of stocks or plates; false without a service.
bool AskForItems(IStockMarket* market, const ListChoice& list, const CodeNameCallback& done);
bool AskForItems(IPlateMarket* market, const ListChoice& list, const CodeNameCallback& done);

/// A list that the server sends page by page.
class PagedList {
 public:
  virtual ~PagedList() = default;
  /// True when the choice has rows of its own.
  [[nodiscard]] virtual bool has_fixed_rows() const = 0;
  /// The rows that are to be seen, unless they are fixed.
  virtual void SetRange(const RowRange& rows) = 0;
  /// Number of the first row that is there.
  [[nodiscard]] virtual std::uint32_t first_row() const = 0;
  /// How many rows the whole list has; nothing: not known yet.
  [[nodiscard]] virtual std::optional<std::size_t> total() const = 0;
  /// The whole list, the rows that are there in their newest order; those alone when the others are not
  /// known.
  [[nodiscard]] virtual std::vector<BaseInfoItem> WholeList() const = 0;
};

/// The securities in rows whose member `code` has the symbol.
template <class Row>
[[nodiscard]] std::vector<Security> SecuritiesIn(const std::vector<Row>& rows, std::wstring Row::*code,
                                                 stock::SymbolType type) {
  std::vector<Security> securities;
  securities.reserve(rows.size());
  for (const Row& row : rows) {
    securities.push_back({row.*code, row.name, type});
  }
  return securities;
}

/// A list whose group and order can be changed.
template <class Service, class Data, class KeyType>
class ListView : public ServiceView<Service, Data, KeyType> {
 public:
  bool Turn(Knob knob, int step) override {
    Order& order = choice_.order;
    if (knob == Knob::kGroup && !groups_.empty()) {
      choice_.group = StepFrom(groups_, choice_.group, step);
    } else if (knob == Knob::kColumn) {
      order.column = StepFrom(order.columns, order.column, step);
    } else if (knob == Knob::kDirection) {
      order.Reverse();
    } else {
      return false;
    }
    FollowList();
    return true;
  }
  [[nodiscard]] std::optional<KnobSetting> SettingOf(Knob knob) const override {
    switch (knob) {
      case Knob::kGroup:
        return groups_.empty() ? std::nullopt : std::optional(KnobSetting{groups_, choice_.group});
      case Knob::kColumn:
        return KnobSetting{choice_.order.columns, choice_.order.column};
      case Knob::kDirection:
        return KnobSetting{kDirections, choice_.order.direction};
      default:
        return std::nullopt;
    }
  }
  void OrderBy(int column) override {
    choice_.order.By(column);
    FollowList();
  }

 protected:
  /// `groups` is empty for a list that is the only one of its kind.
  ListView(const ViewContext& context, const Feed& feed, Service* (*get)(), Choices groups,
           const ListChoice& choice)
      : ServiceView<Service, Data, KeyType>(context, feed, get), groups_(groups), choice_(choice) {}

  [[nodiscard]] const ListChoice& choice() const { return choice_; }
  [[nodiscard]] std::uint32_t Column() const { return static_cast<std::uint32_t>(choice_.order.column); }
  [[nodiscard]] std::uint32_t Direction() const {
    return static_cast<std::uint32_t>(choice_.order.direction);
  }
  /// Name of the group: "all".
  [[nodiscard]] std::string GroupName() const { return std::string(NameOf(groups_, choice_.group)); }

 private:
  /// Shows the list of `choice()`, from its beginning.
  virtual void FollowList() = 0;

  const Choices groups_;
  ListChoice choice_;
};

template <class Service, class Data, class KeyType>
class PagedView : public ListView<Service, Data, KeyType>, public PagedList {
 public:
  using typename ServiceView<Service, Data, KeyType>::Observer;

  void SetRange(const RowRange& rows) override {
    if (!has_fixed_rows() && rows != range_) {
      range_ = rows;
      FollowTarget();
    }
  }
  [[nodiscard]] bool has_fixed_rows() const override { return this->choice().rows.has_value(); }
  [[nodiscard]] std::uint32_t first_row() const override { return first_; }
  [[nodiscard]] std::optional<std::size_t> total() const override {
    return whole_.empty() ? std::nullopt : std::optional(whole_.size());
  }
  // The rows that are there are newer than the order of the whole list.
  [[nodiscard]] std::vector<BaseInfoItem> WholeList() const override {
    std::set<std::wstring> here;
    std::vector<BaseInfoItem> rows;
    for (const Security& row : Securities()) {
      here.insert(row.code);
      rows.push_back({row.code, row.name, L"", 0});
    }
    std::vector<BaseInfoItem> list = whole_;
    std::erase_if(list, [&](const BaseInfoItem& item) { return here.count(item.code) > 0; });
    list.insert(list.begin() + std::min<std::ptrdiff_t>(first_, std::ssize(list)), rows.begin(), rows.end());
    return list;
  }
  [[nodiscard]] std::vector<StyledLine> Lines(int width) const override {
    const Table table = TableOf(width != std::numeric_limits<int>::max());
    return table.rows().empty() ? std::vector<StyledLine>{{{"(no row)", Tone::kDim}}} : table.Lines(width);
  }
  [[nodiscard]] std::vector<Security> Securities() const override { return SecuritiesOf(data_); }

 protected:
  PagedView(const ViewContext& context, const Feed& feed, Service* (*get)(), Choices groups,
            const ListChoice& choice)
      : ListView<Service, Data, KeyType>(context, feed, get, groups, choice),
        range_(choice.rows.value_or(RowRange())),
        names_(context.post, [this](const Delivery<CodeNameList>& list) { TakeNames(list.data); }) {}

  [[nodiscard]] const RowRange& range() const { return range_; }
  /// The rows to ask for.
  [[nodiscard]] RowRange Asked() const {
    const std::uint32_t least = has_fixed_rows() ? 0 : this->context().least_rows;
    return {range_.start, std::max(range_.end, range_.start + least)};
  }
  [[nodiscard]] const Data& data() const { return data_; }
  [[nodiscard]] std::string RangeText() const { return has_fixed_rows() ? ", rows " + RowsText(range_) : ""; }
  void FollowList() override {
    if (!has_fixed_rows()) {
      range_ = {0, range_.end - range_.start};
    }
    data_ = {};
    first_ = 0;
    whole_.clear();
    names_.Forget();
    names_asked_ = {};
    FollowTarget();
  }

 private:
  using Clock = View::Clock;

  [[nodiscard]] virtual KeyType Target() const = 0;
  /// False as long as it is not chosen whose rows are shown: then there is nothing to ask for.
  [[nodiscard]] virtual bool HasTarget() const { return true; }
  [[nodiscard]] virtual std::vector<Security> SecuritiesOf(const Data& data) const = 0;
  [[nodiscard]] virtual Table TableOf(bool all_columns) const = 0;
  [[nodiscard]] Table AsTable() const override { return TableOf(true); }
  /// Asks for code and name of the whole list, if that can be asked for.
  virtual void AskForNames(const CodeNameCallback& /*done*/) {}

  [[nodiscard]] std::string WhyNothingIn(const Delivery<Data>& delivery) const override {
    return SecuritiesOf(delivery.data).empty() ? "the list has no row " + std::to_string(range_.start + 1)
                                               : "";
  }
  void Resume(Observer& observer) override {
    observer.Resume(true);
    if (whole_.empty() && !has_fixed_rows()) {
      AskForNamesNow();
    }
  }
  void OnData() override {
    constexpr std::chrono::seconds kUntilNextNames(10);
    constexpr std::chrono::seconds kNamesLast(60);
    data_ = this->figures();
    first_ = range_.start;
    if (!has_fixed_rows() && Clock::now() - names_asked_ >= (whole_.empty() ? kUntilNextNames : kNamesLast)) {
      AskForNamesNow();
    }
  }
  void FollowTarget() {
    if (HasTarget()) {
      this->Follow(Target());
    }
  }
  void AskForNamesNow() {
    names_asked_ = Clock::now();
    AskForNames(names_.Sender());
  }
  void TakeNames(const CodeNameList& list) {
    whole_.clear();
    for (const auto& [code, name] : list) {
      whole_.push_back({code, name, L"", 0});
    }
    this->context().changed();
    this->TellArrival();
  }

  RowRange range_;
  Data data_{};                      // stays until the answer to the next question is there
  std::uint32_t first_ = 0;          // number of the first row of `data_`
  std::vector<BaseInfoItem> whole_;  // empty: not known
  Mailbox<CodeNameList> names_;
  Clock::time_point names_asked_;
};

/// A list of full quotes, page by page: a board of stocks, or the plates of a kind.
template <class Service, class KeyType>
class QuotesView final : public PagedView<Service, Quotes, KeyType> {
 public:
  QuotesView(const ViewContext& context, const ListChoice& choice)
      : PagedView<Service, Quotes, KeyType>(context, kIsBoard ? kBoardFeed : kPlatesFeed, &Market,
                                            kIsBoard ? kBoards : kPlateKinds, choice) {
    this->FollowList();
  }
  [[nodiscard]] std::string Title() const override {
    const std::string what = kIsBoard ? "board: " + std::string(HelpOf(kBoards, this->choice().group))
                                      : this->GroupName() + " plates";
    return what + " " + this->choice().order.Title() + this->RangeText();
  }
  [[nodiscard]] std::wstring Key() const override {
    return this->choice().Key(Wide(this->GroupName()), this->range());
  }
  [[nodiscard]] Sheet AsSheet() const override {
    return kIsBoard ? SheetOf(quotes::kBoardTable, quotes::kFigureTable, this->data())
                    : SheetOf(quotes::kPlateTable, this->data());
  }

 private:
  static constexpr bool kIsBoard = std::is_same_v<Service, IStockMarket>;

  static Service* Market() {
    if constexpr (kIsBoard) {
      return GetStockMarket();
    } else {
      return GetPlateMarket();
    }
  }
  [[nodiscard]] KeyType Target() const override {
    return {static_cast<std::uint32_t>(this->choice().group), this->Column(), this->Direction(),
            this->Asked().start, this->Asked().end};
  }
  [[nodiscard]] std::vector<Security> SecuritiesOf(const Quotes& quotes) const override {
    return SecuritiesIn(quotes, &StockMarketItem::code, kIsBoard ? stock::kSymbolStock : stock::kSymbolPlate);
  }
  [[nodiscard]] Table TableOf(bool all_columns) const override {
    const auto columns = this->choice().Columns(kIsBoard ? BoardLook() : PlatesLook(), all_columns);
    return kIsBoard ? BoardTable(this->data(), columns) : PlateTable(this->data(), columns);
  }
  void AskForNames(const CodeNameCallback& done) override { AskForItems(Market(), this->choice(), done); }
};

using BoardView = QuotesView<IStockMarket, StockRangeRankingTarget>;
using PlatesView = QuotesView<IPlateMarket, PlateRangeRankingTarget>;

/// The stocks of the plate that is selected.
class MembersView final : public PagedView<IPlateStockMarket, PlateStockMarketData, PlateStockRankingTarget> {
 public:
  MembersView(const ViewContext& context, const ListChoice& choice);
  [[nodiscard]] std::string Title() const override;
  [[nodiscard]] std::wstring Key() const override { return choice().Key(plate_.code, range()); }
  [[nodiscard]] std::string Note() const override {
    return std::to_string(data().total_num) + " stocks in all";
  }
  [[nodiscard]] Sheet AsSheet() const override;
  [[nodiscard]] std::optional<std::size_t> total() const override;
  /// A security that is no plate is ignored.
  void Select(const Security& security) override;

 private:
  [[nodiscard]] PlateStockRankingTarget Target() const override {
    return {plate_.code, Column(), Direction(), Asked().start, Asked().end};
  }
  [[nodiscard]] bool HasTarget() const override { return !plate_.code.empty(); }
  [[nodiscard]] std::vector<Security> SecuritiesOf(const PlateStockMarketData& data) const override {
    return SecuritiesIn(data.stocks, &StockMarketSummary::code, stock::kSymbolStock);
  }
  [[nodiscard]] Table TableOf(bool /*all_columns*/) const override {
    return RankedTable(data().stocks, {"row", first_row()});
  }

  Security plate_;
};

/// The first rows of a board, or of the plates of a kind, by a column.
template <class Service, class Row>
class RankingView : public ListView<Service, std::vector<Row>, RankingTarget> {
 public:
  [[nodiscard]] Table AsTable() const override { return RankedTable(this->figures()); }
  [[nodiscard]] std::vector<Security> Securities() const override {
    if constexpr (kIsOfStocks) {
      return SecuritiesIn(this->figures(), &Row::code, stock::kSymbolStock);
    } else {
      return SecuritiesIn(this->figures(), &Row::bk, stock::kSymbolPlate);
    }
  }
  [[nodiscard]] Sheet AsSheet() const override {
    if constexpr (kIsOfStocks) {
      return SheetOf(ranking::kStockMarketSummaryTable, this->figures());
    } else {
      return SheetOf(ranking::kPlateMarketSummaryTable, this->figures());
    }
  }
  [[nodiscard]] std::string Title() const override {
    const std::string what =
        kIsOfStocks ? std::string(HelpOf(kBoards, this->choice().group)) : this->GroupName() + " plates";
    return "top " + std::to_string(count_) + " of " + what + " " + this->choice().order.Title();
  }
  [[nodiscard]] std::wstring Key() const override {
    return Wide(this->GroupName() + " " + this->choice().order.Key() + " " + std::to_string(count_));
  }

 protected:
  RankingView(const ViewContext& context, const Feed& feed, Choices groups, const ListChoice& choice,
              std::int32_t count)
      : ListView<Service, std::vector<Row>, RankingTarget>(context, feed, nullptr, groups, choice),
        count_(count) {}
  [[nodiscard]] RankingTarget Target() const {
    return {this->choice().order.column, this->choice().order.direction, count_};
  }

 private:
  static constexpr bool kIsOfStocks = std::is_same_v<Row, StockMarketSummary>;

  [[nodiscard]] std::string WhyNothingIn(const Delivery<std::vector<Row>>& delivery) const override {
    return delivery.data.empty() ? "the list has no row" : "";
  }

  const std::int32_t count_;
};

/// The first stocks, of the day or of the last five minutes.
class StockRankingView final : public RankingView<IStockRanking, StockMarketSummary> {
 public:
  StockRankingView(const ViewContext& context, const ListChoice& choice, std::int32_t count,
                   bool five_minutes);
  [[nodiscard]] std::string Title() const override {
    return RankingView::Title() + (five_minutes_ ? ", within five minutes" : "");
  }
  [[nodiscard]] std::wstring Key() const override {
    return RankingView::Key() + (five_minutes_ ? L" five_minutes" : L"");
  }
  bool Turn(Knob knob, int step) override;
  [[nodiscard]] std::optional<KnobSetting> SettingOf(Knob knob) const override;

 private:
  void FollowList() override;

  bool five_minutes_;
};

class PlateRankingView final : public RankingView<IPlateRanking, PlateMarketSummary> {
 public:
  PlateRankingView(const ViewContext& context, const ListChoice& choice, std::int32_t count)
      : RankingView(context, kPlateRankingFeed, kPlateKinds, choice, count) {
    FollowList();
  }

 private:
  void FollowList() override {
    Follow(
        kPlateRankingFeed, [kind = choice().group] { return GetPlateRanking(kind, false); }, Target());
  }
};

class WatchListView final
    : public ListView<IOptionalStockMarket, std::vector<OptionalMarketItem>, SortingTarget> {
 public:
  WatchListView(const ViewContext& context, const ListChoice& choice);
  [[nodiscard]] std::string Title() const override;
  [[nodiscard]] std::wstring Key() const override { return Wide(choice().order.Key()); }
  [[nodiscard]] Table AsTable() const override { return TableOf(true); }
  /// The table, and below it what there is no quote of.
  [[nodiscard]] std::vector<StyledLine> Lines(int width) const override;
  [[nodiscard]] std::string Note() const override;
  [[nodiscard]] std::vector<Security> Securities() const override;
  [[nodiscard]] Sheet AsSheet() const override;
  [[nodiscard]] bool MayBeEmpty() const override { return true; }
  [[nodiscard]] std::string WhyNothingToAsk() const override;

 private:
  using Codes = std::vector<std::wstring>;

  void FollowList() override { Follow({Column(), Direction()}); }
  void Resume(Observer& observer) override;
  [[nodiscard]] Table TableOf(bool all_columns) const {
    return WatchListTable(figures(), choice().Columns(WatchListLook(), all_columns));
  }
  [[nodiscard]] std::string WhyNothingIn(
      const Delivery<std::vector<OptionalMarketItem>>& delivery) const override {
    return delivery.data.empty() ? "the server knows nothing of the watch list" : "";
  }
  // Others ask the same endpoint: its answers say nothing about this list.
  [[nodiscard]] std::string NothingText() const override { return {}; }

  std::unique_ptr<ServiceObserver<IUserOptionalStock, Codes>> codes_;
};

/// Code and name of a whole board, or of all plates of a kind.
class ItemsView final : public AnswerView<CodeNameList> {
 public:
  enum class Of { kStocks, kPlates };
  ItemsView(const ViewContext& context, Of of, const ListChoice& choice);
  [[nodiscard]] std::string Title() const override { return "items"; }
  [[nodiscard]] std::wstring Key() const override;
  [[nodiscard]] std::string Note() const override {
    return std::to_string(Rows().size()) + " of " + std::to_string(figures().size());
  }
  [[nodiscard]] Table AsTable() const override { return CodeNameTable(Rows()); }
  [[nodiscard]] Sheet AsSheet() const override { return CodeNameSheet(Rows()); }

 private:
  bool Ask(const std::function<void(const CodeNameList&)>& done) override {
    return of_ == Of::kStocks ? AskForItems(GetStockMarket(), choice_, done)
                              : AskForItems(GetPlateMarket(), choice_, done);
  }
  [[nodiscard]] CodeNameList Rows() const;

  const Of of_;
  const ListChoice choice_;
};

}  // namespace cli

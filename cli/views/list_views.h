// Views that are lists: of indices, of stocks and plates page by page, of the first by a column, of the
// user's own choice, of codes and names. See view.h.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "c_stock_market.h"
#include "cli/format/quote_rows.h"
#include "cli/views/order.h"
#include "cli/views/row_range.h"
#include "cli/views/service_view.h"
#include "cli/views/vocabulary.h"

namespace cli {

using Quotes = std::vector<StockMarketItem>;

class IndexView final : public ServiceView<IIndexMarket, std::vector<IndexMarketSummary>, std::wstring> {
 public:
  explicit IndexView(const ViewContext& context);
  [[nodiscard]] std::string Title() const override { return "indices"; }
  [[nodiscard]] Table AsTable() const override;
  [[nodiscard]] std::vector<StyledLine> LogLines(bool with_header) const override;
  [[nodiscard]] std::string Csv() const override;

 private:
  void WriteData(JsonWriter& json) const override;
};

/// What a list is made of and how it looks.
struct ListChoice {
  int group = 1;  ///< board of stocks or kind of plates
  Order order;
  std::optional<RowRange> rows;  ///< nothing: those that are in sight
  std::string columns;           ///< names; empty: the usual ones, or as many as there is room for

  /// "all change desc 0:20", where `what` is "all".
  [[nodiscard]] std::wstring Key(const std::wstring& what, const RowRange& shown) const;
};

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

/// A list whose group and order can be changed.
template <class Service, class Data, class KeyType>
class ListView : public ServiceView<Service, Data, KeyType> {
 public:
  bool Turn(Knob knob, int step) override;
  [[nodiscard]] std::optional<KnobSetting> SettingOf(Knob knob) const override;
  void OrderBy(int column) override;

 protected:
  /// `groups` is empty for a list that is the only one of its kind.
  ListView(const ViewContext& context, const Feed& feed, Service* (*get)(), Choices groups,
           const ListChoice& choice)
      : ServiceView<Service, Data, KeyType>(context, feed, get), groups_(groups), choice_(choice) {}

  [[nodiscard]] const ListChoice& choice() const { return choice_; }
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

  void SetRange(const RowRange& rows) override;
  [[nodiscard]] bool has_fixed_rows() const override { return this->choice().rows.has_value(); }
  [[nodiscard]] std::uint32_t first_row() const override { return first_; }
  [[nodiscard]] std::optional<std::size_t> total() const override;
  [[nodiscard]] std::vector<BaseInfoItem> WholeList() const override;
  [[nodiscard]] std::vector<StyledLine> Lines(int width) const override;
  [[nodiscard]] std::vector<Security> Securities() const override;

 protected:
  PagedView(const ViewContext& context, const Feed& feed, Service* (*get)(), Choices groups,
            const ListChoice& choice)
      : ListView<Service, Data, KeyType>(context, feed, get, groups, choice),
        range_(choice.rows.value_or(RowRange())),
        names_(context.post, [this](const Delivery<CodeNameList>& list) { TakeNames(list.data); }) {}

  [[nodiscard]] const RowRange& range() const { return range_; }
  /// The rows to ask for.
  [[nodiscard]] RowRange Asked() const {
    const std::uint32_t least = this->choice().rows ? 0 : this->context().least_rows;
    return {range_.start, std::max(range_.end, range_.start + least)};
  }
  [[nodiscard]] const Data& data() const { return data_; }
  [[nodiscard]] std::string RangeText() const {
    return this->choice().rows ? ", rows " + RowsText(range_) : "";
  }
  /// The columns to show where any number of them has room, or all of them.
  [[nodiscard]] std::vector<MemberColumn> Columns(const ListLook& look, bool all) const;
  void FollowList() override;

 private:
  using Clock = View::Clock;

  [[nodiscard]] virtual KeyType Target() const = 0;
  [[nodiscard]] virtual std::vector<Security> SecuritiesIn(const Data& data) const = 0;
  [[nodiscard]] virtual Table TableOf(bool all_columns) const = 0;
  [[nodiscard]] Table AsTable() const override { return TableOf(true); }
  /// How many rows the whole list has, as the data themselves say.
  [[nodiscard]] virtual std::optional<std::size_t> TotalIn(const Data& /*data*/) const {
    return std::nullopt;
  }
  /// Asks for code and name of the whole list. False when that cannot be asked for.
  virtual bool AskForNames(const CodeNameCallback& /*done*/) { return false; }

  [[nodiscard]] std::string WhyNothingIn(const Delivery<Data>& delivery) const override {
    return SecuritiesIn(delivery.data).empty() ? "the list has no row " + std::to_string(range_.start + 1)
                                               : "";
  }
  void Resume(Observer& observer) override;
  void OnData() override;
  void AskForNamesNow();
  void TakeNames(const CodeNameList& list);

  RowRange range_;
  Data data_{};                      // stays until the answer to the next question is there
  std::uint32_t first_ = 0;          // number of the first row of `data_`
  std::vector<BaseInfoItem> whole_;  // empty: not known
  Mailbox<CodeNameList> names_;
  Clock::time_point names_asked_;
};

class BoardView final : public PagedView<IStockMarket, Quotes, StockRangeRankingTarget> {
 public:
  BoardView(const ViewContext& context, const ListChoice& choice);
  [[nodiscard]] std::string Title() const override;
  [[nodiscard]] std::wstring Key() const override;
  [[nodiscard]] std::string Csv() const override;

 private:
  [[nodiscard]] StockRangeRankingTarget Target() const override;
  [[nodiscard]] std::vector<Security> SecuritiesIn(const Quotes& quotes) const override;
  [[nodiscard]] Table TableOf(bool all_columns) const override;
  bool AskForNames(const CodeNameCallback& done) override;
  void WriteData(JsonWriter& json) const override;
};

class PlatesView final : public PagedView<IPlateMarket, Quotes, PlateRangeRankingTarget> {
 public:
  PlatesView(const ViewContext& context, const ListChoice& choice);
  [[nodiscard]] std::string Title() const override;
  [[nodiscard]] std::wstring Key() const override;
  [[nodiscard]] std::string Csv() const override;

 private:
  [[nodiscard]] PlateRangeRankingTarget Target() const override;
  [[nodiscard]] std::vector<Security> SecuritiesIn(const Quotes& quotes) const override;
  [[nodiscard]] Table TableOf(bool all_columns) const override;
  bool AskForNames(const CodeNameCallback& done) override;
  void WriteData(JsonWriter& json) const override;
};

/// The stocks of the plate that is selected.
class MembersView final : public PagedView<IPlateStockMarket, PlateStockMarketData, PlateStockRankingTarget> {
 public:
  MembersView(const ViewContext& context, const ListChoice& choice);
  [[nodiscard]] std::string Title() const override;
  [[nodiscard]] std::wstring Key() const override;
  [[nodiscard]] std::string Note() const override;
  [[nodiscard]] std::string Csv() const override;
  /// A security that is no plate is ignored.
  void Select(const Security& security) override;

 private:
  [[nodiscard]] PlateStockRankingTarget Target() const override;
  [[nodiscard]] std::vector<Security> SecuritiesIn(const PlateStockMarketData& data) const override;
  [[nodiscard]] Table TableOf(bool all_columns) const override;
  [[nodiscard]] std::optional<std::size_t> TotalIn(const PlateStockMarketData& data) const override;
  void WriteData(JsonWriter& json) const override;

  Security plate_;
};

/// The first stocks of a board by a column, of the day or of the last five minutes.
class StockRankingView final
    : public ListView<IStockRanking, std::vector<StockMarketSummary>, RankingTarget> {
 public:
  StockRankingView(const ViewContext& context, const ListChoice& choice, std::int32_t count,
                   bool five_minutes);
  [[nodiscard]] std::string Title() const override;
  [[nodiscard]] std::wstring Key() const override;
  [[nodiscard]] Table AsTable() const override;
  [[nodiscard]] std::vector<Security> Securities() const override;
  [[nodiscard]] std::string Csv() const override;
  bool Turn(Knob knob, int step) override;
  [[nodiscard]] std::optional<KnobSetting> SettingOf(Knob knob) const override;

 private:
  void FollowList() override;
  [[nodiscard]] std::string WhyNothingIn(
      const Delivery<std::vector<StockMarketSummary>>& delivery) const override;
  void WriteData(JsonWriter& json) const override;

  std::int32_t count_;
  bool five_minutes_;
};

class PlateRankingView final
    : public ListView<IPlateRanking, std::vector<PlateMarketSummary>, RankingTarget> {
 public:
  PlateRankingView(const ViewContext& context, const ListChoice& choice, std::int32_t count);
  [[nodiscard]] std::string Title() const override;
  [[nodiscard]] std::wstring Key() const override;
  [[nodiscard]] Table AsTable() const override;
  [[nodiscard]] std::vector<Security> Securities() const override;
  [[nodiscard]] std::string Csv() const override;

 private:
  void FollowList() override;
  [[nodiscard]] std::string WhyNothingIn(
      const Delivery<std::vector<PlateMarketSummary>>& delivery) const override;
  void WriteData(JsonWriter& json) const override;

  std::int32_t count_;
};

class WatchListView final
    : public ListView<IOptionalStockMarket, std::vector<OptionalMarketItem>, SortingTarget> {
 public:
  WatchListView(const ViewContext& context, const ListChoice& choice);
  [[nodiscard]] std::string Title() const override;
  [[nodiscard]] std::wstring Key() const override;
  [[nodiscard]] Table AsTable() const override { return TableOf(true); }
  /// The table, and below it what there is no quote of.
  [[nodiscard]] std::vector<StyledLine> Lines(int width) const override;
  [[nodiscard]] std::string Note() const override;
  [[nodiscard]] std::vector<Security> Securities() const override;
  [[nodiscard]] std::string Csv() const override;
  [[nodiscard]] bool MayBeEmpty() const override { return true; }
  [[nodiscard]] std::string WhyNothingToAsk() const override;

 private:
  void FollowList() override;
  [[nodiscard]] Table TableOf(bool all_columns) const;
  [[nodiscard]] std::string WhyNothingIn(
      const Delivery<std::vector<OptionalMarketItem>>& delivery) const override;
  // Others ask the same endpoint: its answers say nothing about this list.
  [[nodiscard]] std::string NothingText() const override { return {}; }
  void WriteData(JsonWriter& json) const override;
};

/// Code and name of a whole board, or of all plates of a kind.
class ItemsView final : public AnswerView<CodeNameList> {
 public:
  enum class Of { kStocks, kPlates };
  ItemsView(const ViewContext& context, Of of, const ListChoice& choice);
  [[nodiscard]] std::string Title() const override { return "items"; }
  [[nodiscard]] std::wstring Key() const override;
  [[nodiscard]] std::string Note() const override;
  [[nodiscard]] Table AsTable() const override;
  [[nodiscard]] std::string Csv() const override;

 private:
  bool Ask(const std::function<void(const CodeNameList&)>& done) override;
  [[nodiscard]] CodeNameList Rows() const;
  void WriteData(JsonWriter& json) const override;

  const Of of_;
  const ListChoice choice_;
};

}  // namespace cli

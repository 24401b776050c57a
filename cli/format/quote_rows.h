// Lists of quotes as tables: which columns they have, and the rows; and the tables of records that are shown,
// where those that the feed is read by have not all of it. Pure functions. One quote as a whole sheet is
// quote_sheet.h's matter.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "charts/stock_mline.h"
#include "cli/format/record_rows.h"
#include "cli/format/table.h"
#include "quotes/optional_stock_market.h"
#include "quotes/plate_stock_market.h"
#include "quotes/stock_market_item.h"
#include "quotes/stock_market_item_table.h"
#include "ranking/plate_ranking.h"

namespace cli {

/// How the figure `member` of a quote looks, in a list or alone.
[[nodiscard]] MemberColumn FigureColumn(std::string_view member);

/// The figures of a list that its columns are chosen from.
class ListLook {
 public:
  /// `all` can be shown; those in `usual` are, where there is room for any number of them.
  ListLook(std::vector<MemberColumn> all, std::vector<std::string_view> usual);

  /// The columns of a list that is ordered by `sorted_by`, which ranks high: the usual ones, or all.
  [[nodiscard]] std::vector<MemberColumn> Usual(std::string_view sorted_by) const;
  [[nodiscard]] std::vector<MemberColumn> All(std::string_view sorted_by) const;
  /// Those that `names` says: "code,name,pe", or "all". Throws std::invalid_argument, with the right names,
  /// for a wrong one.
  [[nodiscard]] std::vector<MemberColumn> Chosen(const std::string& names) const;

 private:
  std::vector<MemberColumn> all_;
  std::vector<std::string_view> usual_;
};

/// Of a board, of plates, of the watch list.
[[nodiscard]] const ListLook& BoardLook();
[[nodiscard]] const ListLook& PlatesLook();
[[nodiscard]] const ListLook& WatchListLook();

/// A row for each.
[[nodiscard]] Table BoardTable(const std::vector<StockMarketItem>& quotes,
                               const std::vector<MemberColumn>& columns);
[[nodiscard]] Table PlateTable(const std::vector<StockMarketItem>& plates,
                               const std::vector<MemberColumn>& columns);
[[nodiscard]] Table WatchListTable(const std::vector<OptionalMarketItem>& quotes,
                                   const std::vector<MemberColumn>& columns);
/// The symbols of the watch list `list` that `quotes` do not have: "sh600000 sz000002".
[[nodiscard]] std::string MissingFrom(const std::vector<OptionalMarketItem>& quotes,
                                      const std::vector<std::wstring>& list);

/// How the rows of a list are numbered.
struct Numbering {
  std::string title = "#";
  std::size_t first = 1;
};

/// Of short ranked rows.
[[nodiscard]] Table RankedTable(const std::vector<StockMarketSummary>& stocks,
                                const Numbering& numbering = {});
[[nodiscard]] Table RankedTable(const std::vector<PlateMarketSummary>& plates);

/// Figures that no feed sends.
inline constexpr auto kDerivedTable = [] {
  using request::Figure;
  using request::Read;
  return request::TableOf<StockMarketItem>(Read("", "limit_up", &StockMarketItem::limit_up, Figure{}),
                                           Read("", "limit_down", &StockMarketItem::limit_down, Figure{}),
                                           Read("", "avg_price", &StockMarketItem::avg_price, Figure{}));
}();

/// All that a single quote can have.
inline constexpr auto kSingleQuoteTable = request::Join(quotes::kWatchListTable, kDerivedTable);

/// The points of a minute line.
inline constexpr auto kMinutePointTable =
    request::TableOf<MinutePoint>(request::Read("min", "time", &MinutePoint::time, request::Integer{}),
                                  request::Read("last", "price", &MinutePoint::price, request::Number{}),
                                  request::Read("vol", "volume", &MinutePoint::volume, request::Amount{}),
                                  request::Read("amt", "amount", &MinutePoint::amount, request::Number{}),
                                  request::Read("qrr", &MinutePoint::qrr, request::Number{}),
                                  request::Read("change", &MinutePoint::change, request::Number{}),
                                  request::Read("change_rate", &MinutePoint::change_rate, request::Number{}),
                                  request::Read("avg_price", &MinutePoint::avg_price, request::Number{}));

}  // namespace cli

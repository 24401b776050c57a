#include "cli/views/list_views.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <type_traits>
#include <utility>

#include "cli/format/china_time.h"
#include "cli/format/figures.h"
#include "cli/format/index_rows.h"
#include "cli/format/record_tables.h"
#include "host_services/stock_host.h"
#include "quotes/index_market_table.h"
#include "quotes/stock_market_item_table.h"
#include "ranking/plate_market_summary_table.h"
#include "ranking/stock_market_summary_table.h"

namespace cli {
namespace {

std::wstring Wide(std::string_view ascii) {
  return {ascii.begin(), ascii.end()};
}

template <class Number>
Number As(int number) {
  return static_cast<Number>(number);
}

// Asks for code and name of a whole list; false without a service.
bool AskForItems(IStockMarket* market, const ListChoice& list, const CodeNameCallback& done) {
  if (market != nullptr) {
    market->FetchStockItems(list.order.column, list.order.direction, list.group, done);
  }
  return market != nullptr;
}

bool AskForItems(IPlateMarket* market, const ListChoice& list, const CodeNameCallback& done) {
  if (market != nullptr) {
    market->FetchPlateItems(list.order.column, list.order.direction, list.group, done);
  }
  return market != nullptr;
}

// What differs between boards and plates.
template <class Service>
constexpr bool kIsBoard = std::is_same_v<Service, IStockMarket>;

template <class Service>
Service* Market() {
  if constexpr (kIsBoard<Service>) {
    return GetStockMarket();
  } else {
    return GetPlateMarket();
  }
}

}  // namespace

std::wstring ListChoice::Key(const std::wstring& what, const RowRange& shown) const {
  return what + Wide(" " + order.Key() + " " + RowsText(shown));
}

std::vector<MemberColumn> ListChoice::Columns(const ListLook& look, bool all) const {
  const std::string_view sorted_by = NameOf(order.columns, order.column);
  if (!columns.empty()) {
    return look.Chosen(columns);
  }
  return all ? look.All(sorted_by) : look.Usual(sorted_by);
}

// --- Indices

IndexView::IndexView(const ViewContext& context) : ServiceView(context, kIndexFeed, &GetIndexMarket) {
  Follow(std::wstring());
}

Table IndexView::AsTable() const {
  Table table(IndexColumns());
  for (const IndexMarketSummary& quote : figures()) {
    table.Add(IndexCells(quote));
  }
  return table;
}

// A row for each quote, after the time at which it arrived.
std::vector<StyledLine> IndexView::LogLines(bool with_header) const {
  std::vector<Column> columns = IndexColumns();
  columns.insert(columns.begin(), Column{"time", Align::kLeft, 8});
  Table table(columns);
  const Cell time{ClockTime(server_time()), Tone::kDim};
  for (const IndexMarketSummary& quote : figures()) {
    std::vector<Cell> cells = IndexCells(quote);
    cells.insert(cells.begin(), time);
    table.Add(std::move(cells));
  }
  if (figures().empty()) {
    table.Add({time, {"(no index in the answer)"}});
  }
  return with_header ? table.Lines() : table.Rows();
}

Sheet IndexView::AsSheet() const {
  return SheetOf(quotes::kIndexMarketSummaryTable, figures());
}

// --- Boards and plates

template <class Service, class KeyType>
QuotesView<Service, KeyType>::QuotesView(const ViewContext& context, const ListChoice& choice)
    : PagedView<Service, Quotes, KeyType>(context, kIsBoard<Service> ? kBoardFeed : kPlatesFeed,
                                          &Market<Service>, kIsBoard<Service> ? Boards() : PlateKinds(),
                                          choice) {
  this->FollowList();
}

template <class Service, class KeyType>
std::string QuotesView<Service, KeyType>::Title() const {
  const std::string what = kIsBoard<Service> ? "board: " + std::string(HelpOf(Boards(), this->choice().group))
                                             : this->GroupName() + " plates";
  return what + " " + this->choice().order.Title() + this->RangeText();
}

template <class Service, class KeyType>
std::wstring QuotesView<Service, KeyType>::Key() const {
  return this->choice().Key(Wide(this->GroupName()), this->range());
}

template <class Service, class KeyType>
KeyType QuotesView<Service, KeyType>::Target() const {
  const ListChoice& list = this->choice();
  return {As<std::uint32_t>(list.group), As<std::uint32_t>(list.order.column),
          As<std::uint32_t>(list.order.direction), this->Asked().start, this->Asked().end};
}

template <class Service, class KeyType>
std::vector<Security> QuotesView<Service, KeyType>::SecuritiesOf(const Quotes& quotes) const {
  return SecuritiesIn(quotes, &StockMarketItem::code,
                      kIsBoard<Service> ? stock::kSymbolStock : stock::kSymbolPlate);
}

template <class Service, class KeyType>
Table QuotesView<Service, KeyType>::TableOf(bool all_columns) const {
  const auto columns = this->choice().Columns(kIsBoard<Service> ? BoardLook() : PlatesLook(), all_columns);
  return kIsBoard<Service> ? BoardTable(this->data(), columns) : PlateTable(this->data(), columns);
}

template <class Service, class KeyType>
void QuotesView<Service, KeyType>::AskForNames(const CodeNameCallback& done) {
  AskForItems(Market<Service>(), this->choice(), done);
}

template <class Service, class KeyType>
Sheet QuotesView<Service, KeyType>::AsSheet() const {
  return kIsBoard<Service> ? SheetOf(quotes::kBoardTable, quotes::kFigureTable, this->data())
                           : SheetOf(quotes::kPlateTable, this->data());
}

template class QuotesView<IStockMarket, StockRangeRankingTarget>;
template class QuotesView<IPlateMarket, PlateRangeRankingTarget>;

MembersView::MembersView(const ViewContext& context, const ListChoice& choice)
    : PagedView(context, kMembersFeed, &GetPlateStockMarket, {}, choice) {
  FollowNothing("no plate is selected");
}

std::string MembersView::Title() const {
  return TitleOf("stocks", plate_) + " " + choice().order.Title() + RangeText();
}

void MembersView::Select(const Security& security) {
  if (security.type == stock::kSymbolPlate && security.code != plate_.code) {
    plate_ = security;
    FollowList();
  }
}

PlateStockRankingTarget MembersView::Target() const {
  return {plate_.code, As<std::uint32_t>(choice().order.column), As<std::uint32_t>(choice().order.direction),
          Asked().start, Asked().end};
}

std::vector<Security> MembersView::SecuritiesOf(const PlateStockMarketData& data) const {
  return SecuritiesIn(data.stocks, &StockMarketSummary::code, stock::kSymbolStock);
}

Table MembersView::TableOf(bool /*all_columns*/) const {
  return RankedTable(data().stocks, {"row", first_row()});
}

std::optional<std::size_t> MembersView::total() const {
  return data().stocks.empty() ? std::nullopt : std::optional(static_cast<std::size_t>(data().total_num));
}

std::string MembersView::Note() const {
  return std::to_string(data().total_num) + " stocks in all";
}

Sheet MembersView::AsSheet() const {
  Sheet sheet = SheetOf(ranking::kStockMarketSummaryTable, data().stocks);
  sheet.json = [stocks = sheet.json, total = data().total_num](JsonWriter& json) {
    stocks(json);
    json.Member("total_num", total);
  };
  return sheet;
}

// --- The first by a column

template <class Service, class Row>
Table RankingView<Service, Row>::AsTable() const {
  return RankedTable(this->figures());
}

template <class Service, class Row>
std::vector<Security> RankingView<Service, Row>::Securities() const {
  if constexpr (std::is_same_v<Row, StockMarketSummary>) {
    return SecuritiesIn(this->figures(), &Row::code, stock::kSymbolStock);
  } else {
    return SecuritiesIn(this->figures(), &Row::bk, stock::kSymbolPlate);
  }
}

template <class Service, class Row>
Sheet RankingView<Service, Row>::AsSheet() const {
  if constexpr (std::is_same_v<Row, StockMarketSummary>) {
    return SheetOf(ranking::kStockMarketSummaryTable, this->figures());
  } else {
    return SheetOf(ranking::kPlateMarketSummaryTable, this->figures());
  }
}

template <class Service, class Row>
std::string RankingView<Service, Row>::Title() const {
  const std::string what = std::is_same_v<Row, StockMarketSummary>
                               ? std::string(HelpOf(Boards(), this->choice().group))
                               : this->GroupName() + " plates";
  return "top " + std::to_string(count_) + " of " + what + " " + this->choice().order.Title();
}

template <class Service, class Row>
std::wstring RankingView<Service, Row>::Key() const {
  return Wide(this->GroupName() + " " + this->choice().order.Key() + " " + std::to_string(count_));
}

template class RankingView<IStockRanking, StockMarketSummary>;
template class RankingView<IPlateRanking, PlateMarketSummary>;

StockRankingView::StockRankingView(const ViewContext& context, const ListChoice& choice, std::int32_t count,
                                   bool five_minutes)
    : RankingView(context, kStockRankingFeed, Boards(), choice, count), five_minutes_(five_minutes) {
  FollowList();
}

void StockRankingView::FollowList() {
  Follow(
      five_minutes_ ? kFiveMinutesFeed : kStockRankingFeed,
      [board = choice().group, five_minutes = five_minutes_] {
        return GetStockRanking(board, five_minutes, false);
      },
      Target());
}

bool StockRankingView::Turn(Knob knob, int step) {
  if (knob != Knob::kSpan) {
    return RankingView::Turn(knob, step);
  }
  five_minutes_ = !five_minutes_;
  FollowList();
  return true;
}

std::optional<KnobSetting> StockRankingView::SettingOf(Knob knob) const {
  return knob == Knob::kSpan ? KnobSetting{Spans(), five_minutes_ ? 1 : 0} : RankingView::SettingOf(knob);
}

std::string StockRankingView::Title() const {
  return RankingView::Title() + (five_minutes_ ? ", within five minutes" : "");
}

std::wstring StockRankingView::Key() const {
  return RankingView::Key() + (five_minutes_ ? L" five_minutes" : L"");
}

PlateRankingView::PlateRankingView(const ViewContext& context, const ListChoice& choice, std::int32_t count)
    : RankingView(context, kPlateRankingFeed, PlateKinds(), choice, count) {
  FollowList();
}

void PlateRankingView::FollowList() {
  Follow(
      kPlateRankingFeed, [kind = choice().group] { return GetPlateRanking(kind, false); }, Target());
}

// --- The user's own list

WatchListView::WatchListView(const ViewContext& context, const ListChoice& choice)
    : ListView(context, kWatchListFeed, &GetOptionalStockMarket, {}, choice) {
  FollowList();
}

void WatchListView::FollowList() {
  Follow({As<std::uint32_t>(choice().order.column), As<std::uint32_t>(choice().order.direction)});
}

std::string WatchListView::WhyNothingToAsk() const {
  return stock_host::WatchList().empty()
             ? "the watch list is empty; csm watchlist add SYMBOL, or + on the live screen, puts something in"
             : "";
}

std::string WatchListView::Title() const {
  const std::string order = choice().order.Title();
  return order.empty() ? "watch list" : "watch list " + order;
}

std::wstring WatchListView::Key() const {
  return Wide(choice().order.Key());
}

Table WatchListView::TableOf(bool all_columns) const {
  return WatchListTable(figures(), choice().Columns(WatchListLook(), all_columns));
}

std::vector<StyledLine> WatchListView::Lines(int width) const {
  const Table table = TableOf(width != std::numeric_limits<int>::max());
  return table.rows().empty() ? std::vector<StyledLine>() : table.Lines(width);
}

std::string WatchListView::Note() const {
  const std::string missing = has_data() ? MissingFrom(figures(), stock_host::WatchList()) : "";
  return missing.empty() ? "" : "no quote of: " + missing;
}

std::vector<Security> WatchListView::Securities() const {
  std::vector<Security> rows;
  for (const OptionalMarketItem& quote : figures()) {
    rows.push_back(SecurityOf(quote.code, quote.name));
  }
  return rows;
}

std::string WatchListView::WhyNothingIn(const Delivery<std::vector<OptionalMarketItem>>& delivery) const {
  return delivery.data.empty() ? "the server knows nothing of the watch list" : "";
}

Sheet WatchListView::AsSheet() const {
  Sheet sheet = SheetOf(quotes::kFigureTable, figures());
  sheet.json = [quotes = figures()](JsonWriter& json) {
    json.Array(quotes, [&json](const OptionalMarketItem& quote) {
      json.Object([&] {
        json.Member("symbol_type", static_cast<std::int32_t>(quote.symbol_type));
        WriteMembers(json, quotes::kWatchListTable, quote);
        json.Member("plate", quote.plate);
      });
    });
  };
  return sheet;
}

// --- Codes and names

ItemsView::ItemsView(const ViewContext& context, Of of, const ListChoice& choice)
    : AnswerView(context, of == Of::kStocks ? kStockItemsFeed : kPlateItemsFeed), of_(of), choice_(choice) {
  Begin();
}

bool ItemsView::Ask(const std::function<void(const CodeNameList&)>& done) {
  return of_ == Of::kStocks ? AskForItems(GetStockMarket(), choice_, done)
                            : AskForItems(GetPlateMarket(), choice_, done);
}

// The wanted rows: the server sends all.
CodeNameList ItemsView::Rows() const {
  const CodeNameList& items = figures();
  const RowRange rows = choice_.rows.value_or(RowRange{0, RowRange::kOpen});
  const std::size_t end = std::min<std::size_t>(rows.end, items.size());
  const std::size_t start = std::min<std::size_t>(rows.start, end);
  return {items.begin() + static_cast<std::ptrdiff_t>(start),
          items.begin() + static_cast<std::ptrdiff_t>(end)};
}

std::wstring ItemsView::Key() const {
  const std::string_view what = NameOf(of_ == Of::kStocks ? Boards() : PlateKinds(), choice_.group);
  return choice_.Key(L"items " + Wide(what), choice_.rows.value_or(RowRange{0, RowRange::kOpen}));
}

std::string ItemsView::Note() const {
  return std::to_string(Rows().size()) + " of " + std::to_string(figures().size());
}

}  // namespace cli

#include "cli/views/list_views.h"

#include <algorithm>
#include <limits>
#include <set>
#include <string_view>
#include <utility>

#include "cli/format/china_time.h"
#include "cli/format/csv.h"
#include "cli/format/figures.h"
#include "cli/format/index_rows.h"
#include "cli/format/quote_tables.h"
#include "cli/format/record_json.h"
#include "host_services/stock_host.h"
#include "quotes/index_market_table.h"
#include "quotes/stock_market_item_table.h"
#include "ranking/plate_market_summary_table.h"
#include "ranking/stock_market_summary_table.h"

namespace cli {
namespace {

constexpr std::chrono::seconds kUntilNextNames(10);
constexpr std::chrono::seconds kNamesLast(60);

std::wstring Wide(std::string_view ascii) {
  return {ascii.begin(), ascii.end()};
}

template <class Number>
Number As(int number) {
  return static_cast<Number>(number);
}

void Reverse(Order& order) {
  order.direction = order.direction == kAscending ? kDescending : kAscending;
}

std::vector<MemberColumn> ColumnsFor(const ListChoice& choice, const ListLook& look, bool all) {
  const std::string_view sorted_by = NameOf(choice.order.columns, choice.order.column);
  if (!choice.columns.empty()) {
    return look.Chosen(choice.columns);
  }
  return all ? look.All(sorted_by) : look.Usual(sorted_by);
}

void WriteCodeAndName(JsonWriter& json, const std::wstring& code, const std::wstring& name) {
  json.BeginObject();
  json.Key("code");
  json.Value(code);
  json.Key("name");
  json.Value(name);
  json.EndObject();
}

}  // namespace

std::wstring ListChoice::Key(const std::wstring& what, const RowRange& shown) const {
  return what + Wide(" " + order.Key() + " " + RowsText(shown));
}

// --- Indices

IndexView::IndexView(const ViewContext& context) : ServiceView(context, kIndexFeed, &GetIndexMarket) {
  Follow(std::wstring());
}

Table IndexView::AsTable() const {
  Table table(IndexColumns());
  for (const IndexMarketSummary& quote :
       newest() == nullptr ? std::vector<IndexMarketSummary>() : newest()->data) {
    table.Add(IndexCells(quote));
  }
  return table;
}

// A row for each quote, behind the time at which it arrived.
std::vector<StyledLine> IndexView::LogLines(bool with_header) const {
  std::vector<Column> columns = IndexColumns();
  columns.insert(columns.begin(), Column{"time", Align::kLeft, 8});
  Table table(columns);
  const Cell time{ClockTime(server_time()), Tone::kDim};
  for (const IndexMarketSummary& quote : newest()->data) {
    std::vector<Cell> cells = IndexCells(quote);
    cells.insert(cells.begin(), time);
    table.Add(std::move(cells));
  }
  if (newest()->data.empty()) {
    table.Add({time, {"(no index in the answer)"}});
  }
  return with_header ? table.Lines() : table.Rows();
}

std::string IndexView::Csv() const {
  return CsvOf(quotes::kIndexMarketSummaryTable, newest()->data);
}

void IndexView::WriteData(JsonWriter& json) const {
  WriteRecords(json, quotes::kIndexMarketSummaryTable, newest()->data);
}

// --- Lists that can be changed

template <class Service, class Data, class KeyType>
bool ListView<Service, Data, KeyType>::Turn(Knob knob, int step) {
  if (knob == Knob::kGroup && !groups_.empty()) {
    choice_.group = StepFrom(groups_, choice_.group, step);
  } else if (knob == Knob::kColumn) {
    choice_.order.column = StepFrom(choice_.order.columns, choice_.order.column, step);
  } else if (knob == Knob::kDirection) {
    Reverse(choice_.order);
  } else {
    return false;
  }
  FollowList();
  return true;
}

template <class Service, class Data, class KeyType>
void ListView<Service, Data, KeyType>::OrderBy(int column) {
  Order& order = choice_.order;
  if (std::exchange(order.column, column) == column) {
    Reverse(order);
  } else {
    const std::string_view name = NameOf(order.columns, column);
    order.direction = name == "code" || name == "name" ? kAscending : kDescending;
  }
  FollowList();
}

template <class Service, class Data, class KeyType>
std::optional<KnobSetting> ListView<Service, Data, KeyType>::SettingOf(Knob knob) const {
  switch (knob) {
    case Knob::kGroup:
      return groups_.empty() ? std::nullopt : std::optional(KnobSetting{groups_, choice_.group});
    case Knob::kColumn:
      return KnobSetting{choice_.order.columns, choice_.order.column};
    case Knob::kDirection:
      return KnobSetting{Directions(), choice_.order.direction};
    default:
      return std::nullopt;
  }
}

// --- Lists that come page by page

template <class Service, class Data, class KeyType>
void PagedView<Service, Data, KeyType>::FollowList() {
  if (!this->choice().rows) {
    range_ = {0, range_.end - range_.start};
  }
  data_ = {};
  first_ = 0;
  whole_.clear();
  names_.Forget();
  names_asked_ = {};
  this->Follow(Target());
}

template <class Service, class Data, class KeyType>
void PagedView<Service, Data, KeyType>::SetRange(const RowRange& rows) {
  if (!this->choice().rows && rows != range_) {
    range_ = rows;
    this->Follow(Target());
  }
}

template <class Service, class Data, class KeyType>
std::optional<std::size_t> PagedView<Service, Data, KeyType>::total() const {
  if (const auto told = TotalIn(data_)) {
    return told;
  }
  return whole_.empty() ? std::nullopt : std::optional(whole_.size());
}

template <class Service, class Data, class KeyType>
std::vector<MemberColumn> PagedView<Service, Data, KeyType>::Columns(const ListLook& look, bool all) const {
  return ColumnsFor(this->choice(), look, all);
}

template <class Service, class Data, class KeyType>
std::vector<StyledLine> PagedView<Service, Data, KeyType>::Lines(int width) const {
  const Table table = TableOf(width != std::numeric_limits<int>::max());
  return table.rows().empty() ? std::vector<StyledLine>{{{"(no row)", Tone::kDim}}} : table.Lines(width);
}

template <class Service, class Data, class KeyType>
std::vector<Security> PagedView<Service, Data, KeyType>::Securities() const {
  return SecuritiesIn(data_);
}

template <class Service, class Data, class KeyType>
void PagedView<Service, Data, KeyType>::Resume(Observer& observer) {
  observer.Resume(true);
  if (whole_.empty() && !this->choice().rows) {
    AskForNamesNow();
  }
}

template <class Service, class Data, class KeyType>
void PagedView<Service, Data, KeyType>::OnData() {
  data_ = this->newest()->data;
  first_ = range_.start;
  if (!this->choice().rows &&
      Clock::now() - names_asked_ >= (whole_.empty() ? kUntilNextNames : kNamesLast)) {
    AskForNamesNow();
  }
}

template <class Service, class Data, class KeyType>
void PagedView<Service, Data, KeyType>::AskForNamesNow() {
  names_asked_ = Clock::now();
  static_cast<void>(AskForNames(names_.Sender()));
}

template <class Service, class Data, class KeyType>
void PagedView<Service, Data, KeyType>::TakeNames(const CodeNameList& list) {
  whole_.clear();
  for (const auto& [code, name] : list) {
    whole_.push_back({code, name, L"", 0});
  }
  this->context().changed();
  this->TellArrival();
}

// The rows that are there are newer than the order of the whole list.
template <class Service, class Data, class KeyType>
std::vector<BaseInfoItem> PagedView<Service, Data, KeyType>::WholeList() const {
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

BoardView::BoardView(const ViewContext& context, const ListChoice& choice)
    : PagedView(context, kBoardFeed, &GetStockMarket, Boards(), choice) {
  FollowList();
}

std::string BoardView::Title() const {
  return "board: " + std::string(HelpOf(Boards(), choice().group)) + " " + choice().order.Title() +
         RangeText();
}

std::wstring BoardView::Key() const {
  return choice().Key(Wide(GroupName()), range());
}

StockRangeRankingTarget BoardView::Target() const {
  return {As<std::uint32_t>(choice().group), As<std::uint32_t>(choice().order.column),
          As<std::uint32_t>(choice().order.direction), Asked().start, Asked().end};
}

std::vector<Security> BoardView::SecuritiesIn(const Quotes& quotes) const {
  std::vector<Security> rows;
  for (const StockMarketItem& quote : quotes) {
    rows.push_back({quote.code, quote.name, stock::kSymbolStock});
  }
  return rows;
}

Table BoardView::TableOf(bool all_columns) const {
  return BoardTable(data(), Columns(BoardLook(), all_columns));
}

bool BoardView::AskForNames(const CodeNameCallback& done) {
  IStockMarket* const market = GetStockMarket();
  if (market != nullptr) {
    market->FetchStockItems(choice().order.column, choice().order.direction, choice().group, done);
  }
  return market != nullptr;
}

std::string BoardView::Csv() const {
  return CsvOf(quotes::kFigureTable, data());
}

void BoardView::WriteData(JsonWriter& json) const {
  WriteRecords(json, quotes::kBoardTable, data());
}

PlatesView::PlatesView(const ViewContext& context, const ListChoice& choice)
    : PagedView(context, kPlatesFeed, &GetPlateMarket, PlateKinds(), choice) {
  FollowList();
}

std::string PlatesView::Title() const {
  return GroupName() + " plates " + choice().order.Title() + RangeText();
}

std::wstring PlatesView::Key() const {
  return choice().Key(Wide(GroupName()), range());
}

PlateRangeRankingTarget PlatesView::Target() const {
  return {As<std::uint32_t>(choice().group), As<std::uint32_t>(choice().order.column),
          As<std::uint32_t>(choice().order.direction), Asked().start, Asked().end};
}

std::vector<Security> PlatesView::SecuritiesIn(const Quotes& quotes) const {
  std::vector<Security> rows;
  for (const StockMarketItem& quote : quotes) {
    rows.push_back({quote.code, quote.name, stock::kSymbolPlate});
  }
  return rows;
}

Table PlatesView::TableOf(bool all_columns) const {
  return PlateTable(data(), Columns(PlatesLook(), all_columns));
}

bool PlatesView::AskForNames(const CodeNameCallback& done) {
  IPlateMarket* const market = GetPlateMarket();
  if (market != nullptr) {
    market->FetchPlateItems(choice().order.column, choice().order.direction, choice().group, done);
  }
  return market != nullptr;
}

std::string PlatesView::Csv() const {
  return CsvOf(quotes::kPlateTable, data());
}

void PlatesView::WriteData(JsonWriter& json) const {
  WriteRecords(json, quotes::kPlateTable, data());
}

MembersView::MembersView(const ViewContext& context, const ListChoice& choice)
    : PagedView(context, kMembersFeed, &GetPlateStockMarket, {}, choice) {
  FollowNothing("no plate is selected");
}

std::string MembersView::Title() const {
  return TitleOf("stocks", plate_) + " " + choice().order.Title() + RangeText();
}

std::wstring MembersView::Key() const {
  return choice().Key(plate_.code, range());
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

std::vector<Security> MembersView::SecuritiesIn(const PlateStockMarketData& data) const {
  std::vector<Security> rows;
  for (const StockMarketSummary& stock : data.stocks) {
    rows.push_back({stock.code, stock.name, stock::kSymbolStock});
  }
  return rows;
}

Table MembersView::TableOf(bool /*all_columns*/) const {
  return RankedStockTable(data().stocks, {"row", first_row()});
}

std::optional<std::size_t> MembersView::TotalIn(const PlateStockMarketData& data) const {
  return data.stocks.empty() ? std::nullopt : std::optional(static_cast<std::size_t>(data.total_num));
}

std::string MembersView::Note() const {
  return std::to_string(data().total_num) + " stocks in all";
}

std::string MembersView::Csv() const {
  return CsvOf(ranking::kStockMarketSummaryTable, data().stocks);
}

void MembersView::WriteData(JsonWriter& json) const {
  WriteRecords(json, ranking::kStockMarketSummaryTable, data().stocks);
  json.Key("total_num");
  json.Value(data().total_num);
}

template class ListView<IStockRanking, std::vector<StockMarketSummary>, RankingTarget>;
template class ListView<IPlateRanking, std::vector<PlateMarketSummary>, RankingTarget>;
template class ListView<IOptionalStockMarket, std::vector<OptionalMarketItem>, SortingTarget>;
template class PagedView<IStockMarket, Quotes, StockRangeRankingTarget>;
template class PagedView<IPlateMarket, Quotes, PlateRangeRankingTarget>;
template class PagedView<IPlateStockMarket, PlateStockMarketData, PlateStockRankingTarget>;

// --- The first by a column

StockRankingView::StockRankingView(const ViewContext& context, const ListChoice& choice, std::int32_t count,
                                   bool five_minutes)
    : ListView(context, kStockRankingFeed, nullptr, Boards(), choice),
      count_(count),
      five_minutes_(five_minutes) {
  FollowList();
}

void StockRankingView::FollowList() {
  Follow(five_minutes_ ? kFiveMinutesFeed : kStockRankingFeed,
         [board = choice().group, five_minutes = five_minutes_] {
           return GetStockRanking(board, five_minutes, false);
         },
         {choice().order.column, choice().order.direction, count_});
}

bool StockRankingView::Turn(Knob knob, int step) {
  if (knob != Knob::kSpan) {
    return ListView::Turn(knob, step);
  }
  five_minutes_ = !five_minutes_;
  FollowList();
  return true;
}

std::optional<KnobSetting> StockRankingView::SettingOf(Knob knob) const {
  return knob == Knob::kSpan ? KnobSetting{Spans(), five_minutes_ ? 1 : 0} : ListView::SettingOf(knob);
}

std::string StockRankingView::Title() const {
  return "top " + std::to_string(count_) + " of " + std::string(HelpOf(Boards(), choice().group)) + " " +
         choice().order.Title() + (five_minutes_ ? ", within five minutes" : "");
}

std::wstring StockRankingView::Key() const {
  return Wide(GroupName() + " " + choice().order.Key() + " " + std::to_string(count_) +
              (five_minutes_ ? " five_minutes" : ""));
}

Table StockRankingView::AsTable() const {
  return RankedStockTable(newest() == nullptr ? std::vector<StockMarketSummary>() : newest()->data, {});
}

std::vector<Security> StockRankingView::Securities() const {
  std::vector<Security> rows;
  for (const StockMarketSummary& row :
       newest() == nullptr ? std::vector<StockMarketSummary>() : newest()->data) {
    rows.push_back({row.code, row.name, stock::kSymbolStock});
  }
  return rows;
}

std::string StockRankingView::WhyNothingIn(const Delivery<std::vector<StockMarketSummary>>& delivery) const {
  return delivery.data.empty() ? "the list has no row" : "";
}

std::string StockRankingView::Csv() const {
  return CsvOf(ranking::kStockMarketSummaryTable, newest()->data);
}

void StockRankingView::WriteData(JsonWriter& json) const {
  WriteRecords(json, ranking::kStockMarketSummaryTable, newest()->data);
}

PlateRankingView::PlateRankingView(const ViewContext& context, const ListChoice& choice, std::int32_t count)
    : ListView(context, kPlateRankingFeed, nullptr, PlateKinds(), choice), count_(count) {
  FollowList();
}

void PlateRankingView::FollowList() {
  Follow(kPlateRankingFeed, [kind = choice().group] { return GetPlateRanking(kind, false); },
         {choice().order.column, choice().order.direction, count_});
}

std::string PlateRankingView::Title() const {
  return "top " + std::to_string(count_) + " of " + GroupName() + " plates " + choice().order.Title();
}

std::wstring PlateRankingView::Key() const {
  return Wide(GroupName() + " " + choice().order.Key() + " " + std::to_string(count_));
}

Table PlateRankingView::AsTable() const {
  return RankedPlateTable(newest() == nullptr ? std::vector<PlateMarketSummary>() : newest()->data);
}

std::vector<Security> PlateRankingView::Securities() const {
  std::vector<Security> rows;
  for (const PlateMarketSummary& row :
       newest() == nullptr ? std::vector<PlateMarketSummary>() : newest()->data) {
    rows.push_back({row.bk, row.name, stock::kSymbolPlate});
  }
  return rows;
}

std::string PlateRankingView::WhyNothingIn(const Delivery<std::vector<PlateMarketSummary>>& delivery) const {
  return delivery.data.empty() ? "the list has no row" : "";
}

std::string PlateRankingView::Csv() const {
  return CsvOf(ranking::kPlateMarketSummaryTable, newest()->data);
}

void PlateRankingView::WriteData(JsonWriter& json) const {
  WriteRecords(json, ranking::kPlateMarketSummaryTable, newest()->data);
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
  return WatchListTable(newest() == nullptr ? std::vector<OptionalMarketItem>() : newest()->data,
                        ColumnsFor(choice(), WatchListLook(), all_columns));
}

std::vector<StyledLine> WatchListView::Lines(int width) const {
  const Table table = TableOf(width != std::numeric_limits<int>::max());
  return table.rows().empty() ? std::vector<StyledLine>() : table.Lines(width);
}

std::string WatchListView::Note() const {
  const std::string missing = newest() == nullptr ? "" : MissingFrom(newest()->data, stock_host::WatchList());
  return missing.empty() ? "" : "no quote of: " + missing;
}

std::vector<Security> WatchListView::Securities() const {
  std::vector<Security> rows;
  for (const OptionalMarketItem& quote :
       newest() == nullptr ? std::vector<OptionalMarketItem>() : newest()->data) {
    rows.push_back(SecurityOf(quote.code, quote.name));
  }
  return rows;
}

std::string WatchListView::WhyNothingIn(const Delivery<std::vector<OptionalMarketItem>>& delivery) const {
  return delivery.data.empty() ? "the server knows nothing of the watch list" : "";
}

std::string WatchListView::Csv() const {
  return CsvOf(quotes::kFigureTable, newest()->data);
}

void WatchListView::WriteData(JsonWriter& json) const {
  json.BeginArray();
  for (const OptionalMarketItem& quote :
       newest() == nullptr ? std::vector<OptionalMarketItem>() : newest()->data) {
    json.BeginObject();
    json.Key("symbol_type");
    json.Value(static_cast<std::int32_t>(quote.symbol_type));
    WriteMembers(json, quotes::kWatchListTable, quote);
    json.Key("plate");
    json.Value(quote.plate);
    json.EndObject();
  }
  json.EndArray();
}

// --- Codes and names

ItemsView::ItemsView(const ViewContext& context, Of of, const ListChoice& choice)
    : AnswerView(context, of == Of::kStocks ? kStockItemsFeed : kPlateItemsFeed), of_(of), choice_(choice) {
  Begin();
}

bool ItemsView::Ask(const std::function<void(const CodeNameList&)>& done) {
  const Order& order = choice_.order;
  IStockMarket* const stocks = of_ == Of::kStocks ? GetStockMarket() : nullptr;
  IPlateMarket* const plates = of_ == Of::kPlates ? GetPlateMarket() : nullptr;
  if (stocks != nullptr) {
    stocks->FetchStockItems(order.column, order.direction, choice_.group, done);
  } else if (plates != nullptr) {
    plates->FetchPlateItems(order.column, order.direction, choice_.group, done);
  }
  return stocks != nullptr || plates != nullptr;
}

// The wanted rows: the server sends all.
CodeNameList ItemsView::Rows() const {
  const CodeNameList items = data() == nullptr ? CodeNameList() : *data();
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
  return std::to_string(Rows().size()) + " of " + std::to_string(data() == nullptr ? 0 : data()->size());
}

Table ItemsView::AsTable() const {
  Table table({{"code", Align::kLeft, 8}, {"name"}});
  for (const auto& [code, name] : Rows()) {
    table.Add({{Printable(code)}, {Printable(name)}});
  }
  return table;
}

std::string ItemsView::Csv() const {
  std::string text = "code,name\n";
  for (const auto& [code, name] : Rows()) {
    text += CsvField(code) + "," + CsvField(name) + "\n";
  }
  return text;
}

void ItemsView::WriteData(JsonWriter& json) const {
  json.BeginArray();
  for (const auto& [code, name] : Rows()) {
    WriteCodeAndName(json, code, name);
  }
  json.EndArray();
}

}  // namespace cli

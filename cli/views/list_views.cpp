#include "cli/views/list_views.h"

#include "cli/format/china_time.h"
#include "cli/format/figures.h"
#include "cli/format/quote_rows.h"
#include "host_services/stock_host.h"
#include "quotes/index_market_table.h"

namespace cli {

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

// --- Stocks of a plate

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

std::optional<std::size_t> MembersView::total() const {
  return data().stocks.empty() ? std::nullopt : std::optional(static_cast<std::size_t>(data().total_num));
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

StockRankingView::StockRankingView(const ViewContext& context, const ListChoice& choice, std::int32_t count,
                                   bool five_minutes)
    : RankingView(context, kStockRankingFeed, kBoards, choice, count), five_minutes_(five_minutes) {
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
  return knob == Knob::kSpan ? KnobSetting{kSpans, five_minutes_ ? 1 : 0} : RankingView::SettingOf(knob);
}

// --- The user's own list

WatchListView::WatchListView(const ViewContext& context, const ListChoice& choice)
    : ListView(context, kWatchListFeed, &GetOptionalStockMarket, {}, choice) {
  FollowList();
}

// The service asks when it is resumed, which may be before the host has told it the list: once that is told,
// after the service to this view, it has something to ask for.
void WatchListView::Resume(Observer& observer) {
  observer.Resume(true);
  IUserOptionalStock* const list = GetUserOptionalStock();
  if (codes_ == nullptr && list != nullptr) {
    codes_ = std::make_unique<ServiceObserver<IUserOptionalStock, Codes>>(
        *list, context().post, [this, &service = observer.service()](const Delivery<Codes>&) {
          if (!has_data() && shown()) {
            service.Refresh();
          }
        });
  }
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
  const std::string_view what = NameOf(of_ == Of::kStocks ? kBoards : kPlateKinds, choice_.group);
  return choice_.Key(L"items " + Wide(what), choice_.rows.value_or(RowRange{0, RowRange::kOpen}));
}

}  // namespace cli

#include "desktop/pane_kinds.h"

#include <algorithm>

#include "c_stock_market.h"
#include "cli/format/text.h"
#include "cli/views/market_views.h"
#include "desktop/chart_panes.h"
#include "desktop/charts/breadth_charts.h"
#include "desktop/charts/candle_chart.h"
#include "desktop/charts/flow_bars.h"
#include "desktop/list_pane.h"
#include "desktop/quote_sheet.h"

namespace desktop {
namespace {

using MadePane = std::unique_ptr<Pane>;

constexpr std::int32_t kRankedRows = 50;

cli::ListChoice ByChange(cli::Choices columns, int direction = cli::kDescending) {
  cli::ListChoice choice;
  choice.order = {columns, cli::NumberOf(columns, "change").value_or(columns.front().number), direction};
  return choice;
}

template <class Picture, class View>
MadePane MakePicture(Desk& desk, const QString& id, std::unique_ptr<View> view,
                     typename PicturePane<Picture, View>::Fill fill) {
  return std::make_unique<PicturePane<Picture, View>>(desk, id, std::move(view), fill);
}

MadePane MakeQuote(Desk& desk, const QString& id) {
  return MakePicture<QuoteSheet>(
      desk, id, std::make_unique<cli::QuoteView>(desk.views()),
      +[](QuoteSheet& sheet, const cli::QuoteView& view) { sheet.Show(view.newest()->data); });
}

MadePane MakeMinutes(Desk& desk, const QString& id) {
  return std::make_unique<MinutePane>(desk, id);
}

MadePane MakeCandles(Desk& desk, const QString& id) {
  return MakePicture<CandleChart>(
      desk, id, std::make_unique<cli::KLineView>(desk.views(), cli::kByDay, cli::kUnadjusted, std::nullopt),
      +[](CandleChart& chart, const cli::KLineView& view) { chart.SetSeries(view.newest()->data); });
}

MadePane MakeFlows(Desk& desk, const QString& id) {
  return MakePicture<FlowBars>(
      desk, id, std::make_unique<cli::FlowView>(desk.views()),
      +[](FlowBars& bars, const cli::FlowView& view) { bars.SetFlows(view.newest()->data); });
}

template <class View>
MadePane MakeCurve(Desk& desk, const QString& id, std::unique_ptr<cli::View> view) {
  return MakePicture<SessionChart>(
      desk, id, std::move(view), +[](SessionChart& chart, const cli::View& shown) {
        chart.SetPicture(static_cast<const View&>(shown).Picture());
      });
}

MadePane MakeDistribution(Desk& desk, const QString& id) {
  return MakePicture<DistributionChart>(
      desk, id, std::make_unique<cli::DistributionView>(desk.views(), 0),
      +[](DistributionChart& chart, const cli::DistributionView& view) {
        chart.SetItem(view.newest()->data, view.Session());
      });
}

template <class View>
MadePane MakeList(Desk& desk, const QString& id, std::unique_ptr<View> view,
                  ListTraits traits = {.steps = false}) {
  return std::make_unique<ListPane>(desk, id, std::move(view), traits);
}

// Of the members it is the plate that was selected last.
template <class View, cli::Choices (*kColumns)()>
MadePane MakeStepped(Desk& desk, const QString& id) {
  return MakeList(desk, id, std::make_unique<View>(desk.views(), ByChange(kColumns())), ListTraits{});
}

MadePane MakeWatchList(Desk& desk, const QString& id) {
  cli::ListChoice own;
  own.order = {cli::WatchListColumns(), 0, cli::kDescending};
  return MakeList(desk, id, std::make_unique<cli::WatchListView>(desk.views(), own),
                  ListTraits{.is_watch_list = true});
}

template <int kDirection, bool kFiveMinutes>
MadePane MakeRanking(Desk& desk, const QString& id) {
  return MakeList(desk, id,
                  std::make_unique<cli::StockRankingView>(
                      desk.views(), ByChange(cli::StockColumns(), kDirection), kRankedRows, kFiveMinutes));
}

MadePane MakePlateRanking(Desk& desk, const QString& id) {
  return MakeList(
      desk, id,
      std::make_unique<cli::PlateRankingView>(desk.views(), ByChange(cli::PlateColumns()), kRankedRows));
}

// What needs the lists of securities, until they are there.
cli::Found NotYet(const Desk& desk) {
  cli::Found nothing;
  nothing.why_empty = desk.why_no_lists().toStdString();
  return nothing;
}

MadePane MakePlatesOf(Desk& desk, const QString& id) {
  const auto find = [&desk](const cli::Security& security) {
    if (desk.lists() == nullptr) {
      return NotYet(desk);
    }
    if (security.type != stock::kSymbolStock) {
      cli::Found nothing;
      nothing.why_empty = security.code.empty() ? cli::kNothingSelected : "only stocks belong to plates";
      return nothing;
    }
    return cli::FindPlatesOf(*GetStockCommon(), cli::Utf8(security.code));
  };
  return MakeList(desk, id, std::make_unique<cli::FoundView>(desk.views(), "plates", find));
}

MadePane MakeCalendar(Desk& desk, const QString& id) {
  const auto find = [&desk](const cli::Security&) {
    return desk.lists() == nullptr ? NotYet(desk) : cli::FindCalendar(0);
  };
  auto view = std::make_unique<cli::FoundView>(desk.views(), "calendar", find);
  return MakeList(desk, id, std::move(view));
}

constexpr PaneKind kPanes[] = {
    {"board", "Board", "行情", false, &MakeStepped<cli::BoardView, &cli::StockColumns>},
    {"quote", "Quote", "盘口", true, &MakeQuote},
    {"minutes", "Minutes", "分时", true, &MakeMinutes},
    {"candles", "Candles", "K线", true, &MakeCandles},
    {"flows", "Flows", "资金流向", true, &MakeFlows},
    {"plates-of", "Plates of the stock", "所属板块", true, &MakePlatesOf},
    {"watch", "Watch list", "自选股", false, &MakeWatchList},
    {"plates", "Plates", "板块", false, &MakeStepped<cli::PlatesView, &cli::PlateColumns>},
    {"members", "Stocks of the plate", "板块成份股", false,
     &MakeStepped<cli::MembersView, &cli::PlateColumns>},
    {"gainers", "Rises", "涨幅榜", false, &MakeRanking<cli::kDescending, false>},
    {"losers", "Falls", "跌幅榜", false, &MakeRanking<cli::kAscending, false>},
    {"risers-now", "Rises of five minutes", "五分钟涨幅", false, &MakeRanking<cli::kDescending, true>},
    {"fallers-now", "Falls of five minutes", "五分钟跌幅", false, &MakeRanking<cli::kAscending, true>},
    {"plate-ranking", "Ranking of plates", "板块排行", false, &MakePlateRanking},
    {"events", "Unusual events", "异动", false,
     [](Desk& desk, const QString& id) {
       return MakeList(desk, id, std::make_unique<cli::EventsView>(desk.views(), 0, std::nullopt));
     }},
    {"strength", "Stocks up and down", "涨跌家数", false,
     [](Desk& desk, const QString& id) {
       return MakeCurve<cli::StrengthView>(desk, id, cli::MakeStrengthView(desk.views(), 0));
     }},
    {"effect", "Money-making effect", "赚钱效应", false,
     [](Desk& desk, const QString& id) {
       return MakeCurve<cli::EffectView>(desk, id, cli::MakeEffectView(desk.views(), 0));
     }},
    {"distribution", "Spread of changes", "涨跌分布", false, &MakeDistribution},
    {"margin", "Margin trading", "融资融券", false,
     [](Desk& desk, const QString& id) {
       return MakeList(desk, id, std::make_unique<cli::MarginView>(desk.views(), std::nullopt));
     }},
    {"new-shares", "New shares", "新股申购", false,
     [](Desk& desk, const QString& id) {
       return MakeList(desk, id, std::make_unique<cli::PurchaseView>(desk.views()));
     }},
    {"calendar", "Trading days", "交易日历", false, &MakeCalendar},
};

}  // namespace

std::span<const PaneKind> PaneKinds() {
  return kPanes;
}

const PaneKind* FindPaneKind(std::string_view name) {
  const auto* const found = std::find_if(std::begin(kPanes), std::end(kPanes),
                                         [&](const PaneKind& kind) { return kind.name == name; });
  return found == std::end(kPanes) ? nullptr : found;
}

const std::vector<PageKind>& PageKinds() {
  using How = Placing::How;
  static const std::vector<PageKind>* const kPages = new std::vector<PageKind>{
      {"board",
       "Board",
       "行情",
       {{"board", ""},
        {"quote", "board", How::kRight, 22},
        {"minutes", "board", How::kBelow, 42},
        {"candles", "minutes", How::kRight, 50},
        {"flows", "quote", How::kBelow, 28}}},
      {"stock",
       "Stock",
       "个股",
       {{"candles", ""},
        {"quote", "candles", How::kRight, 26},
        {"minutes", "candles", How::kBelow, 48},
        {"flows", "quote", How::kBelow, 36},
        {"plates-of", "flows", How::kTab}}},
      {"watch",
       "Watch list",
       "自选",
       {{"watch", ""},
        {"quote", "watch", How::kRight, 28},
        {"minutes", "watch", How::kBelow, 48},
        {"events", "quote", How::kBelow, 28}}},
      {"plates",
       "Plates",
       "板块",
       {{"plates", ""},
        {"members", "plates", How::kRight, 58},
        {"quote", "members", How::kRight, 40},
        {"minutes", "members", How::kBelow, 40}}},
      {"ranks",
       "Rankings",
       "排行",
       {{"gainers", ""},
        {"losers", "gainers", How::kRight, 50},
        {"plate-ranking", "losers", How::kRight, 50},
        {"risers-now", "gainers", How::kBelow, 50},
        {"fallers-now", "losers", How::kBelow, 50},
        {"quote", "plate-ranking", How::kBelow, 50}}},
      {"breadth",
       "Breadth",
       "市场",
       {{"strength", ""},
        {"distribution", "strength", How::kRight, 42},
        {"effect", "strength", How::kBelow, 50}}},
      {"events",
       "Events",
       "异动",
       {{"events", ""}, {"minutes", "events", How::kRight, 66}, {"candles", "minutes", How::kBelow, 50}}},
      {"more",
       "More",
       "其他",
       {{"new-shares", ""},
        {"calendar", "new-shares", How::kRight, 40},
        {"margin", "new-shares", How::kBelow, 60}}},
  };
  return *kPages;
}

}  // namespace desktop

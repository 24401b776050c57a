#include "cli/screen/pages.h"

#include <utility>

#include "cli/screen/view_panel.h"
#include "cli/views/market_views.h"

namespace cli {
namespace {

using MakePanel = std::unique_ptr<Panel> (*)(PanelContext&);

constexpr std::int32_t kRankedRows = 30;

enum PanelNumber : std::size_t {
  kBoard,
  kQuote,
  kMinuteLine,
  kCandles,
  kStockRanking,
  kPlateRanking,
  kWatchList,
  kEvents,
  kFlow,
  kStrength,
  kDistribution,
  kMoneyEffect,
  kPlates,
};

template <class PanelType, class ViewType, class... Arguments>
std::unique_ptr<Panel> Make(PanelContext& context, Arguments... arguments) {
  return std::make_unique<PanelType>(context, std::make_unique<ViewType>(context.views, arguments...));
}

// In the order of their numbers.
constexpr MakePanel kPanels[] = {
    &MakeBoardPanel,
    &Make<ViewPanel, QuoteView>,
    &MakeMinuteLinePanel,
    &MakeKLinePanel,
    [](PanelContext& c) {
      return Make<ListPanel, StockRankingView>(c, ListBy(StockColumns()), kRankedRows, false);
    },
    [](PanelContext& c) { return Make<ListPanel, PlateRankingView>(c, ListBy(PlateColumns()), kRankedRows); },
    &MakeWatchListPanel,
    [](PanelContext& c) { return Make<ListPanel, EventsView>(c, 0U, std::nullopt); },
    &Make<ViewPanel, FlowView>,
    [](PanelContext& c) -> std::unique_ptr<Panel> {
      return std::make_unique<ChartPanel>(c, MakeStrengthView(c.views, 0));
    },
    [](PanelContext& c) { return Make<ViewPanel, DistributionView>(c, 0U); },
    [](PanelContext& c) -> std::unique_ptr<Panel> {
      return std::make_unique<ChartPanel>(c, MakeEffectView(c.views, 0));
    },
    &MakePlatesPanel};

// 80 columns hold the first two side by side; charts fit into all but that of the order book.
constexpr int kMainColumns = 46;
constexpr int kBookColumns = 31;
constexpr int kMoreColumns = 56;
constexpr int kListRows = 9;
constexpr int kChartRows = kLeastChart.rows + 2;
constexpr int kBookRows = 10;  // the rest is scrolled

}  // namespace

std::vector<std::unique_ptr<Panel>> MakePanels(PanelContext& context) {
  std::vector<std::unique_ptr<Panel>> panels;
  for (const MakePanel make : kPanels) {
    panels.push_back(make(context));
  }
  return panels;
}

std::vector<Page> Pages() {
  const PagePart minutes{kMinuteLine, kChartRows};
  const PagePart candles{kCandles, kChartRows};
  const PagePart strength{kStrength, kChartRows};
  const PagePart effect{kMoneyEffect, kChartRows};
  const PagePart events{kEvents, kListRows};
  const PagePart flow{kFlow, kListRows};
  const PageColumn book{kBookColumns, 1, {{kQuote, kBookRows}}};
  return {
      {"board", {{kMainColumns, 2, {{kBoard, kListRows}}}, book, {kMoreColumns, 1, {minutes, events, flow}}}},
      {"minute", {{kMainColumns, 3, {minutes}}, book, {kMoreColumns, 1, {flow, events}}}},
      {"candles", {{kMainColumns, 3, {candles}}, book, {kMoreColumns, 1, {minutes, flow}}}},
      {"ranks",
       {{kMoreColumns, 1, {{kStockRanking, kListRows}, {kPlateRanking, kListRows}}},
        {kMainColumns, 1, {{kBoard, kListRows}}}}},
      {"watch",
       {{kMainColumns, 2, {{kWatchList, kListRows}}}, book, {kMoreColumns, 1, {minutes, events, flow}}}},
      {"events", {{kMoreColumns, 1, {events, flow}}, book, {kMainColumns, 1, {minutes}}}},
      {"breadth", {{kMainColumns, 2, {strength, effect}}, {kBookColumns, 1, {{kDistribution, kChartRows}}}}},
      {"effect", {{kMainColumns, 3, {effect, strength}}, book}},
      {"plates",
       {{kMainColumns, 2, {{kPlates, kListRows}}}, book, {kMoreColumns, 1, {minutes, events, flow}}}}};
}

}  // namespace cli

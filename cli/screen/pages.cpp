#include "cli/screen/pages.h"

#include "cli/plot/axes.h"
#include "cli/screen/panels/board_panel.h"
#include "cli/screen/panels/breadth_panels.h"
#include "cli/screen/panels/events_panel.h"
#include "cli/screen/panels/flow_panel.h"
#include "cli/screen/panels/kline_panel.h"
#include "cli/screen/panels/minute_line_panel.h"
#include "cli/screen/panels/quote_panel.h"
#include "cli/screen/panels/ranking_panels.h"
#include "cli/screen/panels/watch_list_panel.h"

namespace cli {
namespace {

using MakePanel = std::unique_ptr<Panel> (*)(PanelContext&);

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
};

// In the order of their numbers.
constexpr MakePanel kPanels[] = {&MakeBoardPanel,     &MakeQuotePanel,        &MakeMinuteLinePanel,
                                 &MakeKLinePanel,     &MakeStockRankingPanel, &MakePlateRankingPanel,
                                 &MakeWatchListPanel, &MakeEventsPanel,       &MakeFlowPanel,
                                 &MakeStrengthPanel,  &MakeDistributionPanel, &MakeMoneyEffectPanel};

// 80 columns hold the first two side by side; charts fit into all but that of the order book.
constexpr int kMainColumns = 46;
constexpr int kBookColumns = 31;
constexpr int kMoreColumns = 56;
constexpr int kListRows = 9;
constexpr int kChartRows = kLeastChart.rows + 2;
constexpr int kBookRows = 16;

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
      {"minutes", {{kMainColumns, 3, {minutes}}, book, {kMoreColumns, 1, {flow, events}}}},
      {"candles", {{kMainColumns, 3, {candles}}, book, {kMoreColumns, 1, {minutes, flow}}}},
      {"ranks",
       {{kMoreColumns, 1, {{kStockRanking, kListRows}, {kPlateRanking, kListRows}}},
        {kMainColumns, 1, {{kBoard, kListRows}}}}},
      {"watch",
       {{kMainColumns, 2, {{kWatchList, kListRows}}}, book, {kMoreColumns, 1, {minutes, events, flow}}}},
      {"events", {{kMoreColumns, 1, {events, flow}}, book, {kMainColumns, 1, {minutes}}}},
      {"breadth", {{kMainColumns, 2, {strength, effect}}, {kBookColumns, 1, {{kDistribution, kChartRows}}}}},
      {"effect", {{kMainColumns, 3, {effect, strength}}, book}}};
}

}  // namespace cli

#include "cli/screen/page.h"

#include <algorithm>

#include "cli/screen/view_panel.h"
#include "cli/views/market_views.h"

namespace cli {
namespace {

struct Extent {
  int min;
  int share;
};

// How large each is: as many as `room` holds, from the first on, which takes all there is if it must.
std::vector<int> Divide(const std::vector<Extent>& extents, int room, int gap) {
  std::vector<int> sizes;
  int used = 0;
  int shares = 0;
  for (const Extent& extent : extents) {
    const int before = sizes.empty() ? 0 : gap;
    if (!sizes.empty() && used + before + extent.min > room) {
      break;
    }
    sizes.push_back(std::min(extent.min, room));
    used += before + sizes.back();
    shares += extent.share;
  }
  int left = room - used;
  for (std::size_t i = 0; i < sizes.size() && shares > 0; ++i) {
    const int more = left * extents[i].share / shares;
    sizes[i] += more;
    left -= more;
    shares -= extents[i].share;
  }
  if (!sizes.empty()) {
    sizes.front() += left;
  }
  return sizes;
}

template <class Items, class Min>
std::vector<Extent> ExtentsOf(const Items& items, Min&& min) {
  std::vector<Extent> extents;
  extents.reserve(items.size());
  for (const auto& item : items) {
    extents.push_back({min(item), item.share});
  }
  return extents;
}

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
      return Make<ListPanel, StockRankingView>(c, ListBy(kStockColumns), kRankedRows, false);
    },
    [](PanelContext& c) { return Make<ListPanel, PlateRankingView>(c, ListBy(kPlateColumns), kRankedRows); },
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
constexpr int kBookRows = 10;   // the rest is scrolled
constexpr int kSheetRows = 34;  // nothing is
constexpr int kSpreadRows = 14;

}  // namespace

std::vector<PlacedPart> Place(const Page& page, const Area& room) {
  std::vector<PlacedPart> placed;
  const std::vector<int> widths =
      Divide(ExtentsOf(page.columns, [](const PageColumn& column) { return column.min_columns; }),
             room.columns, kPageGap);
  int left = room.column;
  for (std::size_t i = 0; i < widths.size(); ++i) {
    const std::vector<PagePart>& parts = page.columns[i].parts;
    const std::vector<int> heights =
        Divide(ExtentsOf(parts, [](const PagePart& part) { return part.min_rows; }), room.rows, 0);
    int top = room.row;
    for (std::size_t j = 0; j < heights.size(); ++j) {
      placed.push_back({parts[j].panel, {left, top, widths[i], heights[j]}});
      top += heights[j];
    }
    left += widths[i] + kPageGap;
  }
  return placed;
}

Page BeginningWith(std::size_t panel, Page page) {
  for (auto column = page.columns.begin(); column != page.columns.end(); ++column) {
    const auto part = std::find_if(column->parts.begin(), column->parts.end(),
                                   [panel](const PagePart& one) { return one.panel == panel; });
    if (part != column->parts.end()) {
      std::rotate(column->parts.begin(), part, column->parts.end());
      std::rotate(page.columns.begin(), column, page.columns.end());
      break;
    }
  }
  return page;
}

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
      {"effect",
       {{kMainColumns, 3, {effect, strength}},
        {kBookColumns, 1, {{kQuote, kSheetRows}, {kDistribution, kSpreadRows}}}}},
      {"plates",
       {{kMainColumns, 2, {{kPlates, kListRows}}}, book, {kMoreColumns, 1, {minutes, events, flow}}}}};
}

}  // namespace cli

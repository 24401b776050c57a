#include "desktop/pane_kinds.h"

#include <algorithm>

#include "c_stock_market.h"
#include "cli/format/chart_headings.h"
#include "cli/format/market_rows.h"
#include "cli/format/text.h"
#include "cli/views/market_views.h"
#include "cli/views/security_views.h"
#include "desktop/charts/breadth_charts.h"
#include "desktop/charts/candle_chart.h"
#include "desktop/charts/flow_bars.h"
#include "desktop/charts/minute_chart.h"
#include "desktop/list_pane.h"
#include "desktop/quote_sheet.h"
#include "desktop/words.h"

namespace desktop {
namespace {

using MadePane = std::unique_ptr<Pane>;
using How = Placing::How;

constexpr std::int32_t kRankedRows = 50;
constexpr ListTraits kPlain = {.steps = false};

// One view and one picture of it: whatever `fill` puts into the picture once the view has something.
template <class Picture, class View>
class PicturePane final : public Pane {
 public:
  PicturePane(Desk& desk, const QString& id, std::unique_ptr<View> view,
              void (*fill)(Picture& picture, const View& view))
      : Pane(desk, id), view_(Add(std::move(view))), fill_(fill), picture_(new Picture) {
    for (const cli::Knob knob : view_.Knobs()) {
      AddKnob(knob);
    }
    SetBody(picture_);
  }

 private:
  void Draw() override {
    if (view_.has_data()) {
      fill_(*picture_, view_);
    }
  }

  View& view_;
  void (*const fill_)(Picture& picture, const View& view);
  Picture* const picture_;
};

// A picture that takes the view's newest data as they are.
template <class Picture, class View, auto kShow, auto... kArguments>
MadePane MakeShown(Desk& desk, const QString& id) {
  const auto fill = +[](Picture& picture, const View& view) { (picture.*kShow)(view.newest()->data); };
  return MadePane(new PicturePane(desk, id, std::make_unique<View>(desk.views(), kArguments...), fill));
}

template <class View, std::unique_ptr<cli::View> (*kMake)(const cli::ViewContext&, std::uint32_t)>
MadePane MakeCurve(Desk& desk, const QString& id) {
  const auto fill = +[](SessionChart& chart, const cli::View& view) {
    chart.SetPicture(static_cast<const View&>(view).Picture());
  };
  return MadePane(new PicturePane(desk, id, kMake(desk.views(), 0), fill));
}

MadePane MakeDistribution(Desk& desk, const QString& id) {
  const auto fill = +[](DistributionChart& chart, const cli::DistributionView& view) {
    chart.SetItem(view.newest()->data, view.Session());
  };
  return MadePane(new PicturePane(desk, id, std::make_unique<cli::DistributionView>(desk.views(), 0), fill));
}

// The minutes of the day or of the last days, with the market's events as marks.
class MinutePane final : public Pane {
 public:
  MinutePane(Desk& desk, const QString& id)
      : Pane(desk, id),
        line_(Add(std::make_unique<cli::MinuteLineView>(desk.views()))),
        events_(Add(std::make_unique<cli::EventsView>(desk.views(), 0, std::nullopt))),
        chart_(new MinuteChart) {
    auto* const days = new QComboBox;
    for (const int count : {1, 2, 3, 5, 10}) {
      days->addItem(count == 1 ? Word("Today", "分时") : Word("%1 days", "%1日").arg(count), count);
    }
    days->setFocusPolicy(Qt::NoFocus);
    AddTools().insertWidget(0, days);
    connect(days, QOverload<int>::of(&QComboBox::activated), this, [this, days] {
      const int count = days->currentData().toInt();
      line_.SelectDays(count == 1 ? 0 : line_.Session(), count);
      Draw();
      ShowState();
    });
    SetBody(chart_);
  }

 private:
  void Draw() override {
    if (line_.newest() != nullptr) {
      chart_->SetLine(line_.newest()->data, cli::HasAverage(line_.security()));
    }
    if (events_.newest() != nullptr) {
      chart_->SetEvents(cli::EventsOf(line_.security(), events_.newest()->data));
    }
  }

  cli::MinuteLineView& line_;
  cli::EventsView& events_;
  MinuteChart* const chart_;
};

template <class View, class... Arguments>
MadePane MakeList(Desk& desk, const QString& id, ListTraits traits, Arguments... arguments) {
  return std::make_unique<ListPane>(desk, id, std::make_unique<View>(desk.views(), arguments...), traits);
}

template <class View, auto... kArguments>
MadePane MakePlain(Desk& desk, const QString& id) {
  return MakeList<View>(desk, id, kPlain, kArguments...);
}

cli::ListChoice ByChange(cli::Choices columns, int direction = cli::kDescending) {
  cli::ListChoice choice = cli::ListBy(columns, *cli::NumberOf(columns, "change"));
  choice.order.direction = direction;
  return choice;
}

// Of the members it is the plate that was selected last.
template <class View, const cli::Choices& kColumns>
MadePane MakeStepped(Desk& desk, const QString& id) {
  return MakeList<View>(desk, id, {}, ByChange(kColumns));
}

template <int kDirection, bool kFiveMinutes>
MadePane MakeRanking(Desk& desk, const QString& id) {
  const cli::ListChoice choice = ByChange(cli::kStockColumns, kDirection);
  return MakeList<cli::StockRankingView>(desk, id, kPlain, choice, kRankedRows, kFiveMinutes);
}

cli::Found Nothing(const std::string& why) {
  cli::Found nothing;
  nothing.why_empty = why;
  return nothing;
}

cli::Found PlatesOf(const cli::Security& security) {
  return security.code.empty() ? Nothing(cli::kNothingSelected)
         : security.type != stock::kSymbolStock
             ? Nothing("only stocks belong to plates")
             : cli::FindPlatesOf(*GetStockCommon(), cli::Utf8(security.code));
}

// Looked up in the lists of securities, once they are there.
MadePane MakeFound(Desk& desk, const QString& id, const char* title, const cli::FoundView::Find& find) {
  return MakeList<cli::FoundView>(desk, id, kPlain, title, [&desk, find](const cli::Security& security) {
    return desk.lists() == nullptr ? Nothing(desk.why_no_lists().toStdString()) : find(security);
  });
}

constexpr PaneKind kPanes[] = {
    {"board", "Board", "行情", false, &MakeStepped<cli::BoardView, cli::kStockColumns>},
    {"quote", "Quote", "盘口", true, &MakeShown<QuoteSheet, cli::QuoteView, &QuoteSheet::Show>},
    {"minutes", "Minutes", "分时", true,
     [](Desk& desk, const QString& id) -> MadePane { return std::make_unique<MinutePane>(desk, id); }},
    {"candles", "Candles", "K线", true,
     &MakeShown<CandleChart, cli::KLineView, &CandleChart::SetSeries, cli::kByDay, cli::kUnadjusted,
                std::nullopt>},
    {"flows", "Flows", "资金流向", true, &MakeShown<FlowBars, cli::FlowView, &FlowBars::SetFlows>},
    {"plates-of", "Plates of the stock", "所属板块", true,
     [](Desk& desk, const QString& id) { return MakeFound(desk, id, "plates", &PlatesOf); }},
    {"watch", "Watch list", "自选股", false,
     [](Desk& desk, const QString& id) {
       const cli::ListChoice own = cli::ListBy(cli::kWatchListColumns, 0);
       return MakeList<cli::WatchListView>(desk, id, {.is_watch_list = true}, own);
     }},
    {"plates", "Plates", "板块", false, &MakeStepped<cli::PlatesView, cli::kPlateColumns>},
    {"members", "Stocks of the plate", "板块成份股", false,
     &MakeStepped<cli::MembersView, cli::kPlateColumns>},
    {"gainers", "Rises", "涨幅榜", false, &MakeRanking<cli::kDescending, false>},
    {"losers", "Falls", "跌幅榜", false, &MakeRanking<cli::kAscending, false>},
    {"risers-now", "Rises of five minutes", "五分钟涨幅", false, &MakeRanking<cli::kDescending, true>},
    {"fallers-now", "Falls of five minutes", "五分钟跌幅", false, &MakeRanking<cli::kAscending, true>},
    {"plate-ranking", "Ranking of plates", "板块排行", false,
     [](Desk& desk, const QString& id) {
       const cli::ListChoice choice = ByChange(cli::kPlateColumns);
       return MakeList<cli::PlateRankingView>(desk, id, kPlain, choice, kRankedRows);
     }},
    {"events", "Unusual events", "异动", false, &MakePlain<cli::EventsView, 0U, std::nullopt>},
    {"strength", "Stocks up and down", "涨跌家数", false,
     &MakeCurve<cli::StrengthView, &cli::MakeStrengthView>},
    {"effect", "Money-making effect", "赚钱效应", false, &MakeCurve<cli::EffectView, &cli::MakeEffectView>},
    {"distribution", "Spread of changes", "涨跌分布", false, &MakeDistribution},
    {"margin", "Margin trading", "融资融券", false, &MakePlain<cli::MarginView, std::nullopt>},
    {"new-shares", "New shares", "新股申购", false, &MakePlain<cli::PurchaseView>},
    {"calendar", "Trading days", "交易日历", false,
     [](Desk& desk, const QString& id) {
       return MakeFound(desk, id, "calendar", [](const cli::Security&) { return cli::FindCalendar(0); });
     }},
};

constexpr Placing kBoard[] = {{"board", ""},
                              {"quote", "board", How::kRight, 22},
                              {"minutes", "board", How::kBelow, 42},
                              {"candles", "minutes", How::kRight, 50},
                              {"flows", "quote", How::kBelow, 28}};
constexpr Placing kStock[] = {{"candles", ""},
                              {"quote", "candles", How::kRight, 26},
                              {"minutes", "candles", How::kBelow, 48},
                              {"flows", "quote", How::kBelow, 36},
                              {"plates-of", "flows", How::kTab}};
constexpr Placing kWatch[] = {{"watch", ""},
                              {"quote", "watch", How::kRight, 28},
                              {"minutes", "watch", How::kBelow, 48},
                              {"events", "quote", How::kBelow, 28}};
constexpr Placing kPlates[] = {{"plates", ""},
                               {"members", "plates", How::kRight, 58},
                               {"quote", "members", How::kRight, 40},
                               {"minutes", "members", How::kBelow, 40}};
constexpr Placing kRanks[] = {{"gainers", ""},
                              {"losers", "gainers", How::kRight, 50},
                              {"plate-ranking", "losers", How::kRight, 50},
                              {"risers-now", "gainers", How::kBelow, 50},
                              {"fallers-now", "losers", How::kBelow, 50},
                              {"quote", "plate-ranking", How::kBelow, 50}};
constexpr Placing kBreadth[] = {
    {"strength", ""}, {"distribution", "strength", How::kRight, 42}, {"effect", "strength", How::kBelow, 50}};
constexpr Placing kEvents[] = {
    {"events", ""}, {"minutes", "events", How::kRight, 66}, {"candles", "minutes", How::kBelow, 50}};
constexpr Placing kMore[] = {{"new-shares", ""},
                             {"calendar", "new-shares", How::kRight, 40},
                             {"margin", "new-shares", How::kBelow, 60}};

constexpr PageKind kPages[] = {
    {"board", "Board", "行情", kBoard},      {"stock", "Stock", "个股", kStock},
    {"watch", "Watch list", "自选", kWatch}, {"plates", "Plates", "板块", kPlates},
    {"ranks", "Rankings", "排行", kRanks},   {"breadth", "Breadth", "市场", kBreadth},
    {"events", "Events", "异动", kEvents},   {"more", "More", "其他", kMore},
};

}  // namespace

std::span<const PaneKind> PaneKinds() {
  return kPanes;
}

const PaneKind* FindPaneKind(std::string_view name) {
  const auto* const found = std::ranges::find(kPanes, name, &PaneKind::name);
  return found == std::end(kPanes) ? nullptr : found;
}

std::span<const PageKind> PageKinds() {
  return kPages;
}

}  // namespace desktop

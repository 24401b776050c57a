// What is in sight asks, what is not does not: counted at the host services, for every kind of pane.
#include <map>

#include "running_desk.h"

namespace {

using desktop::PaneKind;
using Counts = std::map<std::string, std::uint64_t>;

struct Asks {
  std::vector<std::string> for_figures;
  bool again = true;               // at each interval
  std::vector<std::string> too{};  // for what goes with them: names of a whole list, history
};

// What each kind of pane asks for; nothing: it looks things up in the lists.
const std::map<std::string_view, Asks>& AsksOf() {
  static const auto* const kAsks = new std::map<std::string_view, Asks>{
      {"board", {{"/pc/rt/get"}, true, {"/pc/rt/stock_price_list"}}},
      {"quote", {{"/pc/rt/stock_detail_list"}}},
      {"minutes", {{"/pc/rt/get_day_time", "/pc/monitor/get_monitor"}}},
      {"candles", {{"/pc/rt/get_day_kline"}, true, {"/kql", "/static/*"}}},
      {"flows", {{"/pc/rt/stock_in_out"}}},
      {"plates-of", {}},
      {"watch", {{"/pc/rt/stock_detail_list"}}},
      {"plates", {{"/pc/rt/get_bk_detail"}, true, {"/pc/rt/bk_price_list"}}},
      {"members", {{"/pc/rt/get_bk_zone_list"}}},
      {"gainers", {{"/pc/rt/get_stock_rank"}}},
      {"losers", {{"/pc/rt/get_stock_rank"}}},
      {"risers-now", {{"/pc/rt/stock_five_change"}}},
      {"fallers-now", {{"/pc/rt/stock_five_change"}}},
      {"plate-ranking", {{"/pc/rt/get_bk_rank"}}},
      {"events", {{"/pc/monitor/get_monitor"}}},
      {"strength", {{"/pc/rt/stock_min_num"}}},
      {"effect", {{"/pc/rt/stock_min_average"}}},
      {"distribution", {{"/pc/rt/stock_distribute_num"}}},
      {"margin", {{"/pc/rt/stock_trade"}, false}},
      {"new-shares", {{"/pc/rt/stock_buy"}, false}},
      {"calendar", {}},
  };
  return *kAsks;
}

class RequestsTest : public RunningDesk {
 protected:
  static constexpr int kInterval = 3500;  // ms; longer than that of any service

  // With nothing else in sight.
  void Begin() {
    ASSERT_NO_FATAL_FAILURE(Open("board"));
    ASSERT_NO_FATAL_FAILURE(Select("sh600000"));
    QTest::keyClick(window_.get(), Qt::Key_Insert);
    window_->hide();
    ASSERT_TRUE(IsQuiet());
  }
  // A stock for what shows stocks, a plate for its members.
  desktop::PaneWindow& Show(const PaneKind& kind) {
    const auto& plate = market_->plates().front();
    desktop::PaneWindow& window =
        window_->OpenWindow(kind, kind.of_security ? cli::SecurityOf(L"sh600000", L"") : cli::Security());
    if (kind.name == "members") {
      window.pane().Pin(cli::SecurityOf(common::s2ws(plate.code, common::kUtf8), L""));
    }
    window.show();
    return window;
  }
  static bool HaveAsked(const std::vector<std::string_view>& kinds, Counts& before) {
    Counts now = Asked();
    return std::all_of(kinds.begin(), kinds.end(), [&](std::string_view kind) {
      const auto& endpoints = AsksOf().at(kind).for_figures;
      return std::all_of(endpoints.begin(), endpoints.end(),
                         [&](const std::string& endpoint) { return now[endpoint] > before[endpoint]; });
    });
  }
  static bool IsQuiet() {
    return Await([] { return stock_host::ReadCounters().under_way == 0; });
  }
  static Counts Asked() {
    Counts counts;
    for (const auto& [endpoint, of] : stock_host::ReadCounters().endpoints) {
      counts[endpoint] = of.requests;
    }
    return counts;
  }
};

TEST_F(RequestsTest, eachKindOfPaneAsksForItsFiguresAlone) {
  ASSERT_NO_FATAL_FAILURE(Begin());
  for (const PaneKind& kind : desktop::PaneKinds()) {
    SCOPED_TRACE(std::string(kind.name));
    ASSERT_TRUE(AsksOf().contains(kind.name));
    Counts before = Asked();
    desktop::PaneWindow& window = Show(kind);
    EXPECT_TRUE(Await([&] { return window.pane().IsSettled() && HaveAsked({kind.name}, before); }))
        << window.pane().State().toStdString();
    window.hide();
    ASSERT_TRUE(IsQuiet());
    const Asks& asks = AsksOf().at(kind.name);
    for (const auto& [endpoint, count] : Asked()) {
      const bool is_its_own = std::count(asks.for_figures.begin(), asks.for_figures.end(), endpoint) +
                                  std::count(asks.too.begin(), asks.too.end(), endpoint) >
                              0;
      EXPECT_TRUE(is_its_own || count == before[endpoint]) << endpoint;
    }
  }
}

TEST_F(RequestsTest, inAnIntervalAllThatIsShownAsksAndNothingThatIsHiddenOrMinimised) {
  ASSERT_NO_FATAL_FAILURE(Begin());
  std::vector<desktop::PaneWindow*> windows;
  std::vector<std::string_view> again;
  for (const PaneKind& kind : desktop::PaneKinds()) {
    windows.push_back(&Show(kind));
    if (AsksOf().at(kind.name).again) {
      again.push_back(kind.name);
    }
  }
  ASSERT_TRUE(Await([this] { return IsSettled(); })) << Unsettled();
  Counts before = Asked();
  EXPECT_TRUE(Await([&] { return HaveAsked(again, before); }));
  for (const auto& [how, go] :
       {std::pair("hidden", &QWidget::hide), {"minimised", &QWidget::showMinimized}}) {
    for (desktop::PaneWindow* const window : windows) {
      window->show();
      (window->*go)();
      EXPECT_FALSE(window->pane().seen()) << how << " " << window->kind().name;
    }
    ASSERT_TRUE(IsQuiet());
    before = Asked();
    desk_->RefreshAll();
    QTest::qWait(kInterval);
    EXPECT_EQ(Asked(), before) << how;
  }
  windows.front()->showNormal();
  EXPECT_TRUE(Await([&] { return Asked()["/pc/rt/get"] > before["/pc/rt/get"]; }));
}

TEST_F(RequestsTest, whatStandsBehindAnotherTabOrOnAnotherPageIsNotInSight) {
  ASSERT_NO_FATAL_FAILURE(Open("stock"));
  desktop::Page& page = window_->page();
  EXPECT_TRUE(page.Find("flows")->seen());
  EXPECT_FALSE(page.Find("plates-of")->seen());
  page.Dock("plates-of")->raise();
  ASSERT_TRUE(Await([&] { return page.Find("plates-of")->seen(); }));
  EXPECT_FALSE(page.Find("flows")->seen());
  window_->ShowPage("board");
  EXPECT_FALSE(page.Find("quote")->seen());
  window_->showMinimized();
  EXPECT_TRUE(Await([this] {
    return std::none_of(desk_->panes().begin(), desk_->panes().end(),
                        [](const desktop::Pane* pane) { return pane->seen(); });
  }));
}

}  // namespace

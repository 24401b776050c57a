// The panels of the live screen over the simulated market: what they ask for and when, what they draw of it,
// and what their keys do.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "../scripted_host/sleeping_threads.h"
#include "cli/screen/view_panel.h"
#include "cli/views/feed_health.h"
#include "cli/views/market_views.h"
#include "panel_surroundings.h"
#include "running_market.h"

namespace {

using cli::ChartSize;
using cli::FeedState;
using cli::KeyKind;
using cli::Panel;
using cli::Security;
using cli::Typed;
using tests::TextsOf;

constexpr const char* kFriday = "2024-03-15 14:30:00";
constexpr const char* kFridayEvening = "2024-03-15 16:00:00";
constexpr const char* kMondayBeforeOpening = "2024-03-18 09:05:00";
constexpr ChartSize kScreen{80, 24};

std::unique_ptr<Panel> MakeFlowPanel(cli::PanelContext& context) {
  return std::make_unique<cli::ViewPanel>(context, std::make_unique<cli::FlowView>(context.views));
}

cli::ListChoice ChoiceOf(cli::Choices columns) {
  cli::ListChoice choice;
  choice.order.columns = columns;
  return choice;
}

std::unique_ptr<Panel> MakeStockRankingPanel(cli::PanelContext& context) {
  return std::make_unique<cli::ListPanel>(
      context,
      std::make_unique<cli::StockRankingView>(context.views, ChoiceOf(cli::kStockColumns), 30, false));
}

std::unique_ptr<Panel> MakePlateRankingPanel(cli::PanelContext& context) {
  return std::make_unique<cli::ListPanel>(
      context, std::make_unique<cli::PlateRankingView>(context.views, ChoiceOf(cli::kPlateColumns), 30));
}

std::unique_ptr<Panel> MakeEventsPanel(cli::PanelContext& context) {
  return std::make_unique<cli::ListPanel>(context,
                                          std::make_unique<cli::EventsView>(context.views, 0, std::nullopt));
}

std::unique_ptr<Panel> MakeStrengthPanel(cli::PanelContext& context) {
  return std::make_unique<cli::ChartPanel>(context, cli::MakeStrengthView(context.views, 0));
}

std::unique_ptr<Panel> MakeDistributionPanel(cli::PanelContext& context) {
  return std::make_unique<cli::ViewPanel>(context, std::make_unique<cli::DistributionView>(context.views, 0));
}

std::unique_ptr<Panel> MakeMoneyEffectPanel(cli::PanelContext& context) {
  return std::make_unique<cli::ChartPanel>(context, cli::MakeEffectView(context.views, 0));
}

struct PanelCase {
  const char* name;
  std::unique_ptr<Panel> (*make)(cli::PanelContext&);
  const char* endpoint;
  const char* mention;  // stands in its picture
};

constexpr PanelCase kPanels[] = {
    {"minute line", &cli::MakeMinuteLinePanel, "/pc/rt/get_day_time", "14:30"},
    {"candles", &cli::MakeKLinePanel, "/pc/rt/get_day_kline", "2024-03-15"},
    {"flows", &MakeFlowPanel, "/pc/rt/stock_in_out", "big net"},
    {"stock ranking", &MakeStockRankingPanel, "/pc/rt/get_stock_rank", "change"},
    {"plate ranking", &MakePlateRankingPanel, "/pc/rt/get_bk_rank", "bpin"},
    {"watch list", &cli::MakeWatchListPanel, "/pc/rt/stock_detail_list", "change"},
    {"events", &MakeEventsPanel, "/pc/monitor/get_monitor", "event"},
    {"strength", &MakeStrengthPanel, "/pc/rt/stock_min_num", "Strength  2024-03-15 14:30"},
    {"distribution", &MakeDistributionPanel, "/pc/rt/stock_distribute_num", "limit up"},
    {"money effect", &MakeMoneyEffectPanel, "/pc/rt/stock_min_average", "effect  2024-03-15 14:30"}};

class PanelsTest : public RunningMarket {
 protected:
  PanelsTest() { options_.stocks = 300; }

  void Open(const std::string& clock) {
    ASSERT_NO_FATAL_FAILURE(StartAll(clock, 0));
    ASSERT_TRUE(LoadReferenceData());
    const auto now = static_cast<market_server::model::Instant>(Now());
    for (const auto* const security : market_->Stocks(now)) {
      if (stocks_.size() < 3 && market_->DayCandle(*security, now)) {
        stocks_.push_back({common::s2ws(security->code, common::kUtf8),
                           common::s2ws(security->name, common::kUtf8), stock::kSymbolStock});
      }
    }
    ASSERT_EQ(stocks_.size(), 3U);
    std::string error;
    ASSERT_TRUE(stock_host::AddToWatchList(stocks_[0].code, error)) << error;
    ASSERT_TRUE(stock_host::AddToWatchList(stocks_[1].code, error)) << error;
  }

  // A panel of the first stock, hidden.
  std::unique_ptr<Panel> Make(std::unique_ptr<Panel> (*make)(cli::PanelContext&)) {
    std::unique_ptr<Panel> panel = make(around_.context);
    panel->Select(stocks_[0]);
    return panel;
  }

  static cli::FeedReport ReportOf(const Panel& panel) {
    return panel.Report(Panel::Clock::now(), cli::CurrentPhase());
  }

  // Runs the main loop until the panel is in that state.
  void Await(const Panel& panel, FeedState state) {
    // Figures are live for some seconds only: on a busy machine nobody may look meanwhile.
    const auto is_reached = [&] {
      const FeedState now = ReportOf(panel).state;
      const bool was_live = now == FeedState::kUnchanged || now == FeedState::kStale;
      return now == state || (state == FeedState::kLive && was_live);
    };
    EXPECT_TRUE(around_.RunUntil(is_reached))
        << panel.Title() << " is " << static_cast<int>(ReportOf(panel).state) << ", " << ReportOf(panel).text;
  }

  static std::string TextOf(Panel& panel, const ChartSize& size = kScreen) {
    std::string text;
    for (const std::string& line : TextsOf(panel.Picture(size))) {
      text += line + "\n";
    }
    return text;
  }

  static void Press(Panel& panel, const cli::Key& key) { EXPECT_TRUE(panel.OnKey(key)); }

  tests::PanelSurroundings around_;
  std::vector<Security> stocks_;
};

TEST_F(PanelsTest, askOnceTheyAreShownAndDrawWhatCame) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  for (const PanelCase& one : kPanels) {
    SCOPED_TRACE(one.name);
    const std::uint64_t before = Requests(one.endpoint);
    const std::unique_ptr<Panel> panel = Make(one.make);
    panel->Refresh();
    EXPECT_EQ(Requests(one.endpoint), before);
    EXPECT_EQ(ReportOf(*panel).state, FeedState::kWaiting);
    EXPECT_TRUE(panel->Picture(kScreen).empty());
    panel->Show();
    Await(*panel, FeedState::kLive);
    EXPECT_GT(Requests(one.endpoint), before);
    EXPECT_NE(TextOf(*panel).find(one.mention), std::string::npos) << TextOf(*panel);
    EXPECT_FALSE(panel->Title().empty());
  }
}

TEST_F(PanelsTest, drawIntoAnyRoom) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  for (const PanelCase& one : kPanels) {
    const std::unique_ptr<Panel> panel = Make(one.make);
    panel->Show();
    Await(*panel, FeedState::kLive);
    for (const int columns : {-1, 0, 1, 7, 39, 40, 80, 133, 400}) {
      for (const int rows : {-1, 0, 1, 2, 11, 12, 24, 70}) {
        const std::vector<cli::StyledLine> lines = panel->Picture({columns, rows});
        EXPECT_LE(std::ssize(lines), std::max(rows, 0)) << one.name;
        for (const cli::StyledLine& line : lines) {
          EXPECT_LE(cli::DisplayWidth(line), std::max(columns, 0))
              << one.name << " " << columns << " " << rows;
        }
      }
    }
  }
}

TEST_F(PanelsTest, askForNothingWhileTheyAreHidden) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  std::vector<std::unique_ptr<Panel>> panels;
  for (const PanelCase& one : kPanels) {
    panels.push_back(Make(one.make));
    panels.back()->Show();
    Await(*panels.back(), FeedState::kLive);
  }
  for (const auto& panel : panels) {
    panel->Hide();
  }
  const auto all_answered = [] { return stock_host::ReadCounters().under_way == 0; };
  ASSERT_TRUE(around_.RunUntil(all_answered));
  AwaitSleepingThreads();  // no round of a polling thread is about to ask any more
  const std::uint64_t before = stock_host::ReadCounters().requests;
  for (const auto& panel : panels) {
    panel->Refresh();
    panel->Select(stocks_[1]);
  }
  // Longer than the interval of those that poll.
  const auto end = Panel::Clock::now() + std::chrono::seconds(4);
  ASSERT_TRUE(around_.RunUntil([&] { return Panel::Clock::now() >= end; }));
  EXPECT_EQ(stock_host::ReadCounters().requests, before);
  for (std::size_t i = 0; i < panels.size(); ++i) {
    SCOPED_TRACE(kPanels[i].name);
    const std::uint64_t requests = Requests(kPanels[i].endpoint);
    panels[i]->Show();
    EXPECT_TRUE(around_.RunUntil([&] { return Requests(kPanels[i].endpoint) > requests; }));
    Await(*panels[i], FeedState::kLive);
  }
}

TEST_F(PanelsTest, followTheCurrentSecurity) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  for (const auto make : {&cli::MakeMinuteLinePanel, &cli::MakeKLinePanel, &MakeFlowPanel}) {
    const std::unique_ptr<Panel> panel = Make(make);
    panel->Show();
    Await(*panel, FeedState::kLive);
    const std::string first = TextOf(*panel);
    panel->Select(stocks_[1]);
    EXPECT_TRUE(panel->Picture(kScreen).empty());
    EXPECT_NE(panel->Title().find(cli::Printable(stocks_[1].code)), std::string::npos);
    Await(*panel, FeedState::kLive);
    EXPECT_NE(TextOf(*panel), first);
  }
}

TEST_F(PanelsTest, saySoWhenThereIsNothingOfTheCurrentSecurity) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  const Security index{L"sh000001", L"上证指数", stock::kSymbolIndex};
  const BaseInfoItem item = std::vector<BaseInfoItem>(GetStockCommon()->GetPlateList(1)).at(0);
  const Security plate{item.code, item.name, stock::kSymbolPlate};
  const std::unique_ptr<Panel> flows = Make(&MakeFlowPanel);
  const std::unique_ptr<Panel> candles = Make(&cli::MakeKLinePanel);
  flows->Show();
  candles->Show();
  Await(*flows, FeedState::kLive);
  Await(*candles, FeedState::kLive);
  flows->Select(index);
  candles->Select(plate);
  for (const auto& panel : {flows.get(), candles.get()}) {
    EXPECT_EQ(ReportOf(*panel).state, FeedState::kEmpty);
    EXPECT_TRUE(panel->Picture(kScreen).empty());
  }
  EXPECT_EQ(ReportOf(*flows).text, "only stocks have flows; sh000001 上证指数 is not a stock");
  EXPECT_EQ(ReportOf(*candles).text, "there are no candles of plates; " + cli::Printable(plate.code) + " " +
                                         cli::Printable(plate.name) + " is one");
  candles->Select(index);
  Await(*candles, FeedState::kLive);
  const std::unique_ptr<Panel> line = cli::MakeMinuteLinePanel(around_.context);
  line->Show();
  EXPECT_EQ(ReportOf(*line).text, "no security is selected; / looks for one");
}

TEST_F(PanelsTest, showTheLastSessionWhileTheMarketIsClosed) {
  ASSERT_NO_FATAL_FAILURE(Open(kFridayEvening));
  std::vector<std::unique_ptr<Panel>> panels;
  for (const PanelCase& one : kPanels) {
    panels.push_back(Make(one.make));
    panels.back()->Show();
    Await(*panels.back(), FeedState::kClosed);
    EXPECT_EQ(ReportOf(*panels.back()).text, "market closed, figures of 2024-03-15") << one.name;
    EXPECT_FALSE(panels.back()->Picture(kScreen).empty()) << one.name;
  }
  MoveTo(kMondayBeforeOpening);
  for (const PanelCase& one : kPanels) {
    const std::unique_ptr<Panel> panel = Make(one.make);
    panel->Show();
    Await(*panel, FeedState::kClosed);
    EXPECT_NE(ReportOf(*panel).text.find("2024-03-15"), std::string::npos)
        << one.name << ": " << ReportOf(*panel).text;
  }
}

TEST_F(PanelsTest, tellWhyTheyHaveNothing) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  server_->SetFaults({"status:/pc/rt/get_stock_rank:1:503", "status:/pc/monitor/get_monitor:1:503"});
  for (const auto make : {&MakeStockRankingPanel, &MakeEventsPanel}) {
    const std::unique_ptr<Panel> panel = Make(make);
    panel->Show();
    Await(*panel, FeedState::kFailed);
    EXPECT_NE(ReportOf(*panel).text.find("503"), std::string::npos) << ReportOf(*panel).text;
  }
}

TEST_F(PanelsTest, ofRankingsChangeOrderAndGroupByKeys) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  const std::unique_ptr<Panel> panel = Make(&MakeStockRankingPanel);
  EXPECT_EQ(panel->Title(), "top 30 of all A shares by change, descending");
  panel->Show();
  Await(*panel, FeedState::kLive);
  const std::string rising = TextOf(*panel);
  Press(*panel, Typed(U'd'));
  EXPECT_EQ(panel->Title(), "top 30 of all A shares by change, ascending");
  EXPECT_TRUE(panel->Picture(kScreen).empty());
  Await(*panel, FeedState::kLive);
  EXPECT_NE(TextOf(*panel), rising);
  const std::uint64_t before = Requests("/pc/rt/stock_five_change");
  Press(*panel, Typed(U'v'));
  EXPECT_NE(panel->Title().find("within five minutes"), std::string::npos);
  Await(*panel, FeedState::kLive);
  EXPECT_GT(Requests("/pc/rt/stock_five_change"), before);
  for (const char32_t key : {U'b', U's', U'S', U'B'}) {
    const std::string title = panel->Title();
    Press(*panel, Typed(key));
    EXPECT_NE(panel->Title(), title);
    Await(*panel, FeedState::kLive);
  }
  EXPECT_FALSE(panel->OnKey(Typed(U'x')));
}

TEST_F(PanelsTest, ofRankingsSelectTheRowAtTheCursor) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  for (const auto make : {&MakeStockRankingPanel, &MakePlateRankingPanel}) {
    around_.selected.clear();
    const std::unique_ptr<Panel> panel = Make(make);
    Press(*panel, {KeyKind::kEnter});
    EXPECT_TRUE(around_.selected.empty());
    panel->Show();
    Await(*panel, FeedState::kLive);
    Press(*panel, {KeyKind::kDown});
    Press(*panel, {KeyKind::kEnter});
    ASSERT_EQ(around_.selected.size(), 1U);
    const std::string row = TextsOf(panel->Picture(kScreen)).at(2);
    EXPECT_EQ(row.find("▸"), 0U) << row;
    EXPECT_NE(row.find(cli::Printable(around_.selected[0].code)), std::string::npos) << row;
    EXPECT_EQ(around_.selected[0].type, stock::CheckSymbol(around_.selected[0].code.c_str()));
  }
}

TEST_F(PanelsTest, ofCandlesChangePeriodAndAdjustmentByKeys) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  const std::unique_ptr<Panel> panel = Make(&cli::MakeKLinePanel);
  panel->Show();
  Await(*panel, FeedState::kLive);
  std::vector<std::string> pictures = {TextOf(*panel)};
  for (const auto& [key, words] :
       {std::pair(U't', "by week of"), std::pair(U't', "by month of"),
        std::pair(U'a', "by month, adjusted forward of"), std::pair(U'T', "by week, adjusted forward of"),
        std::pair(U'A', "by week of")}) {
    Press(*panel, Typed(key));
    EXPECT_NE(panel->Title().find(words), std::string::npos) << panel->Title();
    EXPECT_TRUE(panel->Picture(kScreen).empty());
    Await(*panel, FeedState::kLive);
    pictures.push_back(TextOf(*panel));
  }
  EXPECT_NE(pictures[0], pictures[1]);
  EXPECT_NE(pictures[1], pictures[2]);
  EXPECT_EQ(pictures[1], pictures[5]);
  EXPECT_FALSE(panel->OnKey(Typed(U's')));
  // Shown again it goes on with the series that was chosen.
  panel->Hide();
  panel->Show();
  panel->Refresh();
  Await(*panel, FeedState::kLive);
  EXPECT_EQ(TextOf(*panel), pictures[1]);
}

constexpr ChartSize kWide{200, 40};

// A figure as people write it, with a sign if it is wanted.
std::string Decimals(double value, bool with_sign = false) {
  char text[32];
  std::snprintf(text, sizeof text, with_sign ? "%+.2f" : "%.2f", value);
  return text;
}

// What is read at each candle, and the averages over it and those before.
TEST_F(PanelsTest, ofCandlesReadThemByACrossHair) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  const std::string code = common::ws2s(stocks_[0].code, common::kUtf8);
  const auto* const stock = market_->Find(code);
  std::vector<market_server::model::Candle> candles = market_->Candles(
      *stock, market_server::model::Period::kDay, market_server::model::Adjustment::kNone, 20240314);
  candles.push_back(*market_->DayCandle(*stock, static_cast<market_server::model::Instant>(Now())));
  ASSERT_GT(candles.size(), 300U);
  const auto reading = [&](std::size_t number) {
    const auto& candle = candles[number];
    std::string date = std::to_string(candle.date);
    date.insert(6, "-").insert(4, "-");
    return date + "  open " + Decimals(candle.open) + " high " + Decimals(candle.high) + " low " +
           Decimals(candle.low) + " close " + Decimals(candle.close) + " " +
           Decimals((candle.close / candle.preclose - 1) * 100, true) + "%";
  };
  const auto average = [&](std::size_t number, std::size_t span) {
    double sum = 0;
    for (std::size_t i = 0; i < span; ++i) {
      sum += candles[number - i].close;
    }
    return "  MA" + std::to_string(span) + " " + Decimals(sum / static_cast<double>(span));
  };
  const auto averages = [&](std::size_t number) {
    return average(number, 5) + average(number, 10) + average(number, 20) + average(number, 60);
  };
  const std::unique_ptr<Panel> panel = Make(&cli::MakeKLinePanel);
  panel->Show();
  Await(*panel, FeedState::kLive);
  const auto heading = [&] { return TextsOf(panel->Picture(kWide)).at(0); };
  const std::size_t last = candles.size() - 1;
  const std::string unread = heading();
  EXPECT_EQ(unread.find(" open "), std::string::npos) << unread;
  EXPECT_NE(unread.find(averages(last)), std::string::npos) << unread << "\n" << averages(last);
  // The newest one first, then one by one through all history.
  for (std::size_t back = 0; back <= 300; ++back) {
    Press(*panel, {KeyKind::kLeft});
    if (back % 75 < 3) {
      EXPECT_EQ(heading().rfind(reading(last - back), 0), 0U) << heading() << "\n" << reading(last - back);
    }
    if (back == 75) {
      EXPECT_NE(heading().find(averages(last - back)), std::string::npos) << heading();
    }
  }
  Press(*panel, {KeyKind::kRight});
  EXPECT_EQ(heading().rfind(reading(last - 299), 0), 0U) << heading();
  for (std::size_t i = 0; i < candles.size() + 3; ++i) {
    Press(*panel, {KeyKind::kLeft});
    if (i % 100 == 0) {
      static_cast<void>(panel->Picture(kWide));
    }
  }
  EXPECT_EQ(heading().rfind(reading(0), 0), 0U) << heading() << "\n" << reading(0);
  Press(*panel, {KeyKind::kEscape});
  Press(*panel, {KeyKind::kEnd});
  EXPECT_EQ(heading(), unread);
}

TEST_F(PanelsTest, ofCandlesScrollAndZoom) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  const std::unique_ptr<Panel> panel = Make(&cli::MakeKLinePanel);
  panel->Show();
  Await(*panel, FeedState::kLive);
  const auto picture = [&] { return TextOf(*panel, kWide); };
  const std::string newest = picture();
  EXPECT_EQ(panel->Position(), "");
  // As many newer candles are out of sight as a page holds.
  const auto page = [&] {
    Press(*panel, {KeyKind::kEnd});
    static_cast<void>(picture());
    Press(*panel, {KeyKind::kPageUp});
    static_cast<void>(picture());
    const std::string position = panel->Position();
    EXPECT_NE(position.find(" newer ones"), std::string::npos) << position;
    Press(*panel, {KeyKind::kPageDown});
    static_cast<void>(picture());
    EXPECT_EQ(panel->Position(), "");
    return std::atoi(position.c_str());
  };
  const int usual = page();
  EXPECT_EQ(picture(), newest);
  for (const cli::Key& nearer : {Typed(U'+'), Typed(U'='), cli::Key{KeyKind::kWheelUp}}) {
    Press(*panel, nearer);
    const int fewer = page();
    EXPECT_NEAR(fewer, usual * 2 / 3, 1);
    EXPECT_NE(picture(), newest);
    Press(*panel, nearer == Typed(U'+') ? Typed(U'-') : cli::Key{KeyKind::kWheelDown});
    EXPECT_NEAR(page(), usual, 2);
  }
  for (int i = 0; i < 30; ++i) {
    Press(*panel, Typed(U'+'));
    static_cast<void>(picture());
  }
  EXPECT_EQ(page(), 5);
  // The first of all, from which there is nothing older.
  Press(*panel, {KeyKind::kHome});
  const std::string oldest = picture();
  Press(*panel, {KeyKind::kPageUp});
  EXPECT_EQ(picture(), oldest);
  EXPECT_NE(oldest, newest);
}

TEST_F(PanelsTest, ofMinutesReadThemAndShowDaysBefore) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  const auto* const stock = market_->Find(common::ws2s(stocks_[0].code, common::kUtf8));
  const auto minutes = [&](std::uint32_t date) {
    return market_->MinuteLineOf(*stock, date, static_cast<market_server::model::Instant>(Now()));
  };
  const auto reading = [&](const market_server::model::MinuteLine& line, std::size_t back) {
    const auto& point = line.points.at(line.points.size() - 1 - back);
    std::string date = std::to_string(line.date);
    date.insert(6, "-").insert(4, "-");
    char clock[32];
    std::snprintf(clock, sizeof clock, " %02d:%02d  ", point.minute / 100, point.minute % 100);
    return date + clock + Decimals(point.last) + " " + Decimals(point.last - line.preclose, true);
  };
  const std::unique_ptr<Panel> panel = Make(&cli::MakeMinuteLinePanel);
  panel->Show();
  Await(*panel, FeedState::kLive);
  const auto heading = [&] { return TextsOf(panel->Picture(kWide)).at(0); };
  for (std::size_t back = 0; back < 3; ++back) {
    Press(*panel, {KeyKind::kLeft});
    EXPECT_EQ(heading().rfind(reading(minutes(20240315), back), 0), 0U) << heading() << "\n"
                                                                        << reading(minutes(20240315), back);
  }
  Press(*panel, {KeyKind::kRight});
  EXPECT_EQ(heading().rfind(reading(minutes(20240315), 1), 0), 0U) << heading();
  for (const std::uint32_t day : {20240314U, 20240313U}) {
    Press(*panel, {KeyKind::kPageUp});
    Await(*panel, FeedState::kLive);
    Press(*panel, {KeyKind::kLeft});
    EXPECT_EQ(heading().rfind(reading(minutes(day), 0), 0), 0U) << heading() << "\n"
                                                                << reading(minutes(day), 0);
  }
  Press(*panel, {KeyKind::kPageDown});
  Await(*panel, FeedState::kLive);
  Press(*panel, {KeyKind::kLeft});
  EXPECT_EQ(heading().rfind(reading(minutes(20240314), 0), 0), 0U) << heading();
  Press(*panel, {KeyKind::kEnd});
  Await(*panel, FeedState::kLive);
  EXPECT_EQ(heading().rfind("2024-03-15 14:30", 0), 0U) << heading();
}

TEST_F(PanelsTest, ofEventsSelectTheirStock) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  const auto events = market_->Events(20240315, static_cast<market_server::model::Instant>(Now()));
  ASSERT_GT(events.size(), 1U);
  const std::unique_ptr<Panel> panel = Make(&MakeEventsPanel);
  panel->Show();
  Await(*panel, FeedState::kLive);
  static_cast<void>(panel->Picture(kWide));
  Press(*panel, {KeyKind::kDown});
  Press(*panel, {KeyKind::kEnter});
  ASSERT_EQ(around_.selected.size(), 1U);
  const std::string row = TextsOf(panel->Picture(kWide)).at(2);
  EXPECT_EQ(row.rfind("▸ ", 0), 0U) << row;
  EXPECT_NE(row.find(cli::Printable(around_.selected[0].code).substr(2)), std::string::npos) << row;
  EXPECT_NE(events[1].content.find(cli::Printable(around_.selected[0].code).substr(2)), std::string::npos)
      << events[1].content;
}

// A key for each column, and a click on its head.
TEST_F(PanelsTest, ofListsOrderByAColumnAtOnce) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  const std::unique_ptr<Panel> board = Make(&cli::MakeBoardPanel);
  board->Show();
  Await(*board, FeedState::kLive);
  const auto turns_to = [&](const std::string& order) {
    EXPECT_EQ(board->Title(), "board: all A shares by " + order);
    Await(*board, FeedState::kLive);
    static_cast<void>(board->Picture(kWide));
  };
  for (const auto& [key, name] :
       {std::pair(U'M', "amt"), std::pair(U'V', "vol"), std::pair(U'T', "tr"), std::pair(U'P', "pe"),
        std::pair(U'X', "qrr"), std::pair(U'E', "mc"), std::pair(U'Z', "cr"), std::pair(U'L', "last")}) {
    Press(*board, Typed(key));
    turns_to(std::string(name) + ", descending");
    Press(*board, Typed(key));
    turns_to(std::string(name) + ", ascending");
  }
  Press(*board, Typed(U'K'));
  turns_to("code, ascending");
  const std::string head = TextsOf(board->Picture(kWide)).at(0);
  for (const char* const name : {"high", "change", "last"}) {
    const auto column = static_cast<int>(head.find(name));
    ASSERT_GE(column, 0) << head;
    Press(*board, {KeyKind::kClick, 0, column + 1, 0});
    turns_to(std::string(name) + ", descending");
    Press(*board, {KeyKind::kClick, 0, column, 0});
    turns_to(std::string(name) + ", ascending");
  }
  EXPECT_FALSE(board->OnKey({KeyKind::kClick, 0, static_cast<int>(head.find("pb")), 0}));
  for (const auto make : {&MakeStockRankingPanel, &MakePlateRankingPanel, &cli::MakeWatchListPanel}) {
    const std::unique_ptr<Panel> panel = Make(make);
    Press(*panel, Typed(U'T'));
    EXPECT_NE(panel->Title().find(" by tr, descending"), std::string::npos) << panel->Title();
  }
  EXPECT_FALSE(Make(&MakeEventsPanel)->OnKey(Typed(U'T')));
}

// The first click aims, one more takes.
TEST_F(PanelsTest, ofListsSelectTheRowThatIsClickedTwice) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  const std::unique_ptr<Panel> panel = Make(&MakeStockRankingPanel);
  panel->Show();
  Await(*panel, FeedState::kLive);
  static_cast<void>(panel->Picture(kScreen));
  const cli::Key click{KeyKind::kClick, 0, 12, 7};
  Press(*panel, click);
  EXPECT_TRUE(around_.selected.empty());
  EXPECT_EQ(TextsOf(panel->Picture(kScreen)).at(7).rfind("▸ ", 0), 0U);
  Press(*panel, click);
  ASSERT_EQ(around_.selected.size(), 1U);
  EXPECT_NE(TextsOf(panel->Picture(kScreen)).at(7).find(cli::Printable(around_.selected[0].code)),
            std::string::npos);
}

TEST_F(PanelsTest, ofEventsScroll) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  const std::unique_ptr<Panel> panel = Make(&MakeEventsPanel);
  panel->Show();
  Await(*panel, FeedState::kLive);
  const std::vector<std::string> all = TextsOf(panel->Picture({200, 100000}));
  ASSERT_GT(all.size(), 2U);
  // A row below the header; all of them but the first are drawn without the cursor's mark.
  const ChartSize small{200, 2};
  constexpr std::size_t kMark = 3;
  const auto row = [&] { return "  " + TextsOf(panel->Picture(small)).at(1).substr(kMark + 1); };
  const auto first = "  " + all[1].substr(kMark + 1);
  EXPECT_EQ(row(), first);
  Press(*panel, {KeyKind::kUp});
  EXPECT_EQ(row(), first);
  Press(*panel, {KeyKind::kDown});
  EXPECT_EQ(row(), all[2]);
  Press(*panel, {KeyKind::kUp});
  EXPECT_EQ(row(), first);
  Press(*panel, {KeyKind::kPageDown});
  EXPECT_EQ(row(), all[2]);
  Press(*panel, {KeyKind::kPageUp});
  EXPECT_EQ(row(), first);
  Press(*panel, {KeyKind::kEnd});
  EXPECT_EQ(row(), all.back());
  Press(*panel, {KeyKind::kDown});
  EXPECT_EQ(row(), all.back());
  Press(*panel, {KeyKind::kHome});
  EXPECT_EQ(row(), first);
}

// "csm watchlist show" on a terminal had a panel that could only be looked at.
TEST_F(PanelsTest, ofTheWatchListHaveTheirKeysInACommandToo) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  const std::unique_ptr<Panel> panel = cli::PanelFor(
      around_.context,
      std::make_unique<cli::WatchListView>(around_.context.views, cli::ListBy(cli::kWatchListColumns, 0)));
  const std::vector<cli::KeyHint> keys = panel->Keys();
  EXPECT_TRUE(
      std::any_of(keys.begin(), keys.end(), [](const cli::KeyHint& hint) { return hint.keys == "+ -"; }));
}

// The service was asked before it knew the list, and then not for three seconds.
TEST_F(PanelsTest, ofTheWatchListHaveTheirQuotesBeforeTheServiceAsksAgain) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  const std::unique_ptr<Panel> panel = Make(&cli::MakeWatchListPanel);
  const auto begin = Panel::Clock::now();
  panel->Show();
  Await(*panel, FeedState::kLive);
  EXPECT_LT(Panel::Clock::now() - begin, cli::kQuotePolling);
}

TEST_F(PanelsTest, ofTheWatchListAddAndRemove) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  const std::unique_ptr<Panel> panel = Make(&cli::MakeWatchListPanel);
  panel->Show();
  Await(*panel, FeedState::kLive);
  const auto has = [&](const Security& security) {
    return TextOf(*panel).find(cli::Printable(security.code)) != std::string::npos;
  };
  panel->Select(stocks_[2]);
  EXPECT_FALSE(has(stocks_[2]));
  Press(*panel, Typed(U'+'));
  EXPECT_TRUE(around_.RunUntil([&] { return has(stocks_[2]); })) << TextOf(*panel);
  Press(*panel, Typed(U'-'));
  EXPECT_TRUE(around_.RunUntil([&] { return !has(stocks_[2]); })) << TextOf(*panel);
  Press(*panel, Typed(U'-'));
  ASSERT_EQ(around_.told.size(), 3U);
  EXPECT_NE(around_.told[2].find("is not in the watch list"), std::string::npos) << around_.told[2];
  Press(*panel, {KeyKind::kDown});
  Press(*panel, {KeyKind::kEnter});
  EXPECT_EQ(around_.selected.back().code, stocks_[1].code);
  Press(*panel, {KeyKind::kDelete});
  EXPECT_TRUE(around_.RunUntil([&] { return !has(stocks_[1]); })) << TextOf(*panel);
  // What was taken out by mistake comes back to its place.
  Press(*panel, Typed(U'u'));
  EXPECT_TRUE(around_.RunUntil([&] { return panel->Position() == "row 1 of 2"; })) << TextOf(*panel);
  EXPECT_EQ(stock_host::WatchList(), (std::vector<std::wstring>{stocks_[0].code, stocks_[1].code}));
  Press(*panel, {KeyKind::kEnd});
  Press(*panel, {KeyKind::kDelete});
  EXPECT_EQ(stock_host::WatchList(), std::vector<std::wstring>{stocks_[0].code}) << TextOf(*panel);
  EXPECT_TRUE(around_.RunUntil([&] { return !has(stocks_[1]); })) << TextOf(*panel);
  panel->Select(stocks_[0]);
  Press(*panel, Typed(U'-'));
  EXPECT_EQ(ReportOf(*panel).state, FeedState::kEmpty);
  EXPECT_EQ(ReportOf(*panel).text,
            "the watch list is empty; csm watchlist add SYMBOL, or + on the live screen, puts something in");
  EXPECT_TRUE(panel->Picture(kScreen).empty());
}

TEST_F(PanelsTest, ofTheWatchListChangeOrderByKeys) {
  ASSERT_NO_FATAL_FAILURE(Open(kFriday));
  const std::unique_ptr<Panel> panel = Make(&cli::MakeWatchListPanel);
  EXPECT_EQ(panel->Title(), "watch list");
  panel->Show();
  Await(*panel, FeedState::kLive);
  const auto first = [&] { return TextsOf(panel->Picture(kScreen)).at(1); };
  for (const char32_t key : {U's', U'd'}) {
    Press(*panel, Typed(key));
    Await(*panel, FeedState::kLive);
  }
  EXPECT_EQ(panel->Title(), "watch list by code, ascending");
  const std::string ascending = first();
  Press(*panel, Typed(U'd'));
  Await(*panel, FeedState::kLive);
  EXPECT_NE(first(), ascending);
}

// The codes of the rows of a list.
std::vector<std::string> CodesOf(Panel& panel, const ChartSize& size) {
  static const std::regex code("s[hz][0-9]{6}");
  std::vector<std::string> codes;
  for (const std::string& line : TextsOf(panel.Picture(size))) {
    if (std::smatch match; std::regex_search(line, match, code)) {
      codes.push_back(match.str());
    }
  }
  return codes;
}

// The cursor stayed in its row when the order changed, and Enter took the stock that had come there; n and p
// went by the order of the beginning.
TEST_F(PanelsTest, boardGoesWithTheStockThatIsAimedAtAndStepsAsItIsSeen) {
  constexpr ChartSize kWholeBoard{100, 400};
  ASSERT_NO_FATAL_FAILURE(Open("2024-03-15 10:00:00"));
  std::vector<std::string> steps;
  around_.context.step_through = [&](const std::vector<BaseInfoItem>& list) {
    steps.clear();
    for (const BaseInfoItem& item : list) {
      steps.push_back(common::ws2s(item.code, common::kUtf8));
    }
  };
  const auto panel = Make(&cli::MakeBoardPanel);
  panel->Show();
  ASSERT_TRUE(around_.RunUntil(
      [&] { return CodesOf(*panel, kWholeBoard).size() > 100 && steps == CodesOf(*panel, kWholeBoard); }));
  const std::vector<std::string> before = CodesOf(*panel, kWholeBoard);
  for (int i = 0; i < 3; ++i) {
    Press(*panel, {KeyKind::kDown});
  }
  MoveTo("2024-03-15 14:30:00");
  panel->Refresh();
  ASSERT_TRUE(around_.RunUntil([&] { return CodesOf(*panel, kWholeBoard)[3] != before[3]; }));
  Press(*panel, {KeyKind::kEnter});
  ASSERT_EQ(around_.selected.size(), 1U);
  EXPECT_EQ(common::ws2s(around_.selected[0].code, common::kUtf8), before[3]);
  EXPECT_EQ(steps, CodesOf(*panel, kWholeBoard));
}

}  // namespace

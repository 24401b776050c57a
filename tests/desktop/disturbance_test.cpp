// What goes wrong around the viewer is said in its window in plain words, and ends when its cause does.
#include <QtGui/QPainter>
#include <fstream>

#include "cli/format/figures.h"
#include "desktop/measure.h"
#include "desktop/screenshot.h"
#include "desktop/theme.h"
#include "running_desk.h"

namespace {

using namespace std::string_literals;
using cli::FeedState;
using desktop::ListPane;
using desktop::Pane;

class DisturbanceTest : public RunningDesk {
 protected:
  [[nodiscard]] std::string StateOf(std::string_view pane) const {
    return window_->page().Find(pane)->State().toStdString();
  }
  [[nodiscard]] bool IsState(std::string_view pane, FeedState state) const {
    return window_->page().Find(pane)->Report().state == state;
  }
  // As good as new; figures of a clock that stands still are unchanged after a while.
  [[nodiscard]] bool IsFresh(std::string_view pane) const {
    return IsState(pane, FeedState::kLive) || IsState(pane, FeedState::kUnchanged);
  }
  // The spread of changes as it is at `now`.
  [[nodiscard]] std::string Spread(market_server::model::Instant now) const {
    const auto spread = market_->DistributionOn(market_server::model::SessionDate(now), now);
    return "up " + std::to_string(spread.up) + " unchanged " + std::to_string(spread.unchanged) + " down " +
           std::to_string(spread.down);
  }
  [[nodiscard]] bool ShowsSpread(const std::string& spread) const {
    return Described(*window_->page().Find("distribution")).find(spread) != std::string::npos;
  }
  void WriteConfig(const std::string& name, const std::string& text) const {
    const QString folder = QString::fromStdString(directory_.path() + "/config");
    ASSERT_TRUE(QDir().mkpath(folder));
    std::ofstream(folder.toStdString() + "/" + name) << text;
  }
};

TEST_F(DisturbanceTest, lunchAndCloseAreSaid) {
  ASSERT_NO_FATAL_FAILURE(Open("board", "2024-03-15 11:20:00"));
  const auto phase_says = [&](const char* text) {
    const auto children = window_->indices().findChildren<QWidget*>();
    return std::any_of(children.begin(), children.end(), [text](const QWidget* child) {
      return child->accessibleName().contains(QString::fromUtf8(text));
    });
  };
  EXPECT_TRUE(Await([&] { return phase_says("morning session"); }));
  server_->SetClock("2024-03-15 12:00:00");
  EXPECT_TRUE(Await([&] { return phase_says("lunch break"); }));
  server_->SetClock("2024-03-15 16:00:00");
  EXPECT_TRUE(Await([&] { return phase_says("closed"); }));
  EXPECT_TRUE(Await([this] {
    return IsState("board", FeedState::kClosed) &&
           StateOf("board").find("figures of 2024-03-15") != std::string::npos;
  })) << StateOf("board");
}

TEST_F(DisturbanceTest, anOutageIsSaidInThePanesAndTheStatusBarAndEnds) {
  ASSERT_NO_FATAL_FAILURE(Open("board"));
  EXPECT_TRUE(Await([this] { return Says("connected to " + server_->url()) && !Says("not connected"); }))
      << StatusText();
  server_.reset();
  EXPECT_TRUE(Await([this] { return IsState("board", FeedState::kStale); })) << StateOf("board");
  EXPECT_TRUE(Await([this] { return Says("not connected to"); })) << StatusText();
  EXPECT_GT(List("board").table().rowCount(), 0);  // what is known stays
  StartServer(kAfternoon);
  EXPECT_TRUE(Await([this] { return IsFresh("board"); })) << StateOf("board");
  EXPECT_TRUE(Await([this] { return !Says("not connected"); })) << StatusText();
}

TEST_F(DisturbanceTest, aServerThatIsAwayIsSaidInEveryPane) {
  options_.session.server = "http://127.0.0.1:9";
  ASSERT_NO_FATAL_FAILURE(StartDesk("breadth"));
  for (const Pane* const pane : window_->page().Panes()) {
    EXPECT_TRUE(Await([pane] {
      return pane->Report().state == FeedState::kFailed && pane->State().contains(QStringLiteral("onnect"));
    })) << pane->id().toStdString()
        << ": " << pane->State().toStdString();
  }
  EXPECT_TRUE(Await([this] { return Says("not connected to http://127.0.0.1:9"); })) << StatusText();
}

TEST_F(DisturbanceTest, aKeyThatTheServerDoesNotKnowIsSaidInPlainWords) {
  server_options_.check_signatures = true;
  setenv("CSM_KEY_ID", "stranger", 1);
  StartServer(kAfternoon);
  ASSERT_NO_FATAL_FAILURE(StartDesk("board"));
  EXPECT_TRUE(Await([this] {
    return StateOf("board").find("the server does not know the key id") != std::string::npos;
  })) << StateOf("board");
}

// The old figures are called old, and go without a trace.
TEST_F(DisturbanceTest, faultsLeaveNoWrongFigureAndEnd) {
  ASSERT_NO_FATAL_FAILURE(Open("breadth", "2024-03-15 10:00:00"));
  int minute = 1;
  std::string shown = Spread(Now());
  EXPECT_TRUE(Await([&] { return ShowsSpread(shown); }));
  for (const char* const fault : {"truncated", "errno", "reset_in_body"}) {
    SCOPED_TRACE(fault);
    server_->SetFaults({fault});
    server_->SetClock("2024-03-15 10:" + std::to_string(10 + minute++));
    EXPECT_TRUE(Await([this] { return IsState("distribution", FeedState::kStale); }))
        << StateOf("distribution");
    EXPECT_TRUE(ShowsSpread(shown));
    server_->SetFaults({});
    shown = Spread(Now());
    EXPECT_TRUE(Await([&] { return ShowsSpread(shown) && IsFresh("distribution"); }))
        << shown << " " << StateOf("distribution");
  }
}

// They stood there as failed for the rest of the day.
TEST_F(DisturbanceTest, figuresThatAreAskedForOnceADayAreAskedForAgainAfterAFailure) {
  server_options_.faults = {"errno:/pc/rt/stock_trade", "errno:/pc/rt/stock_buy"};
  ASSERT_NO_FATAL_FAILURE(Open("more"));
  for (const char* const pane : {"margin", "new-shares"}) {
    EXPECT_TRUE(Await([&] { return IsState(pane, FeedState::kFailed); })) << StateOf(pane);
  }
  server_->SetFaults({});
  for (const char* const pane : {"margin", "new-shares"}) {
    EXPECT_TRUE(Await([&] { return IsFresh(pane); })) << StateOf(pane);
  }
}

TEST_F(DisturbanceTest, aWrongClockOfThisMachineIsSaidWithTheDifference) {
  server_options_.speed = 1;
  server_options_.faults = {"date_wrong::1:7200"};
  StartServer("now");
  ASSERT_NO_FATAL_FAILURE(StartDesk("breadth"));
  EXPECT_TRUE(Await([this] { return Says("this machine's clock is wrong by 2 h"); })) << StatusText();
}

TEST_F(DisturbanceTest, aRecordIsPlayedAgainWithItsFiguresAndItsBadge) {
  const std::string record = directory_.path() + "/record";
  cli::RecordSessions(record);
  ASSERT_NO_FATAL_FAILURE(Open("board"));
  const std::string first = Cell(List("board"), 0, "name") + Cell(List("board"), 0, "change");
  window_.reset();
  desk_.reset();
  server_.reset();
  cli::RecordSessions({});
  options_.session.replay = record;
  ASSERT_NO_FATAL_FAILURE(StartDesk("board"));
  EXPECT_TRUE(Await([&] {
    return List("board").table().size() > 0 &&
           Cell(List("board"), 0, "name") + Cell(List("board"), 0, "change") == first;
  })) << StateOf("board");
  EXPECT_TRUE(Await([this] { return Says("REPLAY"); })) << StatusText();
  EXPECT_TRUE(window_->windowTitle().endsWith(QStringLiteral("REPLAY")));
}

TEST_F(DisturbanceTest, damagedSettingsLeaveTheViewerAsAtFirst) {
  WriteConfig("desktop.ini",
              "[board]\npanes=nonsense, board, quote\ndocks=@ByteArray(\\x1\\x2garbage)\n"
              "[board%2F]\n[board/board]\nheader=@ByteArray(\\xff\\xff)\n[window]\npage=nowhere\n"
              "geometry=@ByteArray(nothing)\n[windows]\nsize=2000000000\n1\\kind=quote\n2\\kind=nonsense\n"
              "theme=purple\n\\xzz[[[ = \n");
  ASSERT_NO_FATAL_FAILURE(Open(""));
  EXPECT_EQ(window_->page().kind().name, "board");
  EXPECT_EQ(window_->windows().size(), 1U);
  EXPECT_GT(List("board").table().size(), 0U);
  EXPECT_NE(window_->page().Find("quote"), nullptr);
  window_->Save();
}

TEST_F(DisturbanceTest, settingsThatCannotBeReadAreSaid) {
  WriteConfig("desktop.ini", "[[[\0\xff nothing of this is a setting\n=\n"s);
  ASSERT_NO_FATAL_FAILURE(Open("board"));
  EXPECT_TRUE(Says("desktop.ini cannot be read")) << StatusText();
  window_->Save();
  window_.reset();
  desk_.reset();
  ASSERT_NO_FATAL_FAILURE(StartDesk("board"));
  EXPECT_FALSE(Says("cannot be read")) << StatusText();
}

TEST_F(DisturbanceTest, aDamagedWatchListShowsWhatIsGoodOfItAndSaysTheRest) {
  WriteConfig("watchlist.txt", "sh600000\n\0\x01\xff garbage\nnonsense\n"s);
  ASSERT_NO_FATAL_FAILURE(Open("watch"));
  EXPECT_TRUE(Await([this] { return List("watch").table().rowCount() == 1; }));
  EXPECT_EQ(Cell(List("watch"), 0, "code"), "sh600000");
  EXPECT_TRUE(Await([this] { return Says("watch list"); })) << StatusText();
}

TEST_F(DisturbanceTest, aPaneThatCannotPaintTakesNothingWithIt) {
  class Broken final : public QWidget {
   public:
    using QWidget::QWidget;
    void paintEvent(QPaintEvent* /*event*/) override {
      QPainter painter(this);
      throw std::runtime_error("out of paint");
    }
  };
  ASSERT_NO_FATAL_FAILURE(Open("watch"));
  static_cast<desktop::Application*>(qApp)->desk = desk_.get();
  ASSERT_NO_FATAL_FAILURE(Select("sh600000"));
  QTest::keyClick(window_.get(), Qt::Key_Insert);
  auto* const broken = new Broken(window_->page().Find("quote"));
  broken->resize(100, 100);
  broken->show();
  EXPECT_TRUE(Await([this] { return Says("out of paint"); })) << StatusText();
  broken->update();
  EXPECT_TRUE(Await([this] { return List("watch").table().rowCount() == 1; }));
  EXPECT_EQ(Cell(List("watch"), 0, "last"), cli::Fixed(QuoteOf(L"sh600000").last, 2));
  EXPECT_TRUE(Await([this] { return IsFresh("watch"); })) << StateOf("watch");
  delete broken;
  static_cast<desktop::Application*>(qApp)->desk = nullptr;
  EXPECT_EQ(stock_host::WatchList(), std::vector<std::wstring>{L"sh600000"});
}

// The stocks of a plate were asked for before there was one, and then never.
TEST_F(DisturbanceTest, everyPageIsFilledOnASlowLine) {
  ASSERT_NO_FATAL_FAILURE(Open("board"));
  std::string error;
  ASSERT_TRUE(stock_host::AddToWatchList(L"sh600000", error)) << error;
  server_->SetFaults({"latency::1:300"});
  for (const desktop::PageKind& page : desktop::PageKinds()) {
    SCOPED_TRACE(page.name);
    window_->ShowPage(std::string(page.name));
    EXPECT_TRUE(Await([this] { return IsSettled(); })) << Unsettled();
    for (const Pane* const pane : window_->page().Panes()) {
      const FeedState state = pane->Report().state;
      EXPECT_TRUE(!pane->seen() || state == FeedState::kLive || state == FeedState::kUnchanged)
          << pane->id().toStdString() << ": " << pane->State().toStdString();
    }
  }
}

TEST_F(DisturbanceTest, aPictureWaitsForListsThatComeLate) {
  server_options_.faults = {"latency:/pc/rt/get_basic_info:1:1500"};
  options_.symbol = "sh600000";
  options_.screenshot = directory_.path() + "/late.png";
  StartServer(kAfternoon);
  ASSERT_NO_FATAL_FAILURE(StartDesk("stock"));
  desktop::TakeScreenshot(*desk_, *window_);
  EXPECT_EQ(QApplication::exec(), 0);
  EXPECT_EQ(desk_->current().code, L"sh600000");
  EXPECT_TRUE(IsFresh("quote")) << StateOf("quote");
}

// Run with fonts for Latin letters alone.
TEST_F(DisturbanceTest, withoutAChineseFontThePackageIsNamed) {
  ASSERT_FALSE(desktop::HasChineseFont());
  StartServer(kAfternoon);
  ASSERT_NO_FATAL_FAILURE(StartDesk("breadth"));
  EXPECT_TRUE(Await([this] { return Says("fonts-wqy-microhei"); })) << StatusText();
}

}  // namespace

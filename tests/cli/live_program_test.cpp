// csm without a command under a terminal, on the simulated market: what the live screen shows, its keys, what
// it costs, and that the terminal is left as it was however it ends.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "child_process.h"
#include "clean_terminal.h"
#include "cli/format/figures.h"
#include "cli/format/text.h"
#include "market_server/market_server.h"
#include "market_server/model/market.h"
#include "screen_reader.h"

namespace tests {
namespace {

constexpr int kColumns = 100;  // as the terminal of a child is at first
constexpr int kRows = 30;
// Of a fixed day: what the widest line holds depends on its figures.
const std::vector<std::string> kMorning = {"--clock", "2024-03-13 10:30", "--interval", "0.2"};

// A market of its own, so that what it was asked can be counted and it can be stopped.
class OtherMarket {
 public:
  explicit OtherMarket(const std::string& clock, double speed = 1)
      : server_(OptionsOf(directory_.path(), clock, speed)) {
    server_.Start();
  }

  void Stop() { server_.Stop(); }
  [[nodiscard]] std::vector<std::string> Arguments() const {
    return {"--server", server_.url(), "--interval", "0.2"};
  }
  [[nodiscard]] std::map<std::string, std::string> Environment() const {
    return {{"CSM_KEY_ID", server_.key_id()}, {"CSM_KEY", server_.key()}};
  }
  /// Requests of an endpoint, answered so far.
  [[nodiscard]] int Count(const std::string& endpoint) const {
    std::ifstream log(directory_.path() + "/access.log");
    int count = 0;
    for (std::string line; std::getline(log, line);) {
      count += line.find(" " + endpoint + "?") != std::string::npos ? 1 : 0;
    }
    return count;
  }

 private:
  static market_server::Options OptionsOf(const std::string& directory, const std::string& clock,
                                          double speed) {
    market_server::Options options;
    options.clock = clock;
    options.speed = speed;
    options.stocks = 200;
    options.access_log = directory + "/access.log";
    return options;
  }

  const cli::TemporaryDirectory directory_;
  market_server::Server server_;
};

class LiveProgramTest : public testing::Test {
 protected:
  void Start(const std::vector<std::string>& arguments, std::map<std::string, std::string> environment = {}) {
    csm_ = std::make_unique<ChildProcess>(Csm(arguments), std::move(environment),
                                          ChildProcess::Around::kTerminal);
    reader_ = std::make_unique<ScreenReader>(kColumns, kRows);
    read_ = 0;
  }
  void Start(const OtherMarket& market) { Start(market.Arguments(), market.Environment()); }

  void StartAndWaitForQuotes(const std::vector<std::string>& arguments = kMorning) {
    Start(arguments);
    ASSERT_TRUE(ShowsInTime("bid5")) << Screen();
  }

  // What the terminal shows, or showed last before it was given back.
  std::string Screen() {
    const std::string& output = csm_->output();
    reader_->Read(std::string_view(output).substr(read_));
    read_ = output.size();
    return reader_->Text();
  }
  std::string Row(std::size_t row) {
    Screen();
    return reader_->Rows().at(row);
  }

  bool Shows(const std::string& text) { return Screen().find(text) != std::string::npos; }
  bool ShowsInTime(const std::string& text) {
    return csm_->ReadUntil([&] { return Shows(text); });
  }
  bool HidesInTime(const std::string& text) {
    return csm_->ReadUntil([&] { return !Shows(text); });
  }

  void ExpectAllUnderstood() { EXPECT_TRUE(reader_->unknown().empty()) << reader_->unknown().front(); }

  std::unique_ptr<ChildProcess> csm_;
  std::unique_ptr<ScreenReader> reader_;
  std::size_t read_ = 0;
};

TEST_F(LiveProgramTest, showsIndicesPhaseBoardAndQuoteAtOnce) {
  StartAndWaitForQuotes();
  ASSERT_TRUE(ShowsInTime("▸ board: all A shares by change, descending")) << Screen();
  EXPECT_EQ(Row(0).rfind("上证指数 ", 0), 0U) << Row(0);
  EXPECT_NE(Row(0).find("创业板指 "), std::string::npos) << Row(0);
  ASSERT_TRUE(ShowsInTime("开盘 morning session  connected  * live")) << Screen();
  EXPECT_NE(Row(1).find(" 10:30:"), std::string::npos) << Row(1);
  EXPECT_EQ(Row(1).rfind("SIMULATED  ", 0), 0U) << Row(1);
  EXPECT_TRUE(Shows("  code      name"));
  EXPECT_EQ(Row(kRows - 1).rfind("[1 board]", 0), 0U) << Row(kRows - 1);
  ExpectAllUnderstood();
}

TEST_F(LiveProgramTest, movesTheCurrentSecurityByKeys) {
  StartAndWaitForQuotes();
  const auto code_in = [](const std::string& row) { return row.substr(row.find("s"), 8); };
  ASSERT_TRUE(csm_->ReadUntil([&] {
    return Row(4).rfind("▸ s", 0) == 0 && Shows("quote of " + code_in(Row(4)));
  })) << Screen();
  csm_->Type("n");
  ASSERT_TRUE(csm_->ReadUntil([&] {
    return Row(5).rfind("▸ s", 0) == 0 && Shows("quote of " + code_in(Row(5)));
  })) << Screen();
  csm_->Type("p");
  ASSERT_TRUE(csm_->ReadUntil([&] {
    return Row(4).rfind("▸ s", 0) == 0 && Shows("quote of " + code_in(Row(4)));
  })) << Screen();
  csm_->Type("\x1b[B\x1b[B\r");
  EXPECT_TRUE(csm_->ReadUntil([&] {
    return Row(6).rfind("▸ s", 0) == 0 && Shows("quote of " + code_in(Row(6)));
  })) << Screen();
}

TEST_F(LiveProgramTest, selectsByCode) {
  StartAndWaitForQuotes();
  csm_->Type("/sh000001");
  ASSERT_TRUE(ShowsInTime("▸ sh000001  上证指数  index")) << Screen();
  csm_->Type("\r");
  EXPECT_TRUE(ShowsInTime("quote of sh000001 上证指数")) << Screen();
  EXPECT_TRUE(ShowsInTime("unchanged")) << Screen();
}

TEST_F(LiveProgramTest, turnsThePagesOfABoardAndChangesItsOrder) {
  StartAndWaitForQuotes();
  csm_->Type("s");
  ASSERT_TRUE(ShowsInTime("board: all A shares by diff, descending")) << Screen();
  csm_->Type("SSSSd");
  ASSERT_TRUE(ShowsInTime("board: all A shares by code, ascending")) << Screen();
  ASSERT_TRUE(csm_->ReadUntil([&] { return Row(4).rfind("▸ sh600000", 0) == 0; })) << Screen();
  csm_->Type("\x1b[6~");
  ASSERT_TRUE(csm_->ReadUntil([&] {
    return Row(4).rfind("▸ s", 0) == 0 && Row(4).find("sh600000") == std::string::npos;
  })) << Screen();
  csm_->Type("\x1b[5~");
  ASSERT_TRUE(csm_->ReadUntil([&] { return Row(4).rfind("▸ sh600000", 0) == 0; })) << Screen();
  csm_->Type("bbb");
  EXPECT_TRUE(ShowsInTime("board: growth enterprises by code")) << Screen();
  EXPECT_TRUE(csm_->ReadUntil([&] { return Row(4).rfind("▸ sz3", 0) == 0; })) << Screen();
}

TEST_F(LiveProgramTest, followsTheSizeOfTheTerminal) {
  StartAndWaitForQuotes();
  for (const auto& [columns, rows] : {std::pair(160, 50), {80, 24}, {60, 14}}) {
    reader_->Resize(columns, rows);
    csm_->Resize(columns, rows);
    ASSERT_TRUE(csm_->ReadUntil([&, last = static_cast<std::size_t>(rows) - 1] {
      return Row(last).rfind("[1 board]", 0) == 0 && Row(0).rfind("上证", 0) == 0;
    })) << Screen();
  }
  EXPECT_FALSE(Shows("bid1"));
  reader_->Resize(50, 10);
  csm_->Resize(50, 10);
  EXPECT_TRUE(ShowsInTime("too small: 50 by 10, at least 60 by 14")) << Screen();
  csm_->Type("q");
  EXPECT_EQ(csm_->Wait(), 0);
  ExpectCleanTerminal(*csm_);
}

TEST_F(LiveProgramTest, writesOnlyWhatHasChanged) {
  StartAndWaitForQuotes();
  ASSERT_TRUE(ShowsInTime("* live"));
  const std::size_t before = csm_->output().size();
  const std::string time = Row(1).substr(Row(1).find("20"), 19);
  ASSERT_TRUE(HidesInTime(time));
  EXPECT_EQ(csm_->output().find("\x1b[2J", before), std::string::npos);
}

TEST_F(LiveProgramTest, hasAPageForEverything) {
  StartAndWaitForQuotes();
  csm_->Type("5+");
  const std::vector<std::pair<std::string, std::vector<std::string>>> pages = {
      {"5", {"▸ watch list", "▸ s", "quote of s"}},
      {"2", {"▸ minute line of s", "09:30", "quote of s"}},
      {"3", {"▸ candles", "quote of s"}},
      {"4", {"▸ top 30 of all A shares by change", "top 30 of industry plates", "bpin"}},
      {"6", {"▸ unusual events, the newest first", "flows in yuan of s"}},
      {"7", {"▸ stocks up and down", "spread of the stocks' changes"}},
      {"8", {"average change of all stocks"}},
      {"9", {"▸ industry plates by change", "row 1 of "}},
      {"1", {"▸ board", "quote of s", "bid5"}}};
  for (const auto& [key, texts] : pages) {
    csm_->Type(key);
    for (const std::string& text : texts) {
      EXPECT_TRUE(ShowsInTime(text)) << text << "\n" << Screen();
    }
    // No panel waits for ever, and none has failed.
    EXPECT_TRUE(HidesInTime("… waiting")) << Screen();
    EXPECT_FALSE(Shows("! ")) << Screen();
  }
  ExpectAllUnderstood();
}

// What was there of a plate's stocks was out of reach of the screen.
TEST_F(LiveProgramTest, goesFromPlatesToStocksAndBack) {
  StartAndWaitForQuotes();
  csm_->Type("9");
  ASSERT_TRUE(ShowsInTime("▸ bk")) << Screen();
  csm_->Type("\r");
  ASSERT_TRUE(ShowsInTime("▸ stocks of bk")) << Screen();
  ASSERT_TRUE(csm_->ReadUntil([&] { return Row(4).rfind("▸ s", 0) == 0; })) << Screen();
  csm_->Type("j\r");
  ASSERT_TRUE(csm_->ReadUntil([&] {
    const std::string row = Row(5);
    return row.rfind("▸ s", 0) == 0 && Shows("quote of " + row.substr(row.find('s'), 8));
  })) << Screen();
  csm_->Type("\x7f");
  EXPECT_TRUE(ShowsInTime("▸ industry plates by change")) << Screen();
  // A second click selected the plate, and showed nothing of it.
  csm_->Type("\x1b[<0;5;7M\x1b[<0;5;7m\x1b[<0;5;7M\x1b[<0;5;7m");
  EXPECT_TRUE(ShowsInTime("▸ stocks of bk")) << Screen();
}

// The mark of a simulated market was the first thing to go, and the state of the feed went with it.
TEST_F(LiveProgramTest, keepsBadgeStateAndChartsOnASmallTerminal) {
  StartAndWaitForQuotes();
  reader_->Resize(60, 14);
  csm_->Resize(60, 14);
  csm_->Type("3");
  ASSERT_TRUE(ShowsInTime("└")) << Screen();
  EXPECT_EQ(Row(1).rfind("SIMULATED", 0), 0U) << Row(1);
  EXPECT_NE(Row(1).find("* live"), std::string::npos) << Row(1);
  EXPECT_FALSE(Shows("the chart takes"));
  csm_->Type("\x1b[D");
  // What is least looked for goes first: the day, its prices and its change are there.
  EXPECT_TRUE(ShowsInTime("2024-03-13  open 4.06 high 4.36 low 4.06 close 4.36 +10.10%")) << Screen();
  EXPECT_FALSE(Shows(" amount ")) << Screen();
}

// A click into a chart did nothing: what stands there could be read by keys only.
TEST_F(LiveProgramTest, readsAChartWhereItIsClicked) {
  StartAndWaitForQuotes();
  const auto crosses_at = [&](int column) {
    Screen();
    for (int row = 4; row < kRows - 4; ++row) {
      if (reader_->At(row, column) == "┆") {
        return true;
      }
    }
    return false;
  };
  csm_->Type("2");
  ASSERT_TRUE(ShowsInTime("▸ minute line")) << Screen();
  ASSERT_TRUE(ShowsInTime("09:30")) << Screen();
  EXPECT_FALSE(crosses_at(13));
  csm_->Type("\x1b[<0;14;11M\x1b[<0;14;11m");
  ASSERT_TRUE(csm_->ReadUntil([&] { return crosses_at(13); })) << Screen();
  // The volume has no room beside the other figures, and is left out as a whole.
  EXPECT_TRUE(ShowsInTime("  average ")) << Screen();
  EXPECT_FALSE(Shows("…")) << Screen();
  csm_->Type("\x1b");
  ASSERT_TRUE(csm_->ReadUntil([&] { return !crosses_at(13); })) << Screen();

  // One that is newly listed has a single candle.
  csm_->Type("3/sh600000\r");
  ASSERT_TRUE(ShowsInTime("▸ candles by day of sh600000")) << Screen();
  ASSERT_TRUE(ShowsInTime("┬─────────────┬")) << Screen();
  csm_->Type("\x1b[<0;23;11M\x1b[<0;23;11m");
  ASSERT_TRUE(csm_->ReadUntil([&] { return crosses_at(22); })) << Screen();
  EXPECT_TRUE(Shows(" open ")) << Screen();
  ExpectAllUnderstood();
}

TEST_F(LiveProgramTest, saysSinceWhenAFrozenFeedIsUnchanged) {
  OtherMarket market("2024-03-13 10:30", 0);
  Start(market);
  ASSERT_TRUE(ShowsInTime("bid5")) << Screen();
  EXPECT_TRUE(ShowsInTime("connected  = unchanged since 10:30:00")) << Screen();
}

TEST_F(LiveProgramTest, hiddenPanelsCostNoRequest) {
  OtherMarket market("2024-03-13 10:30");
  Start(market);
  ASSERT_TRUE(ShowsInTime("bid5")) << Screen();
  csm_->Type("?");
  ASSERT_TRUE(ShowsInTime("look for a security")) << Screen();
  // What was on its way has arrived when the indices were answered twice; then longer than a round of
  // polling.
  const auto await_indices = [&](int more) {
    const int wanted = market.Count("/pc/rt/stock_detail_list") + more;
    return csm_->ReadUntil([&] { return market.Count("/pc/rt/stock_detail_list") >= wanted; });
  };
  ASSERT_TRUE(await_indices(2));
  const int before = market.Count("/pc/rt/get");
  EXPECT_GT(before, 0);
  ASSERT_TRUE(await_indices(18));
  EXPECT_EQ(market.Count("/pc/rt/get"), before);
  csm_->Type(" ");
  EXPECT_TRUE(csm_->ReadUntil([&] { return market.Count("/pc/rt/get") > before; }));
}

TEST_F(LiveProgramTest, saysThatDataGrowOldAndWhyWhenTheServerIsGone) {
  OtherMarket market("2024-03-13 10:30");
  Start(market);
  ASSERT_TRUE(ShowsInTime("bid5")) << Screen();
  market.Stop();
  EXPECT_TRUE(ShowsInTime("! stale, ")) << Screen();
  EXPECT_TRUE(ShowsInTime("开盘 morning session  not connected  ! stale, ")) << Screen();
  EXPECT_TRUE(csm_->ReadUntil([&] { return Row(kRows - 3).rfind("! stale, ", 0) == 0; })) << Screen();
  EXPECT_TRUE(Shows("bid5"));
}

TEST_F(LiveProgramTest, saysWhyNothingArrives) {
  Start({"--server", "http://127.0.0.1:1", "--interval", "0.2"},
        {{"CSM_KEY_ID", "tester"}, {"CSM_KEY", "secret"}});
  EXPECT_TRUE(ShowsInTime("! no data: ")) << Screen();
  EXPECT_TRUE(csm_->ReadUntil([&] { return Row(kRows - 3).rfind("! no data: ", 0) == 0; })) << Screen();
  EXPECT_TRUE(ShowsInTime("no security is selected")) << Screen();
  ASSERT_TRUE(ShowsInTime("cannot load the reference data from http://127.0.0.1:1: ")) << Screen();
  csm_->Type("/6");
  EXPECT_TRUE(ShowsInTime("/ 6_\n  cannot load the reference data from http://127.0.0.1:1: ")) << Screen();
}

TEST_F(LiveProgramTest, saysThatTheMarketIsClosed) {
  StartAndWaitForQuotes({"--clock", "2024-03-13 16:00", "--interval", "0.2"});
  EXPECT_TRUE(ShowsInTime("已收盘 closed  connected  - market closed")) << Screen();
  EXPECT_TRUE(csm_->ReadUntil([&] {
    return Row(kRows - 3).find("- market closed, figures of 2024-03-13") == 0;
  })) << Screen();
}

// By the change of the phase alone: no round would come for half a minute.
TEST_F(LiveProgramTest, showsTheCloseThoughItWasStartedRightBeforeIt) {
  namespace model = market_server::model;
  Start({"--clock", "2024-03-13 14:59:57", "--interval", "30"});
  ASSERT_TRUE(ShowsInTime("已收盘 closed")) << Screen();
  const model::Market market{model::Options{}};
  const model::Instant evening = model::InstantOf(20240313, 20, 0, 0);
  for (const char* const code : {"sh000001", "sz399001", "sz399006"}) {
    const model::Quote close = market.QuoteOf(*market.Find(code), evening);
    const std::string figures =
        close.security->name + " " + cli::Fixed(close.last, 2) + " " + cli::Signed(close.change, 2) + "%";
    EXPECT_NE(market.QuoteOf(*close.security, model::InstantOf(20240313, 14, 59, 57)).last, close.last)
        << code;
    EXPECT_TRUE(csm_->ReadUntil([&] { return Row(0).find(figures) != std::string::npos; })) << figures << "\n"
                                                                                            << Row(0);
  }
}

TEST_F(LiveProgramTest, leavesTheTerminalCleanWhenQIsTyped) {
  for (const char* const keys : {"q", "\x03", "\x04"}) {
    StartAndWaitForQuotes();
    csm_->Type(keys);
    EXPECT_EQ(csm_->Wait(), 0);
    ExpectCleanTerminal(*csm_);
    EXPECT_NE(csm_->output().find("sz399006", csm_->output().rfind("\x1b[?1049l")), std::string::npos);
  }
}

TEST_F(LiveProgramTest, leavesTheTerminalCleanOnSignals) {
  for (const int number : {SIGTERM, SIGHUP, SIGQUIT}) {
    StartAndWaitForQuotes();
    csm_->Signal(number);
    EXPECT_EQ(csm_->Wait(), 0) << number;
    ExpectCleanTerminal(*csm_);
  }
}

TEST_F(LiveProgramTest, leavesTheTerminalCleanWhenItCrashes) {
  for (const int number : {SIGSEGV, SIGABRT}) {
    StartAndWaitForQuotes();
    csm_->Signal(number);
    EXPECT_NE(csm_->Wait(), 0) << number;
    ExpectCleanTerminal(*csm_);
  }
}

TEST_F(LiveProgramTest, givesTheTerminalBackWhileItIsStopped) {
  StartAndWaitForQuotes();
  csm_->Type("\x1a");
  ASSERT_TRUE(csm_->WaitUntilStopped());
  ASSERT_TRUE(csm_->ReadUntil([&] { return csm_->output().rfind("\x1b[?1049l") != std::string::npos; }));
  EXPECT_EQ(csm_->Modes().c_lflag, csm_->first_modes().c_lflag);
  const std::size_t stopped = csm_->output().size();
  csm_->Signal(SIGCONT);
  ASSERT_TRUE(
      csm_->ReadUntil([&] { return csm_->output().find("\x1b[?1049h", stopped) != std::string::npos; }));
  EXPECT_TRUE(ShowsInTime("bid5")) << Screen();
  EXPECT_TRUE(ShowsInTime("[1 board]")) << Screen();
  csm_->Type("q");
  EXPECT_EQ(csm_->Wait(), 0);
  ExpectCleanTerminal(*csm_);
}

TEST_F(LiveProgramTest, endsWhenItsTimeIsUpAndSaysWhetherSomethingArrived) {
  Start({"--for", "4", "--clock", "2024-03-13 10:30"});
  EXPECT_EQ(csm_->Wait(), 0);
  ExpectCleanTerminal(*csm_);
  Start({"--server", "http://127.0.0.1:1", "--for", "1"}, {{"CSM_KEY_ID", "tester"}, {"CSM_KEY", "secret"}});
  EXPECT_EQ(csm_->Wait(), 1);
  EXPECT_NE(csm_->output().find("csm: nothing arrived: no data: ", csm_->output().rfind("\x1b[?1049l")),
            std::string::npos);
  ExpectCleanTerminal(*csm_);
}

TEST_F(LiveProgramTest, hasNoColoursWhenNoneAreWanted) {
  for (const auto& [arguments, environment] :
       std::vector<std::pair<std::vector<std::string>, std::map<std::string, std::string>>>{
           {{"--no-color"}, {}}, {{}, {{"NO_COLOR", "1"}}}}) {
    Start(arguments, environment);
    ASSERT_TRUE(ShowsInTime("bid5")) << Screen();
    csm_->Type("q");
    EXPECT_EQ(csm_->Wait(), 0);
    for (const char* colour : {"\x1b[31m", "\x1b[32m", "\x1b[1m", "\x1b[2m", "\x1b[0;1m", "\x1b[0;2m"}) {
      EXPECT_EQ(csm_->output().find(colour), std::string::npos);
    }
  }
}

TEST_F(LiveProgramTest, printsLinesWhereThereIsNoScreen) {
  for (const char* kind : {"dumb", "no-such-terminal"}) {
    Start({"--for", "4", "--clock", "2024-03-13 10:30"}, {{"TERM", kind}});
    EXPECT_EQ(csm_->Wait(), 0) << csm_->output();
    EXPECT_NE(csm_->output().find("sz399006"), std::string::npos);
    EXPECT_EQ(csm_->output().find("\x1b[?1049h"), std::string::npos);
  }
}

TEST_F(LiveProgramTest, printsLinesWhenTheyAreCountedOrWantedAsJson) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--count", "1"}, {"--json", "--count", "1"}}) {
    Start(arguments);
    EXPECT_EQ(csm_->Wait(), 0);
    EXPECT_NE(csm_->output().find("sz399006"), std::string::npos);
    EXPECT_EQ(csm_->output().find("\x1b[?1049h"), std::string::npos);
  }
}

}  // namespace
}  // namespace tests

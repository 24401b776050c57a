// A command that follows one feed, under a terminal: what its screen shows, and that the terminal is left as
// it was however the command ends. The screen of csm without a command is live_program_test.cpp's matter.
#include <gtest/gtest.h>
#include <signal.h>

#include <string>
#include <vector>

#include "child_process.h"
#include "clean_terminal.h"
#include "cli/format/text.h"

namespace tests {
namespace {

const std::string kEnter = "\x1b[?1049h";
const std::string kLeave = "\x1b[?1049l";

// The newest whole screen, line by line, without control sequences.
std::vector<std::string> ScreenOf(const std::string& output) {
  const std::size_t end = output.rfind("\x1b[J");
  const std::size_t start = output.rfind("\x1b[H", end);
  if (end == std::string::npos || start == std::string::npos) {
    return {};
  }
  std::string plain;
  for (std::size_t i = start; i < end; ++i) {
    if (output[i] == '\x1b') {
      while (i < end && std::isalpha(static_cast<unsigned char>(output[i])) == 0) {
        ++i;
      }
    } else if (output[i] != '\r') {
      plain += output[i];
    }
  }
  return LinesOf(plain);
}

class LiveViewTest : public testing::Test {
 protected:
  // A board, whose rows keep their order.
  void Start(std::vector<std::string> arguments, std::map<std::string, std::string> environment = {}) {
    arguments.insert(arguments.begin(), {"board", "--sort", "code", "--asc", "--rows", "0:3", "--columns",
                                         "code,name,last,diff,change"});
    csm_ = std::make_unique<ChildProcess>(Csm(arguments), std::move(environment),
                                          ChildProcess::Around::kTerminal);
  }

  void StartAndWaitForQuotes(std::vector<std::string> arguments = {"--clock", "10:30", "--interval", "0.2"}) {
    Start(arguments);
    ASSERT_TRUE(csm_->ReadUntil([this] { return Row(3).find("sh600000") == 0; })) << csm_->output();
  }

  // A row of the newest whole screen; empty when there is none.
  std::string Row(std::size_t row) const {
    const std::vector<std::string> screen = ScreenOf(csm_->output());
    return row < screen.size() ? screen[row] : "";
  }

  void ExpectCleanTerminal() { tests::ExpectCleanTerminal(*csm_); }

  std::unique_ptr<ChildProcess> csm_;
};

TEST_F(LiveViewTest, showsTheQuotesThePhaseAndTheStateOfTheData) {
  StartAndWaitForQuotes();
  ASSERT_TRUE(csm_->ReadUntil([this] { return Row(7).find("live, 0 s old") != std::string::npos; }))
      << csm_->output();
  EXPECT_NE(Row(0).find(" 10:30:"), std::string::npos) << Row(0);
  EXPECT_NE(Row(0).find("morning session"), std::string::npos) << Row(0);
  EXPECT_EQ(Row(3).rfind("sh600000  ", 0), 0U) << Row(3);
  EXPECT_EQ(Row(4).rfind("sh600001  ", 0), 0U) << Row(4);
  csm_->Type("q");
  EXPECT_EQ(csm_->Wait(), 0);
}

TEST_F(LiveViewTest, redrawsWhenQuotesChange) {
  StartAndWaitForQuotes({"--clock", "10:30", "--speed", "600", "--interval", "0.2"});
  const std::string first = Row(3);
  EXPECT_TRUE(csm_->ReadUntil([&] { return Row(3) != first; }));
}

TEST_F(LiveViewTest, leavesTheTerminalCleanWhenQIsTyped) {
  StartAndWaitForQuotes();
  csm_->Type("q");
  EXPECT_EQ(csm_->Wait(), 0);
  ExpectCleanTerminal();
}

TEST_F(LiveViewTest, leavesTheNewestQuotesOnTheTerminal) {
  StartAndWaitForQuotes();
  csm_->Type("q");
  EXPECT_EQ(csm_->Wait(), 0);
  EXPECT_NE(csm_->output().find("sh600001", csm_->output().rfind(kLeave)), std::string::npos);
}

TEST_F(LiveViewTest, leavesTheTerminalCleanOnControlC) {
  StartAndWaitForQuotes();
  csm_->Type("\x03");
  EXPECT_EQ(csm_->Wait(), 0);
  ExpectCleanTerminal();
}

TEST_F(LiveViewTest, leavesTheTerminalCleanOnSignals) {
  for (const int number : {SIGTERM, SIGHUP, SIGQUIT}) {
    StartAndWaitForQuotes();
    csm_->Signal(number);
    EXPECT_EQ(csm_->Wait(), 0) << number;
    ExpectCleanTerminal();
  }
}

TEST_F(LiveViewTest, leavesTheTerminalCleanWhenItCrashes) {
  for (const int number : {SIGSEGV, SIGABRT}) {
    StartAndWaitForQuotes();
    csm_->Signal(number);
    EXPECT_NE(csm_->Wait(), 0) << number;
    ExpectCleanTerminal();
  }
}

TEST_F(LiveViewTest, leavesTheTerminalCleanWhenItsTimeIsUp) {
  Start({"--for", "1"});
  EXPECT_EQ(csm_->Wait(), 0);
  ExpectCleanTerminal();
}

TEST_F(LiveViewTest, saysAfterwardsThatNothingArrived) {
  Start({"--server", "http://127.0.0.1:1", "--for", "1"}, {{"CSM_KEY_ID", "tester"}, {"CSM_KEY", "secret"}});
  EXPECT_EQ(csm_->Wait(), 1);
  EXPECT_NE(csm_->output().find("csm: nothing arrived: no data: ", csm_->output().rfind(kLeave)),
            std::string::npos);
  ExpectCleanTerminal();
}

TEST_F(LiveViewTest, showsTheReasonWhileNothingArrives) {
  Start({"--server", "http://127.0.0.1:1", "--interval", "0.2"},
        {{"CSM_KEY_ID", "tester"}, {"CSM_KEY", "secret"}});
  EXPECT_TRUE(csm_->ReadUntilOutput("no data: ")) << csm_->output();
  EXPECT_TRUE(csm_->ReadUntilOutput("last warning: StockMarket::FetchStockMarkets Failed."))
      << csm_->output();
}

TEST_F(LiveViewTest, fitsIntoASmallScreen) {
  StartAndWaitForQuotes();
  csm_->Resize(30, 5);
  ASSERT_TRUE(csm_->ReadUntil([&] { return ScreenOf(csm_->output()).size() == 5; })) << csm_->output();
  for (const std::string& line : ScreenOf(csm_->output())) {
    EXPECT_LE(cli::DisplayWidth(line), 30) << line;
  }
  csm_->Resize(100, 30);
  EXPECT_TRUE(csm_->ReadUntil([&] { return ScreenOf(csm_->output()).size() > 8; }));
  csm_->Type("q");
  EXPECT_EQ(csm_->Wait(), 0);
  ExpectCleanTerminal();
}

TEST_F(LiveViewTest, givesTheTerminalBackWhileItIsStopped) {
  StartAndWaitForQuotes();
  csm_->Type("\x1a");
  ASSERT_TRUE(csm_->WaitUntilStopped());
  ASSERT_TRUE(csm_->ReadUntil([&] { return csm_->output().rfind(kLeave) != std::string::npos; }));
  EXPECT_EQ(csm_->Modes().c_lflag, csm_->first_modes().c_lflag);
  const std::size_t stopped = csm_->output().size();
  csm_->Signal(SIGCONT);
  EXPECT_TRUE(csm_->ReadUntil([&] { return csm_->output().find(kEnter, stopped) != std::string::npos; }));
  csm_->Type("q");
  EXPECT_EQ(csm_->Wait(), 0);
  ExpectCleanTerminal();
}

TEST_F(LiveViewTest, paintsRisesRedAndFallsGreen) {
  StartAndWaitForQuotes();
  const std::string& output = csm_->output();
  const std::size_t end = output.rfind("\x1b[J");
  const std::string frame = output.substr(output.rfind("\x1b[H", end), end);
  for (const std::string& line : LinesOf(frame)) {
    if (line.find("sh60000") == std::string::npos) {
      continue;
    }
    const bool rises = line.find('+') != std::string::npos;
    EXPECT_EQ(line.find("\x1b[31m") != std::string::npos, rises) << line;
    EXPECT_EQ(line.find("\x1b[32m") != std::string::npos, line.find('-') != std::string::npos) << line;
  }
}

TEST_F(LiveViewTest, hasNoColoursWhenNoneAreWanted) {
  for (const auto& [arguments, environment] :
       std::vector<std::pair<std::vector<std::string>, std::map<std::string, std::string>>>{
           {{"--no-color"}, {}}, {{}, {{"NO_COLOR", "1"}}}}) {
    Start(arguments, environment);
    ASSERT_TRUE(csm_->ReadUntil([this] { return Row(3).find("sh600000") == 0; })) << csm_->output();
    csm_->Type("q");
    EXPECT_EQ(csm_->Wait(), 0);
    for (const char* colour : {"\x1b[31m", "\x1b[32m", "\x1b[1m", "\x1b[2m"}) {
      EXPECT_EQ(csm_->output().find(colour), std::string::npos);
    }
  }
}

TEST_F(LiveViewTest, printsLinesOnATerminalThatIsNoScreen) {
  Start({"--count", "1"}, {{"TERM", "dumb"}});
  EXPECT_EQ(csm_->Wait(), 0);
  EXPECT_NE(csm_->output().find("sh600001"), std::string::npos);
  EXPECT_EQ(csm_->output().find('\x1b'), std::string::npos);
}

TEST_F(LiveViewTest, printsJsonLinesWhenAskedForThem) {
  Start({"--json", "--count", "1"});
  EXPECT_EQ(csm_->Wait(), 0);
  EXPECT_EQ(csm_->output().find(kEnter), std::string::npos);
  EXPECT_NE(csm_->output().find("{\"service\":\"stock_market\""), std::string::npos);
}

}  // namespace
}  // namespace tests

// A command that follows one feed, under a terminal: what its screen shows, and that the terminal is left as
// it was. The screen of csm without a command is live_program_test.cpp's matter.
#include <gtest/gtest.h>
#include <signal.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "child_process.h"
#include "clean_terminal.h"
#include "screen_reader.h"

namespace tests {
namespace {

const std::string kLeave = "\x1b[?1049l";

class LiveViewTest : public testing::Test {
 protected:
  // A board, whose rows keep their order.
  void Start(std::vector<std::string> arguments, std::map<std::string, std::string> environment = {}) {
    arguments.insert(arguments.begin(), {"board", "--sort", "code", "--asc", "--rows", "0:3", "--columns",
                                         "code,name,last,diff,change"});
    csm_ = std::make_unique<ChildProcess>(Csm(arguments), std::move(environment),
                                          ChildProcess::Around::kTerminal);
    reader_ = std::make_unique<ScreenReader>(100, 30);
    read_ = 0;
  }

  void StartAndWaitForQuotes(const std::vector<std::string>& arguments = {"--clock", "2024-03-13 10:30",
                                                                          "--interval", "0.2"}) {
    Start(arguments);
    ASSERT_TRUE(csm_->ReadUntil([this] { return Row(4).find("sh600000") != std::string::npos; }))
        << csm_->output();
  }

  std::string Row(std::size_t row) {
    const std::string& output = csm_->output();
    reader_->Read(std::string_view(output).substr(read_));
    read_ = output.size();
    return reader_->Rows().at(row);
  }

  std::unique_ptr<ChildProcess> csm_;
  std::unique_ptr<ScreenReader> reader_;
  std::size_t read_ = 0;
};

TEST_F(LiveViewTest, showsTheQuotesThePhaseAndTheStateOfTheData) {
  StartAndWaitForQuotes();
  ASSERT_TRUE(csm_->ReadUntil([this] { return Row(1).find("* live") != std::string::npos; })) << Row(1);
  EXPECT_EQ(Row(1).rfind("SIMULATED  ", 0), 0U) << Row(1);
  EXPECT_NE(Row(1).find(" 10:30:"), std::string::npos) << Row(1);
  EXPECT_NE(Row(1).find("morning session"), std::string::npos) << Row(1);
  EXPECT_EQ(Row(2).rfind("▸ board: all A shares by code, ascending, rows 0:3", 0), 0U) << Row(2);
  EXPECT_EQ(Row(4).rfind("▸ sh600000  ", 0), 0U) << Row(4);
  EXPECT_EQ(Row(5).rfind("  sh600001  ", 0), 0U) << Row(5);
  csm_->Type("j");
  EXPECT_TRUE(csm_->ReadUntil([this] { return Row(5).rfind("▸ sh600001  ", 0) == 0; })) << Row(5);
  csm_->Type("q");
  EXPECT_EQ(csm_->Wait(), 0);
  ExpectCleanTerminal(*csm_);
  // The newest quotes stay on the terminal.
  EXPECT_NE(csm_->output().find("sh600001", csm_->output().rfind(kLeave)), std::string::npos);
}

// The state waited for data, with the data there before and after.
TEST_F(LiveViewTest, saysThatNothingIsAskedWhileTheHelpIsOpen) {
  StartAndWaitForQuotes();
  csm_->Type("?");
  EXPECT_TRUE(csm_->ReadUntil([this] {
    return Row(1).find("paused while the help is open") != std::string::npos;
  })) << Row(1);
  csm_->Type("x");
  EXPECT_TRUE(csm_->ReadUntil([this] { return Row(1).find("* live") != std::string::npos; })) << Row(1);
}

TEST_F(LiveViewTest, redrawsWhenQuotesChange) {
  StartAndWaitForQuotes({"--clock", "2024-03-13 10:30", "--speed", "600", "--interval", "0.2"});
  const std::string first = Row(4);
  EXPECT_TRUE(csm_->ReadUntil([&] { return Row(4) != first; }));
}

TEST_F(LiveViewTest, leavesTheTerminalCleanOnControlCAndSignals) {
  StartAndWaitForQuotes();
  csm_->Type("\x03");
  EXPECT_EQ(csm_->Wait(), 0);
  ExpectCleanTerminal(*csm_);
  StartAndWaitForQuotes();
  csm_->Signal(SIGTERM);
  EXPECT_EQ(csm_->Wait(), 0);
  ExpectCleanTerminal(*csm_);
}

TEST_F(LiveViewTest, endsWhenItsTimeIsUp) {
  StartAndWaitForQuotes({"--for", "5", "--clock", "2024-03-13 10:30"});
  EXPECT_EQ(csm_->Wait(), 0);
  ExpectCleanTerminal(*csm_);
}

TEST_F(LiveViewTest, saysWhyNothingArrives) {
  Start({"--server", "http://127.0.0.1:1", "--interval", "0.2", "--for", "3"},
        {{"CSM_KEY_ID", "tester"}, {"CSM_KEY", "secret"}});
  EXPECT_TRUE(csm_->ReadUntil([this] { return Row(1).find("! no data: ") != std::string::npos; })) << Row(1);
  EXPECT_EQ(csm_->Wait(), 1);
  EXPECT_NE(csm_->output().find("csm: nothing arrived: no data: ", csm_->output().rfind(kLeave)),
            std::string::npos);
  ExpectCleanTerminal(*csm_);
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
  EXPECT_EQ(csm_->output().find("\x1b[?1049h"), std::string::npos);
  EXPECT_NE(csm_->output().find("{\"service\":\"stock_market\""), std::string::npos);
}

}  // namespace
}  // namespace tests

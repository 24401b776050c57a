// The newest warning of a log file that others write.
#include "cli/log_tail.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "cli/temporary_directory.h"

namespace cli {
namespace {

class LogTailTest : public testing::Test {
 protected:
  void Append(const std::string& text) { std::ofstream(file_, std::ios::app) << text; }

  const TemporaryDirectory directory_;
  const std::string file_ = directory_.path() + "/csm.log";
};

constexpr const char* kWarning =
    "2026-11-20 09:30:00.123 +0800 [warning] IndexMarket::FetchIndexMarkets Failed.\n";
constexpr const char* kInfo = "2026-11-20 09:30:00.123 +0800 [info] started\n";

TEST_F(LogTailTest, findsNothingInAFileThatIsNotThere) {
  LogTail tail(file_);
  tail.Poll();
  EXPECT_EQ(tail.last(), "");
  EXPECT_EQ(tail.count(), 0U);
}

TEST_F(LogTailTest, findsWarningsAndErrorsOnly) {
  LogTail tail(file_);
  Append(std::string(kInfo) + kWarning + kInfo);
  tail.Poll();
  EXPECT_EQ(tail.last(), "IndexMarket::FetchIndexMarkets Failed.");
  EXPECT_EQ(tail.count(), 1U);
  Append("2026-11-20 09:30:01.000 +0800 [error] worse\n");
  tail.Poll();
  EXPECT_EQ(tail.last(), "worse");
  EXPECT_EQ(tail.count(), 2U);
}

TEST_F(LogTailTest, knowsWhoWroteALine) {
  LogTail tail(file_);
  Append(std::string(kWarning) + "2026-11-20 09:30:00.200 +0800 [warning] StockMLine::FetchMLine Failed.\n" +
         "2026-11-20 09:30:00.300 +0800 [warning] cannot write: a b::c\n" + kWarning);
  tail.Poll();
  EXPECT_EQ(tail.count(), 4U);
  EXPECT_EQ(tail.Of("IndexMarket").count, 2U);
  EXPECT_EQ(tail.Of("StockMLine").last, "StockMLine::FetchMLine Failed.");
  EXPECT_EQ(tail.Of("StockKLine").count, 0U);
  EXPECT_EQ(tail.Of("cannot write: a b").count, 0U);
}

TEST_F(LogTailTest, leavesOutWhatWasThereBefore) {
  Append(kWarning);
  LogTail tail(file_);
  tail.Poll();
  EXPECT_EQ(tail.count(), 0U);
  Append(kWarning);
  tail.Poll();
  EXPECT_EQ(tail.count(), 1U);
}

TEST_F(LogTailTest, waitsForTheEndOfALine) {
  LogTail tail(file_);
  const std::string line = kWarning;
  Append(line.substr(0, 50));
  tail.Poll();
  EXPECT_EQ(tail.count(), 0U);
  Append(line.substr(50));
  tail.Poll();
  EXPECT_EQ(tail.last(), "IndexMarket::FetchIndexMarkets Failed.");
}

TEST_F(LogTailTest, goesOnInTheNewFileAfterARotation) {
  LogTail tail(file_);
  Append(kInfo);
  tail.Poll();
  Append(kWarning);
  std::filesystem::rename(file_, directory_.path() + "/csm.1.log");
  Append("2026-11-20 09:30:01.000 +0800 [warning] in the new file\n");
  tail.Poll();
  EXPECT_EQ(tail.last(), "in the new file");
  EXPECT_EQ(tail.count(), 2U);
}

TEST_F(LogTailTest, isNotDeceivedByALevelInsideAMessage) {
  LogTail tail(file_);
  Append("2026-11-20 09:30:00.123 +0800 [info] somebody said [warning] boo\n");
  tail.Poll();
  EXPECT_EQ(tail.count(), 0U);
}

}  // namespace
}  // namespace cli

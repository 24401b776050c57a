// csm as a program: what it understands, what it prints, how it ends.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "child_process.h"
#include "cli/format/text.h"
#include "market_server/market_server.h"

namespace tests {
namespace {

using Environment = std::map<std::string, std::string>;

const Environment kKey = {{"CSM_KEY_ID", "tester"}, {"CSM_KEY", "a secret of the test"}};

bool IsEmptyDirectory(const std::string& path) {
  return std::filesystem::is_empty(path);
}

// The text of the one line that starts like this; empty when there is none.
std::string LineAfter(const std::string& text, const std::string& start) {
  for (const std::string& line : LinesOf(text)) {
    if (line.rfind(start, 0) == 0) {
      return line.substr(start.size());
    }
  }
  return "";
}

void ExpectUsageError(const std::vector<std::string>& arguments, const std::string& mention) {
  ChildProcess csm(Csm(arguments));
  EXPECT_EQ(csm.Wait(), 2) << mention;
  EXPECT_EQ(csm.output(), "");
  EXPECT_EQ(LinesOf(csm.errors()).size(), 1U) << csm.errors();
  EXPECT_EQ(csm.errors().rfind("csm: ", 0), 0U) << csm.errors();
  EXPECT_NE(csm.errors().find(mention), std::string::npos) << csm.errors();
}

TEST(CommandLine, helpNamesEveryCommandAndGivesExamples) {
  ChildProcess csm(Csm({"--help"}));
  EXPECT_EQ(csm.Wait(), 0);
  for (const char* text : {"index", "serve", "mline", "kline", "distribution", "Examples:", "--server",
                           "--json", "Exit codes"}) {
    EXPECT_NE(csm.output().find(text), std::string::npos) << text;
  }
  EXPECT_EQ(csm.errors(), "");
}

TEST(CommandLine, everyCommandHasHelpWithExamples) {
  for (const char* command : {"index", "quote", "board", "plates", "plate", "serve", "mline", "kline",
                              "events", "flow", "strength", "distribution", "effect", "margin", "purchase"}) {
    ChildProcess csm(Csm({command, "--help"}));
    EXPECT_EQ(csm.Wait(), 0);
    EXPECT_NE(csm.output().find("Examples:"), std::string::npos) << command;
    EXPECT_NE(csm.output().find("--clock"), std::string::npos) << command;
  }
}

// A sentence went on after a long word without an end of line, and what is typed without a name was called
// TEXT.
TEST(CommandLine, helpFitsEightyColumns) {
  for (const char* const command : {"index", "quote", "board", "plate", "find", "calendar", "lists", "mline",
                                    "kline", "purchase", "record", "serve", "doctor", "watchlist"}) {
    ChildProcess csm(Csm({command, "--help"}));
    EXPECT_EQ(csm.Wait(), 0);
    for (const std::string& line : LinesOf(csm.output())) {
      const std::size_t begin = line.find_first_not_of(' ');
      const bool is_one_word = begin == std::string::npos || line.find(' ', begin) == std::string::npos;
      EXPECT_TRUE(is_one_word || cli::DisplayWidth(line) <= 80) << command << ": " << line;
    }
    EXPECT_EQ(csm.output().find("\n\n\n"), std::string::npos) << command;
    for (const char* const twice : {"SYMBOL TEXT", "YEAR TEXT", "TEXT TEXT"}) {
      EXPECT_EQ(csm.output().find(twice), std::string::npos) << command;
    }
  }
}

// The indices were written twice as often: besides what is asked for the service asks by itself as long as it
// knows no calendar.
TEST(CommandLine, writesNoMoreOftenThanTheIntervalSays) {
  ChildProcess csm(Csm({"index", "--json", "--count", "2", "--interval", "6"}));
  EXPECT_EQ(csm.Wait(), 0) << csm.errors();
  const std::vector<std::string> lines = LinesOf(csm.output());
  ASSERT_EQ(lines.size(), 2U);
  const auto second_of = [](const std::string& line) {
    const std::size_t clock = line.find('T', line.find("\"time\":")) + 1;
    return std::stoi(line.substr(clock, 2)) * 3600 + std::stoi(line.substr(clock + 3, 2)) * 60 +
           std::stoi(line.substr(clock + 6, 2));
  };
  EXPECT_GE(second_of(lines[1]) - second_of(lines[0]), 4) << csm.output();
}

TEST(CommandLine, printsItsVersion) {
  ChildProcess csm(Csm({"--version"}));
  EXPECT_EQ(csm.Wait(), 0);
  EXPECT_EQ(csm.output().rfind("csm ", 0), 0U);
}

TEST(CommandLine, refusesAnUnknownCommand) {
  ExpectUsageError({"bogus"}, "bogus");
}

TEST(CommandLine, refusesAnUnknownOption) {
  ExpectUsageError({"index", "--bogus"}, "--bogus");
}

TEST(CommandLine, refusesNumbersThatMakeNoSense) {
  ExpectUsageError({"index", "--count", "0"}, "--count");
  ExpectUsageError({"index", "--count", "-1"}, "--count");
  ExpectUsageError({"index", "--count", "many"}, "--count");
  ExpectUsageError({"index", "--for", "0"}, "--for");
  ExpectUsageError({"index", "--for", "nan"}, "--for");
  ExpectUsageError({"index", "--interval", "1e300"}, "--interval");
  ExpectUsageError({"index", "--seed", "-1"}, "--seed");
  ExpectUsageError({"serve", "--port", "65536"}, "--port");
  ExpectUsageError({"serve", "--speed", "-1"}, "--speed");
}

TEST(CommandLine, refusesAServerThatIsNoAddress) {
  ExpectUsageError({"index", "--server", "ftp://127.0.0.1"}, "--server");
}

TEST(CommandLine, refusesToSimulateAnotherServer) {
  ExpectUsageError({"index", "--server", "http://127.0.0.1:1", "--seed", "3"}, "--seed");
}

TEST(CommandLine, refusesOptionsInFrontOfACommand) {
  ExpectUsageError({"--json", "index"}, "csm index --json");
}

TEST(CommandLine, refusesHalfOfACertificate) {
  ExpectUsageError({"serve", "--tls-cert", "cert.pem"}, "--tls-key");
}

TEST(CommandLine, escapesWhatItRepeats) {
  ExpectUsageError({"bo\x1b[31mgus"}, "\\u{1b}[31m");
}

TEST(Index, endsWithOneWhenThereIsNoKey) {
  ChildProcess csm(Csm({"index", "--server", "http://127.0.0.1:1"}));
  EXPECT_EQ(csm.Wait(), 1);
  EXPECT_NE(csm.errors().find("CSM_KEY_ID"), std::string::npos) << csm.errors();
  EXPECT_EQ(csm.output(), "");
}

TEST(Index, saysWhyAKeyFileIsNotRead) {
  ChildProcess csm(Csm({"index", "--server", "http://127.0.0.1:1"}), {{"CSM_KEY_FILE", "/nowhere/key"}});
  EXPECT_EQ(csm.Wait(), 1);
  EXPECT_NE(csm.errors().find("/nowhere/key"), std::string::npos) << csm.errors();
}

TEST(Index, endsWithOneAndTheReasonWhenNothingArrives) {
  // Port 1 of the loopback: nobody listens there.
  ChildProcess csm(Csm({"index", "--server", "http://127.0.0.1:1", "--for", "1"}), kKey);
  EXPECT_EQ(csm.Wait(), 1);
  EXPECT_EQ(csm.output(), "");
  const std::string reason = LineAfter(csm.errors(), "csm: nothing arrived: no data: ");
  EXPECT_NE(reason, "") << csm.errors();
  EXPECT_EQ(csm.errors().find("a secret of the test"), std::string::npos);
}

TEST(Index, endsWithOneWhenTheSimulationMakesNoSense) {
  ChildProcess csm(Csm({"index", "--clock", "never"}));
  EXPECT_EQ(csm.Wait(), 1);
  EXPECT_NE(csm.errors().find("never"), std::string::npos) << csm.errors();
  EXPECT_TRUE(IsEmptyDirectory(csm.temporary()));
}

TEST(Index, printsAlignedLinesWithoutColoursIntoAPipe) {
  ChildProcess csm(Csm({"index", "--count", "2", "--interval", "0.2", "--clock", "10:30"}));
  ASSERT_EQ(csm.Wait(), 0) << csm.errors();
  const std::vector<std::string> lines = LinesOf(csm.output());
  ASSERT_EQ(lines.size(), 7U) << csm.output();
  EXPECT_EQ(lines[0].rfind("time      code      name", 0), 0U) << lines[0];
  EXPECT_EQ(lines[1].rfind("10:30:", 0), 0U) << lines[1];
  EXPECT_NE(lines[1].find("sh000001  上证指数"), std::string::npos) << lines[1];
  EXPECT_NE(lines[2].find("sz399001  深证成指"), std::string::npos) << lines[2];
  EXPECT_NE(lines[6].find("sz399006  创业板指"), std::string::npos) << lines[6];
  EXPECT_EQ(csm.output().find('\x1b'), std::string::npos);
}

TEST(Index, saysWhatItAsksAndHowItGoes) {
  ChildProcess csm(Csm({"index", "--count", "1", "--clock", "10:30"}));
  ASSERT_EQ(csm.Wait(), 0);
  const std::vector<std::string> lines = LinesOf(csm.errors());
  ASSERT_EQ(lines.size(), 3U) << csm.errors();
  EXPECT_EQ(lines[0].rfind("csm: asking http://127.0.0.1:", 0), 0U);
  EXPECT_NE(lines[0].find("(simulated market)"), std::string::npos);
  EXPECT_EQ(lines[1], "csm: waiting for data");
  EXPECT_EQ(lines[2], "csm: live");
}

TEST(Index, saysThatTheMarketIsClosed) {
  ChildProcess csm(Csm({"index", "--count", "1", "--clock", "16:00"}));
  ASSERT_EQ(csm.Wait(), 0);
  EXPECT_NE(csm.errors().find("csm: market closed"), std::string::npos) << csm.errors();
}

TEST(Index, leavesNothingBehind) {
  ChildProcess csm(Csm({"index", "--count", "1"}));
  ASSERT_EQ(csm.Wait(), 0);
  EXPECT_TRUE(IsEmptyDirectory(csm.temporary()));
  EXPECT_FALSE(std::filesystem::exists(csm.home() + "/.local"));
}

TEST(Index, endsCleanlyOnSignals) {
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    ChildProcess csm(Csm({"index", "--interval", "0.2"}));
    ASSERT_TRUE(csm.ReadUntilOutput("sz399006")) << csm.errors();
    csm.Signal(number);
    EXPECT_EQ(csm.Wait(), 0) << number;
    EXPECT_TRUE(IsEmptyDirectory(csm.temporary())) << number;
  }
}

TEST(Index, endsQuietlyWhenTheReaderHasEnough) {
  ChildProcess csm(Csm({"index", "--json", "--interval", "0.2"}));
  ASSERT_TRUE(csm.ReadUntilOutput("\n"));
  csm.CloseOutput();
  EXPECT_EQ(csm.Wait(), 0);
  EXPECT_EQ(csm.errors().find("rror"), std::string::npos) << csm.errors();
}

TEST(Index, endsQuietlyWhenTheReaderHasEnoughAndNothingArrives) {
  ChildProcess csm(Csm({"index", "--server", "http://127.0.0.1:1"}), kKey);
  ASSERT_TRUE(csm.ReadUntilErrors("csm: no data: "));
  csm.CloseOutput();
  EXPECT_EQ(csm.Wait(), 0);
}

TEST(Index, saysThatTooFewUpdatesArrived) {
  ChildProcess csm(Csm({"index", "--count", "1000", "--for", "2"}));
  EXPECT_EQ(csm.Wait(), 1);
  EXPECT_NE(csm.errors().find("of 1000 updates arrived"), std::string::npos) << csm.errors();
}

TEST(Index, escapesWhatTheServerSays) {
  market_server::Options options;
  options.keys = {{kKey.at("CSM_KEY_ID"), kKey.at("CSM_KEY")}};
  options.faults = {"hostile_texts"};
  market_server::Server server(options);
  server.Start();
  ChildProcess csm(Csm({"index", "--server", server.url(), "--count", "3", "--interval", "0.2"}), kKey);
  EXPECT_EQ(csm.Wait(), 0) << csm.errors();
  for (const char byte : csm.output() + csm.errors()) {
    EXPECT_TRUE(byte == '\n' || (static_cast<unsigned char>(byte) >= 0x20 && byte != 0x7f))
        << static_cast<int>(byte);
  }
}

TEST(Index, tellsOfAnOutageAndOfItsEnd) {
  market_server::Options options;
  options.keys = {{kKey.at("CSM_KEY_ID"), kKey.at("CSM_KEY")}};
  options.clock = "10:30";
  market_server::Server server(options);
  server.Start();
  ChildProcess csm(Csm({"index", "--server", server.url(), "--interval", "0.2"}), kKey);
  ASSERT_TRUE(csm.ReadUntilErrors("csm: live\n")) << csm.errors();
  server.SetFaults({"errno"});
  ASSERT_TRUE(csm.ReadUntilErrors("csm: stale, ")) << csm.errors();
  ASSERT_TRUE(csm.ReadUntilErrors("old: IndexMarket::FetchIndexMarkets Response Error Code: "))
      << csm.errors();
  server.SetFaults({});
  ASSERT_TRUE(csm.ReadUntil([&] {
    const std::size_t stale = csm.errors().rfind("csm: stale");
    return csm.errors().find("csm: live\n", stale) != std::string::npos;
  })) << csm.errors();
  csm.Signal(SIGTERM);
  EXPECT_EQ(csm.Wait(), 0);
}

TEST(Csm, printsTenSecondsOfLinesWhereThereIsNoTerminal) {
  const auto start = std::chrono::steady_clock::now();
  ChildProcess csm(Csm({}));
  EXPECT_EQ(csm.Wait(), 0) << csm.errors();
  const auto seconds = std::chrono::steady_clock::now() - start;
  EXPECT_GE(seconds, std::chrono::seconds(10));
  EXPECT_GE(LinesOf(csm.output()).size(), 7U) << csm.output();
}

// Sockets were opened in the place of the descriptors that were missing, and waited for for ever.
TEST(Csm, runsWithoutStandardDescriptors) {
  for (const char* closed : {">&-", "<&-", "2>&-", "<&- >&- 2>&-"}) {
    const std::string line = std::string("exec \"$0\" index --count 1 --clock 10:30 ") + closed;
    ChildProcess csm({"/bin/sh", "-c", line, Csm({}).front()});
    EXPECT_EQ(csm.Wait(), 0) << closed;
  }
}

TEST(Serve, namesItsAddressAndTellsWhenItIsReady) {
  ChildProcess server(Csm({"serve"}));
  ASSERT_TRUE(server.ReadUntilOutput("ready\n")) << server.errors();
  EXPECT_EQ(LineAfter(server.output(), "listening on ").rfind("http://127.0.0.1:", 0), 0U);
  server.Signal(SIGTERM);
  EXPECT_EQ(server.Wait(), 0);
  EXPECT_TRUE(IsEmptyDirectory(server.temporary()));
}

TEST(Serve, answersAClientThatIsGivenTheKeyFile) {
  ChildProcess server(Csm({"serve", "--clock", "10:30"}));
  ASSERT_TRUE(server.ReadUntilOutput("ready\n")) << server.errors();
  const std::string line = LineAfter(server.output(), "key of this run; a client: CSM_KEY_FILE=");
  const std::string key_file = line.substr(0, line.find(' '));
  ChildProcess client(Csm({"index", "--count", "1", "--server", LineAfter(server.output(), "listening on ")}),
                      {{"CSM_KEY_FILE", key_file}});
  EXPECT_EQ(client.Wait(), 0) << client.errors();
  EXPECT_NE(client.output().find("sh000001"), std::string::npos);
  server.Signal(SIGINT);
  EXPECT_EQ(server.Wait(), 0);
  EXPECT_FALSE(std::filesystem::exists(key_file));
}

TEST(Serve, usesTheConfiguredKeyAndNeverShowsIt) {
  ChildProcess server(Csm({"serve", "--access-log", "-"}), kKey);
  ASSERT_TRUE(server.ReadUntilOutput("ready\n")) << server.errors();
  ChildProcess client(Csm({"index", "--count", "1", "--server", LineAfter(server.output(), "listening on ")}),
                      kKey);
  EXPECT_EQ(client.Wait(), 0) << client.errors();
  server.Signal(SIGTERM);
  EXPECT_EQ(server.Wait(), 0);
  EXPECT_EQ((server.output() + server.errors()).find(kKey.at("CSM_KEY")), std::string::npos);
  EXPECT_NE(server.errors().find("/pc/rt/stock_detail_list"), std::string::npos) << server.errors();
}

TEST(Serve, opensAControlPortWhenAsked) {
  ChildProcess server(Csm({"serve", "--control-port", "0"}));
  ASSERT_TRUE(server.ReadUntilOutput("ready\n")) << server.errors();
  EXPECT_NE(LineAfter(server.output(), "control on 127.0.0.1:"), "") << server.output();
  server.Signal(SIGTERM);
  EXPECT_EQ(server.Wait(), 0);
}

TEST(Serve, endsWithOneWhenThePortIsTaken) {
  market_server::Server taken{market_server::Options{}};
  taken.Start();
  ChildProcess server(Csm({"serve", "--port", std::to_string(taken.port())}));
  EXPECT_EQ(server.Wait(), 1);
  EXPECT_NE(server.errors(), "");
  EXPECT_EQ(server.output(), "");
}

TEST(Serve, listsEveryScenarioAndFault) {
  ChildProcess server(Csm({"serve", "--list"}));
  EXPECT_EQ(server.Wait(), 0);
  for (const market_server::ScenarioInfo& scenario : market_server::Scenarios()) {
    EXPECT_NE(server.output().find("  " + scenario.name), std::string::npos) << scenario.name;
  }
  for (const market_server::FaultInfo& fault : market_server::Faults()) {
    EXPECT_NE(server.output().find("  " + fault.name), std::string::npos) << fault.name;
  }
}

}  // namespace
}  // namespace tests

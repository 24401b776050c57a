// `csm record` and `--replay`: what was seen once is seen again, without a server.
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include "child_process.h"
#include "market_server/market_server.h"
#include "screen_reader.h"

namespace tests {
namespace {

using Arguments = std::vector<std::string>;

// A market that stands still, so that an answer does not depend on its moment.
const Arguments kStill = {"--clock", "2024-03-15 10:30:00", "--speed", "0"};

Arguments Joined(Arguments first, const Arguments& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

struct Ended {
  int code = -1;
  std::string output;
  std::string errors;
};

Ended RunCsm(const Arguments& arguments, const std::map<std::string, std::string>& environment = {}) {
  ChildProcess csm(Csm(arguments), environment);
  Ended ended;
  ended.code = csm.Wait(std::chrono::seconds(120));
  ended.output = csm.output();
  ended.errors = csm.errors();
  return ended;
}

// JSON lines without the moment at which they were made.
std::string Data(const Ended& ended) {
  EXPECT_EQ(ended.code, 0) << ended.errors;
  EXPECT_NE(ended.output, "") << ended.errors;
  return std::regex_replace(ended.output, std::regex(R"("time":"[^"]*")"), "");
}

const std::map<std::string, std::string> kKey = {{"CSM_KEY_ID", "desk-of-the-test"},
                                                 {"CSM_KEY", "hush-a-secret"}};

class CsmRecord : public testing::Test {
 protected:
  // A small one, that stands still, too.
  static market_server::Options SmallMarket() {
    market_server::Options options;
    options.stocks = 200;
    options.keys = {{kKey.at("CSM_KEY_ID"), kKey.at("CSM_KEY")}};
    options.clock = kStill[1];
    options.speed = 0;
    return options;
  }
  [[nodiscard]] Arguments OfServer(const Arguments& command) const {
    return Joined(command, {"--server", server_.url()});
  }
  [[nodiscard]] Arguments Replaying(const Arguments& command, const Arguments& more = {}) const {
    return Joined(Joined(command, {"--replay", record_}), more);
  }
  const cli::TemporaryDirectory directory_;
  const std::string record_ = directory_.path() + "/record";
  market_server::Server server_{SmallMarket()};
};

TEST_F(CsmRecord, commandsAreReplayedAsTheyWere) {
  server_.Start();
  const std::vector<Arguments> commands = {
      {"index", "--json", "--count", "2", "--interval", "0.2"},
      {"calendar", "--json"},
      {"find", "6000", "--json"},
      {"kline", "sh600000", "--json"},
  };
  std::vector<std::string> recorded;
  for (const Arguments& command : commands) {
    recorded.push_back(Data(RunCsm(Joined({"record", record_}, OfServer(command)), kKey)));
  }
  server_.Stop();
  for (std::size_t i = 0; i < commands.size(); ++i) {
    EXPECT_EQ(Data(RunCsm(Replaying(commands[i]))), recorded[i]) << commands[i].front();
  }
  EXPECT_EQ(Data(RunCsm(Replaying(commands[0], {"--speed", "50"}))), recorded[0]);
  EXPECT_EQ(Data(RunCsm(Joined({"--replay", record_}, commands[0]))), recorded[0]);
  EXPECT_EQ(Data(RunCsm(Joined({"--speed", "9", "--replay", record_}, commands[0]))), recorded[0]);
}

TEST_F(CsmRecord, theUsualServicesServeTheUsualCommands) {
  server_.Start();
  const Ended ended = RunCsm(OfServer({"record", record_, "--for", "4", "--interval", "1"}), kKey);
  ASSERT_EQ(ended.code, 0) << ended.errors;
  EXPECT_TRUE(std::regex_search(ended.errors, std::regex("csm: [1-9][0-9]* exchanges recorded in ")))
      << ended.errors;
  for (const Arguments& command : {Arguments{"index", "--json", "--count", "1"},
                                   {"lists", "stocks", "--json"},
                                   {"board", "--json", "--count", "1"},
                                   {"board", "--rows", "2:7", "--json", "--count", "1"},
                                   {"plates", "--json", "--count", "1"},
                                   {"plates", "--kind", "concept", "--json", "--count", "1"},
                                   {"rank", "stocks", "--json", "--count", "1"},
                                   {"rank", "plates", "--kind", "concept", "--json", "--count", "1"},
                                   {"quote", "sh000001", "--json", "--count", "1"},
                                   {"events", "--json"},
                                   {"kline", "sh600000", "--period", "week", "--json"},
                                   {"kline", "sh600000", "--period", "month", "--json"},
                                   {"mline", "sh600000", "--json"}}) {
    const std::string from_market = Data(RunCsm(OfServer(command), kKey));
    EXPECT_EQ(Data(RunCsm(Replaying(command))), from_market) << command.front();
  }
}

// The end of the recording came between the two words.
TEST_F(CsmRecord, takesACommandOfTwoWordsForATime) {
  const Ended ended =
      RunCsm(Joined({"record", record_, "--for", "5", "rank", "stocks", "--count", "1", "--json"}, kStill));
  EXPECT_EQ(ended.code, 0) << ended.errors;
  EXPECT_EQ(Data(RunCsm({"--replay", record_, "rank", "stocks", "--count", "1", "--json"})), Data(ended));
}

TEST_F(CsmRecord, holdsNeitherKeyNorKeyId) {
  server_.Start();
  const Ended ended = RunCsm({"record", record_, "index", "--count", "1", "--server", server_.url()}, kKey);
  ASSERT_EQ(ended.code, 0) << ended.errors;
  std::ifstream file(record_ + "/exchanges.csm", std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), {}};
  EXPECT_NE(bytes.find("/pc/rt/stock_detail_list"), std::string::npos);
  for (const char* secret : {"desk-of-the-test", "hush-a-secret", "_s=", "_n=", "_k="}) {
    EXPECT_EQ(bytes.find(secret), std::string::npos) << secret;
  }
}

TEST_F(CsmRecord, ofAKilledClientIsReplayed) {
  ChildProcess csm(
      Csm(Joined({"record", record_}, Joined({"index", "--json", "--interval", "0.1"}, kStill))));
  ASSERT_TRUE(csm.ReadUntil([&] { return LinesOf(csm.output()).size() >= 3; })) << csm.errors();
  csm.Signal(SIGKILL);
  EXPECT_EQ(csm.Wait(), 128 + SIGKILL);
  EXPECT_EQ(RunCsm({"index", "--json", "--count", "1", "--replay", record_}).code, 0);
}

TEST_F(CsmRecord, whatWasNeverRecordedFails) {
  ASSERT_EQ(RunCsm(Joined({"record", record_, "index", "--count", "1"}, kStill)).code, 0);
  const Ended ended = RunCsm({"find", "6000", "--replay", record_});
  EXPECT_EQ(ended.code, 1);
  EXPECT_NE(ended.errors.find("cannot load the reference data from the record in"), std::string::npos)
      << ended.errors;
  EXPECT_NE(ended.errors.find("never recorded"), std::string::npos) << ended.errors;
}

// One candle, that of today, was printed for all weeks.
TEST_F(CsmRecord, aSeriesWhosePastWasNeverRecordedFails) {
  const Ended recorded = RunCsm(Joined({"record", record_, "kline", "sh600000", "--csv"}, kStill));
  ASSERT_EQ(recorded.code, 0) << recorded.errors;
  const Ended days = RunCsm({"kline", "sh600000", "--last", "5", "--csv", "--replay", record_});
  EXPECT_EQ(days.code, 0) << days.errors;
  EXPECT_EQ(LinesOf(days.output).size(), 6U) << days.output;
  const Ended weeks = RunCsm({"kline", "sh600000", "--period", "week", "--replay", record_});
  EXPECT_EQ(weeks.code, 1);
  EXPECT_EQ(weeks.output, "");
  EXPECT_NE(weeks.errors.find("before today could not be loaded: never recorded"), std::string::npos)
      << weeks.errors;
}

// The time stamps of a market that stands still went on.
TEST_F(CsmRecord, aMarketThatStandsStillHasOneTime) {
  const Ended ended = RunCsm(Joined({"index", "--json", "--count", "12", "--interval", "0.2"}, kStill));
  ASSERT_EQ(ended.code, 0) << ended.errors;
  for (const std::string& line : LinesOf(ended.output)) {
    EXPECT_NE(line.find(R"("time":"2024-03-15T10:30:00+08:00")"), std::string::npos) << line;
  }
}

// The first page of the replay was answered by 404: it had another size than what was recorded.
TEST_F(CsmRecord, theScreenIsRecordedAndShownAgain) {
  const auto screen_of = [](const Arguments& arguments) {
    ChildProcess csm(Csm(arguments), {}, ChildProcess::Around::kTerminal);
    ScreenReader reader(100, 30);
    std::size_t read = 0;
    const auto is_complete = [&] {
      reader.Read(std::string_view(csm.output()).substr(read));
      read = csm.output().size();
      return reader.Text().find("bid5") != std::string::npos;
    };
    EXPECT_TRUE(csm.ReadUntil(is_complete, std::chrono::seconds(60))) << reader.Text();
    std::vector<std::string> rows = reader.Rows();
    csm.Type("q");
    EXPECT_EQ(csm.Wait(), 0);
    return std::vector<std::string>(rows.begin() + 3, rows.begin() + 26);  // board and quote
  };
  const std::vector<std::string> recorded = screen_of(Joined({"record", record_}, kStill));
  EXPECT_EQ(screen_of({"--replay", record_}), recorded);
}

// A larger terminal has room for more rows, and for panels that were out of sight.
TEST_F(CsmRecord, theScreenIsShownAgainOnALargerTerminal) {
  const auto visit = [](const Arguments& arguments, int columns, int rows, const Arguments& visited) {
    ChildProcess csm(Csm(arguments), {}, ChildProcess::Around::kTerminal);
    csm.Resize(columns, rows);
    ScreenReader reader(columns, rows);
    std::size_t read = 0;
    std::string pages;
    for (const std::string& page : visited) {
      csm.Type(page == "1" ? "" : page);  // the screen begins with that, and takes no key before
      const auto is_complete = [&] {
        reader.Read(std::string_view(csm.output()).substr(read));
        read = csm.output().size();
        const std::string text = reader.Text();
        static const std::regex event(R"(\n(▸| ) *\d\d:\d\d:\d\d )");
        return text.find("[" + page + " ") != std::string::npos && text.find("… w") == std::string::npos &&
               text.find(page == "4" ? "top 30" : " of s") != std::string::npos &&
               (page != "6" || std::regex_search(text, event));
      };
      EXPECT_TRUE(csm.ReadUntil(is_complete, std::chrono::seconds(60))) << reader.Text();
      pages += reader.Text();
    }
    csm.Type("q");
    EXPECT_EQ(csm.Wait(), 0);
    return pages;
  };
  // The last page is left when its events are there, which are out of sight on the first.
  static_cast<void>(visit(Joined({"record", record_}, kStill), 80, 24, {"1", "4", "2", "6"}));
  const std::string again = visit({"--replay", record_}, 200, 60, {"1", "4", "2"});
  EXPECT_EQ(again.find("never recorded"), std::string::npos) << again;
  EXPECT_NE(again.find("row 1 of "), std::string::npos) << again;
  EXPECT_NE(again.find("flows in yuan of "), std::string::npos) << again;
}

// Refusals counted as exchanges, and the recording as a success.
TEST_F(CsmRecord, ofADeadServerFails) {
  const Ended ended = RunCsm({"record", record_, "--for", "1", "--server", "http://127.0.0.1:1"}, kKey);
  EXPECT_EQ(ended.code, 1) << ended.errors;
  EXPECT_NE(ended.errors.find("no request was answered: /pc/"), std::string::npos) << ended.errors;
}

TEST_F(CsmRecord, refusesADirectoryOfSomethingElse) {
  std::ofstream(directory_.path() + "/letter.txt") << "dear";
  const Ended ended = RunCsm(Joined({"record", directory_.path(), "index", "--count", "1"}, kStill));
  EXPECT_EQ(ended.code, 1);
  EXPECT_NE(ended.errors.find("it holds something else"), std::string::npos) << ended.errors;
  EXPECT_FALSE(std::filesystem::exists(directory_.path() + "/exchanges.csm"));
}

TEST_F(CsmRecord, refusesToReplayWhatIsNoRecord) {
  const Ended ended = RunCsm({"index", "--replay", record_});
  EXPECT_EQ(ended.code, 1);
  EXPECT_NE(ended.errors.find("there is no record in"), std::string::npos) << ended.errors;
}

TEST_F(CsmRecord, refusesCombinationsThatMakeNoSense) {
  for (const Arguments& arguments : {Arguments{"index", "--replay", "x", "--server", "http://127.0.0.1:1"},
                                     {"index", "--replay", "x", "--seed", "2"},
                                     {"index", "--replay", "x", "--clock", "now"},
                                     {"index", "--replay", "x", "--speed", "0"},
                                     {"record"},
                                     {"record", record_, "--bogus"},
                                     {"record", record_, "bogus"},
                                     {"record", record_, "record", "y"},
                                     {"record", record_, "serve"},
                                     {"record", record_, "--seed", "2", "index"},
                                     {"record", record_, "calendar", "--for", "x"}}) {
    const Ended ended = RunCsm(arguments);
    EXPECT_EQ(ended.code, 2) << arguments.back() << ": " << ended.errors;
    EXPECT_EQ(ended.output, "") << arguments.back();
    EXPECT_FALSE(std::filesystem::exists(record_)) << arguments.back();
  }
  ASSERT_EQ(RunCsm(Joined({"record", record_, "index", "--count", "1"}, kStill)).code, 0);
  EXPECT_EQ(RunCsm({"record", record_ + "2", "index", "--count", "1", "--replay", record_}).code, 1);
}

}  // namespace
}  // namespace tests

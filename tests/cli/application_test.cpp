// The command line as csm understands it, before anything is done.
#include "cli/application.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "cli/temporary_directory.h"

namespace cli {
namespace {

UnderstoodLine Understood(const std::vector<std::string>& words) {
  std::vector<const char*> arguments = {"csm"};
  for (const std::string& word : words) {
    arguments.push_back(word.c_str());
  }
  return Understand(static_cast<int>(arguments.size()), arguments.data());
}

TEST(Understand, makesARunnerAndRunsNothing) {
  const TemporaryDirectory directory;
  const std::string record = directory.path() + "/record";
  for (const auto& words : std::vector<std::vector<std::string>>{{},
                                                                 {"index"},
                                                                 {"serve", "--port", "1"},
                                                                 {"watchlist", "add", "600000"},
                                                                 {"record", record, "index"}}) {
    const UnderstoodLine line = Understood(words);
    EXPECT_TRUE(line.run);
    EXPECT_EQ(line.text, "");
  }
  EXPECT_FALSE(std::filesystem::exists(record));
}

TEST(Understand, givesHelpAndVersionAsText) {
  for (const auto& words : std::vector<std::vector<std::string>>{
           {"--help"}, {"--version"}, {"kline", "--help"}, {"watchlist", "show", "-h"}}) {
    const UnderstoodLine line = Understood(words);
    EXPECT_FALSE(line.run);
    EXPECT_EQ(line.code, kFine);
    EXPECT_EQ(line.text.back(), '\n');
  }
  EXPECT_NE(Understood({"watchlist", "show", "-h"}).text.find("csm watchlist show"), std::string::npos);
}

TEST(Understand, refusesInOneLine) {
  for (const auto& words : std::vector<std::vector<std::string>>{{"bogus\n"},
                                                                 {"index", "index"},
                                                                 {"watchlist"},
                                                                 {"watchlist", "show", "add", "600000"},
                                                                 {"kline", "600000", "--period", "hour"},
                                                                 {"record", "x", "--seed", "2", "index"},
                                                                 {"record", "x", "record", "y"}}) {
    const UnderstoodLine line = Understood(words);
    EXPECT_FALSE(line.run) << words.front();
    EXPECT_EQ(line.code, kUsage) << words.front();
    EXPECT_NE(line.text, "");
    EXPECT_EQ(line.text.find('\n'), std::string::npos) << line.text;
  }
}

// The options of the first command were gone when their values were read.
TEST(Understand, refusesASecondCommandBehindTextsWithoutMeaning) {
  EXPECT_EQ(Understood({"a", "--", "b", "flow", "600000", "index"}).code, kUsage);
}

// Options of one command are unknown to another, whichever stands first.
TEST(Understand, knowsTheOptionsOfTheChosenCommandOnly) {
  EXPECT_TRUE(Understood({"serve", "--port", "1"}).run);
  EXPECT_FALSE(Understood({"index", "--port", "1"}).run);
  EXPECT_FALSE(Understood({"--port", "1", "serve"}).run);
}

TEST(Understand, refusesBothDirections) {
  EXPECT_TRUE(Understood({"board", "--sort", "tr", "--asc", "--rows", "20:40"}).run);
  EXPECT_EQ(Understood({"board", "--asc", "--desc"}).code, kUsage);
}

// Only the first word of a command went in front of the options.
TEST(Understand, takesAReplayInFrontOfCommandsOfTwoWords) {
  EXPECT_TRUE(Understood({"--replay", "DIR", "index"}).run);
  EXPECT_TRUE(Understood({"--replay", "DIR", "rank", "stocks"}).run);
  EXPECT_TRUE(Understood({"--speed", "2", "--replay", "DIR", "watchlist", "show", "--json"}).run);
}

// The advice named half of the command.
TEST(Understand, advisesACommandThatExists) {
  const std::string advice = Understood({"--json", "rank", "stocks"}).text;
  EXPECT_NE(advice.find("csm rank stocks --json"), std::string::npos) << advice;
  EXPECT_TRUE(Understood({"rank", "stocks", "--json"}).run);
  const std::string none = Understood({"--json", "serve"}).text;
  EXPECT_NE(none.find("csm serve has no such option"), std::string::npos) << none;
}

TEST(Understand, advisesACommandThatCanBeRecorded) {
  const std::string advice = Understood({"record", "DIR", "--seed", "5", "rank", "stocks"}).text;
  EXPECT_NE(advice.find("csm record DIR rank stocks --seed"), std::string::npos) << advice;
}

TEST(Understand, asksWhetherAnotherWordWasMeant) {
  for (const auto& [words, meant] : std::vector<std::pair<std::vector<std::string>, std::string>>{
           {{"bord"}, "board"},
           {{"qoute", "600000"}, "quote"},
           {{"rank", "stock"}, "stocks"},
           {{"board", "--sotr", "tr"}, "--sort"},
           {{"rank", "stocks", "--bord", "gem"}, "--board"},
           {{"index", "--coun", "1"}, "--count"}}) {
    const UnderstoodLine line = Understood(words);
    EXPECT_EQ(line.code, kUsage);
    EXPECT_NE(line.text.find("; did you mean " + meant + "?"), std::string::npos) << line.text;
  }
  for (const std::vector<std::string>& words : {std::vector<std::string>{"xyzzy"}, {"index", "--zzzzzz"}}) {
    EXPECT_EQ(Understood(words).text.find("did you mean"), std::string::npos) << Understood(words).text;
  }
}

// Unknown kinds showed the first one.
TEST(Understand, knowsHowManyKindsAListHas) {
  EXPECT_TRUE(Understood({"lists", "stocks", "5"}).run);
  EXPECT_TRUE(Understood({"lists", "plates", "2"}).run);
  EXPECT_TRUE(Understood({"lists", "indices", "2"}).run);
  for (const auto& words : std::vector<std::vector<std::string>>{{"lists", "stocks", "6"},
                                                                 {"lists", "plates", "9"},
                                                                 {"lists", "plates", "3"},
                                                                 {"lists", "plates", "0"},
                                                                 {"lists", "indices", "3"}}) {
    EXPECT_EQ(Understood(words).code, kUsage) << words[1] << " " << words[2];
  }
}

}  // namespace
}  // namespace cli

// The example of every service, as a reader of the documentation starts it: one line each, with figures that
// agree with each other, because the market stands still.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <regex>
#include <string>

#include "child_process.h"

namespace tests {
namespace {

// What stands behind the accessor's name, by name. One run serves all tests.
class EveryServiceExample : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    ChildProcess program({EVERY_SERVICE});
    exit_code_ = program.Wait();
    errors_ = program.errors();
    left_behind_ = !std::filesystem::is_empty(program.temporary());
    for (const std::string& line : LinesOf(program.output())) {
      const std::size_t blank = line.find(' ');
      lines_[line.substr(0, blank)] = line.substr(line.find_first_not_of(' ', blank));
    }
  }

  // The groups of the line of `accessor`; fails when it looks otherwise.
  static std::smatch Figures(const std::string& accessor, const std::string& pattern) {
    std::smatch groups;
    const std::string& line = lines_[accessor];
    EXPECT_TRUE(std::regex_match(line, groups, std::regex(pattern))) << accessor << ": " << line;
    return groups;
  }

  static int exit_code_;
  static std::string errors_;
  static bool left_behind_;
  static std::map<std::string, std::string> lines_;
};

int EveryServiceExample::exit_code_ = -1;
std::string EveryServiceExample::errors_;
bool EveryServiceExample::left_behind_ = true;
std::map<std::string, std::string> EveryServiceExample::lines_;

const std::string kPrice = R"((\d+\.\d\d))";
const std::string kRate = R"([+-]\d+\.\d\d%)";

TEST_F(EveryServiceExample, endsWellAndLeavesNothingBehind) {
  EXPECT_EQ(exit_code_, 0) << errors_;
  EXPECT_EQ(errors_, "");
  EXPECT_FALSE(left_behind_);
  EXPECT_EQ(lines_.size(), 24U);
}

TEST_F(EveryServiceExample, showsTheThreeIndices) {
  Figures("GetIndexMarket", "sh000001 " + kPrice + " " + kRate + "  sz399001 " + kPrice + " " + kRate +
                                "  sz399006 " + kPrice + " " + kRate + " *");
}

TEST_F(EveryServiceExample, showsTheTopOfTheBoardAsTheRankingDoes) {
  const std::string row = R"(s[hz]\d{6} \d+\.\d\d \+\d+\.\d\d%  )";
  Figures("GetStockMarket", "(?:" + row + "){5}");
  Figures("GetStockRanking", "(?:" + row + "){3}");
  EXPECT_EQ(lines_["GetStockMarket"].rfind(lines_["GetStockRanking"], 0), 0U);
}

TEST_F(EveryServiceExample, showsOnePriceOfOneStockEverywhere) {
  const auto quote =
      Figures("GetSingleStockMarket", "(sh600000 \\S+) " + kPrice + ", bid " + kPrice + ", ask " + kPrice +
                                          ", limits " + kPrice + " and " + kPrice);
  ASSERT_EQ(quote.size(), 7U);
  EXPECT_LE(std::stod(quote[3]), std::stod(quote[4]));
  EXPECT_LT(std::stod(quote[5]), std::stod(quote[2]));
  EXPECT_LT(std::stod(quote[2]), std::stod(quote[6]));
  const std::string last = quote[2];
  EXPECT_NE(lines_["GetOptionalStockMarket"].find("sh600000 " + last + " "), std::string::npos)
      << lines_["GetOptionalStockMarket"];
  Figures("GetStockMLine", "sh600000 20240314 211 minutes, the last 1430 at " + last + ", average " + kPrice);
  Figures("GetStockKLine", "sh600000 \\d+ days, the last 20240314 from " + kPrice + " to " + last);
  EXPECT_EQ(lines_["GetCurrentStock"], quote[1]);
  Figures("FetchKLine", "\\d+ months, the first \\d{8}, the last 20240314 at " + last);
}

TEST_F(EveryServiceExample, showsTheWatchListWithPlatesTheCheapestFirst) {
  const auto rows =
      Figures("GetOptionalStockMarket", "s[hz]\\d{6} " + kPrice + " \\S+  s[hz]\\d{6} " + kPrice + " \\S+ *");
  ASSERT_EQ(rows.size(), 3U);
  EXPECT_LE(std::stod(rows[1]), std::stod(rows[2]));
}

TEST_F(EveryServiceExample, showsPlatesAndTheirMembers) {
  Figures("GetPlateMarket", "(?:\\S+ " + kRate + R"( \d+ up \d+ down  ){3})");
  Figures("GetPlateStockMarket", R"(\S+, [1-9]\d* members  (?:s[hz]\d{6} \d+\.\d\d \d+\.\d\d%  ){2})");
  Figures("GetPlateRanking", "(?:\\S+ " + kRate + ", led by \\S+  ){3}");
}

TEST_F(EveryServiceExample, countsTheMarketTheSameWayTwice) {
  const auto strength =
      Figures("GetStrengthRating", R"(211 minutes, at 1430 ([1-9]\d*) up, ([1-9]\d*) down)");
  ASSERT_EQ(strength.size(), 3U);
  Figures("GetStockDistribution",
          strength[1].str() + R"( up, \d+ unchanged, )" + strength[2].str() + R"( down, in [1-9]\d* ranges)");
}

TEST_F(EveryServiceExample, showsEventsFlowsAndAPastDay) {
  Figures("GetStockUnusualEvent", R"([1-9]\d* events, the first at 1[0-4]:\d\d:\d\d: \S+)");
  Figures("GetStockInOut", R"(sh600000 big orders today: in [1-9]\d*, out [1-9]\d*)");
  Figures("GetMoneyEffect", "241 points, at 1500 " + kRate);
}

TEST_F(EveryServiceExample, showsWhatIsAskedForOnce) {
  Figures("GetMarginTrade", R"([1-9]\d* days, the last 20240313: balance [1-9]\d{11,}, change [+-][1-9]\d*)");
  Figures("GetStockPurchase", R"([1-9]\d* issues, \S+ on 20\d\d-\d\d-\d\d at [1-9]\d*\.\d\d)");
}

TEST_F(EveryServiceExample, showsWhatACallbackGets) {
  Figures("FetchStockItems", R"([1-9]\d* stocks, the first sz30\d{4} \S+)");
  Figures("FetchHistoryMLine", "20240311 241 minutes to " + kPrice + "  20240312 241 minutes to " + kPrice +
                                   "  20240313 241 minutes to " + kPrice + " *");
  Figures("FetchUnusualEvent", "[1-9]\\d* events on 2024-03-13");
}

TEST_F(EveryServiceExample, showsTheListsAndThePhase) {
  const auto lists =
      Figures("GetStockCommon", R"((\d+) stocks, the first sh\d{6} \S+ [A-Z]+; (\d+) candles of sh600000)");
  ASSERT_EQ(lists.size(), 3U);
  EXPECT_GT(std::stoi(lists[1]), 4000);
  // 14:30:00 on 2024-03-14; the host's clock runs on while the program works.
  Figures("GetStockMarketState", R"(开盘 17103978\d\d)");
}

}  // namespace
}  // namespace tests

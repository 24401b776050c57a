// The commands that show reference data, as a newcomer or a script starts them.
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <regex>
#include <string>
#include <vector>

#include "child_process.h"
#include "market_server/market_server.h"

namespace tests {
namespace {

constexpr const char* kMorning = "2024-03-15 10:30:00";

// The one line of JSON that a command prints.
rapidjson::Document JsonOf(std::vector<std::string> arguments) {
  arguments.insert(arguments.end(), {"--json", "--clock", kMorning});
  ChildProcess csm(Csm(arguments));
  EXPECT_EQ(csm.Wait(), 0) << csm.errors();
  const std::vector<std::string> lines = LinesOf(csm.output());
  EXPECT_EQ(lines.size(), 1U) << csm.output();
  rapidjson::Document record;
  if (!lines.empty()) {
    record.Parse<rapidjson::kParseValidateEncodingFlag>(lines[0].c_str(), lines[0].size());
  }
  EXPECT_FALSE(record.HasParseError());
  return record;
}

std::vector<std::string> TableOf(std::vector<std::string> arguments) {
  arguments.insert(arguments.end(), {"--clock", kMorning});
  ChildProcess csm(Csm(arguments));
  EXPECT_EQ(csm.Wait(), 0) << csm.errors();
  return LinesOf(csm.output());
}

TEST(CsmLists, printsEveryListAsATableWithItsHeader) {
  for (const char* const list : {"stocks", "plates", "indices"}) {
    const auto lines = TableOf({"lists", list, "2"});
    ASSERT_GT(lines.size(), 2U) << list;
    EXPECT_TRUE(std::regex_match(lines[0], std::regex("code +name +pinyin +type"))) << lines[0];
  }
}

TEST(CsmLists, printsAllMembersAsJson) {
  const auto record = JsonOf({"lists", "stocks", "4"});
  EXPECT_STREQ(record["service"].GetString(), "stock_common");
  EXPECT_STREQ(record["key"].GetString(), "stocks 4");
  // The clock of the simulation runs on until the answer is printed.
  EXPECT_TRUE(std::regex_match(record["time"].GetString(), std::regex(R"(2024-03-15T10:3\d:\d\d\+08:00)")));
  const auto& data = record["data"];
  ASSERT_GT(data.Size(), 100U);
  for (const auto& stock : data.GetArray()) {
    EXPECT_EQ(stock.MemberCount(), 4U);
    EXPECT_EQ(stock["type"].GetInt(), 4);
    EXPECT_TRUE(std::regex_match(stock["code"].GetString(), std::regex("sz3\\d{5}")));
    EXPECT_GT(stock["name"].GetStringLength(), 0U);
    EXPECT_GT(stock["pinyin"].GetStringLength(), 0U);
  }
}

TEST(CsmLists, refusesAListThatDoesNotExist) {
  ChildProcess csm(Csm({"lists", "bonds"}));
  EXPECT_EQ(csm.Wait(), 2);
  EXPECT_EQ(csm.output(), "");
}

TEST(CsmLists, saysWhyThereIsNone) {
  ChildProcess csm(Csm({"lists", "plates", "--clock", kMorning, "--faults", "errno:/pc/rt/get_bk_list"}));
  EXPECT_EQ(csm.Wait(), 1);
  EXPECT_EQ(csm.output(), "");
  EXPECT_NE(csm.errors().find("InitPlateItem Response Error Code: 1001"), std::string::npos) << csm.errors();
}

TEST(CsmFind, findsAStockByCodeNameAndInitials) {
  const auto first = JsonOf({"find", "sh600000"});
  ASSERT_EQ(first["data"].Size(), 1U);
  const auto& stock = first["data"][0];
  EXPECT_STREQ(stock["list"].GetString(), "stock");
  for (const char* const member : {"name", "pinyin"}) {
    const auto again = JsonOf({"find", stock[member].GetString(), "--limit", "1000"});
    bool found = false;
    for (const auto& match : again["data"].GetArray()) {
      found = found || std::string(match["code"].GetString()) == "sh600000";
    }
    EXPECT_TRUE(found) << member;
  }
}

TEST(CsmFind, saysWhenNothingIsFound) {
  ChildProcess csm(Csm({"find", "no such thing", "--clock", kMorning}));
  EXPECT_EQ(csm.Wait(), 1);
  EXPECT_EQ(csm.output(), "");
  EXPECT_NE(csm.errors().find("no such thing"), std::string::npos);
}

TEST(CsmPlatesOf, namesThePlatesOfAStock) {
  const auto record = JsonOf({"plates-of", "600000"});
  EXPECT_STREQ(record["key"].GetString(), "sh600000");
  ASSERT_GT(record["data"].Size(), 0U);
  EXPECT_TRUE(std::regex_match(record["data"][0]["code"].GetString(), std::regex("bk\\d{4}")));
  EXPECT_EQ(TableOf({"plates-of", "SH600000"}).size(), record["data"].Size() + 1);
}

TEST(CsmPlatesOf, saysWhenAStockIsUnknown) {
  ChildProcess csm(Csm({"plates-of", "sh999999", "--clock", kMorning}));
  EXPECT_EQ(csm.Wait(), 1);
  EXPECT_NE(csm.errors().find("sh999999"), std::string::npos);
}

TEST(CsmCalendar, knowsTheHolidaysOfTheServersYear) {
  const auto record = JsonOf({"calendar"});
  EXPECT_STREQ(record["key"].GetString(), "2024");
  const auto& months = record["data"];
  ASSERT_EQ(months.Size(), 12U);
  int trading_days = 0;
  for (const auto& month : months.GetArray()) {
    trading_days += month["trading_days"].GetInt();
  }
  EXPECT_EQ(trading_days, 242);
  EXPECT_EQ(months[0]["month"].GetInt(), 202401);
  ASSERT_EQ(months[0]["holidays"].Size(), 1U);
  EXPECT_EQ(months[0]["holidays"][0].GetInt(), 20240101);
}

TEST(CsmCalendar, saysThatOtherYearsHaveWeekendsOnly) {
  ChildProcess csm(Csm({"calendar", "2030", "--clock", kMorning}));
  EXPECT_EQ(csm.Wait(), 0);
  EXPECT_EQ(LinesOf(csm.output()).size(), 13U);
  EXPECT_NE(csm.errors().find("not known"), std::string::npos) << csm.errors();
}

TEST(CsmState, tellsThePhase) {
  ChildProcess csm(Csm({"state", "--json", "--count", "2", "--interval", "0.2", "--clock", kMorning}));
  ASSERT_EQ(csm.Wait(), 0) << csm.errors();
  for (const std::string& line : LinesOf(csm.output())) {
    rapidjson::Document record;
    record.Parse(line.c_str(), line.size());
    ASSERT_FALSE(record.HasParseError()) << line;
    EXPECT_STREQ(record["service"].GetString(), "stock_market_state");
    EXPECT_STREQ(record["key"].GetString(), "CN");
    ASSERT_EQ(record["data"].Size(), 1U);
    EXPECT_STREQ(record["data"][0]["text"].GetString(), "开盘");
    EXPECT_TRUE(record["data"][0]["valid"].GetBool());
    EXPECT_GE(record["data"][0]["time"].GetInt64(), 1'710'469'800);
  }
}

TEST(CsmState, knowsAHoliday) {
  ChildProcess csm(Csm({"state", "--count", "1", "--clock", "2024-05-01 10:30:00"}));
  ASSERT_EQ(csm.Wait(), 0) << csm.errors();
  EXPECT_NE(csm.output().find("已收盘"), std::string::npos) << csm.output();
  EXPECT_NE(csm.output().find("2024-04-30 15:00:00"), std::string::npos) << csm.output();
}

// A start that fails is over: one lost request took every list away.
TEST(CsmReference, triesAgainWhenALoadFails) {
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"lists", "plates"}, {"plates-of", "sh600000"}, {"find", "600000"}}) {
    market_server::Options options;
    options.stocks = 200;
    options.clock = kMorning;
    market_server::Server server(options);
    server.Start();
    server.SetFaults({"status:/pc/rt/get_bk_list:1:503"});
    std::vector<std::string> arguments = command;
    arguments.insert(arguments.end(), {"--server", server.url()});
    ChildProcess csm(Csm(arguments), {{"CSM_KEY_ID", server.key_id()}, {"CSM_KEY", server.key()}});
    ASSERT_TRUE(csm.ReadUntil([&] { return server.ReadCounters().faults > 0; }));
    server.SetFaults({});
    EXPECT_EQ(csm.Wait(), 0) << command[0] << ": " << csm.errors();
    EXPECT_GT(LinesOf(csm.output()).size(), 1U) << command[0];
  }
}

TEST(CsmReference, givesUpAServerThatIsNotThere) {
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"lists", "stocks"}, {"find", "x"}, {"plates-of", "x"}, {"calendar"}}) {
    std::vector<std::string> arguments = command;
    arguments.insert(arguments.end(), {"--server", "http://127.0.0.1:1"});
    ChildProcess csm(Csm(arguments), {{"CSM_KEY_ID", "tester"}, {"CSM_KEY", "a secret of the test"}});
    EXPECT_EQ(csm.Wait(), 1) << command[0];
    EXPECT_EQ(csm.output(), "");
    EXPECT_NE(csm.errors().find("cannot load the reference data"), std::string::npos) << csm.errors();
  }
}

}  // namespace
}  // namespace tests

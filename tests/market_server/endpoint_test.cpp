// Every endpoint over the wire: its answer, every value of its parameters, its refusals, and that answers of
// different endpoints agree with each other.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "endpoint_fixture.h"
#include "market_server/routes.h"

namespace market_server::testing {
namespace {

// What every route has in common

TEST_F(Endpoint, theTableHasTwentySixSignedPaths) {
  std::set<std::string> known;
  for (const Given& given : GoodRequests()) known.insert(given.path);
  std::set<std::string> routes;
  for (const Route& route : Routes()) routes.insert(std::string(route.path));
  EXPECT_EQ(routes, known);
  EXPECT_EQ(routes.size(), 26U);
}

TEST_F(Endpoint, everyRouteAnswersEveryWordAndAnEmptyOneAsItsDefault) {
  const std::map<std::string, std::vector<std::string>> words = {{"stock_type", kStockTypes},
                                                                 {"bk_type", kPlateTypes},
                                                                 {"category", kPlateTypes},
                                                                 {"sort_type", kDirections}};
  const std::map<std::string, std::string> defaults = {
      {"stock_type", "cn_a"}, {"sort_key", "change"}, {"sort_type", "desc"}};
  for (const Given& given : GoodRequests()) {
    for (const auto& [name, value] : given.parameters) {
      std::vector<std::string> values;
      if (name == "sort_key") {
        values = given.path.find("bk") == std::string::npos ? kStockColumns : kPlateColumns;
        values.emplace_back();
      } else if (words.contains(name)) {
        values = words.at(name);
      }
      std::map<std::string, std::string> bodies;
      for (const std::string& word : values) {
        QueryMap changed = given.parameters;
        changed[name] = word;
        bodies[word] = bench.Get(given.path, changed).body;
        EXPECT_TRUE(bodies[word].starts_with("{\"errno\":0,")) << given.path << " " << name << "=" << word;
      }
      if (!values.empty() && defaults.contains(name)) {
        EXPECT_EQ(bodies[""], bodies[defaults.at(name)]) << given.path << " " << name;
      }
    }
  }
}

TEST_F(Endpoint, everyRouteRefusesEachMissingParameter) {
  for (const Given& given : GoodRequests()) {
    for (const auto& [name, value] : given.parameters) {
      QueryMap without = given.parameters;
      without.erase(name);
      const std::string body = bench.Get(given.path, without).body;
      EXPECT_EQ(body, R"({"errno":1010,"errmsg":"missing parameter: )" + name + "\"}") << given.path;
    }
  }
}

TEST_F(Endpoint, everyRouteRefusesEachParameterOfNoValue) {
  const std::map<std::string, std::vector<std::string>> bad = {
      {"stock_arr", {"", "sh600000", "{}", "[1]", "[\"a\"", "[[\"a\"]]", "null"}},
      {"stock_type", {"CN_A", "all", "1", " cn_a"}},
      {"bk_type", {"HY", "dy", "2"}},
      {"category", {"HY", "dy"}},
      {"sort_type", {"up", "ASC", "1"}},
      {"start", {"", "x", "1x", "1.5", "2147483648", "+1"}},
      {"end", {"", "x", "99999999999999999999"}},
      {"num", {"", "x", "2147483648"}},
      {"rn", {"", "x"}},
      {"bk_code", {""}},
      {"stock", {""}}};
  for (const Given& given : GoodRequests()) {
    for (const auto& [name, value] : given.parameters) {
      std::vector<std::string> values;
      if (name == "sort_key") {
        values = {"Change", "no_column", "4"};
        values.emplace_back(given.path.find("bk") == std::string::npos ? "lead" : "b1p");
      } else if (name == "date") {
        values = {"", "x", "-1", "20240230x", "99999999999999999999"};
        if (given.path != "/pc/monitor/get_monitor") values.insert(values.end(), {"20241301", "20240231"});
      } else {
        values = bad.at(name);
      }
      for (const std::string& text : values) {
        QueryMap changed = given.parameters;
        changed[name] = text;
        EXPECT_EQ(bench.Errno(given.path, changed), 1011) << given.path << " " << name << "=" << text;
      }
    }
  }
}

TEST_F(Endpoint, everyRouteRefusesARequestThatIsNotSigned) {
  for (const Route& route : Routes()) {
    EXPECT_NE(bench.Raw(std::string(route.path)).body.find("\"errno\":1020"), std::string::npos)
        << route.path;
  }
}

TEST_F(Endpoint, pathsThatAreNoneAreRefused) {
  for (const char* path : {"/", "/pc", "/pc/", "/pc/rt/", "/pc/rt/Get", "/pc/rt/get/", "/pc/rt/nothing",
                           "/pc/monitor/", "//pc/rt/get", "/pc/rt/../rt/get", "/kql/", "*"}) {
    EXPECT_NE(bench.Raw(path).body.find("\"errno\":1001"), std::string::npos) << path;
  }
}

// Quotes

/// A list of names in the order of a page.
void ExpectSameCodes(const Value& names, const Value& page, const char* key) {
  ASSERT_EQ(names.Size(), page.Size());
  for (rapidjson::SizeType i = 0; i < page.Size(); ++i) EXPECT_EQ(names[i]["code"], page[i][key]);
}

TEST_F(Endpoint, detailListKeepsTheOrderAndLeavesOutWhatIsUnknown) {
  Document answer = Json("/pc/rt/stock_detail_list",
                         {{"stock_arr", R"(["sz399001","sh999999","","SH600000","bk0000","sh000001"])"}});
  const Value& list = answer["data"]["list"];
  ASSERT_EQ(list.Size(), 3U);
  EXPECT_STREQ(list[0]["code"].GetString(), "sz399001");
  EXPECT_STREQ(list[1]["code"].GetString(), "sh600000");
  EXPECT_STREQ(list[2]["code"].GetString(), "sh000001");
}

TEST_F(Endpoint, detailListOfNothingIsEmpty) {
  EXPECT_EQ(Json("/pc/rt/stock_detail_list", {{"stock_arr", "[]"}})["data"]["list"].Size(), 0U);
}

TEST_F(Endpoint, boardsAreOrderedByEveryColumnInBothDirections) {
  for (const std::string& column : kStockColumns) {
    for (const std::string& direction : kDirections) {
      const Document answer = Board("cn_a", column, direction);
      ExpectOrdered(answer["data"], column, direction, column + " " + direction);
      ExpectSameCodes(Json("/pc/rt/stock_price_list",
                           {{"stock_type", "cn_a"}, {"sort_key", column}, {"sort_type", direction}})["data"],
                      answer["data"], "code");
    }
  }
  ExpectOrdered(Board("cn_a", "", "")["data"], "change", "desc", "empty words");
}

TEST_F(Endpoint, everyBoardHoldsItsStocks) {
  std::map<std::string, std::set<std::string>> codes;
  for (const std::string& type : kStockTypes) codes[type] = Codes(Board(type)["data"]);
  EXPECT_EQ(codes[""], codes["cn_a"]);
  for (const std::string& code : codes["sh_a"]) EXPECT_TRUE(code.starts_with("sh6")) << code;
  for (const std::string& code : codes["sz_a"]) EXPECT_TRUE(code.starts_with("sz")) << code;
  for (const std::string& code : codes["gem"]) EXPECT_TRUE(code.starts_with("sz30")) << code;
  for (const std::string& code : codes["sme"]) EXPECT_TRUE(code.starts_with("sz002")) << code;
  EXPECT_EQ(codes["sh_a"].size() + codes["sz_a"].size(), codes["cn_a"].size());
  for (const char* type : {"sh_a", "gem", "sme"}) EXPECT_GT(codes[type].size(), 5U) << type;
}

TEST_F(Endpoint, pagesAreCutFromTheWholeBoard) {
  const Document whole = Board("cn_a", "change", "desc");
  const auto size = static_cast<int>(whole["data"].Size());
  const auto page = [&](int start, int end) {
    return Board("cn_a", "change", "desc", std::to_string(start), std::to_string(end));
  };
  const Document first = page(0, 10);
  const Document second = page(10, 20);
  ASSERT_EQ(first["data"].Size(), 10U);
  ASSERT_EQ(second["data"].Size(), 10U);
  for (rapidjson::SizeType i = 0; i < 10; ++i) {
    EXPECT_EQ(first["data"][i], whole["data"][i]);
    EXPECT_EQ(second["data"][i], whole["data"][i + 10]);
  }
  EXPECT_EQ(page(5, 5)["data"].Size(), 0U);
  EXPECT_EQ(page(9, 3)["data"].Size(), 0U);
  EXPECT_EQ(page(size - 2, size + 100)["data"].Size(), 2U);
  EXPECT_EQ(page(size + 5, size + 10)["data"].Size(), 0U);
  EXPECT_EQ(page(-5, 3)["data"].Size(), 3U);
  EXPECT_EQ(page(size - 3, -1)["data"].Size(), 3U);
}

TEST_F(Endpoint, platesAreOrderedByEveryColumnInBothDirections) {
  for (const std::string& column : kPlateColumns) {
    for (const std::string& direction : kDirections) {
      Document answer = Json(
          "/pc/rt/get_bk_detail",
          {{"bk_type", "hy"}, {"sort_key", column}, {"sort_type", direction}, {"start", "0"}, {"end", "-1"}});
      ExpectOrdered(answer["data"], column, direction, column + " " + direction);
      ExpectSameCodes(Json("/pc/rt/bk_price_list",
                           {{"bk_type", "hy"}, {"sort_key", column}, {"sort_type", direction}})["data"],
                      answer["data"], "bk");
    }
  }
}

TEST_F(Endpoint, plateKindsAreKeptApart) {
  std::map<std::string, std::set<std::string>> codes;
  for (const std::string& type : kPlateTypes) {
    const QueryMap all = {
        {"bk_type", type}, {"sort_key", "code"}, {"sort_type", "asc"}, {"start", "0"}, {"end", "-1"}};
    codes[type] = Codes(Json("/pc/rt/get_bk_detail", all)["data"], "bk");
    QueryMap list = all;
    list.erase("start");
    list.erase("end");
    EXPECT_EQ(Codes(Json("/pc/rt/bk_price_list", list)["data"]), codes[type]);
  }
  EXPECT_EQ(codes["hy"].size() + codes["gn"].size(), codes[""].size());
  EXPECT_GT(codes["hy"].size(), 20U);
  EXPECT_GT(codes["gn"].size(), 20U);
}

TEST_F(Endpoint, thePagesOfAPlateAreItsMembers) {
  const std::string plate = FirstPlate("hy");
  const auto page = [&](const std::string& column, const std::string& direction, const std::string& start,
                        const std::string& end) {
    return Json(
        "/pc/rt/get_bk_zone_list",
        {{"bk_code", plate}, {"sort_key", column}, {"sort_type", direction}, {"start", start}, {"end", end}});
  };
  Document whole = page("code", "asc", "0", "-1");
  EXPECT_EQ(whole["total_num"].GetUint(), whole["data"].Size());
  Document membership = Json("/pc/rt/stock_in_bk", {{"category", "hy"}});
  std::set<std::string> members;
  for (const auto& stock : std::as_const(membership)["data"].GetObject()) {
    for (const Value& pair : stock.value.GetArray()) {
      if (pair[0] == Value(plate.c_str(), static_cast<rapidjson::SizeType>(plate.size())))
        members.insert(stock.name.GetString());
    }
  }
  EXPECT_EQ(Codes(whole["data"]), members);
  for (const std::string column : {"code", "name", "last", "change", "diff", "tr"}) {
    for (const std::string& direction : kDirections)
      ExpectOrdered(page(column, direction, "0", "-1")["data"], column, direction, column);
  }
  for (const char* column : {"lead", "lead_change", "bpin", "cud", ""}) {
    ExpectOrdered(page(column, "desc", "0", "-1")["data"], "change", "desc", column);
  }
  const Document two = page("change", "desc", "1", "3");
  EXPECT_EQ(two["total_num"].GetUint(), members.size());
  EXPECT_LE(two["data"].Size(), 2U);
}

TEST_F(Endpoint, aPlateThatIsNoneIsRefused) {
  for (const char* code : {"bk0000", "sh600000", "sh000001", "\xff"}) {
    EXPECT_EQ(
        bench.Errno(
            "/pc/rt/get_bk_zone_list",
            {{"bk_code", code}, {"sort_key", "change"}, {"sort_type", "desc"}, {"start", "0"}, {"end", "9"}}),
        1012)
        << code;
  }
}

// Rankings

TEST_F(Endpoint, stockRankingsAreTheFirstRowsOfTheBoard) {
  for (const std::string& type : kStockTypes) {
    for (const std::string& column : kStockColumns) {
      for (const std::string direction : {"asc", "desc"}) {
        Document rank =
            Json("/pc/rt/get_stock_rank",
                 {{"stock_type", type}, {"sort_key", column}, {"sort_type", direction}, {"num", "4"}});
        const Document board = Board(type, column, direction, "0", "4");
        ASSERT_EQ(rank["data"].Size(), board["data"].Size());
        for (rapidjson::SizeType i = 0; i < rank["data"].Size(); ++i) {
          for (const char* key : {"code", "name", "last", "change", "diff", "tr"}) {
            EXPECT_EQ(rank["data"][i][key], board["data"][i][key]) << type << " " << column << " " << key;
          }
        }
      }
    }
  }
}

TEST_F(Endpoint, rankingsHaveTheRowsAskedFor) {
  const auto rows = [&](const std::string& num) {
    return Json("/pc/rt/get_stock_rank",
                {{"stock_type", "cn_a"}, {"sort_key", "change"}, {"sort_type", ""}, {"num", num}})["data"]
        .Size();
  };
  EXPECT_EQ(rows("0"), 0U);
  EXPECT_EQ(rows("-3"), 0U);
  EXPECT_EQ(rows("7"), 7U);
  EXPECT_EQ(rows("100000"), Board("cn_a")["data"].Size());
}

TEST_F(Endpoint, theFiveMinuteListIsOrderedByItsOwnChange) {
  for (const std::string& type : kStockTypes) {
    for (const std::string& column : kStockColumns) {
      for (const std::string& direction : kDirections) {
        Document list = Json("/pc/rt/stock_five_change",
                             {{"stock_type", type}, {"sort_key", column}, {"sort_type", direction}});
        EXPECT_LE(list["data"].Size(), 100U);
        if (column == "change" || column == "last" || column == "code")
          ExpectOrdered(list["data"], column, direction, type + " " + column);
      }
    }
  }
}

TEST_F(Endpoint, plateRankingsAreTheFirstPlates) {
  for (const std::string& type : kPlateTypes) {
    for (const std::string& column : kPlateColumns) {
      for (const std::string& direction : kDirections) {
        Document rank =
            Json("/pc/rt/get_bk_rank",
                 {{"bk_type", type}, {"sort_key", column}, {"sort_type", direction}, {"num", "5"}});
        Document page = Json("/pc/rt/get_bk_detail", {{"bk_type", type},
                                                      {"sort_key", column},
                                                      {"sort_type", direction},
                                                      {"start", "0"},
                                                      {"end", "5"}});
        ASSERT_EQ(rank["data"].Size(), 5U);
        for (rapidjson::SizeType i = 0; i < 5; ++i) {
          for (const char* key : {"bk", "name", "change", "bpin", "cud"})
            EXPECT_EQ(rank["data"][i][key], page["data"][i][key]) << key;
          EXPECT_EQ(Text(rank["data"][i], "lead"), Text(page["data"][i], "lead"));
        }
      }
    }
  }
}

// Charts

TEST_F(Endpoint, minuteLinesStandUnderTheSymbolsAskedFor) {
  Document answer =
      Json("/pc/rt/get_day_time", {{"stock_arr", R"(["SH600000","sh000001","sh000001","nothing"])"}});
  EXPECT_EQ(answer["data"].MemberCount(), 2U);
  EXPECT_TRUE(answer["data"].HasMember("SH600000"));
  EXPECT_TRUE(answer["data"].HasMember("sh000001"));
  EXPECT_EQ(Json("/pc/rt/get_day_time", {{"stock_arr", "[]"}})["data"].MemberCount(), 0U);
}

TEST_F(Endpoint, aPastDayIsWholeAndADayWithoutTradingIsNotThere) {
  const auto day = [&](const std::string& date) {
    return Json("/pc/rt/get_day_htime", {{"stock", "sh000001"}, {"date", date}});
  };
  Document past = day("20240313");
  EXPECT_STREQ(past["data"]["sh000001"]["date"].GetString(), "2024-03-13");
  EXPECT_EQ(past["data"]["sh000001"]["list"].Size(), 241U);
  EXPECT_EQ(day("20240316")["data"].MemberCount(), 0U);
  Document today = day("0");
  EXPECT_EQ(today["data"]["sh000001"]["date"], Value("2024-03-15"));
  EXPECT_EQ(day("20240318")["data"].MemberCount(), 0U) << "still to come";
}

TEST_F(Endpoint, chosenDaysEndWithTheDateOldestFirst) {
  const auto days = [&](const std::string& date, const std::string& rn) {
    Document answer = Json("/pc/rt/get_choice_htime", {{"stock", "sh000001"}, {"date", date}, {"rn", rn}});
    std::vector<std::string> dates;
    for (const Value& day : answer["data"]["sh000001"].GetArray())
      dates.emplace_back(day["date"].GetString());
    return dates;
  };
  EXPECT_EQ(days("20240313", "3"), (std::vector<std::string>{"2024-03-11", "2024-03-12", "2024-03-13"}));
  EXPECT_EQ(days("20240310", "2"), (std::vector<std::string>{"2024-03-07", "2024-03-08"}));
  EXPECT_EQ(days("20240313", "0").size(), 1U);
  EXPECT_EQ(days("20240313", "-7").size(), 1U);
  EXPECT_EQ(days("0", "1"), std::vector<std::string>{"2024-03-15"});
  Document unknown =
      Json("/pc/rt/get_choice_htime", {{"stock", "nothing"}, {"date", "20240313"}, {"rn", "1"}});
  EXPECT_EQ(unknown["data"].MemberCount(), 0U);
}

// Analytics

TEST_F(Endpoint, eventsAreThoseOfTheDayUpToTheInstant) {
  const auto events = [&](std::int64_t until) {
    return Json("/pc/monitor/get_monitor", {{"date", std::to_string(until)}});
  };
  Document now = events(kMidMorning);
  ASSERT_GT(now["data"]["list"].Size(), 0U);
  for (const Value& event : now["data"]["list"].GetArray()) {
    EXPECT_LE(std::string(event["time"].GetString()), "10:30:00");
    EXPECT_NE(Text(event, "content"), "");
  }
  EXPECT_EQ(events(kMidMorning + 3600)["data"]["list"].Size(), now["data"]["list"].Size());
  Document earlier = events(kMidMorning - 1800);
  EXPECT_LE(earlier["data"]["list"].Size(), now["data"]["list"].Size());
  for (const Value& event : earlier["data"]["list"].GetArray())
    EXPECT_LE(std::string(event["time"].GetString()), "10:00:00");
  Document yesterday = events(kMidMorning - 86400 + 13 * 3600 + 1799);
  EXPECT_GT(yesterday["data"]["list"].Size(), now["data"]["list"].Size());
  EXPECT_EQ(events(kMidMorning + 86400)["data"]["list"].Size(), 0U);
}

TEST_F(Endpoint, analyticsOfOtherDaysAreWholeOrEmpty) {
  for (const char* path : {"/pc/rt/stock_min_num", "/pc/rt/stock_min_average"}) {
    EXPECT_EQ(Json(path, {{"date", "20240313"}})["data"]["list"].Size(), 241U) << path;
    EXPECT_EQ(Json(path, {{"date", "20240316"}})["data"]["list"].Size(), 0U) << path;
    EXPECT_EQ(Json(path, {{"date", "20240318"}})["data"]["list"].Size(), 0U) << path;
    EXPECT_EQ(Json(path, {{"date", "20240315"}}), Json(path, {{"date", "0"}})) << path;
  }
  EXPECT_GT(Json("/pc/rt/stock_distribute_num", {{"date", "20240313"}})["data"]["up"].GetInt(), 0);
  EXPECT_EQ(Json("/pc/rt/stock_distribute_num", {{"date", "20240316"}})["data"]["up"].GetInt(), 0);
}

// Reference data

TEST_F(Endpoint, everyStockIsInOneIndustryAndSomeConcepts) {
  const auto membership = [&](const std::string& category) {
    return Json("/pc/rt/stock_in_bk", {{"category", category}});
  };
  Document industries = membership("hy");
  Document concepts = membership("gn");
  Document both = membership("");
  EXPECT_EQ(industries["data"].MemberCount(), Board("cn_a")["data"].Size());
  std::size_t in_concepts = 0;
  for (const auto& stock : std::as_const(industries)["data"].GetObject()) {
    ASSERT_EQ(stock.value.Size(), 1U) << stock.name.GetString();
    ASSERT_EQ(stock.value[0].Size(), 2U);
    in_concepts += concepts["data"][stock.name].Size();
    EXPECT_EQ(both["data"][stock.name].Size(), 1 + concepts["data"][stock.name].Size());
  }
  EXPECT_GT(in_concepts, industries["data"].MemberCount());
}

TEST_F(Endpoint, holidaysAreThoseOfTheYear) {
  const auto days = [&](const std::string& date) {
    Document answer = Json("/pc/rt/trade_date", {{"date", date}});
    std::vector<std::string> texts;
    for (const Value& day : answer["data"]["list"].GetArray()) texts.emplace_back(day.GetString());
    return texts;
  };
  const std::vector<std::string> year = days("2024");
  EXPECT_EQ(days("20240315"), year);
  ASSERT_FALSE(year.empty());
  EXPECT_EQ(year.front(), "2024-01-01");
  EXPECT_TRUE(std::is_sorted(year.begin(), year.end()));
  EXPECT_TRUE(std::find(year.begin(), year.end(), "2024-10-01") != year.end());
  for (int date = 2015; date <= 2027; ++date) EXPECT_FALSE(days(std::to_string(date)).empty()) << date;
}

// Static files and history

TEST_F(Packages, countsAreTheRowsOfEveryPackage) {
  auto lines = Metadata();
  for (const char* symbol : {"sh600000", "sz000001", "sh000001"}) {
    ASSERT_TRUE(lines.contains(symbol)) << symbol;
    Document counts;
    counts.Parse(lines[symbol].c_str());
    const std::pair<const char*, const char*> periods[] = {{"d", "day"}, {"w", "week"}, {"m", "month"}};
    const std::pair<const char*, const char*> adjustments[] = {{"b", "bfq"}, {"q", "qfq"}, {"h", "hfq"}};
    for (const auto& [period, period_word] : periods) {
      for (const auto& [adjustment, adjustment_word] : adjustments) {
        EXPECT_EQ(counts[period][adjustment].GetUint(), Rows(symbol, period_word, adjustment_word).size())
            << symbol << period << adjustment;
      }
    }
  }
}

TEST_F(Packages, anOlderVersionEndsEarlierAndALaterOneIsNotThere) {
  const RawAnswer older = bench.Raw(File("sh600000", "day", "bfq", "20240313"));
  ASSERT_EQ(older.status, 200);
  const std::string text = Gunzip(older.body);
  EXPECT_NE(text.find("[20240313,"), std::string::npos);
  EXPECT_EQ(text.find("[20240314,"), std::string::npos);
  EXPECT_EQ(bench.Raw(File("sh600000", "day", "bfq", "20240315")).status, 404);
  bench.server().SetClock("2024-03-15 18:00:00");
  EXPECT_EQ(bench.Raw(File("sh600000", "day", "bfq", "20240315")).status, 200);
  bench.server().SetClock("2024-03-15 17:59:59");
  EXPECT_EQ(bench.Raw(File("sh600000", "day", "bfq", "20240315")).status, 404)
      << "made before, by a later clock";
}

TEST_F(Packages, filesThatAreNoneAreNotFound) {
  for (const char* path :
       {"/static/", "/static/kline.meta", "/static/kline..day.bfq.20240314.gzip",
        "/static/kline.sh600000.day.bfq.gzip", "/static/kline.sh600000.year.bfq.20240314.gzip",
        "/static/kline.sh600000.day.xfq.20240314.gzip", "/static/kline.SH600000.day.bfq.20240314.gzip",
        "/static/kline.nothing.day.bfq.20240314.gzip", "/static/kline.sh600000.day.bfq.x.gzip",
        "/static/kline.sh600000.day.bfq.20240314.gzip.gzip", "/static/../etc/passwd", "/static/%2e%2e/x",
        "/static/kline.gzip"}) {
    EXPECT_EQ(bench.Raw(path).status, 404) << path;
  }
}

TEST_F(Packages, historyIsThePackage) {
  for (const char* period : {"day", "week", "month"}) {
    for (const char* adjustment : {"bfq", "qfq", "hfq"}) {
      const std::vector<std::string> rows = Rows("sh600000", period, adjustment);
      Document answer =
          History("sh600000", std::string("kline.") + period, adjustment, "0", std::to_string(rows.size()));
      const Value& list = answer["data"]["foo"]["list"];
      ASSERT_EQ(list.Size(), rows.size()) << period << adjustment;
      for (rapidjson::SizeType i = 0; i < list.Size(); ++i) {
        Document row;
        row.Parse<rapidjson::kParseFullPrecisionFlag>(rows[i].c_str());
        EXPECT_EQ(list[i], row) << rows[i];
      }
    }
  }
}

TEST_F(Packages, historyIsCountedFromTheNewestRow) {
  const auto dates = [&](const std::string& offset, const std::string& limit) {
    Document answer = History("sh600000", "kline.day", "bfq", offset, limit);
    std::vector<unsigned> days;
    for (const Value& row : answer["data"]["foo"]["list"].GetArray()) days.push_back(row[0].GetUint());
    return days;
  };
  EXPECT_EQ(dates("0", "3"), (std::vector<unsigned>{20240312, 20240313, 20240314}));
  EXPECT_EQ(dates("2", "2"), (std::vector<unsigned>{20240311, 20240312}));
  EXPECT_EQ(dates("0", "0").size(), 0U);
  EXPECT_EQ(dates("4000000000", "5").size(), 0U);
  EXPECT_EQ(dates("0", "4294967295").size(), Rows("sh600000", "day", "bfq").size());
}

// At any time

TEST_F(Endpoint, everyRouteAnswersInEveryPhaseOfTheDay) {
  for (const char* clock :
       {"2024-03-15 08:00:00", "2024-03-15 09:05:00", "2024-03-15 09:20:00", "2024-03-15 09:27:00",
        "2024-03-15 09:30:03", "2024-03-15 12:00:00", "2024-03-15 14:59:57", "2024-03-15 16:00:00",
        "2024-03-16 11:00:00", "2024-10-03 10:00:00"}) {
    bench.server().SetClock(clock);
    for (const Given& given : GoodRequests())
      EXPECT_EQ(bench.Errno(given.path, given.parameters), 0) << clock << given.path;
  }
}

TEST(EndpointScenario, eachScenarioAnswersEverything) {
  for (const ScenarioInfo& scenario : Scenarios()) {
    Options options = SmallMarket();
    options.scenario = scenario.name;
    Bench bench(options);
    for (const Given& given : GoodRequests())
      EXPECT_EQ(bench.Errno(given.path, given.parameters), 0) << scenario.name << given.path;
  }
}

TEST(EndpointScenario, anInterruptedFeedStandsStill) {
  Options options = SmallMarket();
  options.scenario = "outage";
  Bench bench(options);
  const QueryMap page = {
      {"stock_type", "cn_a"}, {"sort_key", "code"}, {"sort_type", "asc"}, {"start", "0"}, {"end", "20"}};
  std::set<std::string> morning;
  std::set<std::string> whole_day;
  for (const char* clock : {"09:45", "10:15", "10:45", "11:15", "13:15", "13:45", "14:15", "14:45"}) {
    bench.server().SetClock(std::string("2024-03-15 ") + clock);
    whole_day.insert(bench.Get("/pc/rt/get", page).body);
  }
  EXPECT_LT(whole_day.size(), 8U);
  EXPECT_GT(whole_day.size(), 1U);
}

}  // namespace
}  // namespace market_server::testing

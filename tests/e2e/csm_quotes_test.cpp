// The commands that show quotes, rankings and the watch list, as a person or a script starts them: what they
// show is held against the market's own figures.
#include <signal.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "cli/format/text.h"
#include "cli/temporary_directory.h"
#include "csm_market.h"
#include "screen_reader.h"

namespace tests {
namespace {

namespace model = market_server::model;
using Quotes = std::vector<model::Quote>;
using Figure = std::function<double(const model::Quote&)>;

double ChangeOf(const model::Quote& quote) {
  return quote.change;
}

// Equal figures stay in the order of their codes.
void Sort(Quotes& quotes, const Figure& figure, bool ascending) {
  std::stable_sort(quotes.begin(), quotes.end(), [&](const model::Quote& a, const model::Quote& b) {
    return ascending ? figure(a) < figure(b) : figure(a) > figure(b);
  });
}

class CsmQuotes : public CsmMarket {
 protected:
  [[nodiscard]] Quotes Stocks() const { return market_.BoardAt(Now())->stocks; }

  [[nodiscard]] Quotes Industries() const {
    Quotes plates;
    for (const model::Quote& plate : market_.BoardAt(Now())->plates) {
      if (plate.security->plate_kind == 1) {
        plates.push_back(plate);
      }
    }
    return plates;
  }

  [[nodiscard]] const model::Quote& TradedStock() {
    stocks_ = Stocks();
    return *std::find_if(stocks_.begin(), stocks_.end(), [](const model::Quote& quote) {
      return quote.status == model::Status::kTrading && quote.asks[4].volume > 0 && quote.bids[4].volume > 0;
    });
  }

 private:
  Quotes stocks_;
};

void ExpectFigures(const rapidjson::Value& row, const model::Quote& quote) {
  const std::string& code = quote.security->code;
  EXPECT_STREQ(row["code"].GetString(), code.c_str());
  EXPECT_STREQ(row["name"].GetString(), quote.security->name.c_str()) << code;
  for (const auto& [name, value] : std::map<std::string, double>{{"last", quote.last},
                                                                 {"change", quote.change},
                                                                 {"diff", quote.diff},
                                                                 {"preclose", quote.preclose},
                                                                 {"high", quote.high},
                                                                 {"low", quote.low},
                                                                 {"amt", quote.amt}}) {
    ASSERT_TRUE(row[name.c_str()].IsNumber()) << code << " " << name;
    EXPECT_NEAR(row[name.c_str()].GetDouble(), value, 1e-6) << code << " " << name;
  }
  EXPECT_EQ(row["vol"].GetUint64(), quote.vol) << code;
}

void ExpectShortRow(const rapidjson::Value& row, const model::Quote& quote, double change) {
  EXPECT_STREQ(row["code"].GetString(), quote.security->code.c_str());
  EXPECT_NEAR(row["last"].GetDouble(), quote.last, 1e-6) << quote.security->code;
  EXPECT_NEAR(row["change"].GetDouble(), change, 1e-6) << quote.security->code;
  EXPECT_NEAR(row["tr"].GetDouble(), quote.tr, 1e-6) << quote.security->code;
}

// --- board ---

TEST_F(CsmQuotes, boardShowsTheStocksThatRoseMost) {
  const auto record = JsonOf({"board", "--count", "1", "--rows", "0:5"});
  EXPECT_STREQ(record["service"].GetString(), "stock_market");
  EXPECT_STREQ(record["key"].GetString(), "all change desc 0:5");
  Quotes expected = Stocks();
  Sort(expected, ChangeOf, false);
  ASSERT_EQ(record["data"].Size(), 5U);
  for (rapidjson::SizeType i = 0; i < 5; ++i) {
    ExpectFigures(record["data"][i], expected[i]);
  }
}

TEST_F(CsmQuotes, boardShowsAnyPageInAnyOrder) {
  const auto record =
      JsonOf({"board", "--board", "sz", "--sort", "amt", "--asc", "--rows", "10:13", "--count", "1"});
  EXPECT_STREQ(record["key"].GetString(), "sz amt asc 10:13");
  Quotes expected = Stocks();
  std::erase_if(expected, [](const model::Quote& quote) { return quote.security->code.rfind("sz", 0) != 0; });
  Sort(
      expected, [](const model::Quote& quote) { return quote.amt; }, true);
  ASSERT_EQ(record["data"].Size(), 3U);
  for (rapidjson::SizeType i = 0; i < 3; ++i) {
    EXPECT_STREQ(record["data"][i]["code"].GetString(), expected[10 + i].security->code.c_str());
  }
}

TEST_F(CsmQuotes, boardWithAnOpenEndIsTheWholeBoard) {
  const auto record = JsonOf({"board", "--rows", "0:", "--count", "1"});
  EXPECT_EQ(record["data"].Size(), Stocks().size());
  const auto beyond = JsonOf({"board", "--rows", "100000:100010", "--count", "1"});
  EXPECT_EQ(beyond["data"].Size(), 0U);
}

TEST_F(CsmQuotes, boardPrintsATableForEveryUpdate) {
  const auto lines = LinesOfRun({"board", "--count", "2", "--interval", "0.3", "--rows", "0:3"});
  ASSERT_EQ(lines.size(), 11U);
  Quotes expected = Stocks();
  Sort(expected, ChangeOf, false);
  for (const std::size_t first : {0U, 6U}) {
    EXPECT_NE(lines[first].find("  board: all A shares by change, descending, rows 0:3"), std::string::npos)
        << lines[first];
    EXPECT_EQ(lines[first + 1].rfind("code      name ", 0), 0U) << lines[first + 1];
    for (std::size_t row = 0; row < 3; ++row) {
      EXPECT_EQ(lines[first + 2 + row].rfind(expected[row].security->code + "  ", 0), 0U)
          << lines[first + 2 + row];
    }
  }
  EXPECT_EQ(lines[5], "");
}

TEST_F(CsmQuotes, boardShowsTheColumnsThatAreAskedFor) {
  const auto lines = LinesOfRun({"board", "--count", "1", "--rows", "0:1", "--columns", "pe,code"});
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[1], "     pe  code");
  EXPECT_NE(LinesOfRun({"board", "--count", "1", "--rows", "0:1", "--sort", "qrr"})[1].find("qrr"),
            std::string::npos);
}

TEST_F(CsmQuotes, boardHidesWhatMeansNothingBeforeTheOpening) {
  server_.SetClock("2024-03-15 09:05:00");
  const auto record = JsonOf({"board", "--count", "1", "--rows", "0:2"});
  for (const auto& row : record["data"].GetArray()) {
    EXPECT_TRUE(row["last"].IsNumber());
    EXPECT_TRUE(row["change"].IsNull());
    EXPECT_TRUE(row["vol"].IsNull());
  }
  const auto lines = LinesOfRun({"board", "--count", "1", "--rows", "0:1", "--columns", "code,vol"});
  EXPECT_EQ(lines[2].substr(8), "        --") << lines[2];
}

TEST_F(CsmQuotes, wrongNamesAreToldWithTheRightOnes) {
  ExpectFailure({"board", "--sort", "price"}, "--sort: \"price\" is not one of code, name, last, change", 2);
  ExpectFailure({"board", "--board", "bj"}, "--board: \"bj\" is not one of all, sh, sz, gem, sme", 2);
  ExpectFailure({"board", "--columns", "code,x"}, "--columns: \"x\" is not one of all, code", 2);
  ExpectFailure({"board", "--rows", "5"}, "--rows: \"5\" is no range", 2);
  ExpectFailure({"board", "--asc", "--desc"}, "--asc excludes --desc", 2);
  ExpectFailure({"plates", "--kind", "region"}, "--kind: \"region\" is not one of industry, concept", 2);
  ExpectFailure({"plates", "--sort", "bid1"}, "--sort: \"bid1\" is not one of code", 2);
  ExpectFailure({"rank", "stocks", "--num", "0"}, "--num", 2);
  ExpectFailure({"watchlist", "show", "--sort", "x"}, "none, code, name", 2);
}

// --- quote ---

TEST_F(CsmQuotes, quoteShowsAStockWithItsBook) {
  const model::Quote quote = TradedStock();
  const auto record = JsonOf({"quote", quote.security->code, "--count", "1"});
  EXPECT_STREQ(record["service"].GetString(), "single_stock_market");
  EXPECT_STREQ(record["key"].GetString(), quote.security->code.c_str());
  ASSERT_EQ(record["data"].Size(), 1U);
  const auto& data = record["data"][0];
  ExpectFigures(data, quote);
  EXPECT_EQ(data["symbol_type"].GetInt(), 2);
  for (rapidjson::SizeType level = 0; level < 5; ++level) {
    EXPECT_FLOAT_EQ(data["ask_prices"][level].GetFloat(), static_cast<float>(quote.asks[level].price));
    EXPECT_FLOAT_EQ(data["bid_prices"][level].GetFloat(), static_cast<float>(quote.bids[level].price));
    EXPECT_EQ(data["ask_volumes"][level].GetUint(), quote.asks[level].volume);
    EXPECT_EQ(data["bid_volumes"][level].GetUint(), quote.bids[level].volume);
  }
  EXPECT_NEAR(data["limit_up"].GetDouble(), quote.preclose * 1.1, 0.0051);
  EXPECT_NEAR(data["avg_price"].GetDouble(), quote.amt / static_cast<double>(quote.vol), 1e-6);
  EXPECT_TRUE(data["num_u"].IsNull());
}

TEST_F(CsmQuotes, quoteShowsAnIndexWithItsMembers) {
  const auto record = JsonOf({"quote", "sh000001", "--count", "1"});
  const Quotes& indices = market_.BoardAt(Now())->indices;
  const auto index = std::find_if(indices.begin(), indices.end(), [](const model::Quote& quote) {
    return quote.security->code == "sh000001";
  });
  ASSERT_NE(index, indices.end());
  const auto& data = record["data"][0];
  EXPECT_EQ(data["symbol_type"].GetInt(), 1);
  EXPECT_EQ(data["num_u"].GetInt(), index->num_u);
  EXPECT_EQ(data["num_d"].GetInt(), index->num_d);
  EXPECT_STREQ(data["lead"].GetString(), index->lead->name.c_str());
  EXPECT_EQ(data["ask_prices"].Size(), 0U);
  EXPECT_TRUE(data["limit_up"].IsNull());
}

TEST_F(CsmQuotes, quoteShowsSeveralSecuritiesOfEachUpdate) {
  const std::string& code = TradedStock().security->code;
  const auto records =
      JsonLinesOf({"quote", "sh000001", code.substr(2), code, "--count", "2", "--interval", "0.5"});
  ASSERT_EQ(records.size(), 4U) << "a security that is named twice counts once";
  for (std::size_t i = 0; i < records.size(); ++i) {
    EXPECT_STREQ(records[i]["key"].GetString(), i % 2 == 0 ? "sh000001" : code.c_str());
  }
}

TEST_F(CsmQuotes, quoteDrawsTheBookWithTheOffersAbove) {
  const model::Quote quote = TradedStock();
  const auto lines = LinesOfRun({"quote", quote.security->code, "--count", "1"});
  ASSERT_EQ(lines.size(), 13U);
  EXPECT_EQ(lines[1].rfind(quote.security->code + "  " + quote.security->name, 0), 0U) << lines[1];
  const std::string text = lines[2] + "\n" + lines[6] + "\n" + lines[7] + "\n" + lines[8];
  EXPECT_NE(lines[2].find("ask5 "), std::string::npos) << text;
  EXPECT_NE(lines[6].find("ask1 "), std::string::npos) << text;
  EXPECT_NE(lines[7].find("-----"), std::string::npos) << text;
  EXPECT_NE(lines[8].find("bid1 "), std::string::npos) << text;
}

// Nothing of a quote is in the plates of the stocks: their load would last its eight seconds, and fail.
TEST_F(CsmQuotes, quoteIsAskedForAsSoonAsTheNamesAreThere) {
  server_.SetFaults({"silence:/pc/rt/stock_in_bk"});
  const model::Quote quote = TradedStock();
  const auto record = JsonOf({"quote", quote.security->code, "--count", "1"});
  ExpectFigures(record["data"][0], quote);
  EXPECT_EQ(record["data"][0]["symbol_type"].GetInt(), 2);
}

TEST_F(CsmQuotes, quoteTellsWhatTheMarketDoesNotKnow) {
  ExpectFailure({"quote", "sh609999"}, "the market knows no \"sh609999\"");
  ExpectFailure({"quote", "bk1001"}, "is a plate");
  ExpectFailure({"quote"}, "SYMBOL", 2);
}

TEST_F(CsmQuotes, quoteTellsTheDirectionsOfWhatMoved) {
  server_.SetSpeed(60);
  const auto records =
      JsonLinesOf({"quote", TradedStock().security->code, "--count", "8", "--interval", "0.4"});
  ASSERT_EQ(records.size(), 8U);
  int moved = 0;
  for (std::size_t i = 1; i < records.size(); ++i) {
    const auto& before = records[i - 1]["data"][0];
    const auto& now = records[i]["data"][0];
    for (const char* member : {"last", "vol", "amt"}) {
      const double difference = now[member].GetDouble() - before[member].GetDouble();
      const int expected = difference > 0.001 ? 1 : difference < -0.001 ? -1 : 0;
      const auto& directions = now["directions"];
      EXPECT_EQ(directions.HasMember(member) ? directions[member].GetInt() : 0, expected)
          << member << " of record " << i;
      moved += expected != 0 ? 1 : 0;
    }
  }
  EXPECT_GT(moved, 0);
}

// --- plates ---

TEST_F(CsmQuotes, platesShowsTheIndustriesThatRoseMost) {
  const auto record = JsonOf({"plates", "--count", "1", "--rows", "0:4"});
  EXPECT_STREQ(record["key"].GetString(), "industry change desc 0:4");
  Quotes expected = Industries();
  Sort(expected, ChangeOf, false);
  ASSERT_EQ(record["data"].Size(), 4U);
  for (rapidjson::SizeType i = 0; i < 4; ++i) {
    const auto& row = record["data"][i];
    ExpectFigures(row, expected[i]);
    EXPECT_EQ(row["num_u"].GetInt(), expected[i].num_u);
    EXPECT_STREQ(row["lead"].GetString(), expected[i].lead == nullptr ? "" : expected[i].lead->name.c_str());
  }
}

TEST_F(CsmQuotes, plateShowsItsStocksAndHowManyThereAre) {
  const model::Security& plate = *Industries().front().security;
  Quotes expected;
  for (const model::Security* const stock : market_.Members(plate)) {
    if (stock->listed <= kDay) {
      expected.push_back(market_.QuoteOf(*stock, Now()));
    }
  }
  std::sort(expected.begin(), expected.end(),
            [](const model::Quote& a, const model::Quote& b) { return a.security->code < b.security->code; });
  Sort(expected, ChangeOf, true);
  const auto record = JsonOf({"plate", plate.code.substr(2), "--asc", "--rows", "0:2", "--count", "1"});
  EXPECT_EQ(record["key"].GetString(), plate.code + " change asc 0:2");
  EXPECT_EQ(record["total_num"].GetInt(), static_cast<int>(expected.size()));
  ASSERT_EQ(record["data"].Size(), std::min<std::size_t>(expected.size(), 2));
  for (rapidjson::SizeType i = 0; i < record["data"].Size(); ++i) {
    ExpectShortRow(record["data"][i], expected[i], expected[i].change);
  }
  const auto lines = LinesOfRun({"plate", plate.name, "--count", "1", "--rows", "0:1"});
  EXPECT_EQ(lines.back(), std::to_string(expected.size()) + " stocks in all");
}

TEST_F(CsmQuotes, plateTellsWhatTheMarketDoesNotKnow) {
  ExpectFailure({"plate", "bk9999"}, "the market knows no \"bk9999\"");
  ExpectFailure({"plate", TradedStock().security->code}, "is no plate");
}

// --- rankings ---

TEST_F(CsmQuotes, rankShowsTheFirstStocks) {
  const auto record = JsonOf({"rank", "stocks", "--asc", "--num", "3", "--count", "1"});
  EXPECT_STREQ(record["service"].GetString(), "stock_ranking");
  EXPECT_STREQ(record["key"].GetString(), "all change asc 3");
  Quotes expected = Stocks();
  Sort(expected, ChangeOf, true);
  ASSERT_EQ(record["data"].Size(), 3U);
  for (rapidjson::SizeType i = 0; i < 3; ++i) {
    ExpectShortRow(record["data"][i], expected[i], expected[i].change);
  }
}

TEST_F(CsmQuotes, rankShowsWhatMovedMostWithinFiveMinutes) {
  const auto record = JsonOf({"rank", "stocks", "--five-minutes", "--num", "3", "--count", "1"});
  EXPECT_STREQ(record["key"].GetString(), "all change desc 3 five_minutes");
  Quotes expected = Stocks();
  const auto five_change = [](const model::Quote& quote) { return quote.five_change; };
  Sort(expected, five_change, false);
  ASSERT_EQ(record["data"].Size(), 3U);
  for (rapidjson::SizeType i = 0; i < 3; ++i) {
    ExpectShortRow(record["data"][i], expected[i], expected[i].five_change);
  }
}

TEST_F(CsmQuotes, rankShowsTheFirstPlates) {
  const auto record = JsonOf({"rank", "plates", "--sort", "bpin", "--num", "3", "--count", "1"});
  EXPECT_STREQ(record["key"].GetString(), "industry bpin desc 3");
  Quotes expected = Industries();
  Sort(
      expected, [](const model::Quote& quote) { return quote.bpin; }, false);
  ASSERT_EQ(record["data"].Size(), 3U);
  for (rapidjson::SizeType i = 0; i < 3; ++i) {
    EXPECT_STREQ(record["data"][i]["bk"].GetString(), expected[i].security->code.c_str());
    EXPECT_NEAR(record["data"][i]["bpin"].GetDouble(), expected[i].bpin, 1e-6);
    EXPECT_EQ(record["data"][i]["cud"].GetInt(), expected[i].cud);
  }
  const auto lines = LinesOfRun({"rank", "plates", "--num", "2", "--count", "1"});
  EXPECT_EQ(lines.size(), 4U);
}

TEST_F(CsmQuotes, rankNeedsToKnowOfWhat) {
  ExpectFailure({"rank"}, "required", 2);
}

// --- items ---

TEST_F(CsmQuotes, itemsNamesEveryStockOfABoard) {
  const auto record = JsonOf({"items", "stocks", "--sort", "code", "--asc"});
  const Quotes expected = Stocks();
  ASSERT_EQ(record["data"].Size(), expected.size());
  for (rapidjson::SizeType i = 0; i < record["data"].Size(); ++i) {
    EXPECT_STREQ(record["data"][i]["code"].GetString(), expected[i].security->code.c_str());
    EXPECT_STREQ(record["data"][i]["name"].GetString(), expected[i].security->name.c_str());
  }
  const auto lines = LinesOfRun({"items", "stocks", "--sort", "code", "--asc", "--rows", "1:3"});
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[1], expected[1].security->code + "  " + expected[1].security->name);
}

TEST_F(CsmQuotes, itemsNamesThePlatesOfAKind) {
  const auto record = JsonOf({"items", "plates", "--sort", "code", "--asc"});
  ASSERT_EQ(record["data"].Size(), Industries().size());
}

TEST_F(CsmQuotes, itemsSaysWhyThereAreNone) {
  server_.SetFaults({"errno:/pc/rt/stock_price_list"});
  ExpectFailure({"items", "stocks"}, "StockMarket::FetchStockItems Response Error Code: ");
  server_.SetFaults({"status:/pc/rt/bk_price_list"});
  ExpectFailure({"items", "plates"}, "/pc/rt/bk_price_list failed: ");
}

// --- the watch list ---

class CsmWatchList : public CsmQuotes {
 protected:
  [[nodiscard]] std::map<std::string, std::string> Home() const {
    return {{"XDG_CONFIG_HOME", directory_.path()}};
  }

  int Edit(std::vector<std::string> arguments, std::string* output = nullptr, std::string* errors = nullptr) {
    arguments.insert(arguments.begin(), "watchlist");
    ChildProcess csm(Csm(arguments), Home());
    const int code = csm.Wait();
    EXPECT_TRUE(std::filesystem::is_empty(csm.temporary()));
    if (output != nullptr) {
      *output = csm.output();
    }
    if (errors != nullptr) {
      *errors = csm.errors();
    }
    return code;
  }

  std::string List() {
    std::string output;
    EXPECT_EQ(Edit({"add", "sh600000", "--json"}, &output), 0);
    const std::size_t start = output.find("\"data\":");
    return output.substr(start, output.find(']', start) - start + 1);
  }

  const cli::TemporaryDirectory directory_;
};

TEST_F(CsmWatchList, keepsItsOrderAcrossRuns) {
  std::string output;
  EXPECT_EQ(Edit({"add", "600000", "SZ000002", "sh000001"}, &output), 0);
  EXPECT_EQ(output, "#  code\n1  sh600000\n2  sz000002\n3  sh000001\n");
  EXPECT_EQ(Edit({"move", "000002", "1"}), 0);
  EXPECT_EQ(List(), R"("data":["sz000002","sh600000","sh000001"])");
  EXPECT_EQ(Edit({"move", "sz000002", "99"}), 0);
  EXPECT_EQ(List(), R"("data":["sh600000","sh000001","sz000002"])");
  EXPECT_EQ(Edit({"remove", "sh000001", "sz000002"}), 0);
  EXPECT_EQ(List(), R"("data":["sh600000"])");
  EXPECT_TRUE(std::filesystem::exists(directory_.path() + "/csm/watchlist.txt"));
}

TEST_F(CsmWatchList, refusesWhatIsNoSymbolAndWhatIsNotThere) {
  std::string errors;
  EXPECT_EQ(Edit({"add", "sh600000", "bank"}, nullptr, &errors), 2);
  EXPECT_NE(errors.find("\"bank\" is no symbol"), std::string::npos) << errors;
  EXPECT_EQ(Edit({"add", "sh600000"}), 0);
  EXPECT_EQ(Edit({"remove", "sh600000", "sh600001"}, nullptr, &errors), 1);
  EXPECT_NE(errors.find("\"sh600001\" is not in the watch list"), std::string::npos) << errors;
  EXPECT_EQ(List(), R"("data":["sh600000"])") << "all or none";
  EXPECT_EQ(Edit({"move", "sh600001", "1"}, nullptr, &errors), 1);
  EXPECT_EQ(Edit({"move", "sh600000", "0"}, nullptr, &errors), 2);
  EXPECT_EQ(Edit({}, nullptr, &errors), 2);
}

TEST_F(CsmWatchList, saysThatItIsEmpty) {
  std::string output;
  std::string errors;
  EXPECT_EQ(Edit({"show"}, &output, &errors), 0);
  EXPECT_EQ(output, "");
  EXPECT_NE(errors.find("the watch list is empty"), std::string::npos) << errors;
}

TEST_F(CsmWatchList, showsItsQuotesInTheOrderThatIsAskedFor) {
  Quotes quotes = Stocks();
  quotes.resize(6);
  std::vector<std::string> add = {"add"};
  for (const model::Quote& quote : quotes) {
    add.push_back(quote.security->code);
  }
  ASSERT_EQ(Edit(add), 0);

  const auto as_it_is = JsonOf({"watchlist", "show", "--count", "1"}, Home());
  EXPECT_STREQ(as_it_is["key"].GetString(), "none");
  ASSERT_EQ(as_it_is["data"].Size(), quotes.size());
  for (rapidjson::SizeType i = 0; i < as_it_is["data"].Size(); ++i) {
    const auto& row = as_it_is["data"][i];
    EXPECT_STREQ(row["code"].GetString(), quotes[i].security->code.c_str());
    const auto plates = market_.PlatesOf(*quotes[i].security, 1);
    ASSERT_EQ(plates.size(), 1U);
    EXPECT_STREQ(row["plate"].GetString(), plates[0]->name.c_str());
  }
  const auto by_amount = JsonOf({"watchlist", "show", "--sort", "amt", "--count", "1"}, Home());
  const auto& rows = by_amount["data"];
  ASSERT_EQ(rows.Size(), quotes.size());
  for (rapidjson::SizeType i = 1; i < rows.Size(); ++i) {
    EXPECT_GE(rows[i - 1]["amt"].GetDouble(), rows[i]["amt"].GetDouble());
  }
}

TEST_F(CsmWatchList, namesWhatTheServerDoesNotKnow) {
  ASSERT_EQ(Edit({"add", Stocks().front().security->code, "sh609999"}), 0);
  auto environment = Home();
  environment.merge(Environment());
  ChildProcess csm(Asking({"watchlist", "show", "--count", "1"}), environment);
  EXPECT_EQ(csm.Wait(), 0) << csm.errors();
  EXPECT_EQ(LinesOf(csm.output()).back(), "no quote of: sh609999");
}

TEST_F(CsmWatchList, showsAChangeOfAnotherProgram) {
  ASSERT_EQ(Edit({"add", Stocks()[0].security->code}), 0);
  auto environment = Home();
  environment.merge(Environment());
  ChildProcess csm(Asking({"watchlist", "show", "--json", "--interval", "0.3"}), environment);
  ASSERT_TRUE(csm.ReadUntilOutput(Stocks()[0].security->code)) << csm.errors();
  ASSERT_EQ(Edit({"add", Stocks()[1].security->code}), 0);
  EXPECT_TRUE(csm.ReadUntilOutput(Stocks()[1].security->code)) << csm.errors();
  csm.Signal(SIGTERM);
  EXPECT_EQ(csm.Wait(), 0);
}

TEST_F(CsmWatchList, isTheUsersOwnWithTheMarketInsideCsmToo) {
  ASSERT_EQ(Edit({"add", "sh600000"}), 0);
  ChildProcess csm(Csm({"watchlist", "show", "--count", "1", "--clock", kMorning}), Home());
  EXPECT_EQ(csm.Wait(), 0) << csm.errors();
  EXPECT_NE(csm.output().find("sh600000"), std::string::npos) << csm.output();
  EXPECT_EQ(List(), R"("data":["sh600000"])");
}

// --- how they end, and the terminal ---

TEST_F(CsmQuotes, endCleanlyOnSignalsAndWhenTheReaderIsGone) {
  const std::string& code = TradedStock().security->code;
  const std::vector<Arguments> commands = {{"board"},           {"quote", code},    {"plates"},
                                           {"plate", "bk1001"}, {"rank", "stocks"}, {"rank", "plates"}};
  for (std::size_t i = 0; i < commands.size(); ++i) {
    Arguments arguments = commands[i];
    arguments.insert(arguments.end(), {"--json", "--interval", "0.3"});
    ChildProcess csm(Asking(arguments), Environment());
    ASSERT_TRUE(csm.ReadUntilOutput("\n")) << commands[i][0] << ": " << csm.errors();
    if (i % 3 == 2) {
      csm.CloseOutput();
    } else {
      csm.Signal(i % 3 == 0 ? SIGINT : SIGTERM);
    }
    EXPECT_EQ(csm.Wait(), 0) << commands[i][0];
    EXPECT_TRUE(std::filesystem::is_empty(csm.temporary())) << commands[i][0];
  }
}

TEST_F(CsmQuotes, sayWhyNothingArrives) {
  server_.SetFaults({"errno:/pc/rt/get"});
  ExpectFailure({"board", "--for", "1"},
                "nothing arrived: no data: StockMarket::FetchStockMarkets Response Error");
}

// What the terminal shows after all that the program has written to it.
std::string ScreenOf(const ChildProcess& csm, int columns = 100, int rows = 30) {
  tests::ScreenReader reader(columns, rows);
  reader.Read(csm.output());
  return reader.Text();
}

TEST_F(CsmQuotes, areRedrawnInPlaceOnATerminal) {
  server_.SetSpeed(60);
  const std::string code = TradedStock().security->code;
  ChildProcess csm(Asking({"quote", code, "--interval", "0.3"}), Environment(),
                   ChildProcess::Around::kTerminal);
  const auto shows = [&csm](std::string_view text) { return ScreenOf(csm).find(text) != std::string::npos; };
  ASSERT_TRUE(csm.ReadUntil([&] { return shows("bid5") && shows("* live"); })) << ScreenOf(csm);
  const std::string first = ScreenOf(csm);
  EXPECT_NE(first.find("quote"), std::string::npos) << first;
  EXPECT_NE(first.find("2024-03-15 10:"), std::string::npos) << first;
  const auto book = [](const std::string& screen) {
    return screen.substr(std::min(screen.find("ask5"), screen.size()));
  };
  EXPECT_TRUE(csm.ReadUntil([&] { return shows("bid5") && book(ScreenOf(csm)) != book(first); }))
      << "the book never changed";
  csm.Type("q");
  EXPECT_EQ(csm.Wait(), 0);
  EXPECT_NE(csm.output().rfind("\x1b[?1049l"), std::string::npos) << "the terminal is given back";
}

TEST_F(CsmQuotes, fitATerminalThatIsTooSmall) {
  ChildProcess csm(Asking({"board", "--rows", "0:60", "--interval", "0.3"}), Environment(),
                   ChildProcess::Around::kTerminal);
  ASSERT_TRUE(csm.ReadUntil([&] { return ScreenOf(csm).find("* live") != std::string::npos; }))
      << ScreenOf(csm);
  const std::size_t before = csm.output().size();
  csm.Resize(40, 8);
  ASSERT_TRUE(csm.ReadUntil([&] {
    return csm.output().find("too small: 40 by 8", before) != std::string::npos;
  })) << csm.output().substr(before);
  csm.Signal(SIGTERM);
  EXPECT_EQ(csm.Wait(), 0);
}

TEST_F(CsmQuotes, aSingleUpdateNeedsNoScreen) {
  ChildProcess csm(Asking({"rank", "stocks", "--count", "1", "--no-color"}), Environment(),
                   ChildProcess::Around::kTerminal);
  EXPECT_EQ(csm.Wait(), 0) << csm.output();
  EXPECT_EQ(csm.output().find('\x1b'), std::string::npos);
}

}  // namespace
}  // namespace tests

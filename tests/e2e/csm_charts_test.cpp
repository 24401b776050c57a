// The commands that show charts and market analytics, as a person or a script starts them: against a market
// that this process serves and knows the figures of, and against the one inside csm.
#include <signal.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include "cli/format/text.h"
#include "csm_market.h"

namespace tests {
namespace {

namespace model = market_server::model;

class CsmCharts : public CsmMarket {
 protected:
  CsmCharts() : stock_(market_.Stocks(Now()).front()) {}

  void ExpectMinutes(const rapidjson::Value& day, const model::MinuteLine& line) const {
    EXPECT_EQ(day["date"].GetUint(), line.date);
    const auto& points = day["points"];
    ASSERT_EQ(points.Size(), line.points.size());
    std::uint64_t before = 0;
    for (rapidjson::SizeType i = 0; i < points.Size(); ++i) {
      EXPECT_EQ(points[i].MemberCount(), 8U);
      EXPECT_EQ(points[i]["time"].GetInt(), line.points[i].minute);
      EXPECT_DOUBLE_EQ(points[i]["price"].GetDouble(), line.points[i].last);
      EXPECT_EQ(points[i]["volume"].GetUint64(), line.points[i].vol - before);
      before = line.points[i].vol;
    }
  }

  const model::Security* const stock_;
};

// --- minute lines ---

TEST_F(CsmCharts, mlineShowsTheMarketsMinutes) {
  const auto record = JsonOf({"mline", stock_->code});
  EXPECT_STREQ(record["service"].GetString(), "stock_mline");
  EXPECT_STREQ(record["key"].GetString(), stock_->code.c_str());
  const auto& data = record["data"];
  const model::MinuteLine line = market_.MinuteLineOf(*stock_, kDay, Now());
  EXPECT_DOUBLE_EQ(data["preclose"].GetDouble(), line.preclose);
  ASSERT_EQ(data["days"].Size(), 1U);
  ExpectMinutes(data["days"][0], line);
}

TEST_F(CsmCharts, mlineShowsAnotherDayAndSeveralDays) {
  const auto past = JsonOf({"mline", stock_->code, "--date", "2024-03-13"});
  ASSERT_EQ(past["data"]["days"].Size(), 1U);
  ExpectMinutes(past["data"]["days"][0], market_.MinuteLineOf(*stock_, 20240313, Now()));
  const auto three = JsonOf({"mline", stock_->code, "--days", "3"});
  ASSERT_EQ(three["data"]["days"].Size(), 3U);
  for (rapidjson::SizeType i = 0; i < 3; ++i) {
    ExpectMinutes(three["data"]["days"][i], market_.MinuteLineOf(*stock_, kDay - 2 + i, Now()));
  }
}

TEST_F(CsmCharts, mlinePrintsTableValuesAndChart) {
  const std::size_t points = market_.MinuteLineOf(*stock_, kDay, Now()).points.size();
  const auto table = LinesOfRun({"mline", stock_->code});
  ASSERT_EQ(table.size(), points + 1);
  EXPECT_TRUE(
      std::regex_match(table[0], std::regex("date +time +price +change +rate +average +volume +amount +qrr")))
      << table[0];
  EXPECT_EQ(table[1].rfind("2024-03-15  09:30", 0), 0U) << table[1];
  const auto values = LinesOfRun({"mline", stock_->code, "--csv"});
  ASSERT_EQ(values.size(), points + 1);
  EXPECT_EQ(values[0], "date,time,price,volume,amount,qrr,change,change_rate,avg_price");
  EXPECT_EQ(values[1].rfind("2024-03-15,09:30,", 0), 0U) << values[1];
  const auto chart = LinesOfRun({"mline", stock_->code, "--plot"});
  ASSERT_EQ(chart.size(), 24U);
  EXPECT_EQ(chart[0].rfind(stock_->code + " " + stock_->name, 0), 0U) << chart[0];
  EXPECT_NE(chart[23].find("11:30/13:00"), std::string::npos) << chart[23];
  for (const std::string& row : chart) {
    EXPECT_LE(cli::DisplayWidth(row), 80) << row;
    EXPECT_EQ(row.find('\x1b'), std::string::npos) << row;
  }
}

// --- candles ---

TEST_F(CsmCharts, klineShowsTheMarketsCandlesInEveryPeriodAndAdjustment) {
  const char* const periods[] = {"day", "week", "month"};
  const char* const adjustments[] = {"none", "forward", "backward"};
  for (int period = 1; period <= 3; ++period) {
    const int adjustment = period;  // each once
    const auto record = JsonOf(
        {"kline", stock_->code, "--period", periods[period - 1], "--adjust", adjustments[adjustment - 1]});
    const auto& data = record["data"];
    EXPECT_STREQ(record["service"].GetString(), "stock_kline");
    EXPECT_EQ(data["period"].GetInt(), period);
    EXPECT_EQ(data["adjustment"].GetInt(), adjustment);
    const std::vector<model::Candle> candles =
        market_.Candles(*stock_, static_cast<model::Period>(period),
                        static_cast<model::Adjustment>(adjustment), model::PreviousTradingDay(kDay));
    const auto& shown = data["candles"];
    ASSERT_GE(shown.Size(), candles.size()) << periods[period - 1];
    // The last one holds today, which is not over.
    for (rapidjson::SizeType i = 0; i + 1 < candles.size(); ++i) {
      EXPECT_EQ(shown[i].MemberCount(), 9U);
      EXPECT_EQ(shown[i]["date"].GetUint(), candles[i].date);
      EXPECT_DOUBLE_EQ(shown[i]["open"].GetDouble(), candles[i].open);
      EXPECT_DOUBLE_EQ(shown[i]["high"].GetDouble(), candles[i].high);
      EXPECT_DOUBLE_EQ(shown[i]["low"].GetDouble(), candles[i].low);
      EXPECT_DOUBLE_EQ(shown[i]["close"].GetDouble(), candles[i].close);
      EXPECT_EQ(shown[i]["volume"].GetUint64(), candles[i].vol);
    }
    const auto& today = shown[shown.Size() - 1];
    EXPECT_EQ(today["date"].GetUint(), kDay);
    // Adjusted backward, today stands in the base of the first day.
    const auto close_of_today = [&](model::Adjustment of) {
      return market_.Candles(*stock_, model::Period{1}, of, kDay).back().close;
    };
    const double factor =
        adjustment == 3 ? close_of_today(model::Adjustment{3}) / close_of_today(model::Adjustment{1}) : 1;
    EXPECT_NEAR(today["close"].GetDouble(), market_.QuoteOf(*stock_, Now()).last * factor, 0.005);
  }
}

TEST_F(CsmCharts, klinePrintsTableValuesAndChart) {
  const auto table = LinesOfRun({"kline", stock_->code.substr(2), "--last", "7"});
  ASSERT_EQ(table.size(), 8U);
  EXPECT_TRUE(std::regex_match(table[0],
                               std::regex("date +open +high +low +close +change +volume +amount +turnover")))
      << table[0];
  EXPECT_EQ(table[7].rfind("2024-03-15", 0), 0U) << table[7];
  EXPECT_EQ(LinesOfRun({"kline", stock_->code}).size(), 61U);
  const auto values = LinesOfRun({"kline", stock_->code, "--csv"});
  EXPECT_EQ(values[0], "date,preclose,open,high,close,low,volume,amount,turnover");
  EXPECT_GT(values.size(), 100U);
  const auto chart = LinesOfRun({"kline", stock_->name, "--plot", "--columns", "60", "--rows", "20"});
  ASSERT_EQ(chart.size(), 20U);
  EXPECT_EQ(chart[0].rfind(stock_->code + " " + stock_->name, 0), 0U) << chart[0];
  for (const std::string& row : chart) {
    EXPECT_LE(cli::DisplayWidth(row), 80) << row;
  }
}

// --- analytics ---

TEST_F(CsmCharts, eventsAreTheMarkets) {
  server_.SetClock("2024-03-15 14:30:00");
  const auto expected = market_.Events(kDay, model::InstantOf(kDay, 14, 30, 0));
  ASSERT_FALSE(expected.empty());
  const auto record = JsonOf({"events"});
  EXPECT_STREQ(record["service"].GetString(), "stock_unusual_event");
  EXPECT_STREQ(record["key"].GetString(), "20240315");
  ASSERT_EQ(record["data"].Size(), expected.size());
  for (rapidjson::SizeType i = 0; i < expected.size(); ++i) {
    EXPECT_STREQ(record["data"][i]["symbol"].GetString(), "SH000001");
    EXPECT_STREQ(record["data"][i]["content"].GetString(), expected[i].content.c_str());
  }
  const auto table = LinesOfRun({"events", "--last", "1"});
  ASSERT_EQ(table.size(), 2U);
  EXPECT_NE(table[1].find(expected[0].content), std::string::npos) << table[1];
  const auto past = market_.Events(20240313, Now());
  ASSERT_FALSE(past.empty());
  EXPECT_EQ(JsonOf({"events", "--date", "20240313"})["data"].Size(), past.size());
}

TEST_F(CsmCharts, aDayWithoutEventsIsNoFailure) {
  ASSERT_TRUE(market_.Events(kDay, model::InstantOf(kDay, 9, 31, 0)).empty());
  server_.SetClock("2024-03-15 09:31:00");
  ChildProcess csm = Run({"events"});
  EXPECT_EQ(csm.Wait(), 0) << csm.errors();
  EXPECT_EQ(csm.output(), "");
  EXPECT_NE(csm.errors().find("no unusual event on 2024-03-15"), std::string::npos) << csm.errors();
}

TEST_F(CsmCharts, flowsAreTheMarkets) {
  const model::Flows flows = market_.FlowsOf(*stock_, Now());
  const auto record = JsonOf({"flow", stock_->code});
  const auto& data = record["data"];
  EXPECT_STREQ(record["service"].GetString(), "stock_in_out");
  EXPECT_STREQ(data["symbol"].GetString(), stock_->code.c_str());
  const std::map<const char*, model::FlowAmounts> periods = {
      {"d1", flows.d1}, {"d5", flows.d5}, {"d10", flows.d10}};
  for (const auto& [name, amounts] : periods) {
    EXPECT_EQ(data[name]["big_in"].GetUint64(), amounts.big_in) << name;
    EXPECT_EQ(data[name]["big_out"].GetUint64(), amounts.big_out) << name;
    EXPECT_EQ(data[name]["small_in"].GetUint64(), amounts.small_in) << name;
    EXPECT_EQ(data[name]["small_out"].GetUint64(), amounts.small_out) << name;
  }
  const auto table = LinesOfRun({"flow", market_.Stocks(Now())[1]->code, stock_->code});
  ASSERT_EQ(table.size(), 7U);
  EXPECT_EQ(table[4].rfind(stock_->code, 0), 0U) << table[4];
}

TEST_F(CsmCharts, breadthDistributionAndEffectAreTheMarkets) {
  const auto breadth = market_.BreadthOn(kDay, Now());
  const auto strength = JsonOf({"strength"});
  const auto effect = JsonOf({"effect"});
  ASSERT_EQ(strength["data"].Size(), breadth.size());
  ASSERT_EQ(effect["data"].Size(), breadth.size());
  for (rapidjson::SizeType i = 0; i < breadth.size(); ++i) {
    EXPECT_EQ(strength["data"][i]["min"].GetInt(), breadth[i].minute);
    EXPECT_EQ(strength["data"][i]["up"].GetInt(), breadth[i].up);
    EXPECT_EQ(strength["data"][i]["down"].GetInt(), breadth[i].down);
    EXPECT_EQ(effect["data"][i]["time"].GetInt(), breadth[i].minute);
    EXPECT_DOUBLE_EQ(effect["data"][i]["average"].GetDouble(), breadth[i].average);
  }
  const model::Distribution expected = market_.DistributionOn(kDay, Now());
  const auto distribution = JsonOf({"distribution"});
  EXPECT_EQ(distribution["data"]["up"].GetInt(), expected.up);
  EXPECT_EQ(distribution["data"]["nochange"].GetInt(), expected.unchanged);
  EXPECT_EQ(distribution["data"]["down"].GetInt(), expected.down);
  for (rapidjson::SizeType i = 0; i < 5; ++i) {
    EXPECT_EQ(distribution["data"]["first_half"][i]["count"].GetInt(), expected.buckets[i]);
    EXPECT_EQ(distribution["data"]["second_half"][i]["count"].GetInt(), expected.buckets[i + 5]);
  }
}

TEST_F(CsmCharts, breadthDistributionAndEffectOfAPastDayAreWhole) {
  const auto breadth = market_.BreadthOn(20240313, Now());
  EXPECT_EQ(LinesOfRun({"strength", "--date", "20240313"}).size(), breadth.size() + 1);
  EXPECT_EQ(LinesOfRun({"effect", "--date", "20240313"}).size(), breadth.size() + 1);
  EXPECT_EQ(JsonOf({"distribution", "--date", "20240313"})["data"]["up"].GetInt(),
            market_.DistributionOn(20240313, Now()).up);
}

TEST_F(CsmCharts, drawsCurvesAndBars) {
  const auto strength = LinesOfRun({"strength", "--plot"});
  EXPECT_EQ(strength[0].rfind("Strength  2024-03-15 10:30", 0), 0U) << strength[0];
  EXPECT_NE(strength.back().find("11:30/13:00"), std::string::npos) << strength.back();
  EXPECT_EQ(LinesOfRun({"effect", "--plot"}).size(), strength.size());
  const auto bars = LinesOfRun({"distribution"});
  ASSERT_EQ(bars.size(), 11U);
  EXPECT_EQ(bars[0].rfind("2024-03-15  up ", 0), 0U) << bars[0];
  EXPECT_NE((bars[5] + bars[6]).find("█"), std::string::npos) << bars[5];
}

TEST_F(CsmCharts, marginAndPurchaseAreTheMarkets) {
  const auto days = market_.Margin(Now(), 3);
  const auto record = JsonOf({"margin", "--last", "2"});
  ASSERT_EQ(record["data"].Size(), 2U);
  const auto& newest = record["data"][1];
  EXPECT_EQ(newest["date"].GetUint(), days[0].date);
  EXPECT_EQ(newest["balance"].GetUint64(), days[0].sh_balance + days[0].sz_balance);
  EXPECT_EQ(newest["change"].GetInt64(),
            static_cast<std::int64_t>(days[0].sh_balance + days[0].sz_balance) -
                static_cast<std::int64_t>(days[1].sh_balance + days[1].sz_balance));
  EXPECT_EQ(newest["sh_close"].GetInt(), static_cast<int>(days[0].sh_close));
  EXPECT_EQ(LinesOfRun({"margin"}).size(), 120U);

  const auto issues = market_.NewShares(Now());
  const auto purchase = JsonOf({"purchase"});
  ASSERT_EQ(purchase["data"].Size(), issues.size());
  for (rapidjson::SizeType i = 0; i < issues.size(); ++i) {
    EXPECT_EQ(purchase["data"][i].MemberCount(), 12U);
    EXPECT_STREQ(purchase["data"][i]["code"].GetString(), issues[i].security->code.c_str());
    EXPECT_STREQ(purchase["data"][i]["buy_code"].GetString(), issues[i].buy_code.c_str());
    EXPECT_FLOAT_EQ(purchase["data"][i]["publish_price"].GetFloat(),
                    static_cast<float>(issues[i].publish_price));
  }
}

// --- what is wrong ---

TEST_F(CsmCharts, anUnknownSymbolIsToldAtOnce) {
  for (const char* const command : {"mline", "kline", "flow"}) {
    ExpectFailure({command, "sh999999"}, "the market knows no \"sh999999\"");
  }
  ExpectFailure({"mline", stock_->code.substr(0, 7)}, "did you mean " + stock_->code);
  ExpectFailure({"flow", stock_->code, "sh000001"}, "only stocks have flows");
  ExpectFailure({"kline", market_.plates()[0].code}, "no candles of plates");
}

TEST_F(CsmCharts, aDayWithoutFiguresIsExplained) {
  for (const char* const command : {"strength", "effect", "distribution", "events"}) {
    ExpectFailure({command, "--date", "2024-03-10"},
                  "2024-03-10 lies in a weekend; the trading day before it is 2024-03-08");
    ExpectFailure({command, "--date", "2024-03-18"}, "has not come yet");
  }
  ExpectFailure({"strength", "--date", "2024-02-12"}, "2024-02-12 is a holiday");
  ExpectFailure({"mline", stock_->code, "--date", "20240310"}, "weekend");
}

TEST_F(CsmCharts, wrongOptionsAreUsageErrors) {
  ExpectFailure({"strength", "--date", "2024-02-30"}, "20240315 or 2024-03-15", 2);
  ExpectFailure({"kline", "sh600000", "--period", "year"}, "day, week, month", 2);
  ExpectFailure({"kline", "sh600000", "--adjust", "up"}, "none, forward, backward", 2);
  ExpectFailure({"kline", "sh600000", "--last", "0"}, "--last", 2);
  ExpectFailure({"mline", "sh600000", "--days", "251"}, "--days", 2);
  ExpectFailure({"mline", "sh600000", "--plot", "--json"}, "--plot", 2);
  ExpectFailure({"mline", "sh600000", "--columns", "50"}, "--plot", 2);
  ExpectFailure({"mline"}, "SYMBOL", 2);
}

// Every command, with the endpoint that it asks.
std::map<std::string, Arguments> EveryCommand(const std::string& symbol) {
  return {{"/pc/rt/get_day_time", {"mline", symbol}},
          {"/pc/rt/get_day_htime", {"mline", symbol, "--date", "20240313"}},
          {"/pc/rt/get_choice_htime", {"mline", symbol, "--days", "2"}},
          {"/pc/rt/get_day_kline", {"kline", symbol}},
          {"/pc/monitor/get_monitor", {"events", "--date", "20240313"}},
          {"/pc/rt/stock_in_out", {"flow", symbol}},
          {"/pc/rt/stock_min_num", {"strength"}},
          {"/pc/rt/stock_distribute_num", {"distribution"}},
          {"/pc/rt/stock_min_average", {"effect"}},
          {"/pc/rt/stock_trade", {"margin"}},
          {"/pc/rt/stock_buy", {"purchase"}}};
}

TEST_F(CsmCharts, aRefusalIsTold) {
  const auto commands = EveryCommand(stock_->code);
  std::vector<std::string> faults;
  for (const auto& [endpoint, arguments] : commands) {
    faults.push_back("errno:" + endpoint);
  }
  server_.SetFaults(faults);
  for (const auto& [endpoint, arguments] : commands) {
    ExpectFailure(arguments, "Response Error Code: 1001");
  }
}

TEST_F(CsmCharts, aMissingAnswerIsTold) {
  server_.SetFaults({"status:/pc/rt/stock_trade", "missing:/pc/rt/stock_distribute_num",
                     "empty_body:/pc/rt/stock_buy", "missing:/pc/rt/get_day_time"});
  ExpectFailure({"margin"}, "/pc/rt/stock_trade failed");
  ExpectFailure({"distribution"}, "the server has no figures of 2024-03-15");
  ExpectFailure({"purchase"}, "has no such figures");
  ExpectFailure({"mline", stock_->code},
                "the server has no minute line of " + stock_->code + " " + stock_->name + " on 2024-03-15");
}

TEST_F(CsmCharts, hostileAnswersLeaveTheTerminalAlone) {
  auto commands = EveryCommand(stock_->code);
  for (const char* const fault : {"hostile_numbers", "hostile_texts"}) {
    std::vector<std::string> faults;
    for (const auto& [endpoint, arguments] : commands) {
      faults.push_back(fault + (":" + endpoint));
    }
    server_.SetFaults(faults);
    for (auto [endpoint, arguments] : commands) {
      if (arguments[0] != "flow" && arguments[0] != "events" && arguments[0] != "distribution" &&
          arguments[0] != "margin" && arguments[0] != "purchase") {
        arguments.emplace_back("--plot");
      }
      ChildProcess csm = Run(arguments);
      const int code = csm.Wait();
      EXPECT_TRUE(code == 0 || code == 1) << fault << " " << arguments[0] << ": " << code << csm.errors();
      const std::string all = csm.output() + csm.errors();
      const bool clean = std::none_of(all.begin(), all.end(),
                                      [](char c) { return (c >= 0 && c < ' ' && c != '\n') || c == '\x7f'; });
      EXPECT_EQ(csm.errors().find("Sanitizer"), std::string::npos) << csm.errors();
      EXPECT_EQ(csm.errors().find("runtime error"), std::string::npos) << csm.errors();
      EXPECT_TRUE(clean) << fault << " " << arguments[0] << ": " << all;
    }
  }
}

TEST_F(CsmCharts, aClosedMarketShowsItsLastSessionAndSaysSo) {
  for (const char* const clock :
       {"2024-03-16 11:00:00", "2024-03-15 18:00:00", "2024-03-18 08:30:00", "2024-03-18 09:05:00"}) {
    server_.SetClock(clock);
    for (const Arguments& arguments :
         {Arguments{"mline", stock_->code}, {"strength"}, {"distribution"}, {"events", "--last", "3"}}) {
      ChildProcess csm = Run(arguments);
      EXPECT_EQ(csm.Wait(), 0) << csm.errors();
      EXPECT_NE(csm.output(), "") << arguments[0] << " " << clock;
      EXPECT_NE(csm.errors().find("the market is closed; these are the figures of 2024-03-15"),
                std::string::npos)
          << arguments[0] << " " << clock << ": " << csm.errors();
    }
  }
}

TEST_F(CsmCharts, aMarketThatHasNotBegunSaysSo) {
  server_.SetClock("2024-03-15 09:18:00");
  ExpectFailure({"mline", stock_->code}, "trading begins at 09:30");
  ExpectFailure({"strength"}, "trading begins at 09:30");
}

// --- around it ---

TEST_F(CsmCharts, aReaderThatLeavesEndsIt) {
  ChildProcess csm = Run({"kline", stock_->code, "--csv"});
  csm.CloseOutput();
  EXPECT_GE(csm.Wait(), 0);
  EXPECT_EQ(csm.errors().find("cannot write"), std::string::npos) << csm.errors();
}

TEST_F(CsmCharts, anInterruptEndsTheWait) {
  server_.SetFaults({"silence:/pc/rt/stock_trade"});
  ChildProcess csm = Run({"margin"});
  ASSERT_TRUE(csm.ReadUntil([this] { return server_.ReadCounters().faults > 0; }));
  csm.Signal(SIGINT);
  EXPECT_EQ(csm.Wait(), 1);
  EXPECT_EQ(csm.output(), "");
}

TEST(CsmChartsOnATerminal, takeItsWidthAndColours) {
  ChildProcess csm(Csm({"mline", "sh600000", "--plot", "--clock", kMorning, "--speed", "0"}),
                   {{"TERM", "xterm"}}, ChildProcess::Around::kTerminal);
  csm.Resize(100, 30);
  EXPECT_EQ(csm.Wait(), 0) << csm.output();
  EXPECT_NE(csm.output().find("\x1b[31m"), std::string::npos) << csm.output();
  EXPECT_NE(csm.output().find("\x1b[32m"), std::string::npos) << csm.output();
  ChildProcess plain(Csm({"mline", "sh600000", "--plot", "--no-color", "--clock", kMorning, "--speed", "0"}),
                     {{"TERM", "xterm"}}, ChildProcess::Around::kTerminal);
  plain.Resize(100, 30);
  EXPECT_EQ(plain.Wait(), 0) << plain.output();
  EXPECT_EQ(plain.output().find('\x1b'), std::string::npos) << plain.output();
  const auto rows = LinesOf(plain.output());
  EXPECT_EQ(rows.size(), 28U) << plain.output();
}

TEST(CsmChartsInside, areTheSameForTheSameSeedAndInstant) {
  const auto run = [](const std::string& seed) {
    ChildProcess csm(
        Csm({"kline", "sh600000", "--json", "--seed", seed, "--clock", kMorning, "--speed", "0"}));
    EXPECT_EQ(csm.Wait(), 0) << csm.errors();
    return csm.output().substr(csm.output().find("\"data\":"));
  };
  const std::string first = run("7");
  EXPECT_EQ(first, run("7"));
  EXPECT_NE(first, run("8"));
}

}  // namespace
}  // namespace tests

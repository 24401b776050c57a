// One market behind every endpoint: markets of random seeds and scenarios, asked over the wire at random
// instants, trading and not. With CSM_LONG=1 in the environment there are many more of both.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "endpoint_fixture.h"
#include "market_server/model/calendar.h"
#include "reference/long_run.h"

namespace market_server::testing {
namespace {

using model::Instant;
using Random = std::mt19937_64;

constexpr int kFirstYear = 2015;
constexpr int kLastYear = 2027;

std::int64_t Below(Random& random, std::int64_t limit) {
  return static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(limit));
}

template <class List>
const auto& AnyOf(Random& random, const List& list) {
  return list[static_cast<std::size_t>(Below(random, static_cast<std::int64_t>(std::size(list))))];
}

/// Any second of the years with trading; every other one falls into the hours of trading.
std::int64_t AnyInstant(Random& random) {
  const std::int64_t first = static_cast<std::int64_t>(model::InstantOf(20150601, 0, 0, 0));
  const std::int64_t last = static_cast<std::int64_t>(model::InstantOf(20271231, 0, 0, 0));
  const std::int64_t midnight = first + Below(random, (last - first) / 86400) * 86400;
  if (random() % 2 == 0) return midnight + Below(random, 86400);
  return midnight + 9 * 3600 + 15 * 60 + Below(random, 6 * 3600);
}

Options AnyMarket(int number) {
  Random random(static_cast<std::uint64_t>(number));
  const std::vector<ScenarioInfo> scenarios = Scenarios();
  Options options = SmallMarket();
  options.seed = random();
  options.scenario = scenarios[static_cast<std::size_t>(number) % scenarios.size()].name;
  options.clock = "@" + std::to_string(AnyInstant(random));
  return options;
}

bool Trades(const Value& row) {
  const std::string status = Text(row, "status");
  return status == "0" || status == "5" || status == "6";
}

/// 1 up, 0 unchanged, -1 down.
int Direction(const Value& row) {
  const double last = Number(row, "last");
  const double before = Number(row, "preclose");
  return last > before ? 1 : last < before ? -1 : 0;
}

std::vector<std::string> CodesOf(const Value& rows, const char* key) {
  std::vector<std::string> codes;
  for (const Value& row : rows.GetArray()) codes.push_back(Text(row, key));
  return codes;
}

class AnyTime : public Endpoint, public ::testing::WithParamInterface<int> {
 protected:
  AnyTime() : Endpoint(AnyMarket(GetParam())) {}

  /// Runs the check at the instant that the server started with, then at random ones.
  template <class Check>
  void AtEachInstant(const Check& check) {
    for (int i = 0; i < Rounds(3, 20); ++i) {
      if (i > 0) bench.server().SetClock("@" + std::to_string(AnyInstant(random_)));
      const auto now = static_cast<Instant>(bench.server().Now());
      SCOPED_TRACE("market " + std::to_string(GetParam()) + " at " + std::to_string(model::DateOf(now)) +
                   " second " + std::to_string(model::SecondOfDay(now)));
      board_ = Board("cn_a");
      ASSERT_GT(board_["data"].Size(), 50U);
      check();
    }
  }

  Document Details(const std::vector<std::string>& symbols) {
    return Json("/pc/rt/stock_detail_list", {{"stock_arr", List(symbols)}});
  }
  Document Plates(const std::string& type) {
    return Json(
        "/pc/rt/get_bk_detail",
        {{"bk_type", type}, {"sort_key", "code"}, {"sort_type", "asc"}, {"start", "0"}, {"end", "-1"}});
  }
  Document Members(const std::string& plate) {
    return Json(
        "/pc/rt/get_bk_zone_list",
        {{"bk_code", plate}, {"sort_key", "code"}, {"sort_type", "asc"}, {"start", "0"}, {"end", "-1"}});
  }
  std::string AnyStock() {
    const Value& rows = board_["data"];
    return Text(rows[static_cast<rapidjson::SizeType>(Below(random_, rows.Size()))], "code");
  }
  Random random_{static_cast<std::uint64_t>(GetParam()) + 1000};
  Document board_;  ///< all stocks by code
};

TEST_P(AnyTime, pagesListsAndDetailsAreTheSameQuotes) {
  AtEachInstant([this] {
    const Value& rows = board_["data"];
    const std::vector<std::string> codes = CodesOf(rows, "code");
    Document details = Details(codes);
    EXPECT_EQ(details["data"]["list"], rows);
    Document info = Json("/pc/rt/get_basic_info");
    std::vector<std::string> listed = CodesOf(info["sh"], "c");
    for (const Value& stock : info["sz"].GetArray()) listed.push_back(Text(stock, "c"));
    EXPECT_EQ(listed, codes);
  });
}

TEST_P(AnyTime, minuteLineAndCandleEndAtTheQuote) {
  AtEachInstant([this] {
    std::vector<std::string> symbols = {"sh000001", "sz399001", "sz399006", "bk1001", "bk2001"};
    for (int i = 0; i < 8; ++i) symbols.push_back(AnyStock());
    Document quotes = Details(symbols);
    Document lines = Json("/pc/rt/get_day_time", {{"stock_arr", List(symbols)}});
    Document candles = Json("/pc/rt/get_day_kline", {{"stock_arr", List(symbols)}});
    ASSERT_EQ(quotes["data"]["list"].Size(), symbols.size());
    for (rapidjson::SizeType i = 0; i < symbols.size(); ++i) {
      const Value& quote = quotes["data"]["list"][i];
      SCOPED_TRACE(symbols[i]);
      const Value& line = lines["data"][symbols[i].c_str()];
      const Value& points = line["list"];
      const bool is_plate = symbols[i].starts_with("bk");
      const bool has_candle = candles["data"].HasMember(symbols[i].c_str());
      EXPECT_TRUE(has_candle || points.Empty());
      if (has_candle && points.Empty()) {  // nothing has traded yet: the call auction
        const int second = model::SecondOfDay(static_cast<Instant>(bench.server().Now()));
        EXPECT_TRUE(second >= (9 * 60 + 15) * 60 && second < (9 * 60 + 25) * 60) << second;
        const Value& zeros = candles["data"][symbols[i].c_str()]["list"];
        EXPECT_EQ(zeros["preclose"], quote["preclose"]);
        for (const char* key : {"open", "high", "last", "low", "vol", "amt", "tr"})
          EXPECT_EQ(Number(zeros, key), 0) << key;
      }
      if (!is_plate && !Trades(quote)) {
        EXPECT_TRUE(points.Empty());
        EXPECT_EQ(quote["last"], quote["preclose"]);
        EXPECT_EQ(Number(quote, "vol"), 0);
      }
      if (points.Empty()) continue;
      const Value& last = points[points.Size() - 1];
      double high = Number(points[0], "last");
      double low = high;
      for (const Value& point : points.GetArray()) {
        high = std::max(high, Number(point, "last"));
        low = std::min(low, Number(point, "last"));
      }
      EXPECT_EQ(points[0]["preclose"], quote["preclose"]);
      EXPECT_EQ(points[0]["last"], quote["open"]);
      EXPECT_EQ(high, Number(quote, "high"));
      EXPECT_EQ(low, Number(quote, "low"));
      for (const char* key : {"last", "vol", "amt", "qrr"}) EXPECT_EQ(last[key], quote[key]) << key;
      const Value& candle = candles["data"][symbols[i].c_str()];
      EXPECT_EQ(candle["date"], line["date"]);
      for (const char* key : {"preclose", "open", "high", "last", "low", "vol", "amt", "tr"}) {
        EXPECT_EQ(candle["list"][key], quote[key]) << key;
      }
    }
  });
}

TEST_P(AnyTime, platesAndIndicesCountTheirStocks) {
  AtEachInstant([this] {
    std::map<std::string, const Value*> quotes;
    for (const Value& row : board_["data"].GetArray()) quotes[Text(row, "code")] = &row;
    const auto expect_counts = [&quotes](const Value& whole, const std::vector<std::string>& members) {
      SCOPED_TRACE(whole.HasMember("bk") ? Text(whole, "bk") : Text(whole, "code"));
      std::map<int, int> count;
      double volume = 0;
      double amount = 0;
      double capitalisation = 0;
      double best = -1e9;
      std::set<std::string> leaders;
      for (const std::string& code : members) {
        ASSERT_TRUE(quotes.contains(code)) << code;
        const Value& row = *quotes[code];
        capitalisation += Number(row, "mc");
        if (!Trades(row)) continue;
        ++count[Direction(row)];
        amount += Number(row, "amt");
        volume += Number(row, "vol");
        if (Number(row, "change") > best) leaders.clear();
        best = std::max(best, Number(row, "change"));
        if (Number(row, "change") == best) leaders.insert(Text(row, "name"));
      }
      EXPECT_EQ(Number(whole, "num_u"), count[1]);
      EXPECT_EQ(Number(whole, "num_z"), count[0]);
      EXPECT_EQ(Number(whole, "num_d"), count[-1]);
      EXPECT_EQ(Number(whole, "vol"), volume);
      EXPECT_NEAR(Number(whole, "amt"), amount, 0.01 + amount * 1e-12);
      EXPECT_NEAR(Number(whole, "mc"), capitalisation, 0.1 + capitalisation * 1e-12);
      EXPECT_EQ(whole.HasMember("lead"), !leaders.empty());
      if (leaders.empty()) return;
      EXPECT_TRUE(leaders.contains(Text(whole, "lead"))) << Text(whole, "lead");
      EXPECT_EQ(Number(whole, "lead_change"), best);
    };
    Document membership = Json("/pc/rt/stock_in_bk", {{"category", ""}});
    std::map<std::string, std::vector<std::string>> held;
    for (const auto& stock : std::as_const(membership)["data"].GetObject()) {
      for (const Value& plate : stock.value.GetArray())
        held[plate[0].GetString()].push_back(stock.name.GetString());
    }
    const Document plates = Plates("");
    for (const Value& plate : plates["data"].GetArray()) expect_counts(plate, held[Text(plate, "bk")]);
    Document composite = Details({"sh000001"});
    expect_counts(composite["data"]["list"][0], CodesOf(Board("sh_a")["data"], "code"));
  });
}

TEST_P(AnyTime, aPlatesRowsAreThoseOfTheBoard) {
  AtEachInstant([this] {
    const Document plates = Plates("");
    std::map<std::string, const Value*> quotes;
    for (const Value& row : board_["data"].GetArray()) quotes[Text(row, "code")] = &row;
    for (int i = 0; i < 5; ++i) {
      const std::string plate = AnyOf(random_, CodesOf(plates["data"], "bk"));
      Document members = Members(plate);
      EXPECT_EQ(members["total_num"].GetUint(), members["data"].Size()) << plate;
      for (const Value& row : members["data"].GetArray()) {
        const Value& quote = *quotes.at(Text(row, "code"));
        for (const char* key : {"name", "last", "change", "diff", "tr"}) {
          EXPECT_EQ(row[key], quote[key]) << plate << " " << Text(row, "code") << " " << key;
        }
      }
    }
  });
}

TEST_P(AnyTime, breadthAverageAndDistributionCountTheSameStocks) {
  AtEachInstant([this] {
    std::map<int, int> count;
    int modest[4] = {};  // falls of 5 to 7 and 3 to 5 percent, rises of 3 to 5 and 5 to 7
    double sum = 0;
    for (const Value& row : board_["data"].GetArray()) {
      if (!Trades(row)) continue;
      const double change = Number(row, "change");
      ++count[Direction(row)];
      sum += change;
      const double size = std::abs(change);
      if (size > 3 && size <= 7) ++modest[change < 0 ? (size > 5 ? 0 : 1) : (size > 5 ? 3 : 2)];
    }
    Document distribution = Json("/pc/rt/stock_distribute_num", {{"date", "0"}});
    const Value& data = distribution["data"];
    EXPECT_EQ(data["up"].GetInt(), count[1]);
    EXPECT_EQ(data["nochange"].GetInt(), count[0]);
    EXPECT_EQ(data["down"].GetInt(), count[-1]);
    const Value& buckets = data["list"];
    ASSERT_EQ(buckets.Size(), 10U);
    int below = 0;
    int above = 0;
    for (rapidjson::SizeType i = 0; i < 5; ++i) {
      below += buckets[i].GetInt();
      above += buckets[i + 5].GetInt();
    }
    EXPECT_EQ(below, count[-1]);
    EXPECT_EQ(above, count[1]);
    EXPECT_EQ(buckets[2].GetInt(), modest[0]);
    EXPECT_EQ(buckets[3].GetInt(), modest[1]);
    EXPECT_EQ(buckets[6].GetInt(), modest[2]);
    EXPECT_EQ(buckets[7].GetInt(), modest[3]);

    Document breadth = Json("/pc/rt/stock_min_num", {{"date", "0"}});
    Document average = Json("/pc/rt/stock_min_average", {{"date", "0"}});
    const Value& minutes = breadth["data"]["list"];
    const Value& averages = average["data"]["list"];
    ASSERT_EQ(minutes.Size(), averages.Size());
    for (rapidjson::SizeType i = 0; i < minutes.Size(); ++i)
      EXPECT_EQ(averages[i]["time"], minutes[i]["min"]);
    if (minutes.Empty()) return;  // the call auction: nothing is traded yet
    EXPECT_EQ(minutes[minutes.Size() - 1]["up"].GetInt(), count[1]);
    EXPECT_EQ(minutes[minutes.Size() - 1]["down"].GetInt(), count[-1]);
    EXPECT_NEAR(averages[averages.Size() - 1]["average"].GetDouble(), sum / (count[1] + count[0] + count[-1]),
                0.000051);
  });
}

INSTANTIATE_TEST_SUITE_P(Markets, AnyTime, ::testing::Range(0, Rounds(2, 12)));

/// The days on which an index has a candle are the weekdays of which no year says that they are closed.
TEST_F(Packages, theYearsHaveTheTradingDaysOfTheHolidayLists) {
  std::set<std::string> closed;
  for (int year = kFirstYear; year <= kLastYear; ++year) {
    Document answer = Json("/pc/rt/trade_date", {{"date", std::to_string(year)}});
    for (const Value& day : answer["data"]["list"].GetArray()) {
      EXPECT_TRUE(closed.insert(day.GetString()).second) << day.GetString();
      EXPECT_TRUE(std::string(day.GetString()).starts_with(std::to_string(year)));
    }
  }
  std::vector<unsigned> expected;
  const Instant monday = model::InstantOf(20141229, 12, 0, 0);
  for (int day = 0;; ++day) {
    const model::Date date = model::DateOf(monday + day * 86400.0);
    if (date > 20271231) break;
    const std::string digits = std::to_string(date);
    const std::string text = digits.substr(0, 4) + "-" + digits.substr(4, 2) + "-" + digits.substr(6);
    if (date >= 20150101 && day % 7 < 5 && !closed.contains(text)) expected.push_back(date);
  }
  bench.server().SetClock("2027-12-31 20:00:00");
  Document answer = History("sh000001", "kline.day", "bfq", "0", "100000");
  std::vector<unsigned> days;
  for (const Value& row : answer["data"]["foo"]["list"].GetArray()) days.push_back(row[0].GetUint());
  EXPECT_EQ(days, expected);
}

}  // namespace
}  // namespace market_server::testing

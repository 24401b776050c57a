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

/// Codes of the rows in the order of a column; equal ones stay in the order of codes, in which the rows come.
std::vector<std::string> CodesInOrder(const Value& rows, const std::string& column,
                                      const std::string& direction, const char* code_key) {
  std::vector<const Value*> order;
  for (const Value& row : rows.GetArray()) order.push_back(&row);
  const bool is_text = column == "code" || column == "name" || column == "lead";
  const std::string key = column == "code" ? code_key : column;
  const auto less = [&](const Value& a, const Value& b) {
    return is_text ? Text(a, key) < Text(b, key) : Number(a, key) < Number(b, key);
  };
  std::stable_sort(order.begin(), order.end(), [&](const Value* a, const Value* b) {
    return direction == "asc" ? less(*a, *b) : less(*b, *a);
  });
  std::vector<std::string> codes;
  for (const Value* row : order) codes.push_back(Text(*row, code_key));
  return codes;
}

std::vector<std::string> CodesOf(const Value& rows, const char* key) {
  std::vector<std::string> codes;
  for (const Value& row : rows.GetArray()) codes.push_back(Text(row, key));
  return codes;
}

class AnyTime : public Packages, public ::testing::WithParamInterface<int> {
 protected:
  AnyTime() : Packages(AnyMarket(GetParam())) {}

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
  std::vector<std::vector<double>> Series(const std::string& symbol, const std::string& period,
                                          const std::string& adjustment) {
    Document answer = History(symbol, "kline." + period, adjustment, "0", "1000000");
    std::vector<std::vector<double>> rows;
    for (const Value& line : answer["data"]["foo"]["list"].GetArray()) {
      std::vector<double> row;
      for (const Value& number : line.GetArray()) row.push_back(number.GetDouble());
      EXPECT_EQ(row.size(), 9U);
      rows.push_back(row);
    }
    return rows;
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

TEST_P(AnyTime, rankedListsAreTheQuotesSorted) {
  AtEachInstant([this] {
    const std::string type = AnyOf(random_, kStockTypes);
    const std::string column = AnyOf(random_, kStockColumns);
    const std::string direction = AnyOf(random_, kDirections);
    SCOPED_TRACE(type + " " + column + " " + direction);
    const Document stocks = Board(type);
    std::vector<std::string> expected = CodesInOrder(stocks["data"], column, direction, "code");
    EXPECT_EQ(CodesOf(Board(type, column, direction)["data"], "code"), expected);
    const QueryMap words = {{"stock_type", type}, {"sort_key", column}, {"sort_type", direction}};
    EXPECT_EQ(CodesOf(Json("/pc/rt/stock_price_list", words)["data"], "code"), expected);
    QueryMap ranking = words;
    ranking["num"] = "12";
    expected.resize(std::min<std::size_t>(expected.size(), 12));
    EXPECT_EQ(CodesOf(Json("/pc/rt/get_stock_rank", ranking)["data"], "code"), expected);

    const std::string kind = AnyOf(random_, kPlateTypes);
    const std::string plate_column = AnyOf(random_, kPlateColumns);
    SCOPED_TRACE(kind + " " + plate_column);
    std::vector<std::string> plates = CodesInOrder(Plates(kind)["data"], plate_column, direction, "bk");
    const QueryMap plate_words = {{"bk_type", kind}, {"sort_key", plate_column}, {"sort_type", direction}};
    EXPECT_EQ(CodesOf(Json("/pc/rt/bk_price_list", plate_words)["data"], "code"), plates);
    QueryMap plate_ranking = plate_words;
    plate_ranking["num"] = "12";
    plates.resize(12);
    EXPECT_EQ(CodesOf(Json("/pc/rt/get_bk_rank", plate_ranking)["data"], "bk"), plates);
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

TEST_P(AnyTime, theBookStandsAroundTheLastPrice) {
  AtEachInstant([this] {
    for (const Value& row : board_["data"].GetArray()) {
      SCOPED_TRACE(Text(row, "code"));
      const bool bid = row.HasMember("b1p");
      const bool ask = row.HasMember("s1p");
      if (!Trades(row)) {
        EXPECT_FALSE(bid || ask);
        continue;
      }
      if (bid && ask && Number(row, "open") > 0) {
        EXPECT_LT(Number(row, "b1p"), Number(row, "s1p"));
      } else if (bid && ask) {  // the call auction: both sides stand at the price that it would have
        EXPECT_EQ(Number(row, "b1p"), Number(row, "s1p"));
      }
      if (bid) {
        EXPECT_LE(Number(row, "b1p"), Number(row, "last"));
      }
      if (ask) {
        EXPECT_GE(Number(row, "s1p"), Number(row, "last"));
      }
      for (char level = '1'; level <= '5'; ++level) {
        for (const char side : {'b', 's'}) {
          EXPECT_EQ(row.HasMember(std::string{side, level, 'p'}.c_str()),
                    row.HasMember(std::string{side, level, 'v'}.c_str()));
        }
      }
      for (char level = '2'; level <= '5'; ++level) {
        const std::string bid_key = {'b', level, 'p'};
        const std::string ask_key = {'s', level, 'p'};
        const char before = static_cast<char>(level - 1);
        if (row.HasMember(bid_key.c_str())) {
          EXPECT_LT(Number(row, bid_key), Number(row, {'b', before, 'p'}));
        }
        if (row.HasMember(ask_key.c_str())) {
          EXPECT_GT(Number(row, ask_key), Number(row, {'s', before, 'p'}));
        }
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
      double best = -1e9;
      std::set<std::string> leaders;
      for (const std::string& code : members) {
        ASSERT_TRUE(quotes.contains(code)) << code;
        const Value& row = *quotes[code];
        if (!Trades(row)) continue;
        ++count[Direction(row)];
        volume += Number(row, "vol");
        if (Number(row, "change") > best) leaders.clear();
        best = std::max(best, Number(row, "change"));
        if (Number(row, "change") == best) leaders.insert(Text(row, "name"));
      }
      EXPECT_EQ(Number(whole, "num_u"), count[1]);
      EXPECT_EQ(Number(whole, "num_z"), count[0]);
      EXPECT_EQ(Number(whole, "num_d"), count[-1]);
      EXPECT_EQ(Number(whole, "vol"), volume);
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
    if (minutes.Empty()) return;  // the call auction: nothing is traded yet
    EXPECT_EQ(minutes[minutes.Size() - 1]["up"].GetInt(), count[1]);
    EXPECT_EQ(minutes[minutes.Size() - 1]["down"].GetInt(), count[-1]);
    EXPECT_NEAR(averages[averages.Size() - 1]["average"].GetDouble(), sum / (count[1] + count[0] + count[-1]),
                0.000051);
  });
}

TEST_P(AnyTime, flowsOfADayAddUpToItsAmount) {
  AtEachInstant([this] {
    std::map<std::string, double> amounts;
    for (const Value& row : board_["data"].GetArray()) amounts[Text(row, "code")] = Number(row, "amt");
    std::vector<std::string> symbols;
    for (int i = 0; i < 8; ++i) symbols.push_back(AnyStock());
    Document answer = Json("/pc/rt/stock_in_out", {{"stock_arr", List(symbols)}});
    ASSERT_EQ(answer["data"]["list"].Size(), symbols.size());
    for (const Value& element : answer["data"]["list"].GetArray()) {
      const Value& flows = element.MemberBegin()->value;
      double total = 0;
      for (const char* way : {"in", "out"}) {
        for (const char* size : {"big", "small"}) total += flows[way][size]["d1"].GetDouble();
      }
      EXPECT_NEAR(total, amounts.at(element.MemberBegin()->name.GetString()), 1);
    }
  });
}

TEST_P(AnyTime, weeksAndMonthsAreTheirDays) {
  AtEachInstant([this] {
    for (const std::string& symbol : {AnyStock(), std::string("sz399001")}) {
      const auto days = Series(symbol, "day", "bfq");
      for (const std::string period : {"week", "month"}) {
        SCOPED_TRACE(symbol + " " + period);
        // Weeks are those of Monday to Sunday, counted from one.
        const auto group = [&period](const std::vector<double>& day) {
          const auto date = static_cast<model::Date>(day[0]);
          return period == "month" ? static_cast<std::int64_t>(date / 100)
                                   : static_cast<std::int64_t>((model::InstantOf(date, 12, 0, 0) -
                                                                model::InstantOf(20141229, 0, 0, 0)) /
                                                               (7 * 86400));
        };
        std::vector<std::vector<double>> expected;
        std::int64_t current = -1;
        for (const auto& day : days) {
          if (group(day) != current) {
            current = group(day);
            expected.push_back(day);
            continue;
          }
          auto& sum = expected.back();
          sum[0] = day[0];
          sum[3] = std::max(sum[3], day[3]);
          sum[4] = day[4];
          sum[5] = std::min(sum[5], day[5]);
          for (const std::size_t i : {6U, 7U, 8U}) sum[i] += day[i];
        }
        const auto rows = Series(symbol, period, "bfq");
        ASSERT_EQ(rows.size(), expected.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
          for (const std::size_t k : {0U, 1U, 2U, 3U, 4U, 5U, 6U}) {
            EXPECT_EQ(rows[i][k], expected[i][k]) << rows[i][0] << " position " << k;
          }
          EXPECT_NEAR(rows[i][7], expected[i][7], 0.01 + expected[i][7] * 1e-12) << rows[i][0];
          EXPECT_NEAR(rows[i][8], expected[i][8], 0.001) << rows[i][0];
        }
      }
    }
  });
}

TEST_P(AnyTime, adjustedSeriesHaveNoGaps) {
  int adjusted = 0;
  AtEachInstant([this, &adjusted] {
    const std::string symbol = AnyStock();
    SCOPED_TRACE(symbol);
    const auto plain = Series(symbol, "day", "bfq");
    const auto forward = Series(symbol, "day", "qfq");
    const auto backward = Series(symbol, "day", "hfq");
    ASSERT_EQ(forward.size(), plain.size());
    ASSERT_EQ(backward.size(), plain.size());
    if (plain.empty()) return;
    EXPECT_EQ(forward.back(), plain.back()) << "forward adjustment leaves the newest day as it is";
    EXPECT_EQ(backward.front(), plain.front()) << "backward adjustment leaves the oldest day as it is";
    adjusted += forward.front() != plain.front() && backward.back() != plain.back() ? 1 : 0;
    for (std::size_t i = 1; i < plain.size(); ++i) {
      EXPECT_NEAR(forward[i][1], forward[i - 1][4], 0.011) << plain[i][0];
      EXPECT_NEAR(backward[i][1], backward[i - 1][4], 0.011) << plain[i][0];
      for (const std::size_t k : {0U, 6U, 7U, 8U}) {
        EXPECT_EQ(forward[i][k], plain[i][k]);
        EXPECT_EQ(backward[i][k], plain[i][k]);
      }
    }
  });
  EXPECT_GT(adjusted, 0) << "no stock ever paid a dividend";
}

TEST_P(AnyTime, metadataAnnouncesThePackages) {
  AtEachInstant([this] {
    auto lines = Metadata();
    const std::string version = lines["version"];
    EXPECT_EQ(version, Version());
    EXPECT_EQ(lines["p"], std::to_string(lines.size() - 2));
    const std::string symbol = AnyStock();
    const std::string period = AnyOf(random_, std::vector<std::string>{"day", "week", "month"});
    const std::string adjustment = AnyOf(random_, std::vector<std::string>{"bfq", "qfq", "hfq"});
    SCOPED_TRACE(symbol + " " + period + " " + adjustment);
    const std::vector<std::string> rows = Rows(symbol, period, adjustment);
    ASSERT_EQ(lines.contains(symbol), !rows.empty());
    if (rows.empty()) return;
    Document counts;
    counts.Parse(lines[symbol].c_str());
    EXPECT_EQ(counts[period.substr(0, 1).c_str()][adjustment.substr(0, 1).c_str()].GetUint(), rows.size());
    EXPECT_LE(rows.back().substr(1, 8), version);
    if (adjustment == "qfq" || period != "day") return;  // the history may know a day more
    const auto history = Series(symbol, period, adjustment);
    ASSERT_GE(history.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); i += 1 + rows.size() / 50) {
      Document row;
      row.Parse<rapidjson::kParseFullPrecisionFlag>(rows[i].c_str());
      for (rapidjson::SizeType k = 0; k < 9; ++k) EXPECT_EQ(row[k].GetDouble(), history[i][k]) << rows[i];
    }
  });
}

TEST_P(AnyTime, marginBalancesCarryTheClosesOfTheIndices) {
  AtEachInstant([this] {
    std::map<double, double> closes;
    for (const auto& row : Series("sh000001", "day", "bfq")) closes[row[0]] = row[4];
    Document margin = Json("/pc/rt/stock_trade");
    int checked = 0;
    for (const Value& day : margin["data"]["list"].GetArray()) {
      const auto close = closes.find(Number(day["sh"], "date"));
      if (close == closes.end()) continue;
      EXPECT_EQ(Number(day["sh"], "close"), close->second) << close->first;
      ++checked;
    }
    EXPECT_GT(checked, 50);
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

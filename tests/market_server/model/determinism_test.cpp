#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "small_market.h"

namespace market_server::model {
namespace {

// A number that stands for every figure of a board.
std::uint64_t checksum(const BoardQuotes& board) {
  std::uint64_t sum = 14695981039346656037ULL;
  const auto take = [&](double x) {
    sum = (sum ^ static_cast<std::uint64_t>(std::llround(x * 10000))) * 1099511628211ULL;
  };
  for (const auto* rows : {&board.stocks, &board.indices, &board.plates}) {
    for (const Quote& q : *rows) {
      for (const double x : {q.last,
                             q.change,
                             q.open,
                             q.high,
                             q.low,
                             q.preclose,
                             static_cast<double>(q.vol),
                             q.amt,
                             q.tr,
                             q.pe,
                             q.qrr,
                             q.cr,
                             q.pb,
                             q.five_change,
                             static_cast<double>(q.num_u),
                             q.lead_change,
                             q.bpin,
                             static_cast<double>(q.cud),
                             q.bids[4].price,
                             static_cast<double>(q.asks[4].volume)}) {
        take(x);
      }
    }
  }
  return sum;
}

TEST(Determinism, twoMarketsOfOneSeedAreTheSame) {
  const Market one(small(77));
  const Market two(small(77));
  for (const Instant time : instants_of_all_kinds()) {
    EXPECT_EQ(checksum(*one.board(time)), checksum(*two.board(time)));
  }
}

TEST(Determinism, theOrderOfQuestionsDoesNotMatter) {
  const Market forward(small(78));
  const Market backward(small(78));
  const auto times = instants_of_all_kinds();
  std::vector<std::uint64_t> sums;
  for (const Instant time : times) {
    sums.push_back(checksum(*forward.board(time)));
  }
  for (std::size_t i = times.size(); i-- > 0;) {
    EXPECT_EQ(checksum(*backward.board(times[i])), sums[i]);
  }
  // Long after the caches have forgotten.
  EXPECT_EQ(checksum(*forward.board(times[0])), sums[0]);
}

TEST(Determinism, anotherSeedIsAnotherMarket) {
  const Market one(small(1));
  const Market two(small(2));
  const Instant time = instant_of(20261120, 15, 0, 0);
  const auto a = one.board(time);
  const auto b = two.board(time);
  std::size_t same = 0;
  for (std::size_t i = 0; i < a->stocks.size(); ++i) {
    same += a->stocks[i].last == b->stocks[i].last ? 1U : 0U;
  }
  EXPECT_LT(same, a->stocks.size() / 20);
  EXPECT_NE(a->indices[0].last, b->indices[0].last);
}

TEST(Determinism, aTickLastsThreeSeconds) {
  const Market market(small(3));
  const Instant time = instant_of(20261120, 10, 0, 3);
  const auto tick = market.board(time);
  EXPECT_EQ(market.board(time + 2.9)->stocks, tick->stocks);
  EXPECT_NE(market.board(time + 3)->stocks, tick->stocks);
  EXPECT_EQ(tick->time, time);
}

TEST(Determinism, manyThreadsSeeOneMarket) {
  const Market market(small(12));
  const auto times = trading_instants();
  const Market alone(small(12));
  std::vector<std::uint64_t> expected;
  std::vector<std::vector<MarketEvent>> events;
  for (const Instant time : times) {
    expected.push_back(checksum(*alone.board(time)));
    events.push_back(alone.events(date_of(time), time));
  }
  const auto candles =
      alone.candles(*alone.find("sh600000"), Period::week, Adjustment::forward, 20261120).size();
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (std::size_t i = 0; i < times.size() * 2; ++i) {
        const std::size_t k = (i + t) % times.size();
        wrong += checksum(*market.board(times[k])) == expected[k] ? 0 : 1;
        wrong += market.breadth(date_of(times[k]), times[k]).empty() ? 1 : 0;
        wrong += market.events(date_of(times[k]), times[k]) == events[k] ? 0 : 1;
        wrong += market.quote(*market.find("sz000001"), times[k]).last > 0 ? 0 : 1;
        wrong +=
            market.candles(*market.find("sh600000"), Period::week, Adjustment::forward, 20261120).size() ==
                    candles
                ? 0
                : 1;
        wrong +=
            market.candles(*market.find("sh000016"), Period::month, Adjustment::none, 20160301).size() == 15
                ? 0
                : 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, 0);
}

TEST(Determinism, readingOfThePastChangesNothing) {
  const Instant time = instant_of(20261120, 10, 0, 3);
  const Market market(small(15));
  const auto board = market.board(time);
  const auto breadth = market.breadth(20261120, time);
  const Market reader(small(15));
  for (const Date date : {20261119u, 20261118u, 20261117u, 20261119u}) {
    for (const char* code : {"sh000001", "bk1005", "sz300001"}) {
      const MinuteLine line = reader.minute_line(*reader.find(code), date, time);
      EXPECT_EQ(line.points, market.minute_line(*market.find(code), date, instant_of(date, 16, 0, 0)).points)
          << code << " " << date;
    }
    EXPECT_EQ(reader.distribution(date, time), market.distribution(date, instant_of(date, 16, 0, 0))) << date;
    EXPECT_EQ(reader.breadth(date, time), market.breadth(date, instant_of(date, 16, 0, 0))) << date;
    EXPECT_EQ(reader.events(date, time), market.events(date, instant_of(date, 16, 0, 0))) << date;
    EXPECT_EQ(checksum(*reader.board(time)), checksum(*board)) << date;
    EXPECT_EQ(reader.breadth(20261120, time), breadth) << date;
  }
}

TEST(Determinism, manyThreadsShareTheHistoryOfTheIndices) {
  const Instant time = instant_of(20261120, 16, 0, 0);
  const Market alone(small(13));
  const auto expected = alone.candles(*alone.find("sh000016"), Period::week, Adjustment::none, 20261120);
  const Market market(small(13));
  std::thread history([&] { market.prepare_history(time); });
  std::vector<std::vector<Candle>> seen(3);
  std::vector<std::thread> threads;
  for (auto& candles : seen) {
    threads.emplace_back([&] {
      candles = market.candles(*market.find("sh000016"), Period::week, Adjustment::none, 20261120);
    });
  }
  history.join();
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (const auto& candles : seen) {
    EXPECT_EQ(candles, expected);
  }
}

TEST(Determinism, allThreadsThatMakeHistoryEndWhenTheMarketCeases) {
  Options whole;
  whole.seed = 14;
  const Market market(whole);
  const Instant time = instant_of(20261120, 16, 0, 0);
  std::atomic<int> ended{0};
  const auto make = [&](const auto& work) {
    try {
      work();
    } catch (const Ceased&) {
      ++ended;
    }
  };
  std::thread history([&] { make([&] { market.prepare_history(time); }); });
  std::thread request([&] {
    make([&] { (void)market.candles(*market.find("sz399001"), Period::day, Adjustment::none, 20261120); });
  });
  market.cease();
  history.join();
  request.join();
  EXPECT_EQ(ended, 2);
  EXPECT_THROW(market.prepare_history(time), Ceased);
  EXPECT_THROW((void)market.minute_line(*market.find("sh000001"), 20261119, time), Ceased);
  EXPECT_GT(market.quote(*market.find("sh600000"), time).last, 0) << "what is quick is answered still";
}

}  // namespace
}  // namespace market_server::model

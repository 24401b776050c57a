#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "small_market.h"

namespace market_server::model {
namespace {

// A number that stands for every figure of a board.
std::uint64_t Checksum(const BoardQuotes& board) {
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
  const Market one(Small(77));
  const Market two(Small(77));
  for (const Instant time : InstantsOfAllKinds()) {
    EXPECT_EQ(Checksum(*one.BoardAt(time)), Checksum(*two.BoardAt(time)));
  }
}

TEST(Determinism, theOrderOfQuestionsDoesNotMatter) {
  const Market forward(Small(78));
  const Market backward(Small(78));
  const auto times = InstantsOfAllKinds();
  std::vector<std::uint64_t> sums;
  for (const Instant time : times) {
    sums.push_back(Checksum(*forward.BoardAt(time)));
  }
  for (std::size_t i = times.size(); i-- > 0;) {
    EXPECT_EQ(Checksum(*backward.BoardAt(times[i])), sums[i]);
  }
  // Long after the caches have forgotten.
  EXPECT_EQ(Checksum(*forward.BoardAt(times[0])), sums[0]);
}

TEST(Determinism, anotherSeedIsAnotherMarket) {
  const Market one(Small(1));
  const Market two(Small(2));
  const Instant time = InstantOf(20261120, 15, 0, 0);
  const auto a = one.BoardAt(time);
  const auto b = two.BoardAt(time);
  std::size_t same = 0;
  for (std::size_t i = 0; i < a->stocks.size(); ++i) {
    same += a->stocks[i].last == b->stocks[i].last ? 1U : 0U;
  }
  EXPECT_LT(same, a->stocks.size() / 20);
  EXPECT_NE(a->indices[0].last, b->indices[0].last);
}

TEST(Determinism, aTickLastsThreeSeconds) {
  const Market market(Small(3));
  const Instant time = InstantOf(20261120, 10, 0, 3);
  const auto tick = market.BoardAt(time);
  EXPECT_EQ(market.BoardAt(time + 2.9)->stocks, tick->stocks);
  EXPECT_NE(market.BoardAt(time + 3)->stocks, tick->stocks);
  EXPECT_EQ(tick->time, time);
}

TEST(Determinism, manyThreadsSeeOneMarket) {
  const Market market(Small(12));
  const auto times = TradingInstants();
  const Market alone(Small(12));
  std::vector<std::uint64_t> expected;
  std::vector<std::vector<MarketEvent>> events;
  for (const Instant time : times) {
    expected.push_back(Checksum(*alone.BoardAt(time)));
    events.push_back(alone.Events(DateOf(time), time));
  }
  const auto candles =
      alone.Candles(*alone.Find("sh600000"), Period::kWeek, Adjustment::kForward, 20261120).size();
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (std::size_t i = 0; i < times.size() * 2; ++i) {
        const std::size_t k = (i + t) % times.size();
        wrong += Checksum(*market.BoardAt(times[k])) == expected[k] ? 0 : 1;
        wrong += market.BreadthOn(DateOf(times[k]), times[k]).empty() ? 1 : 0;
        wrong += market.Events(DateOf(times[k]), times[k]) == events[k] ? 0 : 1;
        wrong += market.QuoteOf(*market.Find("sz000001"), times[k]).last > 0 ? 0 : 1;
        wrong +=
            market.Candles(*market.Find("sh600000"), Period::kWeek, Adjustment::kForward, 20261120).size() ==
                    candles
                ? 0
                : 1;
        wrong +=
            market.Candles(*market.Find("sh000016"), Period::kMonth, Adjustment::kNone, 20160301).size() == 15
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
  const Instant time = InstantOf(20261120, 10, 0, 3);
  const Market market(Small(15));
  const auto board = market.BoardAt(time);
  const auto breadth = market.BreadthOn(20261120, time);
  const Market reader(Small(15));
  for (const Date date : {20261119u, 20261118u, 20261117u, 20261119u}) {
    for (const char* code : {"sh000001", "bk1005", "sz300001"}) {
      const MinuteLine line = reader.MinuteLineOf(*reader.Find(code), date, time);
      EXPECT_EQ(line.points, market.MinuteLineOf(*market.Find(code), date, InstantOf(date, 16, 0, 0)).points)
          << code << " " << date;
    }
    EXPECT_EQ(reader.DistributionOn(date, time), market.DistributionOn(date, InstantOf(date, 16, 0, 0)))
        << date;
    EXPECT_EQ(reader.BreadthOn(date, time), market.BreadthOn(date, InstantOf(date, 16, 0, 0))) << date;
    EXPECT_EQ(reader.Events(date, time), market.Events(date, InstantOf(date, 16, 0, 0))) << date;
    EXPECT_EQ(Checksum(*reader.BoardAt(time)), Checksum(*board)) << date;
    EXPECT_EQ(reader.BreadthOn(20261120, time), breadth) << date;
  }
}

TEST(Determinism, manyThreadsShareTheHistoryOfTheIndices) {
  const Instant time = InstantOf(20261120, 16, 0, 0);
  const Market alone(Small(13));
  const auto expected = alone.Candles(*alone.Find("sh000016"), Period::kWeek, Adjustment::kNone, 20261120);
  const Market market(Small(13));
  std::thread history([&] { market.PrepareHistory(time); });
  std::vector<std::vector<Candle>> seen(3);
  std::vector<std::thread> threads;
  for (auto& candles : seen) {
    threads.emplace_back([&] {
      candles = market.Candles(*market.Find("sh000016"), Period::kWeek, Adjustment::kNone, 20261120);
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
  const Instant time = InstantOf(20261120, 16, 0, 0);
  std::atomic<int> ended{0};
  const auto make = [&](const auto& work) {
    try {
      work();
    } catch (const Ceased&) {
      ++ended;
    }
  };
  std::thread history([&] { make([&] { market.PrepareHistory(time); }); });
  std::thread request([&] {
    make([&] { (void)market.Candles(*market.Find("sz399001"), Period::kDay, Adjustment::kNone, 20261120); });
  });
  market.Cease();
  history.join();
  request.join();
  EXPECT_EQ(ended, 2);
  EXPECT_THROW(market.PrepareHistory(time), Ceased);
  EXPECT_THROW((void)market.MinuteLineOf(*market.Find("sh000001"), 20261119, time), Ceased);
  EXPECT_GT(market.QuoteOf(*market.Find("sh600000"), time).last, 0) << "what is quick is answered still";
}

}  // namespace
}  // namespace market_server::model

// What is said about a feed, for every state that it can be in.
#include "cli/views/feed_health.h"

#include <gtest/gtest.h>

namespace cli {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr FeedHealth::Clock::time_point kStart{seconds(1000)};
constexpr stock::MarketStatus kOpen = stock::kMarketMorning;

stock_host::EndpointCounters Counters(std::uint64_t requests, std::uint64_t succeeded, std::uint64_t failed,
                                      const char* error = "") {
  stock_host::EndpointCounters counters;
  counters.requests = requests;
  counters.succeeded = succeeded;
  counters.failed = failed;
  counters.last_error = error;
  return counters;
}

TEST(FeedHealth, waitsUntilSomethingArrives) {
  const FeedHealth health(seconds(3));
  EXPECT_EQ(health.Report(kStart, kOpen).state, FeedState::kWaiting);
  EXPECT_FALSE(health.Age(kStart).has_value());
}

TEST(FeedHealth, isLiveWhileTheDataAreFresh) {
  FeedHealth health(seconds(3));
  health.OnUpdate(kStart);
  EXPECT_EQ(health.Report(kStart + seconds(7), kOpen).state, FeedState::kLive);
  EXPECT_EQ(health.Age(kStart + seconds(7)), milliseconds(7000));
}

TEST(FeedHealth, isStaleAfterTwoIntervalsAndASecond) {
  FeedHealth health(seconds(3));
  health.OnUpdate(kStart);
  const FeedReport report = health.Report(kStart + milliseconds(7001), kOpen);
  EXPECT_EQ(report.state, FeedState::kStale);
  EXPECT_EQ(report.text, "stale, 7 s old");
}

// A feed that stood still was called live.
TEST(FeedHealth, figuresThatStandStillAreUnchangedSinceTheirTime) {
  constexpr std::int64_t kHalfPastTen = 1710469800;  // 2024-03-15 10:30:00 in China
  FeedHealth health(seconds(3));
  health.OnUpdate(kStart);
  health.OnChange(kStart, kHalfPastTen);
  health.OnUpdate(kStart + seconds(9));
  EXPECT_EQ(health.Report(kStart + seconds(10), kOpen).text, "live");
  health.OnUpdate(kStart + seconds(12));
  const FeedReport report = health.Report(kStart + seconds(13), kOpen);
  EXPECT_EQ(report.state, FeedState::kUnchanged);
  EXPECT_EQ(report.text, "unchanged since 10:30:00");
  for (const auto phase : {stock::kMarketPreparing, stock::kMarketCallAuction, stock::kMarketLunchBreak}) {
    EXPECT_EQ(health.Report(kStart + seconds(13), phase).text, "live");
  }
  health.OnChange(kStart + seconds(15), kHalfPastTen + 15);
  health.OnUpdate(kStart + seconds(15));
  EXPECT_EQ(health.Report(kStart + seconds(16), kOpen).text, "live");
}

TEST(FeedHealth, saysWhyTheDataAreStale) {
  FeedHealth health(seconds(3));
  health.OnUpdate(kStart);
  health.OnCounters(Counters(2, 1, 1, "connection refused"));
  EXPECT_EQ(health.Report(kStart + seconds(70), kOpen).text, "stale, 1 min old: connection refused");
}

TEST(FeedHealth, hasFailedWhenNothingEverArrived) {
  FeedHealth health(seconds(3));
  health.OnCounters(Counters(1, 0, 1, "timed out"));
  const FeedReport report = health.Report(kStart, kOpen);
  EXPECT_EQ(report.state, FeedState::kFailed);
  EXPECT_EQ(report.text, "no data: timed out");
}

TEST(FeedHealth, takesTheReasonFromTheLogWhenTheRequestItselfWentWell) {
  FeedHealth health(seconds(3));
  health.OnCounters(Counters(1, 1, 0));
  health.OnLog(1, "IndexMarket::FetchIndexMarkets Response Error Code: 1001");
  EXPECT_EQ(health.Report(kStart, kOpen).text,
            "no data: IndexMarket::FetchIndexMarkets Response Error Code: 1001");
}

TEST(FeedHealth, prefersTheReasonOfTheRequestToTheLog) {
  FeedHealth health(seconds(3));
  health.OnCounters(Counters(1, 0, 1, "timed out"));
  health.OnLog(1, "IndexMarket::FetchIndexMarkets Failed.");
  EXPECT_EQ(health.failure(), "timed out");
}

TEST(FeedHealth, forgetsAFailureWithTheNextData) {
  FeedHealth health(seconds(3));
  health.OnCounters(Counters(1, 0, 1, "timed out"));
  health.OnLog(1, "a line");
  health.OnUpdate(kStart);
  health.OnCounters(Counters(2, 1, 1, "timed out"));
  health.OnLog(1, "a line");
  EXPECT_EQ(health.failure(), "");
  EXPECT_EQ(health.Report(kStart, kOpen).state, FeedState::kLive);
}

TEST(FeedHealth, saysThatTheMarketIsClosed) {
  FeedHealth health(seconds(3));
  health.OnUpdate(kStart);
  EXPECT_EQ(health.Report(kStart, stock::kMarketClosed).state, FeedState::kClosed);
  EXPECT_EQ(health.Report(kStart, stock::kMarketNotOpened).state, FeedState::kClosed);
  EXPECT_EQ(health.Report(kStart, stock::kMarketLunchBreak).state, FeedState::kLive);
}

TEST(FeedHealth, saysWhyThereIsNothingInTheData) {
  FeedHealth health(seconds(3));
  health.OnUpdate(kStart, "no event today");
  const FeedReport report = health.Report(kStart, stock::kMarketClosed);
  EXPECT_EQ(report.state, FeedState::kEmpty);
  EXPECT_EQ(report.text, "no event today");
  EXPECT_EQ(health.Report(kStart + seconds(9), kOpen).state, FeedState::kStale);
  health.OnCounters(Counters(1, 0, 1, "timed out"));
  EXPECT_EQ(health.Report(kStart, kOpen).state, FeedState::kFailed);
  EXPECT_EQ(health.Report(kStart, kOpen).text, "no data: timed out");
  health.OnUpdate(kStart);
  EXPECT_EQ(health.Report(kStart, kOpen).state, FeedState::kLive);
}

TEST(FeedHealth, waitsAgainAfterARestart) {
  FeedHealth health(seconds(3));
  health.OnUpdate(kStart, "no event today");
  health.OnCounters(Counters(2, 1, 1, "timed out"));
  health.Restart();
  EXPECT_EQ(health.Report(kStart, kOpen).text, "waiting for data");
  health.OnCounters(Counters(2, 1, 1, "timed out"));
  EXPECT_EQ(health.Report(kStart, kOpen).text, "waiting for data");
}

TEST(FeedHealth, knowsThatAClosedMarketIsAskedAboutSeldom) {
  FeedHealth health(seconds(3), seconds(3600));
  health.OnUpdate(kStart);
  EXPECT_EQ(health.Report(kStart + seconds(7201), stock::kMarketClosed).state, FeedState::kClosed);
  EXPECT_EQ(health.Report(kStart + seconds(7202), stock::kMarketClosed).state, FeedState::kStale);
  EXPECT_EQ(health.Report(kStart + seconds(8), kOpen).state, FeedState::kStale);
  health.OnCounters(Counters(1, 0, 1, "timed out"));
  EXPECT_EQ(health.Report(kStart + seconds(1), stock::kMarketClosed).text, "stale, 1 s old: timed out");
}

// "live" stood there for seconds after the server had died.
TEST(FeedHealth, isStaleAtOnceWhenANewerRequestHasFailed) {
  FeedHealth health(seconds(3));
  health.OnUpdate(kStart);
  health.OnCounters(Counters(2, 1, 1, "connection refused"));
  EXPECT_EQ(health.Report(kStart + seconds(2), kOpen).text, "stale, 2 s old: connection refused");
  health.OnUpdate(kStart + seconds(3));
  EXPECT_EQ(health.Report(kStart + seconds(4), kOpen).state, FeedState::kLive);
}

TEST(FeedHealth, escapesTheReason) {
  FeedHealth health(seconds(3));
  health.OnCounters(Counters(1, 0, 1, "bad \x1b[2J"));
  EXPECT_EQ(health.failure(), "bad \\u{1b}[2J");
}

TEST(FeedHealth, knowsWhetherAnAnswerIsStillToCome) {
  FeedHealth health(seconds(3));
  EXPECT_FALSE(health.under_way());
  health.OnCounters(Counters(3, 1, 1));
  EXPECT_TRUE(health.under_way());
  health.OnCounters(Counters(3, 2, 1));
  EXPECT_FALSE(health.under_way());
}

}  // namespace
}  // namespace cli

// Top lists of stocks: what is asked for, how many rows are kept, how trends are told.
#include <gtest/gtest.h>

#include <cmath>

#include <memory>
#include <string>
#include <vector>

#include "ranking/stock_ranking.h"
#include "ranking/trends.h"
#include "recording_observer.h"
#include "scripted_host.h"
#include "services.h"
#include "sleeping_threads.h"

namespace {

using Rows = std::vector<StockMarketSummary>;

constexpr const char* kPlain = "/pc/rt/get_stock_rank";
constexpr const char* kFiveMinutes = "/pc/rt/stock_five_change";

std::string Row(const char* code, const char* last) {
  return std::string(R"({"code":")") + code + R"(","last":)" + last + "}";
}

std::string Body(const std::string& rows) {
  return R"({"errno":0,"data":[)" + rows + "]}";
}

class StockRanking : public ::testing::Test {
 protected:
  void Show(RecordingObserver<Rows>& observer, const RankingTarget& target) {
    service->Attach(&observer);
    service->SetTarget(&observer, target);
    service->Resume(&observer, false);
  }
  void Answer200(const std::string& rows) {
    host.Expect(Script(kPlain).Inline(Answer::Body(Body(rows))));
    service->Refresh();
  }

  StockRanking() { AwaitSleepingThreads(); }

  ScriptedHost host;
  RecordingObserver<Rows> view;
  std::unique_ptr<IStockRanking> service{ranking::MakeStockRanking(4, false)};
};

TEST_F(StockRanking, asksForTheBoardAndTheTarget) {
  Show(view, {8, 1, 5});
  host.Expect(Script(kPlain)
                  .With({{"stock_type", "gem"}, {"sort_key", "tr"}, {"sort_type", "asc"}, {"num", "5"}})
                  .Setting(30)
                  .Inline(Answer::Body(Body(""))));
  service->Refresh();
  EXPECT_TRUE(view.Last().empty());
  service->Detach(&view);
}

TEST_F(StockRanking, ofFiveMinutesSendsNoCountAndStillCuts) {
  service.reset(ranking::MakeStockRanking(1, true));
  AwaitSleepingThreads();
  Show(view, {4, 2, 2});
  host.Expect(Script(kFiveMinutes)
                  .With({{"stock_type", "cn_a"}, {"sort_key", "change"}, {"sort_type", "desc"}})
                  .Setting(30)
                  .Inline(Answer::Body(Body(Row("a", "1") + "," + Row("b", "1") + "," + Row("c", "1")))));
  service->Refresh();
  EXPECT_EQ(view.Last().size(), 2U);
  service->Detach(&view);
}

TEST_F(StockRanking, skipsTargetsWithoutColumn) {
  Show(view, {});
  service->Refresh();
  EXPECT_EQ(host.RequestCount(), 0U);
  service->Detach(&view);
}

TEST_F(StockRanking, hasADefaultTarget) {
  EXPECT_EQ(RankingTarget{}, (RankingTarget{0, 2, 10}));
  EXPECT_LT((RankingTarget{-1, 2, 10}), (RankingTarget{0, 1, 5}));
}

TEST_F(StockRanking, keepsAsManyRowsAsWanted) {
  Show(view, {4, 2, 3});
  std::string rows = Row("r0", "1");
  for (int row = 1; row < 10; ++row) rows += "," + Row(("r" + std::to_string(row)).c_str(), "1");
  Answer200(rows);
  EXPECT_EQ(view.Last().size(), 3U);
  EXPECT_EQ(view.Last()[2].code, L"r2");
  service->Detach(&view);
}

TEST_F(StockRanking, deliversAllRowsWhenThereAreFewer) {
  Show(view, {4, 2, 10});
  Answer200(Row("a", "1"));
  EXPECT_EQ(view.Last().size(), 1U);
  service->Detach(&view);
}

TEST_F(StockRanking, marksEveryFigureValid) {
  Show(view, {4, 2, 10});
  Answer200(R"({"name":"n","change":"text"})");
  const StockMarketSummary expected{L"", L"n", {0, true, 0}, {0, true, 0}, {0, true, 0}, {0, true, 0}};
  EXPECT_EQ(view.Last(), Rows{expected});
  service->Detach(&view);
}

TEST_F(StockRanking, tellsHowRowsMovedSinceTheAnswerBefore) {
  Show(view, {4, 2, 10});
  Answer200(Row("up", "1") + "," + Row("down", "2") + "," + Row("same", "3"));
  EXPECT_EQ(view.Last()[0].last.trend, 0);
  Answer200(Row("same", "3") + "," + Row("up", "1.0001") + "," + Row("new", "9") + "," +
            Row("down", "1.9999"));
  const Rows rows = view.Last();
  EXPECT_EQ(rows[0].last.trend, 0);
  EXPECT_EQ(rows[1].last.trend, 1);
  EXPECT_EQ(rows[2].last.trend, 0);
  EXPECT_EQ(rows[2].tr.trend, 0);
  EXPECT_EQ(rows[3].last.trend, -1);
  service->Detach(&view);
}

TEST_F(StockRanking, rememberOneAnswerForAllTargets) {
  RecordingObserver<Rows> second;
  Show(view, {4, 2, 10});
  Show(second, {3, 2, 10});
  host.Expect(Script(kPlain)
                  .With({{"stock_type", "gem"}, {"sort_key", "change"}, {"sort_type", "desc"}, {"num", "10"}})
                  .Held());
  host.Expect(Script(kPlain)
                  .With({{"stock_type", "gem"}, {"sort_key", "last"}, {"sort_type", "desc"}, {"num", "10"}})
                  .Held());
  service->Refresh();
  host.Complete(0, Answer::Body(Body(Row("a", "1"))));
  host.Complete(1, Answer::Body(Body(Row("a", "2"))));
  const Rows told_last = view.Last()[0].last.value == 2 ? view.Last() : second.Last();
  EXPECT_EQ(told_last[0].last.trend, 1);
  service->Detach(&view);
  service->Detach(&second);
}

TEST_F(StockRanking, sendsWordsForNumbersBeyondItsTables) {
  service.reset(ranking::MakeStockRanking(6, false));
  AwaitSleepingThreads();
  Show(view, {20, 3, -4});
  host.Expect(Script(kPlain)
                  .With({{"stock_type", ""}, {"sort_key", "change"}, {"sort_type", ""}, {"num", "-4"}})
                  .Inline(Answer::Body(Body(Row("a", "1")))));
  service->Refresh();
  EXPECT_TRUE(view.Last().empty()) << "fewer than no rows are none";
  service->Detach(&view);
}

TEST_F(StockRanking, marksAllFourFigures) {
  Show(view, {4, 2, 10});
  Answer200(R"({"code":"a","last":1,"change":1,"diff":1,"tr":1})");
  Answer200(R"({"code":"a","last":2,"change":0.5,"diff":1,"tr":1.0000001})");
  const StockMarketSummary row = view.Last()[0];
  EXPECT_EQ(row.last.trend, 1);
  EXPECT_EQ(row.change.trend, -1);
  EXPECT_EQ(row.diff.trend, 0);
  EXPECT_EQ(row.tr.trend, 1);
  service->Detach(&view);
}

TEST_F(StockRanking, comparesWithTheRowsThatWereKept) {
  Show(view, {4, 2, 1});
  Answer200(Row("a", "1") + "," + Row("b", "1"));
  Answer200(Row("b", "2"));
  EXPECT_EQ(view.Last()[0].last.trend, 0) << "the row was beyond the wanted number";
  service->Detach(&view);
}

TEST(Trends, letOneOldRowServeOneNewRow) {
  const Rows earlier{{L"a", L"", {1, true, 0}, {}, {}, {}}};
  Rows rows{{L"a", L"", {2, true, 0}, {}, {}, {}}, {L"a", L"", {3, true, 0}, {}, {}, {}}};
  ranking::SetTrends(rows, earlier);
  EXPECT_EQ(rows[0].last.trend, 1);
  EXPECT_EQ(rows[1].last.trend, 0);
}

TEST(Trends, takeOldRowsOfOneCodeInTheirOrder) {
  const Rows earlier{{L"a", L"", {1, true, 0}, {}, {}, {}},
                     {L"b", L"", {}, {}, {}, {}},
                     {L"a", L"", {9, true, 0}, {}, {}, {}}};
  Rows rows{{L"a", L"", {2, true, 0}, {}, {}, {}}, {L"a", L"", {3, true, 0}, {}, {}, {}}};
  ranking::SetTrends(rows, earlier);
  EXPECT_EQ(rows[0].last.trend, 1);
  EXPECT_EQ(rows[1].last.trend, -1);
}

TEST(Trends, countWhatIsNoNumberAsFallen) {
  const double nan = std::nan("");
  const Rows earlier{{L"a", L"", {1, true, 0}, {nan, true, 0}, {}, {}}};
  Rows rows{{L"a", L"", {nan, true, 0}, {1, true, 0}, {}, {}}};
  ranking::SetTrends(rows, earlier);
  EXPECT_EQ(rows[0].last.trend, -1);
  EXPECT_EQ(rows[0].change.trend, -1);
  EXPECT_EQ(rows[0].diff.trend, 0);
}

}  // namespace

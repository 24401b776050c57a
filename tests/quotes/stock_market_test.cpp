// Boards of stocks: what is asked for, what is told to whom, the list of codes and names.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "quote_service.h"
#include "quotes/stock_market.h"
#include "scripted_ticks.h"
#include "services.h"

namespace {

using Board = std::vector<StockMarketItem>;

class StockBoard : public ServiceTest<IStockMarket, Board, StockRangeRankingTarget> {
 protected:
  StockBoard() : ServiceTest(quotes::MakeStockMarket()) {}
};

TEST_F(StockBoard, asksForTheRangeOfEachTarget) {
  Show(view, {1, 4, 2, 0, 0xFFFFFFFF});
  host.Expect(Script("/pc/rt/get")
                  .With({{"stock_type", "cn_a"},
                         {"sort_key", "change"},
                         {"sort_type", "desc"},
                         {"start", "0"},
                         {"end", "-1"}})
                  .Setting(30)
                  .Inline(Answer::Body(R"({"errno":0,"data":[{"code":"sh600000","last":10}]})")));
  service->Refresh();
  ASSERT_EQ(view.Last().size(), 1U);
  EXPECT_EQ(view.Last()[0].last, (TickField<double>{10, true, 0}));
}

TEST_F(StockBoard, asksNothingForAnUnsetTarget) {
  Show(view, {0, 4, 2, 0, 49});
  RecordingObserver<Board> second;
  Show(second, {1, 0, 2, 0, 49});
  service->Refresh();
  EXPECT_EQ(host.RequestCount(), 0U);
  service->Detach(&second);
}

TEST_F(StockBoard, tellsDirectionsAgainstTheAnswerBefore) {
  Show(view, {1, 4, 2, 0, 49});
  for (const char* last : {"10", "10.0011", "10.0011", "9"}) {
    host.Expect(Script("/pc/rt/get")
                    .Inline(Answer::Body(std::string(R"({"data":[{"code":"a","last":)") + last + "}]}")));
    service->Refresh();
  }
  std::vector<int> directions;
  for (const Board& board : view.Updates()) directions.push_back(board[0].last.direction);
  EXPECT_EQ(directions, (std::vector<int>{0, 1, 0, -1}));
}

TEST_F(StockBoard, hidesZerosOfASuspendedStockOnly) {
  Show(view, {1, 4, 2, 0, 49});
  host.Expect(
      Script("/pc/rt/get")
          .Inline(Answer::Body(
              R"({"data":[{"code":"a","last":0,"status":"1"},{"code":"b","last":0,"status":"0"}]})")));
  service->Refresh();
  EXPECT_FALSE(view.Last()[0].last.present);
  EXPECT_TRUE(view.Last()[1].last.present);
}

TEST_F(StockBoard, showsOnlyTheLastPriceBeforeTheOpening) {
  host.SetMarketStatus(3);
  Show(view, {1, 4, 2, 0, 49});
  host.Expect(
      Script("/pc/rt/get").Inline(Answer::Body(R"({"data":[{"code":"a","last":1,"change":1,"vol":5}]})")));
  service->Refresh();
  EXPECT_TRUE(view.Last()[0].last.present);
  EXPECT_FALSE(view.Last()[0].change.present || view.Last()[0].vol.present);
}

TEST_F(StockBoard, computesNoDerivedFigure) {
  Show(view, {1, 4, 2, 0, 49});
  host.Expect(Script("/pc/rt/get")
                  .Inline(Answer::Body(R"({"data":[{"code":"sh600000","preclose":10,"amt":5,"vol":5}]})")));
  service->Refresh();
  EXPECT_FALSE(view.Last()[0].limit_up.present || view.Last()[0].avg_price.present);
}

TEST_F(StockBoard, handsOutCodesAndNamesOnce) {
  host.Expect(Script("/pc/rt/stock_price_list")
                  .With({{"stock_type", "gem"}, {"sort_key", "change"}, {"sort_type", "asc"}})
                  .Setting(30)
                  .Inline(Answer::Body(R"({"data":[{"code":"b","name":"乙"},{"code":"a"}]})")));
  CodeNameList list;
  service->FetchStockItems(20, 1, 4, [&list](const CodeNameList& got) { list = got; });
  EXPECT_EQ(list, (CodeNameList{{L"b", L"乙"}, {L"a", L""}}));
}

TEST_F(StockBoard, comparesWithTheAnswerBeforeWhicheverTargetItWasFor) {
  RecordingObserver<Board> second;
  Show(view, {1, 4, 2, 0, 49});
  Show(second, {1, 4, 2, 50, 99});
  for (const auto& [end, last] : {std::pair{"49", "10"}, {"99", "11"}, {"49", "12"}}) {
    host.Expect(Script("/pc/rt/get")
                    .With({{"stock_type", "cn_a"},
                           {"sort_key", "change"},
                           {"sort_type", "desc"},
                           {"start", end == std::string("49") ? "0" : "50"},
                           {"end", end}})
                    .Inline(Answer::Body(std::string(R"({"data":[{"code":"a","last":)") + last + "}]}")));
    service->Suspend(end == std::string("49") ? &second : &view);
    service->Refresh();
    service->Resume(end == std::string("49") ? &second : &view, false);
  }
  EXPECT_EQ(view.Updates()[0][0].last.direction, 0);
  EXPECT_EQ(second.Updates()[0][0].last.direction, 1) << "against the other target's answer";
  EXPECT_EQ(view.Updates()[1][0].last.direction, 1);
  service->Detach(&second);
}

TEST_F(StockBoard, forgetsAllRowsWithAnEmptyAnswer) {
  Show(view, {1, 4, 2, 0, 49});
  for (const char* rows : {R"({"code":"a","last":1})", "", R"({"code":"a","last":2})"}) {
    host.Expect(Script("/pc/rt/get").Inline(Answer::Body(std::string(R"({"data":[)") + rows + "]}")));
    service->Refresh();
  }
  EXPECT_EQ(view.Count(), 3U);
  EXPECT_TRUE(view.Updates()[1].empty());
  EXPECT_EQ(view.Last()[0].last.direction, 0);
}

// The memory of a board goes to the one after the next: nothing of it may be seen there.
TEST_F(StockBoard, showsNothingOfEarlierAnswers) {
  Show(view, {1, 4, 2, 0, 49});
  const std::string full =
      R"({"code":"sh600000","name":"a longer name","last":10,"vol":5,"pe":3,"status":"1","b1p":9,"s5v":7})";
  for (const std::string& rows : {full + "," + full, full, full + "," + full, std::string("{},{\"last\":9}"),
                                  std::string("{\"b2p\":1}"), std::string("5,{}")}) {
    host.Expect(Script("/pc/rt/get").Inline(Answer::Body(R"({"data":[)" + rows + "]}")));
    service->Refresh();
  }
  const std::vector<Board> boards = view.Updates();
  ASSERT_EQ(boards.size(), 6U);
  EXPECT_EQ(boards[2], boards[0]);
  StockMarketItem second;
  second.last = {9, true, 0};
  EXPECT_EQ(boards[3], (Board{{}, second}));
  ASSERT_EQ(boards[4].size(), 1U);
  EXPECT_EQ(boards[4][0].code, L"");
  EXPECT_EQ(boards[4][0].bid_prices.size(), 5U);
  EXPECT_FALSE(boards[4][0].bid_prices[0].present);
  EXPECT_TRUE(boards[4][0].bid_prices[1].present && boards[4][0].ask_volumes.empty());
  EXPECT_EQ(boards[5], Board(2));
}

TEST_F(StockBoard, comparesWithTheLatestGoodAnswer) {
  Show(view, {1, 4, 2, 0, 49});
  host.ExpectCodeLine(L"StockMarket::FetchStockMarkets Response Error Code: %d", 7);
  for (const char* body :
       {R"({"data":[{"code":"a","last":1}]})", R"({"errno":7,"data":[{"code":"a","last":5}]})",
        R"({"data":[{"code":"a","last":2}]})"}) {
    host.Expect(Script("/pc/rt/get").Inline(Answer::Body(body)));
    service->Refresh();
  }
  EXPECT_EQ(view.Count(), 2U);
  EXPECT_EQ(view.Last()[0].last.direction, 1);
}

TEST_F(StockBoard, looksAtThePhaseWhenTheAnswerComes) {
  Show(view, {1, 4, 2, 0, 49});
  host.SetMarketStatus(2);
  host.Expect(Script("/pc/rt/get").Held());
  service->Refresh();
  host.SetMarketStatus(4);
  host.Complete(0, Answer::Body(R"({"data":[{"code":"a","change":1}]})"));
  EXPECT_TRUE(view.Last()[0].change.present);
}

TEST_F(StockBoard, keepsNamesCountsAndBookBeforeTheOpening) {
  host.SetMarketStatus(2);
  Show(view, {1, 4, 2, 0, 49});
  host.Expect(
      Script("/pc/rt/get")
          .Inline(Answer::Body(R"({"data":[{"code":"a","name":"n","b1p":3,"b1v":100,"status":"1"}]})")));
  service->Refresh();
  const StockMarketItem item = view.Last()[0];
  EXPECT_EQ(item.name, L"n");
  EXPECT_FALSE(item.bid1.present);
  EXPECT_TRUE(item.bid_prices[0].present && item.bid_volumes[0].present);
}

TEST_F(StockBoard, makesARowOfEveryElement) {
  Show(view, {1, 4, 2, 0, 49});
  host.Expect(Script("/pc/rt/get").Inline(Answer::Body(R"({"data":[{"code":"b"},7,null,{"code":"a"}]})")));
  service->Refresh();
  ASSERT_EQ(view.Last().size(), 4U);
  EXPECT_EQ(view.Last()[0].code, L"b");
  EXPECT_EQ(view.Last()[1], StockMarketItem{});
  EXPECT_EQ(view.Last()[3].code, L"a");
}

}  // namespace

// The quote services from request to view: boards, a single quote, the watch list, plates, the stocks of a
// plate.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "quotes/optional_stock_market_service.h"
#include "quotes/plate_market_service.h"
#include "quotes/plate_stock_market_service.h"
#include "quotes/single_stock_market_service.h"
#include "quotes/stock_market_service.h"
#include "recording_observer.h"
#include "scripted_host.h"
#include "sleeping_threads.h"

namespace {

using Board = std::vector<StockMarketItem>;
using WatchList = std::vector<OptionalMarketItem>;

// A service with a polling thread, and views on it. The thread's own round comes after three seconds at the
// earliest.
template <class Service, class Data, class Key>
class ServiceTest : public ::testing::Test {
 protected:
  explicit ServiceTest(Service* made) : service(made) { AwaitSleepingThreads(); }

  void Show(RecordingObserver<Data>& observer, const Key& target) {
    service->Attach(&observer);
    service->SetTarget(&observer, target);
    service->Resume(&observer, false);
  }
  void TearDown() override { service->Detach(&view); }

  ScriptedHost host;
  RecordingObserver<Data> view;
  std::unique_ptr<Service> service;
};

// Every failure writes its one line; an empty body writes none.
void ExpectThreeLines(ScriptedHost& host, const char* path, const std::wstring& name,
                      const std::function<void()>& refresh) {
  host.ExpectFailureLine(name + L" Failed.");
  host.ExpectCodeLine(name + L" Response Error Code: %d", 1);
  host.ExpectCodeLine(name + L" Json Parse Error Code: %d", 5);
  for (const Answer& answer :
       {Answer::Failed(), Answer::Body(R"({"errno":1})"), Answer::Body("?"), Answer::Body("")}) {
    host.Expect(Script(path).Inline(answer));
    refresh();
  }
}

// --- Boards ---

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

TEST_F(StockBoard, writesItsThreeLines) {
  Show(view, {1, 4, 2, 0, 49});
  ExpectThreeLines(host, "/pc/rt/get", L"StockMarket::FetchStockMarkets", [this] { service->Refresh(); });
  EXPECT_EQ(view.Count(), 0U);
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

TEST_F(StockBoard, handsOutTheListOfTheLatestCallOnly) {
  host.Expect(Script("/pc/rt/stock_price_list").Times(2).Held());
  int first = 0;
  int second = 0;
  service->FetchStockItems(4, 2, 1, [&first](const CodeNameList&) { ++first; });
  service->FetchStockItems(4, 2, 2, [&second](const CodeNameList&) { ++second; });
  host.Complete(1, Answer::Body(R"({"data":[]})"));
  host.Complete(0, Answer::Body(R"({"data":[]})"));
  EXPECT_EQ(first, 0);
  EXPECT_EQ(second, 1);
}

TEST_F(StockBoard, handsOutNothingAfterAFailure) {
  int calls = 0;
  ExpectThreeLines(host, "/pc/rt/stock_price_list", L"StockMarket::FetchStockItems", [this, &calls] {
    service->FetchStockItems(4, 2, 1, [&calls](const CodeNameList&) { ++calls; });
  });
  EXPECT_EQ(calls, 0);
}

// --- One security ---

class SingleQuote : public ServiceTest<ISingleStockMarket, StockMarketItem, std::wstring> {
 protected:
  SingleQuote() : ServiceTest(quotes::MakeSingleStockMarket()) {}

  StockMarketItem Quote(const wchar_t* code, const std::string& members) {
    RecordingObserver<StockMarketItem> observer;
    Show(observer, code);
    host.Expect(Script("/pc/rt/stock_detail_list")
                    .Setting(30)
                    .Inline(Answer::Body(R"({"errno":0,"data":{"list":[{)" + members + "}]}}")));
    service->Refresh();
    const StockMarketItem item = observer.Last();
    service->Detach(&observer);
    return item;
  }
};

TEST_F(SingleQuote, takesTheCodeThatWasAskedFor) {
  const StockMarketItem item = Quote(L"sh600000", R"("code":"other","name":"浦")");
  EXPECT_EQ(item.code, L"sh600000");
  EXPECT_EQ(item.symbol_type, stock::kSymbolStock);
  EXPECT_EQ(host.AwaitRequest(0).parameters.at("stock_arr"), R"(["sh600000"])");
}

TEST_F(SingleQuote, ofAStockHasLimitsAverageAndBook) {
  const StockMarketItem item =
      Quote(L"sh600000", R"("preclose":3.35,"amt":21,"vol":7,"b5p":1.5,"s5v":9,"lead":"x","num_u":3)");
  EXPECT_DOUBLE_EQ(item.limit_up.value, 3.69000001);
  EXPECT_DOUBLE_EQ(item.limit_down.value, 3.02000001);
  EXPECT_EQ(item.avg_price, (PlainField<double>{3.0, true}));
  EXPECT_EQ(item.bid_prices.size(), 5U);
  EXPECT_EQ(item.ask_prices.size(), 5U);
  EXPECT_TRUE(item.bid_prices[4].present && item.ask_volumes[4].present);
  EXPECT_FALSE(item.bid_prices[0].present);
  EXPECT_TRUE(item.lead.empty());
  EXPECT_FALSE(item.num_u.present);
}

TEST_F(SingleQuote, roundsLimitsHalfUp) {
  const StockMarketItem item = Quote(L"sz000001", R"("preclose":7.77)");
  EXPECT_DOUBLE_EQ(item.limit_up.value, 8.55000001);
  EXPECT_DOUBLE_EQ(item.limit_down.value, 6.99000001);
  EXPECT_FALSE(item.avg_price.present) << "nothing was traded";
}

TEST_F(SingleQuote, ofAnIndexHasMembersAndNothingDerived) {
  const StockMarketItem item =
      Quote(L"sh000001", R"("preclose":3000,"amt":5,"vol":5,"b1p":1,"num_u":3,"lead":"甲")");
  EXPECT_EQ(item.symbol_type, stock::kSymbolIndex);
  EXPECT_EQ(item.num_u, (CountField{3, true}));
  EXPECT_EQ(item.num_d, (CountField{0, true}));
  EXPECT_EQ(item.lead_change, (PlainField<double>{0, true}));
  EXPECT_EQ(item.lead, L"甲");
  EXPECT_FALSE(item.limit_up.present || item.limit_down.present || item.avg_price.present);
  EXPECT_TRUE(item.bid_prices.empty());
}

TEST_F(SingleQuote, comparesOnlyConsecutiveAnswersOfOneCode) {
  EXPECT_EQ(Quote(L"sh600000", R"("last":1)").last.direction, 0);
  EXPECT_EQ(Quote(L"sh600000", R"("last":2)").last.direction, 1);
  EXPECT_EQ(Quote(L"sz000001", R"("last":2)").last.direction, 0);
  EXPECT_EQ(Quote(L"sh600000", R"("last":3)").last.direction, 0);
}

TEST_F(SingleQuote, isSilentAboutAnEmptyList) {
  Show(view, L"sh600000");
  for (const char* body : {R"({"data":{"list":[]}})", R"({"data":{}})", R"({})"}) {
    host.Expect(Script("/pc/rt/stock_detail_list").Inline(Answer::Body(body)));
    service->Refresh();
  }
  EXPECT_EQ(view.Count(), 0U);
}

TEST_F(SingleQuote, writesItsThreeLines) {
  Show(view, L"sh600000");
  ExpectThreeLines(host, "/pc/rt/stock_detail_list", L"SingleStockMarket::FetchStockMarket",
                   [this] { service->Refresh(); });
  EXPECT_EQ(view.Count(), 0U);
}

// --- The watch list ---

class WatchListQuotes : public ::testing::Test {
 protected:
  static constexpr const char* kPath = "/pc/rt/stock_detail_list";
  void Make() {
    service.reset(quotes::MakeOptionalStockMarket());
    AwaitSleepingThreads();
  }

  ScriptedHost host;
  std::unique_ptr<IOptionalStockMarket> service;
};

TEST_F(WatchListQuotes, followTheHostsListWhileTheyLive) {
  Make();
  EXPECT_EQ(host.WatchListObservers(), 1U);
  service.reset();
  EXPECT_EQ(host.WatchListObservers(), 0U);
}

TEST_F(WatchListQuotes, askNothingForAnEmptyList) {
  Make();
  service->Refresh();
  EXPECT_EQ(host.RequestCount(), 0U);
}

TEST_F(WatchListQuotes, askAtOnceForALaterListOnly) {
  host.DeliverWatchListOnAttach(false);
  Make();
  host.SetWatchList({L"sh600000"});
  EXPECT_EQ(host.RequestCount(), 0U) << "the first list waits for the polling thread";
  host.Expect(Script(kPath).With({{"stock_arr", R"(["sz000001","sh600000"])"}}).Setting(30).Held());
  host.SetWatchList({L"sz000001", L"sh600000"});
  EXPECT_EQ(host.RequestCount(), 1U);
}

TEST_F(WatchListQuotes, giveEveryViewItsOwnOrder) {
  host.SetWatchList({L"sh600000"});
  Make();
  RecordingObserver<WatchList> as_it_came;
  RecordingObserver<WatchList> rising;
  RecordingObserver<WatchList> zero_column;
  RecordingObserver<WatchList> suspended;
  for (auto* const observer : {&as_it_came, &rising, &zero_column, &suspended}) service->Attach(observer);
  service->SetTarget(&rising, {3, 1});
  service->SetTarget(&zero_column, {0, 1});
  for (auto* const observer : {&as_it_came, &rising, &zero_column}) service->Resume(observer, false);
  host.Expect(Script(kPath).Inline(Answer::Body(
      R"({"data":{"list":[{"code":"sh600002","last":2,"lead":"x"},{"code":"sh600001","last":1}]}})")));
  service->Refresh();
  EXPECT_EQ(as_it_came.Last()[0].code, L"sh600002");
  EXPECT_EQ(as_it_came.Last()[0].symbol_type, stock::kSymbolStock);
  EXPECT_EQ(as_it_came.Last()[0].lead, L"x") << "every key of the quote is read";
  EXPECT_EQ(rising.Last()[0].code, L"sh600001");
  EXPECT_EQ(zero_column.Last()[0].code, L"sh600002");
  EXPECT_EQ(suspended.Count(), 0U);
  for (auto* const observer : {&as_it_came, &rising, &zero_column, &suspended}) service->Detach(observer);
}

TEST_F(WatchListQuotes, handOutCodesOfTheLatestAnswerInATask) {
  host.SetWatchList({L"sh600000"});
  Make();
  host.Expect(Script(kPath).Inline(Answer::Body(
      R"({"data":{"list":[{"code":"b","name":"乙","last":2},{"code":"a","name":"甲","last":1}]}})")));
  service->Refresh();
  service->FetchStockItems(3, 1, {});
  EXPECT_EQ(host.QueuedTasks(), 0U) << "without a call-back there is nothing to do";
  CodeNameList list;
  service->FetchStockItems(3, 1, [&list](const CodeNameList& got) { list = got; });
  EXPECT_TRUE(list.empty());
  host.RunTasks();
  EXPECT_EQ(list, (CodeNameList{{L"a", L"甲"}, {L"b", L"乙"}}));
}

TEST_F(WatchListQuotes, writeTheirThreeLines) {
  host.SetWatchList({L"sh600000"});
  Make();
  ExpectThreeLines(host, kPath, L"OptionalStockMarket::FetchStockMarkets", [this] { service->Refresh(); });
}

// --- Plates ---

class PlateBoard : public ServiceTest<IPlateMarket, Board, PlateRangeRankingTarget> {
 protected:
  PlateBoard() : ServiceTest(quotes::MakePlateMarket()) {}
};

TEST_F(PlateBoard, readsItsCodeUnderAnotherKey) {
  Show(view, {2, 20, 1, 5, 9});
  host.Expect(
      Script("/pc/rt/get_bk_detail")
          .With({{"bk_type", "gn"}, {"sort_key", "lead"}, {"sort_type", "asc"}, {"start", "5"}, {"end", "9"}})
          .Setting(30)
          .Inline(Answer::Body(
              R"({"data":[{"bk":"bk2001","code":"x","lead":"甲","num_z":4,"b1p":1,"pb":2,"vol":3,"status":"1"}]})")));
  service->Refresh();
  const StockMarketItem item = view.Last()[0];
  EXPECT_EQ(item.code, L"bk2001");
  EXPECT_EQ(item.lead, L"甲");
  EXPECT_EQ(item.num_z, (CountField{4, true}));
  EXPECT_EQ(item.vol.value, 3U);
  EXPECT_TRUE(item.bid_prices.empty());
  EXPECT_FALSE(item.bid1.present || item.pb.present || item.num_u.present || item.lead_change.present);
  EXPECT_EQ(item.status, 0);
}

TEST_F(PlateBoard, asksNothingForAnUnsetTarget) {
  Show(view, {0, 4, 2, 0, 9});
  service->Refresh();
  service->SetTarget(&view, {1, 0, 2, 0, 9});
  service->Refresh();
  EXPECT_EQ(host.RequestCount(), 0U);
}

TEST_F(PlateBoard, setsNoDirections) {
  Show(view, {1, 4, 2, 0, 9});
  for (const char* last : {"1", "2"}) {
    host.Expect(Script("/pc/rt/get_bk_detail")
                    .Inline(Answer::Body(std::string(R"({"data":[{"bk":"a","last":)") + last + "}]}")));
    service->Refresh();
  }
  EXPECT_EQ(view.Last()[0].last.direction, 0);
}

TEST_F(PlateBoard, writesItsLines) {
  Show(view, {1, 4, 2, 0, 9});
  ExpectThreeLines(host, "/pc/rt/get_bk_detail", L"PlateMarket::FetchPlateMarkets",
                   [this] { service->Refresh(); });
  ExpectThreeLines(host, "/pc/rt/bk_price_list", L"PlateMarket::FetchPlateItems",
                   [this] { service->FetchPlateItems(6, 2, 1, {}); });
  EXPECT_EQ(view.Count(), 0U);
}

TEST_F(PlateBoard, handsOutCodesAndNames) {
  host.Expect(Script("/pc/rt/bk_price_list")
                  .With({{"bk_type", "hy"}, {"sort_key", "change"}, {"sort_type", "desc"}})
                  .Inline(Answer::Body(R"({"data":[{"code":"bk1","name":"一"}]})")));
  CodeNameList list;
  service->FetchPlateItems(6, 2, 1, [&list](const CodeNameList& got) { list = got; });
  EXPECT_EQ(list, (CodeNameList{{L"bk1", L"一"}}));
}

// --- The stocks of a plate ---

class PlateStocks : public ServiceTest<IPlateStockMarket, PlateStockMarketData, PlateStockRankingTarget> {
 protected:
  PlateStocks() : ServiceTest(quotes::MakePlateStockMarket()) {}
  static constexpr const char* kPath = "/pc/rt/get_bk_zone_list";
};

TEST_F(PlateStocks, areCountedAndListed) {
  Show(view, {L"bk1001", 6, 2, 0, 19});
  host.Expect(Script(kPath)
                  .With({{"bk_code", "bk1001"},
                         {"sort_key", "change"},
                         {"sort_type", "desc"},
                         {"start", "0"},
                         {"end", "19"}})
                  .Setting(30)
                  .Inline(Answer::Body(R"({"total_num":57,"data":[{"code":"a","name":"甲","last":1.5}]})")));
  service->Refresh();
  const PlateStockMarketData data = view.Last();
  EXPECT_EQ(data.total_num, 57);
  ASSERT_EQ(data.stocks.size(), 1U);
  EXPECT_EQ(data.stocks[0].last, (TrendValue{1.5, true, 0}));
  EXPECT_EQ(data.stocks[0].tr, TrendValue{}) << "valid only when its key is there";
}

TEST_F(PlateStocks, haveNoTotalWithoutOne) {
  Show(view, {L"bk1001", 4, 2, 0, 19});
  host.Expect(Script(kPath).Inline(Answer::Body(R"({"data":[]})")));
  service->Refresh();
  EXPECT_EQ(view.Last().total_num, 0);
}

TEST_F(PlateStocks, askNothingForAnUnsetTarget) {
  Show(view, {L"", 4, 2, 0, 19});
  service->Refresh();
  service->SetTarget(&view, {L"bk1001", 0, 2, 0, 19});
  service->Refresh();
  EXPECT_EQ(host.RequestCount(), 0U);
}

TEST_F(PlateStocks, keepTheLatestRequestOnlyAcrossTargets) {
  RecordingObserver<PlateStockMarketData> second;
  Show(view, {L"bk1", 4, 2, 0, 19});
  Show(second, {L"bk2", 4, 2, 0, 19});
  host.Expect(Script(kPath).Times(2).Held());
  service->Refresh();
  host.Complete(0, Answer::Body(R"({"data":[]})"));
  host.Complete(1, Answer::Body(R"({"data":[]})"));
  EXPECT_EQ(view.Count() + second.Count(), 1U);
  service->Detach(&second);
}

TEST_F(PlateStocks, logTheFailureOfAnOlderRequestToo) {
  host.Expect(Script(kPath).Times(2).Held());
  service->FetchStockMarkets(L"bk1", 0, 1, 4, 2);
  service->FetchStockMarkets(L"bk2", 0, 1, 4, 2);
  host.ExpectFailureLine(L"PlateStockMarket::FetchStockMarkets Failed.");
  host.Complete(0, Answer::Failed());
}

TEST_F(PlateStocks, writeTheirThreeLines) {
  Show(view, {L"bk1", 4, 2, 0, 19});
  ExpectThreeLines(host, kPath, L"PlateStockMarket::FetchStockMarkets", [this] { service->Refresh(); });
  EXPECT_EQ(view.Count(), 0U);
}

}  // namespace

// The member stocks of a plate: one request at a time counts.
#include <gtest/gtest.h>

#include <string>

#include "quote_service.h"
#include "quotes/plate_stock_market.h"
#include "scripted_ticks.h"
#include "services.h"

namespace {

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
  const bool view_was_last = host.AwaitRequest(1).parameters.at("bk_code") == "bk1";
  for (const std::size_t request : {0U, 1U}) {
    host.Complete(request, Answer::Body(R"({"data":[]})"));
  }
  EXPECT_EQ(view.Count(), view_was_last ? 1U : 0U);
  EXPECT_EQ(second.Count(), view_was_last ? 0U : 1U);
  service->Detach(&second);
}

TEST_F(PlateStocks, answeredBeforeTheNextRequestAllCount) {
  RecordingObserver<PlateStockMarketData> second;
  Show(view, {L"bk1", 4, 2, 0, 19});
  Show(second, {L"bk2", 4, 2, 0, 19});
  host.Expect(Script(kPath).Times(2).Inline(Answer::Body(R"({"data":[]})")));
  service->Refresh();
  EXPECT_EQ(view.Count() + second.Count(), 2U);
  service->Detach(&second);
}

TEST_F(PlateStocks, askedForAtOnceComeToTheViewsOfThatTarget) {
  ScriptedTicks ticks;
  RecordingObserver<PlateStockMarketData> elsewhere;
  Show(view, {L"bk1", 4, 2, 20, 39});
  Show(elsewhere, {L"bk1", 4, 2, 0, 19});
  host.Expect(Script(kPath)
                  .With({{"bk_code", "bk1"},
                         {"sort_key", "change"},
                         {"sort_type", "desc"},
                         {"start", "20"},
                         {"end", "39"}})
                  .Setting(30)
                  .Times(2)
                  .Held());
  service->FetchStockMarkets(L"bk1", 20, 39, 4, 2);
  service->FetchStockMarkets(L"bk1", 20, 39, 4, 2);
  host.Complete(0, Answer::Body(R"({"total_num":1,"data":[]})"));
  EXPECT_EQ(view.Count(), 0U) << "a later request was made, though in the same moment";
  host.Complete(1, Answer::Body(R"({"total_num":2,"data":[]})"));
  EXPECT_EQ(view.Last().total_num, 2);
  EXPECT_EQ(elsewhere.Count(), 0U);
  service->Detach(&elsewhere);
}

TEST_F(PlateStocks, haveATotalThatIsAWholeNumberOrZero) {
  Show(view, {L"bk1", 4, 2, 0, 19});
  for (const char* total : {"5.5", R"("7")", "true", "null", "3000000000"}) {
    host.Expect(Script(kPath).Inline(Answer::Body(std::string(R"({"data":[],"total_num":)") + total + "}")));
    service->Refresh();
    EXPECT_EQ(view.Last().total_num, 0) << total;
  }
}

TEST_F(PlateStocks, haveNoTrends) {
  Show(view, {L"bk1", 4, 2, 0, 19});
  for (const char* last : {"1", "2"}) {
    host.Expect(
        Script(kPath).Inline(Answer::Body(std::string(R"({"data":[{"code":"a","last":)") + last + "}]}")));
    service->Refresh();
  }
  EXPECT_EQ(view.Last().stocks[0].last, (TrendValue{2, true, 0}));
}

}  // namespace

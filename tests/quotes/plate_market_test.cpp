// Boards of plates: what is asked for, what is read, the list of codes and names.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quote_service.h"
#include "quotes/plate_market.h"
#include "scripted_ticks.h"
#include "services.h"

namespace {

using Board = std::vector<StockMarketItem>;

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

TEST_F(PlateBoard, handsOutCodesAndNames) {
  host.Expect(Script("/pc/rt/bk_price_list")
                  .With({{"bk_type", "hy"}, {"sort_key", "change"}, {"sort_type", "desc"}})
                  .Inline(Answer::Body(R"({"data":[{"code":"bk1","name":"一"}]})")));
  CodeNameList list;
  service->FetchPlateItems(6, 2, 1, [&list](const CodeNameList& got) { list = got; });
  EXPECT_EQ(list, (CodeNameList{{L"bk1", L"一"}}));
}

TEST_F(PlateBoard, hidesNothingInAnyPhase) {
  Show(view, {1, 4, 2, 0, 9});
  for (int phase = 1; phase <= 7; ++phase) {
    host.SetMarketStatus(phase);
    host.Expect(Script("/pc/rt/get_bk_detail")
                    .Inline(Answer::Body(R"({"data":[{"bk":"bk1001","change":0,"vol":0,"num_u":0}]})")));
    service->Refresh();
    const StockMarketItem item = view.Last()[0];
    EXPECT_TRUE(item.change.present && item.vol.present && item.num_u.present) << "phase " << phase;
  }
}

TEST_F(PlateBoard, keepsTheFullRangeOfVolumes) {
  Show(view, {1, 4, 2, 0, 9});
  host.Expect(
      Script("/pc/rt/get_bk_detail").Inline(Answer::Body(R"({"data":[{"vol":18446744073709549568}]})")));
  service->Refresh();
  EXPECT_EQ(view.Last()[0].vol.value, 18446744073709549568U);
}

}  // namespace

// The full quote of one security: of a stock and of anything else.
#include <gtest/gtest.h>

#include <string>

#include "quote_service.h"
#include "quotes/single_stock_market.h"
#include "services.h"

namespace {

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

// The first answer was compared with an empty record when its code was empty as well.
TEST_F(SingleQuote, hasNoDirectionsBeforeASecondAnswerWhateverTheCode) {
  EXPECT_EQ(Quote(L"", R"("last":5)").last.direction, 0);
  EXPECT_EQ(Quote(L"", R"("last":6)").last.direction, 1);
}

TEST_F(SingleQuote, readsTheFirstElementOnly) {
  Show(view, L"sh600000");
  host.Expect(Script("/pc/rt/stock_detail_list")
                  .Inline(Answer::Body(R"({"data":{"list":[{"last":1},{"last":2,"high":3}]}})")));
  service->Refresh();
  EXPECT_EQ(view.Last().last.value, 1);
  EXPECT_FALSE(view.Last().high.present);
}

TEST_F(SingleQuote, keepsItsMemoryThroughEmptyListsAndFailures) {
  Show(view, L"sh600000");
  host.ExpectFailureLine(L"SingleStockMarket::FetchStockMarket Failed.");
  for (const Answer& answer :
       {Answer::Body(R"({"data":{"list":[{"last":1}]}})"), Answer::Body(R"({"data":{"list":[]}})"),
        Answer::Failed(), Answer::Body(R"({"data":{"list":[{"last":2}]}})")}) {
    host.Expect(Script("/pc/rt/stock_detail_list").Inline(answer));
    service->Refresh();
  }
  EXPECT_EQ(view.Count(), 2U);
  EXPECT_EQ(view.Last().last.direction, 1);
}

TEST_F(SingleQuote, alternatingBetweenTwoCodesHasNoDirections) {
  RecordingObserver<StockMarketItem> second;
  Show(view, L"sh600000");
  Show(second, L"sz000001");
  for (int round = 1; round <= 3; ++round) {
    host.Expect(Script("/pc/rt/stock_detail_list")
                    .Times(2)
                    .Inline(Answer::Body(R"({"data":{"list":[{"last":)" + std::to_string(round) + "}]}}")));
    service->Refresh();
  }
  for (const auto* const observer : {&view, &second}) {
    EXPECT_EQ(observer->Count(), 3U);
    for (const StockMarketItem& item : observer->Updates()) EXPECT_EQ(item.last.direction, 0);
  }
  service->Detach(&second);
}

TEST_F(SingleQuote, asksForEachCodeByItself) {
  RecordingObserver<StockMarketItem> second;
  Show(view, L"sh600000");
  Show(second, L"sz000001");
  for (const char* list : {R"(["sh600000"])", R"(["sz000001"])"}) {
    host.Expect(Script("/pc/rt/stock_detail_list")
                    .With({{"stock_arr", list}})
                    .Inline(Answer::Body(R"({"data":{"list":[{"last":1}]}})")));
  }
  service->Refresh();
  EXPECT_EQ(view.Last().code, L"sh600000");
  EXPECT_EQ(second.Last().code, L"sz000001");
  service->Detach(&second);
}

TEST_F(SingleQuote, tellsDirectionsOfTheBook) {
  Quote(L"sh600000", R"("b1p":10,"s2p":10,"b3v":7,"s4v":7)");
  const StockMarketItem item = Quote(L"sh600000", R"("b1p":10.01,"s2p":9.99,"b3v":8,"s4v":6,"b5p":3)");
  EXPECT_EQ(item.bid_prices[0].direction, 1);
  EXPECT_EQ(item.ask_prices[1].direction, -1);
  EXPECT_EQ(item.bid_volumes[2].direction, 1);
  EXPECT_EQ(item.ask_volumes[3].direction, -1);
  EXPECT_EQ(item.bid_prices[4].direction, 0) << "it was not there before";
  EXPECT_EQ(item.bid1.direction, 1);
}

TEST_F(SingleQuote, hasNoDirectionOfABookThatItHides) {
  Quote(L"sh600000", R"("b1p":10)");
  host.SetMarketStatus(3);
  const StockMarketItem item = Quote(L"sh600000", R"("b1p":11)");
  EXPECT_EQ(item.bid_prices[0].direction, 0);
  EXPECT_EQ(item.bid1.direction, 1) << "figures are compared whether they are shown or not";
}

TEST_F(SingleQuote, ofAHaltedStockShowsItsLastPriceInEveryPhase) {
  for (int phase = 1; phase <= 7; ++phase) {
    host.SetMarketStatus(phase);
    const StockMarketItem item = Quote(
        L"sh600000",
        R"("last":0,"change":0,"preclose":3.35,"pe":9,"mc":1,"cmc":1,"status":"1","b1p":3,"vol":1,"amt":1)");
    EXPECT_TRUE(item.last.present && item.preclose.present && item.pe.present && item.mc.present &&
                item.cmc.present)
        << "phase " << phase;
    EXPECT_FALSE(item.change.present || item.vol.present || item.limit_up.present ||
                 item.limit_down.present || item.avg_price.present || item.bid_prices[0].present)
        << "phase " << phase;
  }
}

TEST_F(SingleQuote, showsWhatWasNotSentDuringTheCallAuction) {
  host.SetMarketStatus(3);
  const StockMarketItem item = Quote(L"sh600000", R"("name":"n")");
  EXPECT_EQ(item.last, (TickField<double>{0, true, 0}));
  EXPECT_TRUE(item.change.present && item.diff.present && item.open.present && item.pb.present &&
              item.cmc.present && item.mc.present && item.preclose.present);
}

TEST_F(SingleQuote, ofAPlateOrAnythingUnknownIsReadAsAnIndex) {
  for (const wchar_t* code : {L"bk1001", L"nothing", L"sz399006"}) {
    const StockMarketItem item = Quote(code, R"("num_z":4,"b2p":1,"preclose":1,"vol":1,"amt":1)");
    EXPECT_EQ(item.num_z, (CountField{4, true})) << code;
    EXPECT_EQ(item.num_u, (CountField{0, true})) << code;
    EXPECT_TRUE(item.bid_prices.empty() && !item.limit_up.present && !item.avg_price.present) << code;
  }
}

TEST_F(SingleQuote, readsCountsThatAreNoWholeNumbersAsZero) {
  const StockMarketItem item = Quote(L"sh000001", R"("num_u":1.5,"num_z":"7","num_d":null)");
  for (const CountField& count : {item.num_u, item.num_z, item.num_d})
    EXPECT_EQ(count, (CountField{0, true}));
}

TEST_F(SingleQuote, withoutPreviousCloseHasLimitsOfZero) {
  const StockMarketItem item = Quote(L"sh600000", R"("last":1)");
  EXPECT_DOUBLE_EQ(item.limit_up.value, 0.00000001);
  EXPECT_TRUE(item.limit_up.present && item.limit_down.present);
}

}  // namespace

// The quotes of the watch list: when they are asked for, who gets which order.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "no_watch_list.h"
#include "quote_service.h"
#include "quotes/optional_stock_market.h"
#include "quotes/watch_list_order.h"
#include "reference/reference_data.h"
#include "scripted_ticks.h"
#include "services.h"

namespace {

using WatchList = std::vector<OptionalMarketItem>;

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

TEST_F(WatchListQuotes, areEmptyWhereTheHostHasNoWatchList) {
  const NoWatchList none;
  Make();
  ASSERT_NE(service, nullptr);
  RecordingObserver<WatchList> view;
  service->Attach(&view);
  service->Resume(&view, true);
  service->Detach(&view);
  EXPECT_EQ(host.RequestCount(), 0U);
  service.reset();
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

// One view on a watch list of one symbol.
class ShownWatchList : public WatchListQuotes {
 protected:
  ShownWatchList() {
    host.SetWatchList({L"sh600000"});
    Make();
    service->Attach(&view);
    service->Resume(&view, false);
  }
  void TearDown() override { service->Detach(&view); }

  WatchList Told(const std::string& rows) {
    host.Expect(Script(kPath).Inline(Answer::Body(R"({"data":{"list":[)" + rows + "]}}")));
    service->Refresh();
    return view.Last();
  }

  RecordingObserver<WatchList> view;
};

constexpr char kPlatesPath[] = "/pc/rt/stock_in_bk";
constexpr char kPlates[] =
    R"({"data":{"sh600000":[["bk1001","银行"],["bk1002","上海"]],"sh000001":[["bk1","x"]]}})";

// With reference data, which load nothing before they are asked.
class PlatedWatchList : public ShownWatchList {
 protected:
  PlatedWatchList() { EXPECT_NE(reference::TheStockCommon(), nullptr); }
  ~PlatedWatchList() override { reference::EndStockCommon(); }

  [[nodiscard]] std::size_t Asked() const { return host.RequestsTo(kPlatesPath).size(); }

  ScriptedSteady steady;
};

TEST_F(PlatedWatchList, namesTheFirstPlateOfEachStock) {
  host.Expect(Script(kPlatesPath).Inline(Answer::Body(kPlates)));
  const WatchList list =
      Told(R"({"code":"sh600000"},{"code":"sz000002"},{"code":"sh000001"},{"code":"other"})");
  EXPECT_EQ(list[0].plate, L"银行");
  EXPECT_EQ(list[1].plate, L"") << "the stock is in no plate";
  EXPECT_EQ(list[2].plate, L"") << "an index has none";
}

TEST_F(PlatedWatchList, asksForNoPlatesWithoutStocks) {
  Told(R"({"code":"sh000001"},{"code":"other"})");
  EXPECT_EQ(Asked(), 0U);
}

// The rows of a watch list of 500.
std::string ManyStocks() {
  std::string rows;
  for (int stock = 0; stock < 500; ++stock)
    rows += std::string(stock == 0 ? "" : ",") + R"({"code":"sh)" + std::to_string(600000 + stock) + R"("})";
  return rows;
}

// A table that fails or is empty cost one request for each stock of each answer.
TEST_F(PlatedWatchList, asksOnceInThirtySecondsWhileThePlatesFailOrAreEmpty) {
  for (const Answer& bad : {Answer::Failed(), Answer::Body(R"({"data":{}})")}) {
    steady.Advance(31'000);
    const std::size_t before = Asked();
    host.Expect(Script(kPlatesPath).Times(2).Inline(bad));
    for (int round = 0; round < 11; ++round) {
      EXPECT_EQ(Told(ManyStocks())[7].plate, L"");
      steady.Advance(3'000);
    }
    EXPECT_EQ(Asked() - before, 2U) << "one at once, one after thirty seconds";
  }
  steady.Advance(31'000);
  host.Expect(Script(kPlatesPath).Inline(Answer::Body(kPlates)));
  EXPECT_EQ(Told(ManyStocks())[0].plate, L"银行") << "a later answer brings them";
}

// One that keeps silent stopped the rounds and took one of the host's threads after the other.
TEST_F(PlatedWatchList, goesOnWithoutPlatesWhileTheServerIsSilentAboutThem) {
  host.Expect(Script(kPlatesPath).Held());
  const auto body = [](int round) {
    return Answer::Body(R"({"data":{"list":[{"code":"sh600000","vol":)" + std::to_string(round) + "}]}}");
  };
  host.Expect(Script(kPath).OnWorker(0, body(1)));
  service->OnTimer();
  host.AwaitRequest(1);  // for the plates: the first answer waits
  for (int round = 2; round <= 6; ++round) {
    host.Expect(Script(kPath).OnWorker(1, body(round)));
    service->OnTimer();
    EXPECT_TRUE(view.Await(static_cast<std::size_t>(round - 1)));
    EXPECT_EQ(view.Last()[0].vol.value, static_cast<std::uint64_t>(round));
    EXPECT_EQ(view.Last()[0].plate, L"");
  }
  EXPECT_EQ(Asked(), 1U);
  host.Complete(1, Answer::Body(kPlates));
  host.Settle();
  EXPECT_EQ(view.Count(), 5U) << "the first answer is old by now";
  EXPECT_EQ(Told(R"({"code":"sh600000"})")[0].plate, L"银行");
}

TEST_F(ShownWatchList, hasNoPlatesWithoutReferenceData) {
  EXPECT_EQ(Told(R"({"code":"sh600000"})")[0].plate, L"");
}

TEST_F(ShownWatchList, tellsDirectionsByCode) {
  Told(R"({"code":"a","last":1,"vol":5},{"code":"b","last":1})");
  const WatchList list =
      Told(R"({"code":"b","last":1.001},{"code":"a","last":1.0011,"vol":4},{"code":"c","last":9})");
  EXPECT_EQ(list[0].last.direction, 0);
  EXPECT_EQ(list[1].last.direction, 1);
  EXPECT_EQ(list[1].vol.direction, -1);
  EXPECT_EQ(list[2].last.direction, 0);
}

TEST_F(ShownWatchList, hidesAndDerivesNothing) {
  for (int phase = 1; phase <= 7; ++phase) {
    host.SetMarketStatus(phase);
    const OptionalMarketItem item = Told(
        R"({"code":"sh600000","last":0,"change":0,"vol":2,"amt":4,"preclose":10,"status":"1","b1p":0})")[0];
    EXPECT_TRUE(item.last.present && item.change.present && item.vol.present && item.bid_prices[0].present)
        << "phase " << phase;
    EXPECT_FALSE(item.limit_up.present || item.limit_down.present || item.avg_price.present)
        << "phase " << phase;
    EXPECT_EQ(item.status, 1);
  }
}

TEST(WatchListCopy, letsGoOfFarTooMuchMemory) {
  WatchList sorted(1000);
  quotes::OrderInto(sorted, WatchList(3), {3, 1});
  EXPECT_EQ(sorted, WatchList(3));
  EXPECT_LT(sorted.capacity(), 1000U);
}

TEST_F(ShownWatchList, emptiedAsksForNothingAndLeavesViewsWhatTheyHave) {
  Told(R"({"code":"sh600000"})");
  host.SetWatchList({});
  service->Refresh();
  EXPECT_EQ(host.RequestCount(), 1U);
  EXPECT_EQ(view.Count(), 1U);
}

TEST_F(ShownWatchList, emptiedAndFilledAgainIsAskedForAtOnce) {
  host.SetWatchList({});
  EXPECT_EQ(host.RequestCount(), 0U);
  host.Expect(Script(kPath)
                  .With({{"stock_arr", R"(["sz000002"])"}})
                  .Inline(Answer::Body(R"({"data":{"list":[{"code":"sz000002"}]}})")));
  host.SetWatchList({L"sz000002"});
  ASSERT_EQ(view.Count(), 1U);
  EXPECT_EQ(view.Last()[0].code, L"sz000002");
}

TEST_F(ShownWatchList, asksAtOnceForAChangedListWithItsOwnOrder) {
  host.Expect(Script(kPath)
                  .With({{"stock_arr", R"(["sz000002","sh600000"])"}})
                  .Inline(Answer::Body(R"({"data":{"list":[{"code":"sz000002"},{"code":"sh600000"}]}})")));
  host.SetWatchList({L"sz000002", L"sh600000"});
  EXPECT_EQ(view.Last()[0].code, L"sz000002");
}

TEST_F(ShownWatchList, givesEveryOrderOfEveryAnswerAnew) {
  RecordingObserver<WatchList> rising;
  RecordingObserver<WatchList> falling;
  for (auto* const observer : {&rising, &falling}) service->Attach(observer);
  service->SetTarget(&rising, {3, 1});
  service->SetTarget(&falling, {3, 2});
  for (auto* const observer : {&rising, &falling}) service->Resume(observer, false);
  Told(R"({"code":"a","last":1},{"code":"b","last":2},{"code":"c","last":3})");
  Told(R"({"code":"a","last":9},{"code":"b","last":8})");
  const auto codes = [](const WatchList& list) {
    std::wstring text;
    for (const OptionalMarketItem& item : list) text += item.code;
    return text;
  };
  EXPECT_EQ(codes(rising.Updates()[0]), L"abc");
  EXPECT_EQ(codes(falling.Updates()[0]), L"cba");
  EXPECT_EQ(codes(rising.Updates()[1]), L"ba");
  EXPECT_EQ(codes(falling.Updates()[1]), L"ab");
  service->SetTarget(&falling, {3, 1});
  Told(R"({"code":"a","last":2},{"code":"b","last":1},{"code":"c","last":0})");
  EXPECT_EQ(codes(falling.Last()), L"cba");
  EXPECT_EQ(rising.Last(), falling.Last());
  for (auto* const observer : {&rising, &falling}) service->Detach(observer);
}

TEST_F(WatchListQuotes, handOutAnEmptyListBeforeTheFirstAnswer) {
  Make();
  int size = -1;
  service->FetchStockItems(0, 0, [&size](const CodeNameList& list) { size = static_cast<int>(list.size()); });
  host.RunTasks();
  EXPECT_EQ(size, 0);
}

TEST_F(WatchListQuotes, handOutNothingOnceTheyAreGone) {
  Make();
  int calls = 0;
  service->FetchStockItems(1, 1, [&calls](const CodeNameList&) { ++calls; });
  service.reset();
  EXPECT_EQ(host.RunTasks(), 1U);
  EXPECT_EQ(calls, 0);
}

TEST_F(WatchListQuotes, doNotAskForTheFirstList) {
  host.SetWatchList({L"sh600000"});
  Make();
  EXPECT_EQ(host.RequestCount(), 0U) << "the polling thread fetches it";
}

}  // namespace

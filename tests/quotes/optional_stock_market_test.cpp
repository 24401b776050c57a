// The quotes of the watch list: when they are asked for, who gets which order.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "no_watch_list.h"
#include "quote_service.h"
#include "quotes/optional_stock_market.h"
#include "quotes/watch_list_order.h"
#include "reference/reference_data.h"
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

TEST_F(WatchListQuotes, writeTheirThreeLines) {
  host.SetWatchList({L"sh600000"});
  Make();
  ExpectThreeLines(host, kPath, L"OptionalStockMarket::FetchStockMarkets", [this] { service->Refresh(); });
}

// Reference data that knows the plates of some stocks.
class KnownPlates : public reference::CStockCommon {
 public:
  using Plates = std::vector<std::pair<std::wstring, std::wstring>>;

  explicit KnownPlates(std::map<std::wstring, Plates> plates) : plates_(std::move(plates)) {
    reference::ReferenceData().Set(this);
  }
  KnownPlates(const KnownPlates&) = delete;
  KnownPlates& operator=(const KnownPlates&) = delete;
  ~KnownPlates() override { reference::ReferenceData().Clear(); }

  bool GetPlatesOfStock(const std::wstring& symbol, Plates& out) override {
    asked.push_back(symbol);
    const auto found = plates_.find(symbol);
    out = found == plates_.end() ? Plates() : found->second;
    return !out.empty();
  }

  std::vector<std::wstring> asked;

 private:
  const std::map<std::wstring, Plates> plates_;
};

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

TEST_F(ShownWatchList, namesTheFirstPlateOfEachStock) {
  KnownPlates plates(
      {{L"sh600000", {{L"bk1001", L"银行"}, {L"bk1002", L"上海"}}}, {L"sh000001", {{L"bk1", L"x"}}}});
  const WatchList list =
      Told(R"({"code":"sh600000"},{"code":"sz000002"},{"code":"sh000001"},{"code":"other"})");
  EXPECT_EQ(list[0].plate, L"银行");
  EXPECT_EQ(list[1].plate, L"") << "the stock is in no plate";
  EXPECT_EQ(list[2].plate, L"") << "an index has none";
  EXPECT_EQ(plates.asked, (std::vector<std::wstring>{L"sh600000", L"sz000002"}))
      << "only stocks are looked up";
}

// Reference data that somebody ends while it looks up the first stock.
class EndingPlates final : public KnownPlates {
 public:
  EndingPlates() : KnownPlates({{L"sh600000", {{L"bk1001", L"银行"}}}, {L"sz000002", {{L"bk1002", L"x"}}}}) {}
  ~EndingPlates() override { end_.join(); }

  bool GetPlatesOfStock(const std::wstring& symbol, Plates& out) override {
    if (asked.empty()) {
      end_ = std::thread([] { reference::ReferenceData().Clear(); });
      while (reference::WithReferenceData([](IStockCommon&) {})) std::this_thread::yield();
    }
    return KnownPlates::GetPlatesOfStock(symbol, out);
  }

 private:
  std::thread end_;
};

// A teardown waited for the look-ups of the whole list, eight seconds for each stock.
TEST_F(ShownWatchList, asksForNoFurtherPlateOnceTheReferenceDataEnds) {
  EndingPlates plates;
  const WatchList list = Told(R"({"code":"sh600000"},{"code":"sz000002"})");
  EXPECT_EQ(plates.asked, (std::vector<std::wstring>{L"sh600000"}));
  EXPECT_EQ(list[0].plate, L"银行");
  EXPECT_EQ(list[1].plate, L"");
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

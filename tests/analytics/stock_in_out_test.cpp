// The capital flows of single stocks: one request for all, clearing records, and the failures that go on
// parsing.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "analytics/stock_in_out.h"
#include "recording_observer.h"
#include "scripted_host.h"
#include "services.h"
#include "sleeping_threads.h"

namespace {

constexpr const char* kPath = "/pc/rt/stock_in_out";

class InOut : public ::testing::Test {
 protected:
  void Show(RecordingObserver<StockInOutItem>& observer, const wchar_t* symbol) {
    service->Attach(&observer);
    service->SetTarget(&observer, symbol);
    service->Resume(&observer, false);
  }

  InOut() { AwaitSleepingThreads(); }

  ScriptedHost host;
  RecordingObserver<StockInOutItem> view;
  std::unique_ptr<IStockInOut> service{analytics::MakeStockInOut()};
};

TEST_F(InOut, asksNothingWithoutAnActiveObserver) {
  service->Attach(&view);
  service->SetTarget(&view, L"SH600000");
  service->Refresh();
  EXPECT_EQ(host.RequestCount(), 0U);
  service->Detach(&view);
}

TEST_F(InOut, asksForAllSymbolsInOneRequest) {
  RecordingObserver<StockInOutItem> second;
  RecordingObserver<StockInOutItem> third;
  Show(view, L"SH600000");
  Show(second, L"SZ000001");
  Show(third, L"SH600000");
  host.Expect(Script(kPath).Setting(30).Held());
  service->Refresh();
  const std::string symbols = host.AwaitRequest(0).parameters["stock_arr"];
  EXPECT_TRUE(symbols == R"(["SH600000","SZ000001"])" || symbols == R"(["SZ000001","SH600000"])") << symbols;
  service->Detach(&view);
  service->Detach(&second);
  service->Detach(&third);
}

TEST_F(InOut, readsTwelveAmountsAlongTheirPaths) {
  Show(view, L"SH600000");
  host.Expect(Script(kPath).Inline(Answer::Body(
      R"({"errno":0,"data":{"list":[{"SH600000":{"mtime":17,)"
      R"("in":{"big":{"d1":1,"d5":5,"d10":9},"small":{"d1":3,"d5":7,"d10":11}},)"
      R"("out":{"big":{"d1":2,"d5":6,"d10":10},"small":{"d1":4,"d5":8,"d10":18446744073709549568}}}}]}})")));
  service->Refresh();
  const StockInOutItem item = view.Last();
  EXPECT_EQ(item.symbol, L"SH600000");
  EXPECT_EQ(item.mtime, 17U);
  EXPECT_EQ(item.d1, (FlowAmounts{1, 2, 3, 4}));
  EXPECT_EQ(item.d5, (FlowAmounts{5, 6, 7, 8}));
  EXPECT_EQ(item.d10, (FlowAmounts{9, 10, 11, 18446744073709549568U}));
  service->Detach(&view);
}

TEST_F(InOut, keepsNoSign) {
  Show(view, L"A");
  host.Expect(Script(kPath).Inline(Answer::Body(R"({"data":{"list":[{"A":{"in":{"big":{"d1":-5.0}}}}]}})")));
  service->Refresh();
  EXPECT_EQ(view.Last().d1.big_in, ~std::uint64_t{0} - 4);
  service->Detach(&view);
}

TEST_F(InOut, takesTheFirstKeyAndReadsWhatIsMissingAsZero) {
  Show(view, L"A");
  host.Expect(
      Script(kPath).Inline(Answer::Body(R"({"data":{"list":[7,{"B":{"mtime":2},"A":{"mtime":1}},{}]}})")));
  service->Refresh();
  ASSERT_EQ(view.Count(), 1U);
  EXPECT_EQ(view.Last().symbol, L"A");
  EXPECT_EQ(view.Last().mtime, 1U);
  EXPECT_EQ(view.Last().d10, FlowAmounts{});
  service->Detach(&view);
}

TEST_F(InOut, cachesASymbolThatNobodyFollows) {
  Show(view, L"A");
  host.Expect(Script(kPath).Inline(Answer::Body(R"({"data":{"list":[{"A":{}},{"B":{"mtime":9}}]}})")));
  service->Refresh();
  RecordingObserver<StockInOutItem> second;
  service->Attach(&second);
  service->SetTarget(&second, L"B");
  service->Resume(&second, true);
  EXPECT_EQ(second.Last().mtime, 9U);
  EXPECT_EQ(host.RequestCount(), 1U);
  service->Detach(&view);
  service->Detach(&second);
}

// Nobody follows "B" when the answer to the newer request comes. That to the older one, which comes late,
// does not take its place: neither for a view that comes then, nor in front of one that is there already.
TEST_F(InOut, keepsTheNewestOfASymbolThatNobodyFollows) {
  Show(view, L"A");
  host.Expect(Script(kPath).Times(2).Held());
  service->Refresh();
  service->Refresh();
  host.Complete(1, Answer::Body(R"({"data":{"list":[{"A":{}},{"B":{"mtime":2}}]}})"));
  RecordingObserver<StockInOutItem> here;
  Show(here, L"B");
  host.Complete(0, Answer::Body(R"({"data":{"list":[{"A":{}},{"B":{"mtime":1}}]}})"));
  EXPECT_EQ(here.Count(), 0U);
  RecordingObserver<StockInOutItem> later;
  service->Attach(&later);
  service->SetTarget(&later, L"B");
  service->Resume(&later, true);
  EXPECT_EQ(later.Last().mtime, 2U);
  EXPECT_EQ(host.RequestCount(), 2U);
  service->Detach(&view);
  service->Detach(&here);
  service->Detach(&later);
}

TEST_F(InOut, clearsAViewThatTurnsToAnotherStock) {
  service->Attach(&view);
  service->SetTarget(&view, L"A");
  EXPECT_EQ(view.Count(), 0U);
  service->SetTarget(&view, L"B");
  ASSERT_EQ(view.Count(), 1U);
  StockInOutItem cleared;
  cleared.symbol = L"B";
  EXPECT_EQ(view.Last(), cleared);
  service->SetTarget(&view, L"B");
  EXPECT_EQ(view.Count(), 1U);
  service->Detach(&view);
}

TEST_F(InOut, parsesWhateverCameWithAFailure) {
  Show(view, L"A");
  host.ExpectFailureLine(L"StockInOut::FetchStockInOutInfo Failed.");
  host.Expect(Script(kPath).Inline(Answer::Failed(R"({"data":{"list":[{"A":{"mtime":3}}]}})")));
  service->Refresh();
  EXPECT_EQ(view.Last().mtime, 3U);
  service->Detach(&view);
}

TEST_F(InOut, givesAnElementThatIsNoObjectZerosWithoutASymbol) {
  Show(view, L"");
  host.Expect(Script(kPath).Inline(Answer::Body(R"({"data":{"list":[7]}})")));
  service->Refresh();
  EXPECT_EQ(view.Last(), StockInOutItem{});
  service->Detach(&view);
}

TEST_F(InOut, readsAMissingLevelAsZeros) {
  Show(view, L"A");
  host.Expect(Script(kPath).Inline(
      Answer::Body(R"({"data":{"list":[{"A":{"mtime":"1","in":{"small":{"d5":3}},"out":null}}]}})")));
  service->Refresh();
  EXPECT_EQ(view.Last(), (StockInOutItem{L"A", 0, {}, {0, 0, 3, 0}, {}}));
  service->Detach(&view);
}

TEST_F(InOut, deliversEveryItemInTheOrderOfTheAnswer) {
  std::string order;
  RecordingObserver<StockInOutItem> a([&order](const auto& item) { order += std::to_string(item.mtime); });
  RecordingObserver<StockInOutItem> b([&order](const auto& item) { order += std::to_string(item.mtime); });
  Show(a, L"A");
  Show(b, L"B");
  host.Expect(Script(kPath).Inline(
      Answer::Body(R"({"data":{"list":[{"B":{"mtime":1}},{"A":{"mtime":2}},{"B":{"mtime":3}}]}})")));
  service->Refresh();
  EXPECT_EQ(order, "123");
  service->Detach(&a);
  service->Detach(&b);
}

TEST_F(InOut, cachesAnAnswerThatComesWhenNobodyIsLeft) {
  Show(view, L"A");
  host.Expect(Script(kPath).Held());
  service->Refresh();
  service->Detach(&view);
  host.Complete(0, Answer::Body(R"({"data":{"list":[{"A":{"mtime":9}}]}})"));
  EXPECT_EQ(view.Count(), 0U);
  service->Attach(&view);
  service->SetTarget(&view, L"A");
  service->Resume(&view, true);
  EXPECT_EQ(view.Last().mtime, 9U);
  service->Detach(&view);
}

TEST_F(InOut, clearsInTheCallersThreadBeforeTheTargetChanges) {
  std::wstring during;
  RecordingObserver<StockInOutItem> observer(
      [&](const StockInOutItem&) { service->GetTarget(&observer, during); });
  service->Attach(&observer);
  service->SetTarget(&observer, L"A");
  service->SetTarget(&observer, L"B");
  EXPECT_EQ(during, L"A");
  EXPECT_EQ(observer.Threads(), std::vector<std::thread::id>{std::this_thread::get_id()});
  service->Detach(&observer);
}

TEST_F(InOut, clearsNothingAfterItsTargetWasRemoved) {
  service->Attach(&view);
  service->SetTarget(&view, L"A");
  service->RemoveTarget(&view);
  service->SetTarget(&view, L"B");
  EXPECT_EQ(view.Count(), 0U);
  service->Detach(&view);
}

}  // namespace

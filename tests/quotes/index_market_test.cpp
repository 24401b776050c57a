// The index market: what it asks for, how it understands the answer, whom it tells. What it does as every
// service does (failures, older answers, its interval) is proved for all of them in tests/services.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <thread>

#include "fixture.h"
#include "index_market_subject.h"
#include "recording_observer.h"
#include "scripted_host.h"

namespace {

using IndexList = std::vector<IndexMarketSummary>;
using IndexRecorder = RecordingObserver<IndexList>;

constexpr char kPath[] = "/pc/rt/stock_detail_list";

const IndexList kThreeIndices = {{L"sh000001", L"\x4E0A\x8BC1\x6307\x6570", 3054.64, 0.54, 16.41, 0},
                                 {L"sz399001", L"\x6DF1\x8BC1\x6210\x6307", 9612.75, -0.31, -29.9, 0},
                                 {L"sz399006", L"\x521B\x4E1A\x677F\x6307", 1884.09, 0, 0, 0}};

Answer AnswerOf(const std::string& name) {
  return Answer::Body(Fixture("index_market/" + name + ".json"));
}

// An answer that holds one index with this value.
Answer OneIndex(int last) {
  return Answer::Body(R"({"errno":0,"data":{"list":[{"code":"sh000001","last":)" + std::to_string(last) +
                      "}]}}");
}

IndexList OneIndexList(int last) {
  return {{L"sh000001", L"", static_cast<double>(last), 0, 0, 0}};
}

class IndexMarket : public ::testing::Test {
 protected:
  IndexMarket() {
    host.SetSpan(7200);
    service = BeginIndexMarket();
    // The polling thread has looked at its observers once and sleeps for an hour.
    host.AwaitSpanCalls(1);
  }
  ~IndexMarket() override { End(); }

  void End() {
    if (service != nullptr) EndIndexMarket(service);
    service = nullptr;
  }
  // Fetches once and answers inside the call.
  void FetchWith(const Answer& answer) {
    host.Expect(Script(kPath).Inline(answer));
    service->Refresh();
  }

  ScriptedHost host;
  IIndexMarket* service = nullptr;
  IndexRecorder a, b, c;
};

// --- ask
// --------------------------------------------------------------------------------------------------------

TEST_F(IndexMarket, asksForTheThreeIndicesInOrder) {
  host.Expect(Script(kPath).Held());
  service->Refresh();
  const Request request = host.Requests().at(0);
  EXPECT_EQ(request.kind, Request::Kind::kAsync);
  EXPECT_EQ(request.parameters, (NameValues{{"stock_arr", R"(["sh000001","sz399001","sz399006"])"}}));
  EXPECT_EQ(request.headers, NameValues{});
  EXPECT_EQ(request.setting, 3);
  EXPECT_EQ(request.thread, std::this_thread::get_id());
}

TEST_F(IndexMarket, sendsNothingForAnObserverThatOnlyAttached) {
  service->Attach(&a);
  service->SetTarget(&a, L"sh000001");
  service->Resume(&a, false);
  EXPECT_EQ(host.RequestCount(), 0u);
}

TEST_F(IndexMarket, resumeAlwaysAsksAnew) {
  service->Attach(&a);
  service->SetTarget(&a, L"");
  FetchWith(AnswerOf("three_indices"));
  host.Expect(Script(kPath).Times(2).Held());
  service->Resume(&a, true);
  EXPECT_EQ(host.RequestCount(), 2u);
  service->Suspend(&a);
  service->Resume(&a, true);
  EXPECT_EQ(host.RequestCount(), 3u);
  EXPECT_EQ(a.Count(), 1u) << "nothing was delivered by resuming";
}

// --- understand
// -------------------------------------------------------------------------------------------------

TEST_F(IndexMarket, readsTheListOfTheAnswer) {
  service->Attach(&a);
  FetchWith(AnswerOf("three_indices"));
  EXPECT_EQ(a.Last(), kThreeIndices);
}

TEST_F(IndexMarket, setsANullBitForEachNull) {
  service->Attach(&a);
  FetchWith(AnswerOf("nulls"));
  EXPECT_EQ(a.Last(), (IndexList{{L"sh000001", L"a", 0.0, 1.5, 2.5, 1},
                                 {L"sz399001", L"b", 10.5, 0.0, 2.5, 2},
                                 {L"sz399006", L"c", 10.5, 1.5, 0.0, 4},
                                 {L"sh000300", L"d", 0.0, 0.0, 0.0, 7}}));
}

TEST_F(IndexMarket, readsAnythingStrangeAsNothing) {
  service->Attach(&a);
  FetchWith(AnswerOf("strange_members"));
  EXPECT_EQ(a.Last(), (IndexList{{}, {}, {}, {}, {}, {L"sz399006", L"", 2, 0, 0, 0}}));
}

TEST_F(IndexMarket, takesAsManyIndicesAsThereAre) {
  service->Attach(&a);
  FetchWith(AnswerOf("two_indices"));
  EXPECT_EQ(a.Last(), (IndexList{{L"sz399001", L"", 9612.75, 0, 0, 0}, {L"", L"only a name", 0, 0, -1, 0}}));
}

TEST_F(IndexMarket, replacesTheListByAnEmptyOneAndTells) {
  service->Attach(&a);
  FetchWith(AnswerOf("three_indices"));
  FetchWith(AnswerOf("empty_list"));
  EXPECT_EQ(a.Count(), 2u);
  EXPECT_EQ(a.Last(), IndexList{});
}

// --- tell
// -------------------------------------------------------------------------------------------------------

TEST_F(IndexMarket, tellsOnTheThreadOfTheAnswer) {
  host.Expect(Script(kPath).OnWorker(1, OneIndex(1)));
  service->Attach(&a);
  service->Refresh();
  host.Settle();
  ASSERT_EQ(a.Count(), 1u);
  EXPECT_NE(a.Threads().at(0), std::this_thread::get_id());
}

TEST_F(IndexMarket, attachHandsOverTheLatestListAtOnce) {
  FetchWith(OneIndex(1));
  FetchWith(OneIndex(2));
  service->Attach(&a);
  EXPECT_EQ(a.Updates(), std::vector<IndexList>{OneIndexList(2)});
  EXPECT_EQ(a.Threads().at(0), std::this_thread::get_id());
  EXPECT_TRUE(service->IsSuspended(&a));
}

TEST_F(IndexMarket, attachHandsOverNothingBeforeTheFirstAnswer) {
  service->Attach(&a);
  EXPECT_EQ(a.Count(), 0u);
}

TEST_F(IndexMarket, attachHandsOverNoEmptyList) {
  FetchWith(OneIndex(1));
  FetchWith(AnswerOf("empty_list"));
  service->Attach(&a);
  EXPECT_EQ(a.Count(), 0u);
}

TEST_F(IndexMarket, attachOfAnAttachedObserverHandsOverAgainButTellsOnce) {
  FetchWith(OneIndex(1));
  service->Attach(&a);
  service->Attach(&a);
  EXPECT_EQ(a.Count(), 2u);
  FetchWith(OneIndex(2));
  EXPECT_EQ(a.Count(), 3u);
}

TEST_F(IndexMarket, attachHandsOverToTheNewObserverOnly) {
  service->Attach(&a);
  FetchWith(OneIndex(1));
  service->Attach(&b);
  EXPECT_EQ(a.Count(), 1u);
  EXPECT_EQ(b.Count(), 1u);
}

TEST_F(IndexMarket, targetsChangeNothingThatIsFetched) {
  service->Attach(&a);
  service->SetTarget(&a, L"sh600000");
  std::wstring key;
  EXPECT_TRUE(service->GetTarget(&a, key));
  EXPECT_EQ(key, L"sh600000");
  FetchWith(AnswerOf("three_indices"));
  EXPECT_EQ(host.Requests().at(0).parameters.at("stock_arr"), R"(["sh000001","sz399001","sz399006"])");
  service->RemoveTarget(&a);
  EXPECT_FALSE(service->GetTarget(&a, key));
  EXPECT_EQ(a.Last(), kThreeIndices);
}

// The older answer has been accepted and is still being read when the newer one is told. Whether it comes
// that far before the newer request is sent is chance; that nothing old follows is not.
TEST_F(IndexMarket, leavesOutAnAnswerThatWasOvertakenWhileItWasRead) {
  std::string rows;
  for (int row = 0; row < 20'000; ++row) rows += R"({"code":"sh000001","last":1},)";
  const Answer large = Answer::Body(R"({"data":{"list":[)" + rows + R"({"last":1}]}})");
  service->Attach(&a);
  service->Resume(&a, false);
  for (int round = 0; round < 10; ++round) {
    std::atomic<bool> handed{false};
    host.Expect(Script(kPath).OnWorker(1, [&](const Request&) {
      handed = true;
      return large;
    }));
    service->Refresh();
    while (!handed) std::this_thread::yield();
    for (int turn = 0; turn < 200 * round; ++turn) std::this_thread::yield();
    FetchWith(OneIndex(2));
    host.Settle();
    ASSERT_EQ(a.Last(), OneIndexList(2)) << "round " << round;
    IndexRecorder late;
    service->Attach(&late);
    ASSERT_EQ(late.Last(), OneIndexList(2)) << "round " << round;
    service->Detach(&late);
  }
}

// --- when
// -------------------------------------------------------------------------------------------------------

TEST_F(IndexMarket, asksForTheSpanAtTheServersTime) {
  const std::size_t before = host.SpanCalls().size();
  host.SetTime(1'710'468'000);
  host.SetSpan(60);
  EXPECT_EQ(service->GetInterval(), 60);
  const std::vector<std::uint32_t> calls = host.SpanCalls();
  ASSERT_EQ(calls.size(), before + 2);
  EXPECT_EQ(calls[before], 1'710'468'000u);
  EXPECT_EQ(calls[before + 1], 1'710'468'000u);
}

}  // namespace

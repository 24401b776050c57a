// The index market: what it asks for, how it understands the answer, whom it tells.
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
constexpr wchar_t kFailed[] = L"IndexMarket::FetchIndexMarkets Failed.";
constexpr wchar_t kResponse[] = L"IndexMarket::FetchIndexMarkets Response Error Code: %d";
constexpr wchar_t kParse[] = L"IndexMarket::FetchIndexMarkets Json Parse Error Code: %d";

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

TEST_F(IndexMarket, asksInOnTimerToo) {
  host.Expect(Script(kPath).Held());
  service->OnTimer();
  EXPECT_EQ(host.RequestCount(), 1u);
}

TEST_F(IndexMarket, asksTheSignedAddress) {
  host.Expect(Script(kPath).Held());
  service->Fetch();
  EXPECT_EQ(host.Signings().at(0).path, L"/pc/rt/stock_detail_list");
  EXPECT_EQ(
      host.Requests().at(0).url,
      L"http://api.test/pc/rt/stock_detail_list?stock_arr=%5B%22sh000001%22%2C%22sz399001%22%2C%22sz399006"
      L"%22%5D");
}

TEST_F(IndexMarket, sendsNothingWithoutAnAddress) {
  host.SignNothing(true);
  service->Attach(&a);
  service->Resume(&a, true);
  EXPECT_EQ(host.RequestCount(), 0u);
  EXPECT_EQ(a.Count(), 0u);
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

TEST_F(IndexMarket, returnsBeforeTheAnswerIsThere) {
  host.Expect(Script(kPath).Held());
  service->Attach(&a);
  service->Resume(&a, true);
  EXPECT_EQ(a.Count(), 0u);
  host.Complete(0, AnswerOf("three_indices"));
  EXPECT_EQ(a.Count(), 1u);
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

TEST_F(IndexMarket, takesAMissingPayloadForAnEmptyList) {
  service->Attach(&a);
  std::size_t told = 0;
  for (const char* body : {"{}", "[]", R"({"errno":0})", R"({"data":null})", R"({"data":{}})",
                           R"({"data":[1]})", R"({"data":{"list":{"code":"x"}}})"}) {
    FetchWith(Answer::Body(body));
    EXPECT_EQ(a.Count(), ++told) << body;
    EXPECT_EQ(a.Last(), IndexList{}) << body;
  }
}

TEST_F(IndexMarket, takesAnErrorNumberThatIsNoWholeNumberForSuccess) {
  service->Attach(&a);
  FetchWith(Answer::Body(R"({"errno":"1001","data":{"list":[{"code":"sh000001","last":7}]}})"));
  EXPECT_EQ(a.Last(), OneIndexList(7));
}

// --- what goes wrong
// --------------------------------------------------------------------------------------------

class FailingIndexMarket : public IndexMarket {
 protected:
  FailingIndexMarket() {
    service->Attach(&a);
    FetchWith(OneIndex(1));
  }
  ~FailingIndexMarket() override {
    // The list from before was kept, and nobody heard of the failure.
    EXPECT_EQ(a.Count(), 1u);
    service->Attach(&b);
    EXPECT_EQ(b.Last(), OneIndexList(1));
  }
};

TEST_F(FailingIndexMarket, logsAFailedRequest) {
  host.ExpectFailureLine(kFailed);
  FetchWith(Answer::Failed());
}

TEST_F(FailingIndexMarket, logsAFailedRequestWithAGoodBodyToo) {
  host.ExpectFailureLine(kFailed);
  FetchWith(Answer::Failed(OneIndex(2).body));
}

TEST_F(FailingIndexMarket, logsAnErrorNumber) {
  host.ExpectCodeLine(kResponse, 1001);
  FetchWith(AnswerOf("error_1001"));
}

TEST_F(FailingIndexMarket, logsABodyThatIsNoJson) {
  host.ExpectCodeLine(kParse, 5);  // no value where one must stand
  FetchWith(Answer::Body("<html>502 Bad Gateway</html>"));
}

TEST_F(FailingIndexMarket, logsABodyThatIsCutOff) {
  const std::string whole = Fixture("index_market/three_indices.json");
  host.ExpectCodeLine(kParse, 1);  // an object without its end
  FetchWith(Answer::Body(whole.substr(0, whole.rfind('}'))));
}

TEST_F(FailingIndexMarket, dropsAnAnswerWithoutABodySilently) {
  FetchWith(Answer::Null());
  FetchWith(Answer::Body(""));
  EXPECT_TRUE(host.Log().empty());
}

TEST_F(FailingIndexMarket, doesNotAskAgainByItself) {
  host.ExpectFailureLine(kFailed);
  FetchWith(Answer::Failed());
  EXPECT_EQ(host.RequestCount(), 2u);
}

// --- which answer counts
// ----------------------------------------------------------------------------------------

TEST_F(IndexMarket, appliesOnlyTheAnswerToTheLatestRequest) {
  host.Expect(Script(kPath).Times(2).Held());
  service->Attach(&a);
  service->Refresh();
  service->Refresh();
  host.Complete(0, OneIndex(1));
  EXPECT_EQ(a.Count(), 0u);
  host.Complete(1, OneIndex(2));
  EXPECT_EQ(a.Updates(), std::vector<IndexList>{OneIndexList(2)});
}

TEST_F(IndexMarket, dropsTheAnswerToAnOlderRequestThatArrivesLast) {
  host.Expect(Script(kPath).Times(2).Held());
  service->Attach(&a);
  service->Refresh();
  service->Refresh();
  host.Complete(1, OneIndex(2));
  host.Complete(0, OneIndex(1));
  EXPECT_EQ(a.Updates(), std::vector<IndexList>{OneIndexList(2)});
  EXPECT_TRUE(host.Log().empty());
}

TEST_F(IndexMarket, dropsAnOlderAnswerThatIsNoJsonWithoutALine) {
  host.Expect(Script(kPath).Times(2).Held());
  service->Refresh();
  service->Refresh();
  host.Complete(0, Answer::Body("no json"));
}

TEST_F(IndexMarket, logsTheFailureOfAnOlderRequestAllTheSame) {
  host.Expect(Script(kPath).Times(2).Held());
  host.ExpectFailureLine(kFailed);
  service->Refresh();
  service->Refresh();
  host.Complete(0, Answer::Failed());
}

TEST_F(IndexMarket, keepsWaitingForTheLatestAnswerAfterTheFailureOfAnOlderOne) {
  host.Expect(Script(kPath).Times(2).Held());
  host.ExpectFailureLine(kFailed);
  service->Attach(&a);
  service->Refresh();
  service->Refresh();
  host.Complete(0, Answer::Failed());
  host.Complete(1, OneIndex(2));
  EXPECT_EQ(a.Last(), OneIndexList(2));
}

// --- tell
// -------------------------------------------------------------------------------------------------------

TEST_F(IndexMarket, tellsEveryAttachedObserverSuspendedOnesIncluded) {
  service->Attach(&a);
  service->Attach(&b);
  service->Resume(&b, false);
  service->Attach(&c);
  service->SetTarget(&c, L"sz399001");
  FetchWith(OneIndex(1));
  EXPECT_EQ(a.Count(), 1u);
  EXPECT_EQ(b.Count(), 1u);
  EXPECT_EQ(c.Count(), 1u);
  EXPECT_TRUE(service->IsSuspended(&a));
}

TEST_F(IndexMarket, tellsInTheOrderOfAttachment) {
  std::string order;
  IndexRecorder first([&](const IndexList&) { order += '1'; });
  IndexRecorder second([&](const IndexList&) { order += '2'; });
  IndexRecorder third([&](const IndexList&) { order += '3'; });
  service->Attach(&third);
  service->Attach(&first);
  service->Attach(&second);
  FetchWith(OneIndex(1));
  EXPECT_EQ(order, "312");
}

TEST_F(IndexMarket, tellsNobodyWhoDetached) {
  service->Attach(&a);
  service->Detach(&a);
  FetchWith(OneIndex(1));
  EXPECT_EQ(a.Count(), 0u);
}

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

TEST_F(IndexMarket, attachIgnoresNull) {
  FetchWith(OneIndex(1));
  service->Attach(nullptr);
  EXPECT_FALSE(service->IsSuspended(nullptr));
  FetchWith(OneIndex(2));
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

TEST_F(IndexMarket, aThrowingViewLeavesTheServiceUsable) {
  bool fail = true;
  IndexRecorder thrower([&](const IndexList&) {
    if (fail) throw std::runtime_error("a view that fails");
  });
  service->Attach(&thrower);
  host.Expect(Script(kPath).Inline(OneIndex(1)));
  EXPECT_THROW(service->Refresh(), std::runtime_error);
  fail = false;
  FetchWith(OneIndex(2));
  EXPECT_EQ(thrower.Last(), OneIndexList(2));
  fail = true;
  EXPECT_THROW(service->Attach(&thrower), std::runtime_error);
  service->Detach(&thrower);
}

TEST_F(IndexMarket, detachWaitsForAnUpdateUnderWay) {
  std::atomic<bool> inside{false}, detaching{false}, ended{false};
  IndexRecorder slow([&](const IndexList&) {
    inside = true;
    while (!detaching) std::this_thread::yield();
    for (int turn = 0; turn < 1000; ++turn) std::this_thread::yield();
    ended = true;
  });
  service->Attach(&slow);
  host.Expect(Script(kPath).OnWorker(1, OneIndex(1)));
  service->Refresh();
  while (!inside) std::this_thread::yield();
  detaching = true;
  service->Detach(&slow);
  EXPECT_TRUE(ended);
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

TEST_F(IndexMarket, wakesAtLeastHourly) {
  host.ScriptSpans({7200, 5});
  EXPECT_EQ(service->GetInterval(), 3600);
  host.ScriptSpans({3601, 5});
  EXPECT_EQ(service->GetInterval(), 3600);
}

TEST_F(IndexMarket, wakesWhenThePhaseChangesAndTakesTheSecondAnswer) {
  host.ScriptSpans({3600, 3599});
  EXPECT_EQ(service->GetInterval(), 3599);
  host.ScriptSpans({60, 7200});
  EXPECT_EQ(service->GetInterval(), 7200);
  host.ScriptSpans({0, 0, -3, -3});
  EXPECT_EQ(service->GetInterval(), 0);
  EXPECT_EQ(service->GetInterval(), -3);
}

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

// The polling thread stands between its fetch and its sleep until the test sends it on.
class PolledIndexMarket : public ::testing::Test {
 protected:
  PolledIndexMarket() {
    host.HoldSpans();
    service = BeginIndexMarket();
    host.AwaitHeldSpan();
  }
  ~PolledIndexMarket() override {
    host.ReleaseSpan(7200);
    EndIndexMarket(service);
  }
  // One whole round: both answers about the span are 0, and the thread asks again after its next look.
  void NextRound() {
    host.ReleaseSpan(0);
    host.AwaitHeldSpan();
    host.ReleaseSpan(0);
    host.AwaitHeldSpan();
  }

  ScriptedHost host;
  IIndexMarket* service = nullptr;
  IndexRecorder a, b;
};

TEST_F(PolledIndexMarket, asksNothingWhileNoObserverIsResumed) {
  service->Attach(&a);
  NextRound();
  NextRound();
  EXPECT_EQ(host.RequestCount(), 0u);
}

TEST_F(PolledIndexMarket, asksOnceARoundWhileAnObserverIsActive) {
  service->Attach(&a);
  service->Attach(&b);
  service->Resume(&a, false);
  host.Expect(Script(kPath).Times(2).Inline(OneIndex(1)));
  NextRound();
  EXPECT_EQ(host.RequestCount(), 1u);
  EXPECT_NE(host.Requests().at(0).thread, std::this_thread::get_id());
  NextRound();
  EXPECT_EQ(host.RequestCount(), 2u);
  EXPECT_EQ(a.Count(), 2u);
  EXPECT_EQ(b.Count(), 2u) << "suspended observers are told as well";
  service->Suspend(&a);
  NextRound();
  EXPECT_EQ(host.RequestCount(), 2u);
}

TEST_F(PolledIndexMarket, appliesThePollsAnswerWhenItCameAfterAResume) {
  service->Attach(&a);
  host.Expect(Script(kPath).Times(2).Held());
  service->Resume(&a, true);
  NextRound();
  ASSERT_EQ(host.RequestCount(), 2u);
  host.Complete(0, OneIndex(1));
  host.Complete(1, OneIndex(2));
  EXPECT_EQ(a.Updates(), std::vector<IndexList>{OneIndexList(2)});
}

// --- the end
// ----------------------------------------------------------------------------------------------------

TEST_F(IndexMarket, letsAnAnswerComeAfterItsEnd) {
  host.Expect(Script(kPath).Times(2).Held());
  service->Attach(&a);
  service->Refresh();
  service->Refresh();
  End();
  host.Complete(1, OneIndex(1));
  host.CompleteOn(1, 0, Answer::Failed());
  host.Settle();
  EXPECT_EQ(a.Count(), 0u);
  EXPECT_TRUE(host.Log().empty());
}

TEST_F(IndexMarket, waitsAtItsEndForAnAnswerThatIsBeingTold) {
  std::atomic<bool> inside{false}, ending{false}, ended{false};
  IndexRecorder slow([&](const IndexList&) {
    inside = true;
    while (!ending) std::this_thread::yield();
    for (int turn = 0; turn < 1000; ++turn) std::this_thread::yield();
    ended = true;
  });
  service->Attach(&slow);
  host.Expect(Script(kPath).OnWorker(1, OneIndex(1)));
  service->Refresh();
  while (!inside) std::this_thread::yield();
  ending = true;
  End();
  EXPECT_TRUE(ended);
}

TEST_F(IndexMarket, tellsNobodyOfItsEnd) {
  service->Attach(&a);
  service->Resume(&a, false);
  End();
  EXPECT_EQ(a.Count(), 0u);
}

}  // namespace

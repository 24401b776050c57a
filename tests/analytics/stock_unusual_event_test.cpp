// The events of a day: today is polled, failures clear the view, the direct request serves any day.
#include <gtest/gtest.h>

#include <list>
#include <memory>
#include <string>

#include "analytics/stock_unusual_event.h"
#include "host/clock.h"
#include "recording_observer.h"
#include "scripted_host.h"
#include "services.h"
#include "sleeping_threads.h"

namespace {

using Events = std::list<StockUnusualEventItem>;

constexpr const char* kPath = "/pc/monitor/get_monitor";
constexpr std::uint32_t kToday = 20240315;
constexpr std::uint32_t kYesterday = 20240314;

class UnusualEvents : public ::testing::Test {
 protected:
  void Show(RecordingObserver<Events>& observer, std::uint32_t date) {
    service->Attach(&observer);
    service->SetTarget(&observer, date);
    service->Resume(&observer, false);
  }
  static std::string Now() { return std::to_string(common::GetCurrentServerTime()); }

  UnusualEvents() { AwaitSleepingThreads(); }

  ScriptedHost host;
  RecordingObserver<Events> view;
  std::unique_ptr<IStockUnusualEvent> service{analytics::MakeStockUnusualEvent()};
};

TEST_F(UnusualEvents, areReadInOrder) {
  Show(view, 0);
  host.Expect(
      Script(kPath)
          .With({{"date", Now()}})
          .Setting(30)
          .Inline(Answer::Body(
              R"({"errno":0,"data":{"list":[{"time":"09:31","content":"急速拉升","symbol":"x"},{"content":"b"},{"time":5}]}})")));
  service->Refresh();
  EXPECT_EQ(
      view.Last(),
      (Events{{L"SH000001", L"09:31", L"急速拉升"}, {L"SH000001", L"", L"b"}, {L"SH000001", L"", L""}}));
  service->Detach(&view);
}

TEST_F(UnusualEvents, keepTodayAsZero) {
  service->Attach(&view);
  service->SetTarget(&view, kToday);
  std::uint32_t date = 1;
  EXPECT_TRUE(service->GetTarget(&view, date));
  EXPECT_EQ(date, 0U);
  service->Detach(&view);
}

TEST_F(UnusualEvents, followTheDayAfterMidnight) {
  Show(view, kToday);
  host.SetTime(20240318, 10, 0, 0);
  host.Expect(Script(kPath).With({{"date", Now()}}).Inline(Answer::Body(R"({"data":{"list":[]}})")));
  service->OnTimer();
  EXPECT_EQ(view.Count(), 1U);
  service->Detach(&view);
}

TEST_F(UnusualEvents, ofAPastDayAreNeverPolled) {
  Show(view, kYesterday);
  service->OnTimer();
  service->Refresh();
  EXPECT_EQ(host.RequestCount(), 0U);
  service->Detach(&view);
}

TEST_F(UnusualEvents, ofAPastDayAreAskedForItsLastSecond) {
  host.Expect(Script(kPath)
                  .With({{"date", std::to_string(common::DateToTime(kYesterday, 23, 59, 59))}})
                  .Inline(Answer::Body(R"({"errno":0,"data":{"list":[{"time":"a"}]}})")));
  Events got;
  service->FetchUnusualEvent(kYesterday, [&got](const Events& events) { got = events; });
  EXPECT_EQ(got.size(), 1U);
}

TEST_F(UnusualEvents, areClearedByEveryFailure) {
  Show(view, 0);
  host.ExpectFailureLine(L"StockUnusualEvent::FetchUnusualEvent Failed.");
  host.ExpectCodeLine(L"StockUnusualEvent::FetchUnusualEvent Response Error Code: %d", 5);
  host.ExpectCodeLine(L"StockUnusualEvent::FetchUnusualEvent Json Parse Error Code: %d", 5);
  const Answer answers[] = {Answer::Failed(), Answer::Body(R"({"errno":5})"), Answer::Body("?"),
                            Answer::Body("")};
  std::size_t told = 0;
  for (const Answer& answer : answers) {
    host.Expect(Script(kPath).Inline(answer));
    service->Refresh();
    EXPECT_EQ(view.Count(), ++told);
    EXPECT_TRUE(view.Last().empty());
  }
  service->Detach(&view);
}

TEST_F(UnusualEvents, mayBeAskedForWithoutCallBack) {
  host.Expect(Script(kPath).Inline(Answer::Body("{}")));
  service->FetchUnusualEvent(0, {});
}

TEST_F(UnusualEvents, ofADateThatHasBecomeTodayArePolled) {
  Show(view, 20240318);
  service->OnTimer();
  EXPECT_EQ(host.RequestCount(), 0U);
  host.SetTime(20240318, 10, 0, 0);
  host.Expect(Script(kPath)
                  .With({{"date", std::to_string(common::DateToTime(20240318, 23, 59, 59))}})
                  .Inline(Answer::Body(R"({"data":{"list":[{"time":"a"}]}})")));
  service->OnTimer();
  EXPECT_EQ(view.Last().size(), 1U);
  service->Detach(&view);
}

TEST_F(UnusualEvents, ofAPastDayAreNotEvenAskedForOnResume) {
  service->Attach(&view);
  service->SetTarget(&view, kYesterday);
  service->Resume(&view, true);
  EXPECT_EQ(host.RequestCount(), 0U);
  service->Detach(&view);
}

TEST_F(UnusualEvents, thatCameWithAFailureAreNotRead) {
  Show(view, 0);
  host.ExpectFailureLine(L"StockUnusualEvent::FetchUnusualEvent Failed.");
  host.Expect(Script(kPath).Inline(Answer::Failed(R"({"data":{"list":[{"time":"a"}]}})")));
  service->Refresh();
  EXPECT_EQ(view.Count(), 1U);
  EXPECT_TRUE(view.Last().empty());
  service->Detach(&view);
}

TEST_F(UnusualEvents, askedForDirectlyReachNoView) {
  Show(view, 0);
  host.Expect(Script(kPath).Inline(Answer::Body(R"({"data":{"list":[{}]}})")));
  service->FetchUnusualEvent(0, [](const Events&) {});
  EXPECT_EQ(view.Count(), 0U);
  service->Detach(&view);
}

TEST_F(UnusualEvents, haveOneItemPerElementWhateverItIs) {
  Show(view, 0);
  host.Expect(Script(kPath).Inline(Answer::Body(R"({"data":{"list":[null,7,{"time":null,"content":[]}]}})")));
  service->Refresh();
  EXPECT_EQ(view.Last(), Events(3));
  service->Detach(&view);
}

TEST_F(UnusualEvents, areDroppedWhenTheServiceIsGone) {
  host.Expect(Script(kPath).Held());
  int calls = 0;
  service->FetchUnusualEvent(0, [&calls](const Events&) { ++calls; });
  service.reset();
  host.Complete(0, Answer::Body("?"));
  EXPECT_EQ(calls, 0);
}

}  // namespace

// The course of a view of one service: what its service is told when, and what is said about its data.
#include "cli/views/service_view.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "cli/views/market_views.h"
#include "frame/observer.h"
#include "panel_surroundings.h"

namespace cli {
namespace {

using std::chrono::seconds;
using Words = std::vector<std::string>;
using Figures = std::vector<int>;

constexpr stock::MarketStatus kOpen = stock::kMarketMorning;
constexpr Feed kFeed{"figures", "/figures", {}, "Figures"};
constexpr Feed kOtherFeed{"others", "/others", {}, "Others"};
constexpr Feed kPolledFeed{"polled", "/polled", kQuotePolling, "Polled"};

// Writes down what it is told. An active view is told `data` by `Tell`.
class FakeService {
 public:
  void Attach(IUpdate1<Figures>* view) {
    view_ = view;
    calls.emplace_back("attach");
  }
  void Detach(IUpdate1<Figures>* /*view*/) {
    view_ = nullptr;
    calls.emplace_back("detach");
  }
  void SetTarget(IUpdate1<Figures>* /*view*/, const std::string& key) { calls.push_back("target " + key); }
  void Suspend(IUpdate1<Figures>* /*view*/) {
    active_ = false;
    calls.emplace_back("suspend");
  }
  void Resume(IUpdate1<Figures>* /*view*/, bool deliver) {
    active_ = true;
    calls.emplace_back(deliver ? "resume and ask" : "resume");
  }
  void Refresh() { calls.emplace_back("refresh"); }

  void Tell(const Figures& data) {
    if (active_) {
      view_->Update(data);
    }
  }
  Words TakeCalls() { return std::exchange(calls, {}); }

  Words calls;

 private:
  IUpdate1<Figures>* view_ = nullptr;
  bool active_ = false;
};

class FakeView final : public ServiceView<FakeService, Figures, std::string> {
 public:
  FakeView(PanelContext& context, FakeService* service, const Feed& feed = kFeed)
      : ServiceView(context.views, feed, [this, service] {
          ++accesses;
          return service;
        }) {
    FollowNothing("nothing is chosen");
  }

  using ServiceView::Follow;
  using ServiceView::FollowNothing;

  [[nodiscard]] std::string Title() const override { return "fake"; }
  [[nodiscard]] std::uint32_t Session() const override { return 20240315; }

  int accesses = 0;
  stock_host::EndpointCounters counters;
  bool failure_arrives_empty = false;
  std::string nothing = "nothing for this";

 private:
  [[nodiscard]] stock_host::EndpointCounters Counters() const override { return counters; }
  [[nodiscard]] std::string WhyNothingIn(const Delivery<Figures>& delivery) const override {
    return delivery.data.empty() ? "no figure today" : "";
  }
  [[nodiscard]] Sheet AsSheet() const override { return {}; }
  [[nodiscard]] bool FailureArrivesEmpty() const override { return failure_arrives_empty; }
  [[nodiscard]] std::string NothingText() const override { return nothing; }
};

class ServiceViewTest : public testing::Test {
 protected:
  [[nodiscard]] FeedReport Report(seconds later = seconds(0), stock::MarketStatus phase = kOpen) const {
    return view_->Report(View::Clock::now() + later, phase);
  }
  void ExpectReport(FeedState state, const std::string& text, seconds later = seconds(0),
                    stock::MarketStatus phase = kOpen) const {
    const FeedReport report = Report(later, phase);
    EXPECT_EQ(report.state, state) << report.text;
    EXPECT_EQ(report.text, text);
  }
  void Arrive(const Figures& data) {
    service_.Tell(data);
    around_.RunPosted();
  }
  void Fail(const std::string& why) {
    ++view_->counters.requests;
    ++view_->counters.failed;
    view_->counters.last_error = why;
  }
  void Succeed() {
    ++view_->counters.requests;
    ++view_->counters.succeeded;
  }

  tests::PanelSurroundings around_;
  FakeService service_;
  std::unique_ptr<FakeView> view_ = std::make_unique<FakeView>(around_.context, &service_);
};

TEST_F(ServiceViewTest, leavesTheServiceAloneUntilItIsShown) {
  view_->Follow("one");
  view_->Refresh();
  view_->Hide();
  EXPECT_EQ(view_->accesses, 0);
  EXPECT_EQ(service_.calls, Words());
}

TEST_F(ServiceViewTest, attachesAndAsksWhenItIsShown) {
  view_->Follow("one");
  view_->Show();
  EXPECT_EQ(service_.TakeCalls(), (Words{"attach", "suspend", "target one", "resume and ask"}));
  view_->Show();
  EXPECT_EQ(service_.TakeCalls(), Words());
}

TEST_F(ServiceViewTest, suspendsWhileItIsHiddenAndResumes) {
  view_->Follow("one");
  view_->Show();
  Arrive({1});
  service_.TakeCalls();
  view_->Hide();
  view_->Refresh();
  EXPECT_EQ(service_.TakeCalls(), Words{"suspend"});
  EXPECT_EQ(view_->newest()->data, Figures{1});
  view_->Show();
  EXPECT_EQ(service_.TakeCalls(), Words{"resume and ask"});
}

TEST_F(ServiceViewTest, asksForAnotherKeyAtOnceWhileItIsShown) {
  view_->Follow("one");
  view_->Show();
  Arrive({1});
  service_.TakeCalls();
  view_->Follow("two");
  EXPECT_EQ(service_.TakeCalls(), (Words{"suspend", "target two", "resume and ask"}));
  EXPECT_EQ(view_->newest(), nullptr);
  ExpectReport(FeedState::kWaiting, "waiting for data");
}

TEST_F(ServiceViewTest, onlyRemembersAnotherKeyWhileItIsHidden) {
  view_->Follow("one");
  view_->Show();
  view_->Hide();
  service_.TakeCalls();
  view_->Follow("two");
  EXPECT_EQ(service_.TakeCalls(), (Words{"suspend", "target two"}));
  view_->Show();
  EXPECT_EQ(service_.TakeCalls(), Words{"resume and ask"});
}

TEST_F(ServiceViewTest, dropsWhatWasToldOfTheKeyBefore) {
  view_->Follow("one");
  view_->Show();
  service_.Tell({1});
  view_->Follow("two");
  around_.RunPosted();
  EXPECT_EQ(view_->newest(), nullptr);
  Arrive({2});
  EXPECT_EQ(view_->newest()->data, Figures{2});
}

TEST_F(ServiceViewTest, asksForNothingWithoutAKey) {
  view_->Show();
  view_->Refresh();
  EXPECT_EQ(service_.calls, Words());
  ExpectReport(FeedState::kEmpty, "nothing is chosen");
  view_->Follow("one");
  service_.TakeCalls();
  view_->FollowNothing("there is nothing of plates");
  EXPECT_EQ(service_.TakeCalls(), Words{"suspend"});
  view_->Refresh();
  view_->Hide();
  view_->Show();
  EXPECT_EQ(service_.TakeCalls(), Words{"suspend"});
  ExpectReport(FeedState::kEmpty, "there is nothing of plates");
}

TEST_F(ServiceViewTest, dropsWhatIsToldWhenThereIsNoKeyAnyMore) {
  view_->Follow("one");
  view_->Show();
  service_.Tell({1});
  view_->FollowNothing("there is nothing of plates");
  around_.RunPosted();
  EXPECT_EQ(view_->newest(), nullptr);
  ExpectReport(FeedState::kEmpty, "there is nothing of plates");
}

TEST_F(ServiceViewTest, leavesOneServiceForAnother) {
  FakeService other;
  view_->Follow("one");
  view_->Show();
  service_.Tell({1});
  service_.TakeCalls();
  view_->Follow(
      kOtherFeed, [&other] { return &other; }, "two");
  EXPECT_EQ(service_.TakeCalls(), Words{"detach"});
  EXPECT_EQ(other.TakeCalls(), (Words{"attach", "suspend", "target two", "resume and ask"}));
  around_.RunPosted();
  EXPECT_EQ(view_->newest(), nullptr);
  view_.reset();
  EXPECT_EQ(other.TakeCalls(), Words{"detach"});
}

TEST_F(ServiceViewTest, isNotCalledAnyMoreOnceItIsGone) {
  view_->Follow("one");
  view_->Show();
  service_.Tell({1});
  service_.TakeCalls();
  const int redraws = around_.redraws;
  view_.reset();
  EXPECT_EQ(service_.TakeCalls(), Words{"detach"});
  around_.RunPosted();
  EXPECT_EQ(around_.redraws, redraws);
}

TEST_F(ServiceViewTest, isDrawnAnewForEveryArrival) {
  view_->Follow("one");
  view_->Show();
  const int redraws = around_.redraws;
  Arrive({1});
  Arrive({2});
  EXPECT_EQ(around_.redraws, redraws + 2);
}

TEST_F(ServiceViewTest, refreshesUnlessAnAnswerIsStillToCome) {
  view_->Follow("one");
  view_->Show();
  service_.TakeCalls();
  view_->Refresh();
  EXPECT_EQ(service_.TakeCalls(), Words{"refresh"});
  view_->counters.requests = 1;
  view_->Refresh();
  EXPECT_EQ(service_.TakeCalls(), Words());
}

TEST_F(ServiceViewTest, knowsWhetherItsServicePolls) {
  EXPECT_FALSE(view_->PollsItself());
  EXPECT_TRUE(FakeView(around_.context, &service_, kPolledFeed).PollsItself());
}

TEST_F(ServiceViewTest, saysThatAServiceCannotBeMadeAndTriesAgain) {
  FakeView panel(around_.context, nullptr);
  panel.Follow("one");
  panel.Show();
  EXPECT_EQ(panel.Report(View::Clock::now(), kOpen).state, FeedState::kFailed);
  EXPECT_EQ(panel.Report(View::Clock::now(), kOpen).text, "the service figures cannot be made");
  panel.Refresh();
  EXPECT_EQ(panel.accesses, 2);
}

TEST_F(ServiceViewTest, isLiveUntilTwoIntervalsAndASecondHavePassed) {
  view_->Follow("one");
  view_->Show();
  ExpectReport(FeedState::kWaiting, "waiting for data");
  Arrive({1});
  ExpectReport(FeedState::kLive, "live", seconds(6));
  ExpectReport(FeedState::kStale, "stale, 8 s old", seconds(8));
}

TEST_F(ServiceViewTest, saysWhyDataAreStaleOrMissing) {
  Fail("before it was shown");
  view_->Follow("one");
  view_->Show();
  ExpectReport(FeedState::kWaiting, "waiting for data");
  Fail("connection refused");
  ExpectReport(FeedState::kFailed, "no data: connection refused");
  Arrive({1});
  ExpectReport(FeedState::kLive, "live");
  Fail("timed out");
  ExpectReport(FeedState::kStale, "stale, 0 s old: timed out");
  ExpectReport(FeedState::kStale, "stale, 1 min old: timed out", seconds(70));
}

TEST_F(ServiceViewTest, forgetsTheFailuresOfAnotherKey) {
  view_->Follow("one");
  view_->Show();
  Fail("timed out");
  view_->Follow("two");
  ExpectReport(FeedState::kWaiting, "waiting for data");
}

TEST_F(ServiceViewTest, takesReasonsFromItsServicesOwnLinesOfTheLog) {
  view_->Follow("one");
  view_->Show();
  around_.warnings.Add("Figures::Fetch Response Error Code: 5");
  around_.warnings.Add("Others::Fetch Failed.");
  ExpectReport(FeedState::kFailed, "no data: Figures::Fetch Response Error Code: 5");
}

TEST_F(ServiceViewTest, saysWhyThereIsNothingInAnAnswer) {
  view_->Follow("one");
  view_->Show();
  Arrive({});
  ExpectReport(FeedState::kEmpty, "no figure today");
  ExpectReport(FeedState::kStale, "stale, 30 s old", seconds(30));
  Arrive({1});
  ExpectReport(FeedState::kLive, "live");
}

TEST_F(ServiceViewTest, tellsAFailureFromAnAnswerWithNothingInIt) {
  view_->failure_arrives_empty = true;
  view_->Follow("one");
  view_->Show();
  Fail("timed out");
  Arrive({});
  ExpectReport(FeedState::kFailed, "no data: timed out");
  view_->Refresh();
  ExpectReport(FeedState::kFailed, "no data: timed out");
  Succeed();
  Arrive({});
  ExpectReport(FeedState::kEmpty, "no figure today");
}

TEST_F(ServiceViewTest, saysSoWhenAnAnswerHadNothingForTheKey) {
  Succeed();
  view_->Follow("one");
  view_->Show();
  ExpectReport(FeedState::kWaiting, "waiting for data", seconds(60));
  Succeed();
  ExpectReport(FeedState::kWaiting, "waiting for data");
  ExpectReport(FeedState::kEmpty, "nothing for this", seconds(6));
  view_->nothing.clear();
  ExpectReport(FeedState::kWaiting, "waiting for data", seconds(6));
}

TEST_F(ServiceViewTest, saysWhichSessionItShowsWhileTheMarketIsClosed) {
  view_->Follow("one");
  view_->Show();
  Arrive({1});
  const std::string closed = "market closed, figures of 2024-03-15";
  ExpectReport(FeedState::kClosed, closed, seconds(0), stock::kMarketClosed);
  ExpectReport(FeedState::kClosed, closed, seconds(0), stock::kMarketNotOpened);
  ExpectReport(FeedState::kClosed, "before the session, figures of 2024-03-15", seconds(0),
               stock::kMarketPreparing);
  ExpectReport(FeedState::kLive, "live", seconds(0), stock::kMarketCallAuction);
  ExpectReport(FeedState::kLive, "live", seconds(0), stock::kMarketLunchBreak);
}

TEST_F(ServiceViewTest, isNotStaleAsLongAsAClosedMarketIsAskedAboutByTheHour) {
  view_->Follow("one");
  view_->Show();
  Arrive({1});
  EXPECT_EQ(Report(seconds(7000), stock::kMarketClosed).state, FeedState::kClosed);
  EXPECT_EQ(Report(seconds(7300), stock::kMarketClosed).state, FeedState::kStale);
  Fail("timed out");
  EXPECT_EQ(Report(seconds(60), stock::kMarketClosed).text, "stale, 1 min old: timed out");
}

// Tells its view from a thread of its own without a pause, under the lock that every other call takes, as the
// module's services do.
class RestlessService {
 public:
  void Attach(IUpdate1<Figures>* view) {
    const std::lock_guard lock(mutex_);
    view_ = view;
  }
  void Detach(IUpdate1<Figures>* /*view*/) {
    const std::lock_guard lock(mutex_);
    view_ = nullptr;
  }
  void SetTarget(IUpdate1<Figures>* /*view*/, const std::string& key) {
    const std::lock_guard lock(mutex_);
    key_ = key;
  }
  void Suspend(IUpdate1<Figures>* /*view*/) {
    const std::lock_guard lock(mutex_);
    active_ = false;
  }
  void Resume(IUpdate1<Figures>* /*view*/, bool /*deliver*/) {
    const std::lock_guard lock(mutex_);
    active_ = true;
  }

  void TellOf(const std::string& key) {
    const std::lock_guard lock(mutex_);
    if (view_ != nullptr && active_ && key_ == key) {
      view_->Update({key == "one" ? 1 : 2});
    }
  }

 private:
  std::mutex mutex_;  // guards the others
  IUpdate1<Figures>* view_ = nullptr;
  std::string key_;
  bool active_ = false;
};

TEST(ServiceObserver, handsNothingOfAnOldKeyOver) {
  tests::PanelSurroundings around;
  RestlessService service;
  std::vector<int> arrived;
  ServiceObserver<RestlessService, Figures> view(
      service, around.context.views.post,
      [&](const Delivery<Figures>& delivery) { arrived.push_back(delivery.data.at(0)); });
  std::atomic<bool> ended{false};
  std::thread teller([&] {
    while (!ended) {
      service.TellOf("one");
      service.TellOf("two");
      std::this_thread::yield();
    }
  });
  for (int round = 0; round < 60; ++round) {
    view.SetTarget(std::string(round % 2 == 0 ? "one" : "two"));
    arrived.clear();
    view.Resume(false);
    while (arrived.empty()) {
      around.RunPosted();
    }
    EXPECT_EQ(std::count(arrived.begin(), arrived.end(), round % 2 == 0 ? 2 : 1), 0) << round;
  }
  ended = true;
  teller.join();
}

// What was found is told a moment later, when the view may be gone.
TEST(FoundView, tellsNothingOnceItIsGone) {
  tests::PanelSurroundings around;
  int told = 0;
  {
    FoundView view(around.context.views, Found());
    view.OnArrivals([&told] { ++told; });
    view.Show();
    around.RunPosted();
    EXPECT_EQ(told, 1);
    view.Hide();
    view.Show();
  }
  around.RunPosted();
  EXPECT_EQ(told, 1);
}

}  // namespace
}  // namespace cli

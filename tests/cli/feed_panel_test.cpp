// The course of a panel of one feed: what its service is told when, and what is said about its data.
#include "cli/screen/feed_panel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "cli/temporary_directory.h"
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

class FakePanel final : public FeedPanel<FakeService, Figures, std::string> {
 public:
  FakePanel(PanelContext& context, FakeService* service, const Feed& feed = kFeed)
      : FeedPanel(context, feed, [this, service] {
          ++accesses;
          return service;
        }) {
    FollowNothing("nothing is chosen");
  }

  using FeedPanel::Follow;
  using FeedPanel::FollowNothing;
  using FeedPanel::newest;

  [[nodiscard]] std::string Title() const override { return "fake"; }
  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& /*size*/) override { return {}; }

  int accesses = 0;
  stock_host::EndpointCounters counters;
  bool failure_arrives_empty = false;
  std::string nothing = "nothing for this";

 private:
  [[nodiscard]] stock_host::EndpointCounters Counters() const override { return counters; }
  [[nodiscard]] std::string WhyEmpty(const Delivery<Figures>& delivery) const override {
    return delivery.data.empty() ? "no figure today" : "";
  }
  [[nodiscard]] std::uint32_t SessionOf(const Delivery<Figures>& /*delivery*/) const override {
    return 20240315;
  }
  [[nodiscard]] bool FailureArrivesEmpty() const override { return failure_arrives_empty; }
  [[nodiscard]] std::string NothingText() const override { return nothing; }
};

class FeedPanelTest : public testing::Test {
 protected:
  [[nodiscard]] PanelReport Report(seconds later = seconds(0), stock::MarketStatus phase = kOpen) const {
    return panel_->Report(Panel::Clock::now() + later, phase);
  }
  void ExpectReport(PanelState state, const std::string& text, seconds later = seconds(0),
                    stock::MarketStatus phase = kOpen) const {
    const PanelReport report = Report(later, phase);
    EXPECT_EQ(report.state, state) << report.text;
    EXPECT_EQ(report.text, text);
  }
  void Arrive(const Figures& data) {
    service_.Tell(data);
    around_.RunPosted();
  }
  void Fail(const std::string& why) {
    ++panel_->counters.requests;
    ++panel_->counters.failed;
    panel_->counters.last_error = why;
  }
  void Succeed() {
    ++panel_->counters.requests;
    ++panel_->counters.succeeded;
  }

  tests::PanelSurroundings around_;
  FakeService service_;
  std::unique_ptr<FakePanel> panel_ = std::make_unique<FakePanel>(around_.context, &service_);
};

TEST_F(FeedPanelTest, leavesTheServiceAloneUntilItIsShown) {
  panel_->Follow("one");
  panel_->Refresh();
  panel_->Hide();
  EXPECT_EQ(panel_->accesses, 0);
  EXPECT_EQ(service_.calls, Words());
}

TEST_F(FeedPanelTest, attachesAndAsksWhenItIsShown) {
  panel_->Follow("one");
  panel_->Show();
  EXPECT_EQ(service_.TakeCalls(), (Words{"attach", "suspend", "target one", "resume and ask"}));
  panel_->Show();
  EXPECT_EQ(service_.TakeCalls(), Words());
}

TEST_F(FeedPanelTest, suspendsWhileItIsHiddenAndResumes) {
  panel_->Follow("one");
  panel_->Show();
  Arrive({1});
  service_.TakeCalls();
  panel_->Hide();
  panel_->Refresh();
  EXPECT_EQ(service_.TakeCalls(), Words{"suspend"});
  EXPECT_EQ(panel_->newest()->data, Figures{1});
  panel_->Show();
  EXPECT_EQ(service_.TakeCalls(), Words{"resume and ask"});
}

TEST_F(FeedPanelTest, asksForAnotherKeyAtOnceWhileItIsShown) {
  panel_->Follow("one");
  panel_->Show();
  Arrive({1});
  service_.TakeCalls();
  panel_->Follow("two");
  EXPECT_EQ(service_.TakeCalls(), (Words{"suspend", "target two", "resume and ask"}));
  EXPECT_EQ(panel_->newest(), nullptr);
  ExpectReport(PanelState::kWaiting, "waiting for data");
}

TEST_F(FeedPanelTest, onlyRemembersAnotherKeyWhileItIsHidden) {
  panel_->Follow("one");
  panel_->Show();
  panel_->Hide();
  service_.TakeCalls();
  panel_->Follow("two");
  EXPECT_EQ(service_.TakeCalls(), (Words{"suspend", "target two"}));
  panel_->Show();
  EXPECT_EQ(service_.TakeCalls(), Words{"resume and ask"});
}

TEST_F(FeedPanelTest, dropsWhatWasToldOfTheKeyBefore) {
  panel_->Follow("one");
  panel_->Show();
  service_.Tell({1});
  panel_->Follow("two");
  around_.RunPosted();
  EXPECT_EQ(panel_->newest(), nullptr);
  Arrive({2});
  EXPECT_EQ(panel_->newest()->data, Figures{2});
}

TEST_F(FeedPanelTest, asksForNothingWithoutAKey) {
  panel_->Show();
  panel_->Refresh();
  EXPECT_EQ(service_.calls, Words());
  ExpectReport(PanelState::kEmpty, "nothing is chosen");
  panel_->Follow("one");
  service_.TakeCalls();
  panel_->FollowNothing("there is nothing of plates");
  EXPECT_EQ(service_.TakeCalls(), Words{"suspend"});
  panel_->Refresh();
  panel_->Hide();
  panel_->Show();
  EXPECT_EQ(service_.TakeCalls(), Words{"suspend"});
  ExpectReport(PanelState::kEmpty, "there is nothing of plates");
}

TEST_F(FeedPanelTest, dropsWhatIsToldWhenThereIsNoKeyAnyMore) {
  panel_->Follow("one");
  panel_->Show();
  service_.Tell({1});
  panel_->FollowNothing("there is nothing of plates");
  around_.RunPosted();
  EXPECT_EQ(panel_->newest(), nullptr);
  ExpectReport(PanelState::kEmpty, "there is nothing of plates");
}

TEST_F(FeedPanelTest, leavesOneServiceForAnother) {
  FakeService other;
  panel_->Follow("one");
  panel_->Show();
  service_.Tell({1});
  service_.TakeCalls();
  panel_->Follow(
      kOtherFeed, [&other] { return &other; }, "two");
  EXPECT_EQ(service_.TakeCalls(), Words{"detach"});
  EXPECT_EQ(other.TakeCalls(), (Words{"attach", "suspend", "target two", "resume and ask"}));
  around_.RunPosted();
  EXPECT_EQ(panel_->newest(), nullptr);
  panel_.reset();
  EXPECT_EQ(other.TakeCalls(), Words{"detach"});
}

TEST_F(FeedPanelTest, isNotCalledAnyMoreOnceItIsGone) {
  panel_->Follow("one");
  panel_->Show();
  service_.Tell({1});
  service_.TakeCalls();
  const int redraws = around_.redraws;
  panel_.reset();
  EXPECT_EQ(service_.TakeCalls(), Words{"detach"});
  around_.RunPosted();
  EXPECT_EQ(around_.redraws, redraws);
}

TEST_F(FeedPanelTest, isDrawnAnewForEveryArrival) {
  panel_->Follow("one");
  panel_->Show();
  const int redraws = around_.redraws;
  Arrive({1});
  Arrive({2});
  EXPECT_EQ(around_.redraws, redraws + 2);
}

TEST_F(FeedPanelTest, refreshesUnlessAnAnswerIsStillToCome) {
  panel_->Follow("one");
  panel_->Show();
  service_.TakeCalls();
  panel_->Refresh();
  EXPECT_EQ(service_.TakeCalls(), Words{"refresh"});
  panel_->counters.requests = 1;
  panel_->Refresh();
  EXPECT_EQ(service_.TakeCalls(), Words());
}

TEST_F(FeedPanelTest, knowsWhetherItsServicePolls) {
  EXPECT_FALSE(panel_->PollsItself());
  EXPECT_TRUE(FakePanel(around_.context, &service_, kPolledFeed).PollsItself());
}

TEST_F(FeedPanelTest, saysThatAServiceCannotBeMadeAndTriesAgain) {
  FakePanel panel(around_.context, nullptr);
  panel.Follow("one");
  panel.Show();
  EXPECT_EQ(panel.Report(Panel::Clock::now(), kOpen).state, PanelState::kFailed);
  EXPECT_EQ(panel.Report(Panel::Clock::now(), kOpen).text, "the service figures cannot be made");
  panel.Refresh();
  EXPECT_EQ(panel.accesses, 2);
}

TEST_F(FeedPanelTest, isLiveUntilTwoIntervalsAndASecondHavePassed) {
  panel_->Follow("one");
  panel_->Show();
  ExpectReport(PanelState::kWaiting, "waiting for data");
  Arrive({1});
  ExpectReport(PanelState::kLive, "live", seconds(6));
  ExpectReport(PanelState::kStale, "stale, 8 s old", seconds(8));
}

TEST_F(FeedPanelTest, saysWhyDataAreStaleOrMissing) {
  Fail("before it was shown");
  panel_->Follow("one");
  panel_->Show();
  ExpectReport(PanelState::kWaiting, "waiting for data");
  Fail("connection refused");
  ExpectReport(PanelState::kFailed, "no data: connection refused");
  Arrive({1});
  ExpectReport(PanelState::kLive, "live");
  Fail("timed out");
  ExpectReport(PanelState::kStale, "stale, 0 s old: timed out");
  ExpectReport(PanelState::kStale, "stale, 1 min old: timed out", seconds(70));
}

TEST_F(FeedPanelTest, forgetsTheFailuresOfAnotherKey) {
  panel_->Follow("one");
  panel_->Show();
  Fail("timed out");
  panel_->Follow("two");
  ExpectReport(PanelState::kWaiting, "waiting for data");
}

TEST_F(FeedPanelTest, takesReasonsFromItsServicesOwnLinesOfTheLog) {
  const TemporaryDirectory directory;
  const std::string file = directory.path() + "/csm.log";
  LogTail log(file);
  around_.context.log = &log;
  panel_->Follow("one");
  panel_->Show();
  std::ofstream(file) << "2026-11-20 09:30:00.123 +0800 [warning] Figures::Fetch Response Error Code: 5\n"
                         "2026-11-20 09:30:00.124 +0800 [warning] Others::Fetch Failed.\n";
  log.Poll();
  ExpectReport(PanelState::kFailed, "no data: Figures::Fetch Response Error Code: 5");
}

TEST_F(FeedPanelTest, saysWhyThereIsNothingInAnAnswer) {
  panel_->Follow("one");
  panel_->Show();
  Arrive({});
  ExpectReport(PanelState::kEmpty, "no figure today");
  ExpectReport(PanelState::kStale, "stale, 30 s old", seconds(30));
  Arrive({1});
  ExpectReport(PanelState::kLive, "live");
}

TEST_F(FeedPanelTest, tellsAFailureFromAnAnswerWithNothingInIt) {
  panel_->failure_arrives_empty = true;
  panel_->Follow("one");
  panel_->Show();
  Fail("timed out");
  Arrive({});
  ExpectReport(PanelState::kFailed, "no data: timed out");
  panel_->Refresh();
  ExpectReport(PanelState::kFailed, "no data: timed out");
  Succeed();
  Arrive({});
  ExpectReport(PanelState::kEmpty, "no figure today");
}

TEST_F(FeedPanelTest, saysSoWhenAnAnswerHadNothingForTheKey) {
  Succeed();
  panel_->Follow("one");
  panel_->Show();
  ExpectReport(PanelState::kWaiting, "waiting for data", seconds(60));
  Succeed();
  ExpectReport(PanelState::kWaiting, "waiting for data");
  ExpectReport(PanelState::kEmpty, "nothing for this", seconds(6));
  panel_->nothing.clear();
  ExpectReport(PanelState::kWaiting, "waiting for data", seconds(6));
}

TEST_F(FeedPanelTest, saysWhichSessionItShowsWhileTheMarketIsClosed) {
  panel_->Follow("one");
  panel_->Show();
  Arrive({1});
  const std::string closed = "market closed, figures of 2024-03-15";
  ExpectReport(PanelState::kClosed, closed, seconds(0), stock::kMarketClosed);
  ExpectReport(PanelState::kClosed, closed, seconds(0), stock::kMarketNotOpened);
  ExpectReport(PanelState::kClosed, "before the session, figures of 2024-03-15", seconds(0),
               stock::kMarketPreparing);
  ExpectReport(PanelState::kLive, "live", seconds(0), stock::kMarketCallAuction);
  ExpectReport(PanelState::kLive, "live", seconds(0), stock::kMarketLunchBreak);
}

TEST_F(FeedPanelTest, isNotStaleAsLongAsAClosedMarketIsAskedAboutByTheHour) {
  panel_->Follow("one");
  panel_->Show();
  Arrive({1});
  EXPECT_EQ(Report(seconds(7000), stock::kMarketClosed).state, PanelState::kClosed);
  EXPECT_EQ(Report(seconds(7300), stock::kMarketClosed).state, PanelState::kStale);
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

TEST(View, handsNothingOfAnOldKeyOver) {
  tests::PanelSurroundings around;
  RestlessService service;
  std::vector<int> arrived;
  View<RestlessService, Figures> view(service, around.loop, [&](const Delivery<Figures>& delivery) {
    arrived.push_back(delivery.data.at(0));
  });
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

}  // namespace
}  // namespace cli

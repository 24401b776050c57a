// The start of the reference data: its five loads, its monitor, and what comes late.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "answers.h"
#include "c_stock_market.h"
#include "reference/stock_common_service.h"

namespace {

using Step = reference::StartCount::Step;

class StockCommonStart : public ::testing::Test {
 protected:
  // Starts, and notes what the call-back is told.
  void Init() {
    service->Init([this](bool ok) { outcomes.push_back(ok); });
  }
  void RunTasks(int count) {
    for (int task = 0; task < count; ++task) {
      ASSERT_TRUE(host.RunOneTask());
    }
  }

  ScriptedHost host;
  std::unique_ptr<reference::CStockCommon> service = std::make_unique<reference::CStockCommon>();
  std::vector<bool> outcomes;
};

TEST_F(StockCommonStart, asksForTheCalendarAndQueuesFiveLoadsAndTheMonitor) {
  host.Expect(Script(answers::kHolidayPath).Held());
  Init();
  ASSERT_EQ(host.RequestCount(), 1U);
  EXPECT_EQ(host.Requests()[0].kind, Request::Kind::kAsync);
  EXPECT_EQ(host.QueuedTasks(), 6U);
}

TEST_F(StockCommonStart, loadsEverythingAndSaysSoOnce) {
  answers::Allow(host);
  Init();
  EXPECT_TRUE(outcomes.empty());
  host.RunTasks();
  EXPECT_EQ(outcomes, std::vector<bool>{true});
  std::vector<std::string> paths;
  for (const Request& request : host.Requests()) {
    paths.push_back(request.path);
    EXPECT_EQ(request.setting, request.kind == Request::Kind::kDownload ? 30 : 8) << request.path;
  }
  EXPECT_EQ(paths,
            (std::vector<std::string>{answers::kHolidayPath, answers::kBasicInfoPath, answers::kPlateListPath,
                                      answers::kIndexListPath, answers::kVersionPath, answers::kMetadataPath,
                                      answers::kInPlatesPath}));
  EXPECT_EQ(host.HolidayCalls().size(), 1U);
  EXPECT_TRUE(service->HasRefreshThread());
}

TEST_F(StockCommonStart, worksWithTasksThatRunAtOnce) {
  answers::Allow(host);
  host.SetTaskMode(ScriptedHost::TaskMode::kInline);
  Init();
  EXPECT_EQ(outcomes, std::vector<bool>{true});
}

TEST_F(StockCommonStart, tellsOnAThreadOfThePoolBeforeItsRefreshBegins) {
  answers::Allow(host);
  host.SetTaskMode(ScriptedHost::TaskMode::kWorker, 1);
  std::thread::id teller;
  bool refreshing = true;
  service->Init([&](bool) {
    teller = std::this_thread::get_id();
    refreshing = service->HasRefreshThread();
  });
  host.Settle();
  EXPECT_NE(teller, std::thread::id());
  EXPECT_NE(teller, std::this_thread::get_id());
  EXPECT_FALSE(refreshing);
  EXPECT_TRUE(service->HasRefreshThread());
}

TEST_F(StockCommonStart, worksWithoutACallBack) {
  answers::Allow(host);
  service->Init({});
  host.RunTasks();
  EXPECT_TRUE(service->HasRefreshThread());
}

TEST_F(StockCommonStart, doesNotNeedTheCalendar) {
  answers::Allow(host, answers::kHolidayPath);
  host.Expect(Script(answers::kHolidayPath).Times(2).Inline(Answer::Failed()));
  host.ExpectFailureLine(L"StockCommon::InitLegalHolidays Failed.", 2);
  Init();
  host.RunTasks();
  EXPECT_EQ(outcomes, std::vector<bool>{true}) << "it is asked for once more after the loads, and later";
}

TEST_F(StockCommonStart, asksForTheCalendarOnceWhileTheAnswerIsOnItsWay) {
  answers::Allow(host, answers::kHolidayPath);
  host.Expect(Script(answers::kHolidayPath).Held());
  Init();
  host.RunTasks();
  EXPECT_EQ(outcomes, std::vector<bool>{true});
  EXPECT_EQ(host.RequestsTo(answers::kHolidayPath).size(), 1U);
}

// It stood still for good.
TEST_F(StockCommonStart, mayBeCalledByTheCalendar) {
  answers::Allow(host);
  int calls = 0;
  host.OnHolidays([&] {
    if (++calls == 1) {
      Init();
    }
  });
  Init();
  host.RunTasks();
  EXPECT_EQ(outcomes, std::vector<bool>{true}) << "of two starts at once one loads";
  EXPECT_EQ(host.HolidayCalls().size(), 2U);
}

TEST_F(StockCommonStart, asksForTheServersYearWhenItFailsToo) {
  for (const bool learns : {true, false}) {
    service = std::make_unique<reference::CStockCommon>();
    host.SetTime(20230315, 10, 0, 0);
    host.Expect(Script(answers::kBasicInfoPath).Inline([this, learns](const Request&) {
      if (learns) {
        host.SetTime(20240315, 10, 0, 0);
      }
      return Answer::Body(answers::kBasicInfo);
    }));
    host.Expect(Script(answers::kVersionPath).Inline(Answer::Failed()));
    host.Expect(Script(answers::kHolidayPath).With({{"date", "2023"}}).Held());
    if (learns) {
      host.Expect(Script(answers::kHolidayPath).With({{"date", "2024"}}).Held());
    }
    for (const auto& [path, body] : {std::pair(answers::kPlateListPath, answers::kPlateList),
                                     std::pair(answers::kIndexListPath, answers::kIndexList),
                                     std::pair(answers::kInPlatesPath, answers::kInPlates)}) {
      host.Expect(Script(path).Inline(Answer::Body(body)));
    }
    Init();
    host.RunTasks();
    EXPECT_FALSE(outcomes.back());
    EXPECT_TRUE(host.TakeProblems().empty()) << "learned: " << learns;
  }
}

TEST_F(StockCommonStart, failsWithAnyOneLoad) {
  for (const char* const path : {answers::kBasicInfoPath, answers::kPlateListPath, answers::kIndexListPath,
                                 answers::kVersionPath, answers::kInPlatesPath, answers::kMetadataPath}) {
    service = std::make_unique<reference::CStockCommon>();
    std::filesystem::remove_all(host.Directory() + "/meta");
    outcomes.clear();
    host.TakeProblems();
    host.Expect(Script(path).Inline(Answer::Failed()));
    answers::Allow(host, path);
    Init();
    host.RunTasks();
    EXPECT_EQ(outcomes, std::vector<bool>{false}) << path;
    EXPECT_FALSE(service->HasRefreshThread()) << path;
    EXPECT_TRUE(host.TakeProblems().empty());
  }
}

TEST_F(StockCommonStart, failsWithAnyErrorNumberAndAnyEmptyAnswer) {
  const std::vector<std::pair<const char*, std::wstring>> loads = {
      {answers::kBasicInfoPath, L"InitBaseInfo"},
      {answers::kPlateListPath, L"InitPlateItem"},
      {answers::kIndexListPath, L"InitIndexItem"},
      {answers::kVersionPath, L"InitStockInPlates"},
      {answers::kInPlatesPath, L"InitStockInPlates"}};
  for (const auto& [path, operation] : loads) {
    for (const bool empty : {false, true}) {
      service = std::make_unique<reference::CStockCommon>();
      outcomes.clear();
      host.Expect(Script(path).Inline(Answer::Body(empty ? "" : R"({"errno":3})")));
      answers::Allow(host, path);
      if (!empty) {
        host.ExpectLine(L"StockCommon::" + operation + L" Response Error Code: 3");
      }
      Init();
      host.RunTasks();
      EXPECT_EQ(outcomes, std::vector<bool>{false}) << path;
      EXPECT_TRUE(host.TakeProblems().empty()) << path;
    }
  }
}

TEST_F(StockCommonStart, keepsWhatTheOtherLoadsBrought) {
  answers::Allow(host, answers::kVersionPath);
  host.Expect(Script(answers::kVersionPath).Inline(Answer::Failed()));
  Init();
  host.RunTasks();
  const std::size_t asked = host.RequestCount();
  EXPECT_EQ(service->GetPlateList(1).size(), 2U);
  EXPECT_EQ(host.RequestCount(), asked);
}

TEST_F(StockCommonStart, unstampsTheStockListWhenItFails) {
  answers::Allow(host, answers::kVersionPath);
  host.Expect(Script(answers::kVersionPath).Inline(Answer::Failed()));
  Init();
  host.RunTasks();
  const std::size_t asked = host.RequestsTo(answers::kBasicInfoPath).size();
  EXPECT_EQ(service->GetStockList(1).size(), 5U);
  EXPECT_EQ(host.RequestsTo(answers::kBasicInfoPath).size(), asked + 1)
      << "it is 10:00, the list counts as old";
}

TEST_F(StockCommonStart, asksOnlyForTheCalendarWhileOneIsUnderWay) {
  answers::Allow(host);
  Init();
  bool second_called = false;
  service->Init([&second_called](bool) { second_called = true; });
  EXPECT_EQ(host.QueuedTasks(), 6U);
  host.RunTasks();
  EXPECT_EQ(outcomes.size(), 1U);
  EXPECT_FALSE(second_called);
  EXPECT_EQ(host.RequestsTo(answers::kHolidayPath).size(), 2U);
}

TEST_F(StockCommonStart, isUnderWayWhileItsCallBackRuns) {
  answers::Allow(host);
  std::size_t queued_inside = 1;
  service->Init([&](bool) {
    service->Init({});
    queued_inside = host.QueuedTasks();
  });
  host.RunTasks();
  EXPECT_EQ(queued_inside, 0U);
}

TEST_F(StockCommonStart, mayFollowAFinishedOne) {
  answers::Allow(host);
  Init();
  host.RunTasks();
  Init();
  host.RunTasks();
  EXPECT_EQ(outcomes, (std::vector<bool>{true, true}));
  EXPECT_EQ(host.RequestsTo(answers::kMetadataPath).size(), 1U) << "the held metadata is as new";
}

TEST_F(StockCommonStart, mayFollowAFailedOne) {
  host.Expect(Script(answers::kPlateListPath).Inline(Answer::Failed()));
  answers::Allow(host);
  Init();
  host.RunTasks();
  Init();
  host.RunTasks();
  EXPECT_EQ(outcomes, (std::vector<bool>{false, true}));
  EXPECT_TRUE(service->HasRefreshThread());
}

TEST_F(StockCommonStart, survivesACallBackThatThrows) {
  answers::Allow(host);
  service->Init([](bool) { throw std::runtime_error("a view's own failure"); });
  EXPECT_THROW(host.RunTasks(), std::runtime_error);
  Init();
  host.RunTasks();
  EXPECT_EQ(outcomes, std::vector<bool>{true}) << "the next start is not refused";
}

// --- The monitor ---

TEST_F(StockCommonStart, isGivenTenSecondsInStepsOf300Milliseconds) {
  host.Expect(Script(answers::kHolidayPath).Held());
  Init();
  const auto start = service->LatestStart();
  for (int step = 0; step < 34; ++step) {
    ASSERT_EQ(service->StepMonitor(start), Step::kWait) << step;
  }
  EXPECT_EQ(service->StepMonitor(start), Step::kFailed);
}

TEST_F(StockCommonStart, succeedsInTheStepAfterTheFifthLoad) {
  answers::Allow(host);
  Init();
  const auto start = service->LatestStart();
  for (int load = 0; load < 5; ++load) {
    EXPECT_EQ(service->StepMonitor(start), Step::kWait);
    RunTasks(1);
  }
  EXPECT_EQ(service->StepMonitor(start), Step::kSucceeded);
}

TEST_F(StockCommonStart, isTooLateWhenTheTimeIsUpFirst) {
  answers::Allow(host);
  Init();
  const auto start = service->LatestStart();
  while (service->StepMonitor(start) == Step::kWait) {
  }
  host.RunTasks();
  EXPECT_EQ(outcomes, std::vector<bool>{false});
  EXPECT_FALSE(service->HasRefreshThread());
}

TEST_F(StockCommonStart, isGivenUpWithTheFirstFailedLoad) {
  answers::Allow(host, answers::kBasicInfoPath);
  host.Expect(Script(answers::kBasicInfoPath).Inline(Answer::Failed()));
  Init();
  RunTasks(1);
  EXPECT_EQ(service->StepMonitor(service->LatestStart()), Step::kFailed);
  host.DropTasks();
}

// --- What comes late ---

TEST_F(StockCommonStart, doesNotCountLoadsOfAFailedOne) {
  host.Expect(Script(answers::kBasicInfoPath).Inline(Answer::Failed()));
  answers::Allow(host);
  Init();
  RunTasks(1);
  // Four loads and the monitor of the failed start are still queued; the new start's tasks come behind them.
  Init();
  const auto start = service->LatestStart();
  RunTasks(4);
  EXPECT_EQ(service->StepMonitor(start), Step::kWait);
  RunTasks(1);
  EXPECT_EQ(outcomes, std::vector<bool>{false}) << "the first monitor tells the failure";
  RunTasks(4);
  EXPECT_EQ(service->StepMonitor(start), Step::kWait) << "four of five loads are counted, not eight";
  host.RunTasks();
  EXPECT_EQ(outcomes, (std::vector<bool>{false, true}));
}

TEST_F(StockCommonStart, isNotEndedByALateFailureOfAnother) {
  host.Expect(Script(answers::kBasicInfoPath).Inline(Answer::Failed()));
  host.Expect(Script(answers::kPlateListPath).Inline(Answer::Failed()));
  answers::Allow(host);
  Init();
  RunTasks(1);
  Init();
  host.RunTasks();
  EXPECT_EQ(outcomes, (std::vector<bool>{false, true}));
}

TEST_F(StockCommonStart, isNotStampedBackByTheMonitorOfAnother) {
  host.Expect(Script(answers::kPlateListPath).Inline(Answer::Failed()));
  answers::Allow(host);
  Init();
  RunTasks(2);
  std::optional<bool> second;
  service->Init([&second](bool ok) { second = ok; });
  host.RunTasks();
  ASSERT_EQ(second, true);
  const std::size_t asked = host.RequestCount();
  static_cast<void>(service->GetStockList(1));
  EXPECT_EQ(host.RequestCount(), asked) << "the list of the second start holds for the day";
}

// --- The end ---

TEST_F(StockCommonStart, doesNothingAfterTheEndOfTheService) {
  answers::Allow(host, answers::kHolidayPath);
  host.Expect(Script(answers::kHolidayPath).Held());
  Init();
  service.reset();
  host.RunTasks();
  EXPECT_EQ(host.RequestCount(), 1U) << "the queued loads send nothing any more";
  host.Complete(0, Answer::Body(answers::kHolidays));
  EXPECT_TRUE(outcomes.empty());
  EXPECT_TRUE(host.HolidayCalls().empty());
}

TEST_F(StockCommonStart, doesNotHoldUpTheEndWhileItsRequestsAreOnTheWire) {
  host.Allow(Script(answers::kHolidayPath).Inline(Answer::Body(answers::kHolidays)));
  host.Expect(Script(answers::kBasicInfoPath).Held());
  host.SetTaskMode(ScriptedHost::TaskMode::kWorker, 1);
  answers::Allow(host, answers::kBasicInfoPath);
  Init();
  const std::size_t held = host.AwaitRequest(1).number;
  service.reset();
  host.Complete(held, Answer::Body(answers::kBasicInfo));
  host.Settle();
  EXPECT_TRUE(outcomes.empty());
}

TEST_F(StockCommonStart, endsItsMonitorWithTheService) {
  host.Expect(Script(answers::kBasicInfoPath).Held());
  answers::Allow(host);
  Init();
  // One load stays on the wire, the others are done; the monitor waits on a thread of its own.
  std::thread load([this] { host.RunOneTask(); });
  const std::size_t held = host.AwaitRequest(1).number;
  RunTasks(4);
  std::thread monitor([this] { host.RunOneTask(); });
  service.reset();
  monitor.join();
  host.Complete(held, Answer::Failed());
  load.join();
  EXPECT_TRUE(outcomes.empty());
}

TEST_F(StockCommonStart, hasOneRefreshThreadHoweverOftenItIsMade) {
  answers::Allow(host);
  for (int round = 0; round < 3; ++round) {
    Init();
    host.RunTasks();
  }
  EXPECT_EQ(outcomes, (std::vector<bool>{true, true, true}));
  EXPECT_TRUE(service->HasRefreshThread());
}

// --- The export ---

TEST(StockCommonExport, makesOneServiceAndANewOneAfterTheEnd) {
  ScriptedHost host;
  IStockCommon* const first = GetStockCommon();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(GetStockCommon(), first);
  DestroyStockMarket();
  host.Expect(Script(answers::kPlateListPath).Inline(Answer::Body(answers::kPlateList)));
  EXPECT_EQ(GetStockCommon()->GetPlateList(2).size(), 1U);
  DestroyStockMarket();
}

TEST(StockCommonExport, loadsNothingBeforeItIsTold) {
  ScriptedHost host;
  static_cast<void>(GetStockCommon());
  EXPECT_EQ(host.RequestCount(), 0U);
  EXPECT_EQ(host.QueuedTasks(), 0U);
  DestroyStockMarket();
}

TEST(StockCommonExport, endsItsRefreshThread) {
  ScriptedHost host;
  answers::Allow(host);
  GetStockCommon()->Init({});
  host.RunTasks();
  DestroyStockMarket();
}

}  // namespace

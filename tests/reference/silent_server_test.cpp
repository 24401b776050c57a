// Look-ups while the server keeps silent: how long they hold up whoever asks.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "answers.h"
#include "reference/stock_common_service.h"
#include "scripted_ticks.h"

namespace {

constexpr std::int64_t kSecond = 1000;

class SilentServer : public ::testing::Test {
 protected:
  // All lists are of Friday, and it is ten on Saturday.
  void HoldListsOfYesterday() {
    for (const auto& [path, body] : {std::pair(answers::kBasicInfoPath, answers::kBasicInfo),
                                     std::pair(answers::kPlateListPath, answers::kPlateList),
                                     std::pair(answers::kIndexListPath, answers::kIndexList),
                                     std::pair(answers::kInPlatesPath, answers::kInPlates)}) {
      host.Expect(Script(path).Inline(Answer::Body(body)));
    }
    LookUpEverything();
    host.SetTime(20240316, 10, 0, 0);
    asked = host.RequestCount();
  }
  // Every request takes the whole of its eight seconds.
  void FallSilent() {
    for (const char* const path : {answers::kBasicInfoPath, answers::kPlateListPath, answers::kIndexListPath,
                                   answers::kInPlatesPath}) {
      host.Allow(Script(path).Inline([this](const Request& request) {
        Pass(request.setting);
        return Answer::Failed();
      }));
    }
  }
  void Pass(int seconds) {
    steady.Advance(seconds * kSecond);
    host.Advance(seconds);
  }
  void LookUpEverything() {
    for (int kind = 1; kind <= 5; ++kind) {
      static_cast<void>(service.GetStockList(kind));
      static_cast<void>(service.GetPlateList(kind));
      static_cast<void>(service.GetIndexList(kind));
    }
    std::vector<std::pair<std::wstring, std::wstring>> plates;
    static_cast<void>(service.GetPlatesOfStock(L"sh600000", plates));
    static_cast<void>(service.PlatesAtHand());
    static_cast<void>(service.GetKLineMetaInfo(L"sh600000", 1, 1));
  }
  std::size_t NewRequests() const { return host.RequestCount() - asked; }

  ScriptedHost host;
  ScriptedSteady steady;
  reference::CStockCommon service;
  std::size_t asked = 0;
};

// Every look-up blocked the user interface for eight seconds, then one a minute: 53 requests in an hour, 424
// seconds. Now the first one alone is waited for.
TEST_F(SilentServer, costsAUserInterfaceLessThanTenSecondsInAnHour) {
  HoldListsOfYesterday();
  FallSilent();
  const std::int64_t begin = steady.Now();
  std::int64_t blocked = 0;
  while (steady.Now() < begin + 3600 * kSecond) {
    const std::int64_t before = steady.Now();
    LookUpEverything();
    blocked += steady.Now() - before;
    const std::size_t tasks = host.RunTasks();  // each takes eight seconds of the pool's
    ASSERT_LE(tasks, 1U);
    Pass(1);
  }
  EXPECT_EQ(blocked, 8 * kSecond);
  EXPECT_GE(NewRequests(), 50U) << "the server is asked once a minute all the same";
  EXPECT_LE(NewRequests(), 61U);
}

// The same while the pool is so busy that the task does not run: the attempts do not pile up.
TEST_F(SilentServer, isAskedByATaskAMinuteAtMost) {
  HoldListsOfYesterday();
  FallSilent();
  for (int second = 0; second < 3600; ++second) {
    LookUpEverything();
    Pass(1);
  }
  EXPECT_EQ(NewRequests(), 1U);
  EXPECT_LE(host.QueuedTasks(), 60U);
  host.DropTasks();
}

TEST_F(SilentServer, isWaitedForAgainOnceItHasAnswered) {
  HoldListsOfYesterday();
  // Silent for one request, then good.
  host.Expect(Script(answers::kBasicInfoPath).Inline([this](const Request& request) {
    Pass(request.setting);
    return Answer::Failed();
  }));
  static_cast<void>(service.GetStockList(1));
  Pass(60);
  host.Expect(Script(answers::kBasicInfoPath).Inline(Answer::Body(R"({"sh":[{"c":"sh600009"}]})")));
  EXPECT_EQ(service.GetStockList(1).size(), 5U) << "the old list, at once";
  EXPECT_EQ(host.RunTasks(), 1U);
  EXPECT_EQ(service.GetStockList(1).size(), 1U) << "the new one, as soon as it is there";
  host.SetTime(20240318, 10, 0, 0);
  host.Expect(Script(answers::kBasicInfoPath).Inline(Answer::Body(R"({"sh":[{"c":"a"},{"c":"b"}]})")));
  EXPECT_EQ(service.GetStockList(1).size(), 2U) << "on a good line the look-up brings the list";
  EXPECT_EQ(host.QueuedTasks(), 0U);
}

// A line that fails at once holds nobody up.
TEST_F(SilentServer, isWaitedForWhileItFailsAtOnce) {
  HoldListsOfYesterday();
  host.Expect(Script(answers::kBasicInfoPath).Times(60).Inline(Answer::Failed()));
  for (int minute = 0; minute < 60; ++minute) {
    static_cast<void>(service.GetStockList(1));
    Pass(60);
  }
  EXPECT_EQ(NewRequests(), 60U);
  EXPECT_EQ(host.QueuedTasks(), 0U);
}

TEST_F(SilentServer, isAskedAgainAfterAMinute) {
  HoldListsOfYesterday();
  FallSilent();
  static_cast<void>(service.GetStockList(1));
  steady.Advance(60 * kSecond - 1);
  static_cast<void>(service.GetStockList(2));
  EXPECT_EQ(host.RunTasks(), 0U);
  EXPECT_EQ(NewRequests(), 1U);
  steady.Advance(1);
  static_cast<void>(service.GetStockList(3));
  EXPECT_EQ(host.RunTasks(), 1U);
  EXPECT_EQ(NewRequests(), 2U);
}

TEST_F(SilentServer, isNotAskedByATaskThatComesAfterTheEnd) {
  auto ending = std::make_unique<reference::CStockCommon>();
  host.Expect(Script(answers::kBasicInfoPath).Inline(Answer::Body(answers::kBasicInfo)));
  static_cast<void>(ending->GetStockList(1));
  host.SetTime(20240316, 10, 0, 0);
  FallSilent();
  static_cast<void>(ending->GetStockList(1));
  Pass(60);
  static_cast<void>(ending->GetStockList(1));
  ending.reset();
  const std::size_t before = host.RequestCount();
  EXPECT_EQ(host.RunTasks(), 1U);
  EXPECT_EQ(host.RequestCount(), before);
}

TEST_F(SilentServer, isNotAskedWithinAMinuteOfAFailedReload) {
  HoldListsOfYesterday();
  FallSilent();
  host.Expect(Script(answers::kHolidayPath).Held());
  host.Expect(Script(answers::kVersionPath).Inline(Answer::Failed()));
  service.FinishRound({1, true});
  // Three loads came after that of the stocks, 24 seconds.
  const std::size_t after_the_reload = host.RequestCount();
  steady.Advance(36 * kSecond - 1);
  EXPECT_EQ(service.GetStockList(1).size(), 5U);
  EXPECT_EQ(host.RequestCount(), after_the_reload);
  steady.Advance(1);
  static_cast<void>(service.GetStockList(1));
  EXPECT_EQ(host.RequestCount(), after_the_reload + 1);
}

TEST_F(SilentServer, isForgottenWhenItAnswers) {
  HoldListsOfYesterday();
  host.Expect(Script(answers::kBasicInfoPath).Inline(Answer::Failed()));
  static_cast<void>(service.GetStockList(1));
  answers::Allow(host);
  service.FinishRound({1, true});
  host.SetTime(20240317, 10, 0, 0);
  const std::size_t before = host.RequestCount();
  static_cast<void>(service.GetStockList(1));
  EXPECT_EQ(host.RequestCount(), before + 1) << "the minute since the failure is not over";
}

TEST_F(SilentServer, isAskedByEveryLookUpThatHoldsNothing) {
  FallSilent();
  std::vector<std::pair<std::wstring, std::wstring>> plates;
  for (std::size_t call = 1; call <= 3; ++call) {
    EXPECT_TRUE(service.GetStockList(1).empty());
    EXPECT_TRUE(service.GetPlateList(1).empty());
    EXPECT_TRUE(service.GetIndexList(1).empty());
    EXPECT_FALSE(service.GetPlatesOfStock(L"sh600000", plates));
    EXPECT_EQ(NewRequests(), 4 * call);
  }
}

// --- The plates of many stocks ---

class PlatesAtHand : public SilentServer {
 protected:
  std::wstring PlateOf(const wchar_t* symbol) {
    return std::wstring(reference::FirstPlateOf(*service.PlatesAtHand(), symbol));
  }
};

TEST_F(PlatesAtHand, areLoadedOnceForAllStocks) {
  host.Expect(Script(answers::kInPlatesPath)
                  .Setting(8)
                  .With({{"category", "hy"}})
                  .Inline(Answer::Body(answers::kInPlates)));
  const auto table = service.PlatesAtHand();
  EXPECT_EQ(reference::FirstPlateOf(*table, L"sh600000"), L"银行");
  EXPECT_EQ(reference::FirstPlateOf(*table, L"sz000001"), L"银行");
  EXPECT_EQ(reference::FirstPlateOf(*table, L"sz000002"), L"");
  EXPECT_EQ(PlateOf(L"sh600000"), L"银行");
  EXPECT_EQ(host.RequestCount(), 1U);
}

TEST_F(PlatesAtHand, areKeptByWhoHasThem) {
  host.Expect(Script(answers::kInPlatesPath).Inline(Answer::Body(answers::kInPlates)));
  const auto table = service.PlatesAtHand();
  host.Allow(Script(answers::kInPlatesPath).Inline(Answer::Body(R"({"errno":0,"data":{}})")));
  answers::Allow(host, answers::kInPlatesPath);
  service.FinishRound({1, true});
  EXPECT_EQ(reference::FirstPlateOf(*table, L"sh600000"), L"银行");
}

// A watch list of fifty stocks waited fifty times eight seconds.
TEST_F(PlatesAtHand, areNotAskedForWithinThirtySecondsOfAFailure) {
  const std::vector<std::pair<std::string, Answer>> fruitless = {
      {"no answer", Answer::Failed()},
      {"an empty body", Answer::Body("")},
      {"an empty table", Answer::Body(R"({"errno":0,"data":{}})")}};
  for (const auto& [what, answer] : fruitless) {
    SCOPED_TRACE(what);
    const std::size_t before = host.RequestCount();
    host.Expect(Script(answers::kInPlatesPath).Times(2).Inline(answer));
    for (int call = 0; call < 5; ++call) {
      EXPECT_EQ(PlateOf(L"sh600000"), L"");
    }
    steady.Advance(30 * kSecond - 1);
    EXPECT_EQ(PlateOf(L"sh600000"), L"");
    EXPECT_EQ(host.RequestCount(), before + 1);
    steady.Advance(1);
    EXPECT_EQ(PlateOf(L"sh600000"), L"");
    EXPECT_EQ(host.RequestCount(), before + 2);
    steady.Advance(30 * kSecond);
  }
}

TEST_F(PlatesAtHand, countTheFailuresOfOthers) {
  FallSilent();
  std::vector<std::pair<std::wstring, std::wstring>> plates;
  service.GetPlatesOfStock(L"sh600000", plates);
  EXPECT_EQ(PlateOf(L"sh600000"), L"");
  EXPECT_EQ(NewRequests(), 1U);
  service.GetPlatesOfStock(L"sh600000", plates);
  EXPECT_EQ(NewRequests(), 2U) << "one stock's plates are asked for all the same";
}

TEST_F(PlatesAtHand, doNotWaitForTheLoadOfAnother) {
  const std::vector<std::pair<std::string, std::function<void()>>> others = {
      {"a look-up of one stock",
       [this] {
         std::vector<std::pair<std::wstring, std::wstring>> plates;
         service.GetPlatesOfStock(L"sh600000", plates);
       }},
      {"a look-up of many", [this] { static_cast<void>(service.PlatesAtHand()); }},
      {"a start", [this] {
         service.Init({});
         host.RunTasks();
       }}};
  for (const auto& [what, load] : others) {
    SCOPED_TRACE(what);
    const std::size_t number = host.RequestCount();
    host.Expect(Script(answers::kInPlatesPath).Held());
    answers::Allow(host, answers::kInPlatesPath);
    std::thread other(load);
    std::size_t held = number;
    while (host.AwaitRequest(held).path != answers::kInPlatesPath) {
      ++held;
    }
    EXPECT_EQ(PlateOf(L"sh600000"), L"") << "at once";
    host.Complete(held, Answer::Failed());
    other.join();
    steady.Advance(30 * kSecond);
  }
}

TEST_F(PlatesAtHand, areEmptyWhenTheHostThrows) {
  host.Expect(Script(answers::kInPlatesPath).Inline([](const Request&) -> Answer {
    throw std::runtime_error("no socket");
  }));
  EXPECT_EQ(PlateOf(L"sh600000"), L"");
  EXPECT_EQ(PlateOf(L"sh600000"), L"");
  EXPECT_EQ(host.RequestCount(), 1U);
}

}  // namespace

// The double itself: that it does what it was told, and that it fails a test when it should.
#include "scripted_host.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <atomic>
#include <fstream>

#include "host/host.h"
#include "scripted_ticks.h"

namespace {

using ::testing::Test;

struct Completion {
  int calls = 0;
  bool ok = false;
  bool null_body = false;
  std::string body;
  std::thread::id thread;

  AsynCallback Receiver() {
    return [this](bool flag, const char* bytes, std::size_t length) {
      ++calls;
      ok = flag;
      null_body = bytes == nullptr;
      body = bytes == nullptr ? std::string() : std::string(bytes, length);
      thread = std::this_thread::get_id();
    };
  }
};

struct Watcher final : IUpdate1<std::vector<std::wstring>> {
  std::vector<std::vector<std::wstring>> lists;
  void Update(const std::vector<std::wstring>& list) override { lists.push_back(list); }
};

std::wstring Url(const std::wstring& path, const NameValues& parameters = {}) {
  return pattern::CSingleton<UrlHelper>::GetInstance()->GetSigniture(path, parameters);
}

class ScriptedHostTest : public Test {
 protected:
  ScriptedHost host;
};

TEST_F(ScriptedHostTest, answersInsideTheCallWhenToldSo) {
  host.Expect(Script("/pc/rt/get").Inline(Answer::Body("[]")));
  Completion completion;
  GetAsyn(Url(L"/pc/rt/get"), completion.Receiver(), {}, 30);
  EXPECT_EQ(completion.calls, 1);
  EXPECT_TRUE(completion.ok);
  EXPECT_EQ(completion.body, "[]");
  EXPECT_EQ(completion.thread, std::this_thread::get_id());
}

TEST_F(ScriptedHostTest, handsOverEveryKindOfAnswer) {
  host.Expect(Script("/a").Inline(Answer::Failed()));
  host.Expect(Script("/a").Inline(Answer::Failed("gone")));
  host.Expect(Script("/a").Inline(Answer::Null()));
  host.Expect(Script("/a").Inline(Answer::Body("")));
  Completion failed, status, null, empty;
  GetAsyn(Url(L"/a"), failed.Receiver(), {}, 1);
  GetAsyn(Url(L"/a"), status.Receiver(), {}, 1);
  GetAsyn(Url(L"/a"), null.Receiver(), {}, 1);
  GetAsyn(Url(L"/a"), empty.Receiver(), {}, 1);
  EXPECT_FALSE(failed.ok);
  EXPECT_TRUE(failed.null_body);
  EXPECT_FALSE(status.ok);
  EXPECT_EQ(status.body, "gone");
  EXPECT_TRUE(null.ok);
  EXPECT_TRUE(null.null_body);
  EXPECT_TRUE(empty.ok);
  EXPECT_FALSE(empty.null_body);
}

TEST_F(ScriptedHostTest, answersOnTheChosenWorker) {
  host.Expect(Script("/a").OnWorker(1, Answer::Body("x")));
  host.Expect(Script("/b").OnWorker(1, Answer::Body("y")));
  host.Expect(Script("/c").OnWorker(2, Answer::Body("z")));
  Completion first, second, third;
  GetAsyn(Url(L"/a"), first.Receiver(), {}, 1);
  GetAsyn(Url(L"/b"), second.Receiver(), {}, 1);
  GetAsyn(Url(L"/c"), third.Receiver(), {}, 1);
  host.Settle();
  EXPECT_EQ(first.calls + second.calls + third.calls, 3);
  EXPECT_NE(first.thread, std::this_thread::get_id());
  EXPECT_EQ(first.thread, second.thread);
  EXPECT_NE(first.thread, third.thread);
}

TEST_F(ScriptedHostTest, answersHeldRequestsInAnyOrder) {
  host.Expect(Script("/a").Times(2));
  Completion first, second;
  GetAsyn(Url(L"/a"), first.Receiver(), {}, 1);
  GetAsyn(Url(L"/a"), second.Receiver(), {}, 1);
  EXPECT_EQ(host.HeldRequests(), (std::vector<std::size_t>{0, 1}));
  host.Complete(1, Answer::Body("late"));
  EXPECT_EQ(second.body, "late");
  EXPECT_EQ(first.calls, 0);
  host.CompleteOn(7, 0, Answer::Body("last"));
  host.Settle();
  EXPECT_EQ(first.body, "last");
  EXPECT_TRUE(host.HeldRequests().empty());
}

TEST_F(ScriptedHostTest, recordsWhatARequestWas) {
  host.Expect(Script("/pc/rt/get stocks").Inline(Answer::Body("{}")));
  Completion completion;
  GetAsyn(Url(L"/pc/rt/get stocks", {{"stock_arr", "[\"sh000001\"]"}, {"date", "20240315"}}),
          completion.Receiver(), {{"h", "v"}}, 3);
  const Request request = host.Requests().at(0);
  EXPECT_EQ(request.number, 0u);
  EXPECT_EQ(request.kind, Request::Kind::kAsync);
  EXPECT_EQ(request.server, "http://api.test");
  EXPECT_EQ(request.path, "/pc/rt/get stocks");
  EXPECT_EQ(request.parameters, (NameValues{{"date", "20240315"}, {"stock_arr", "[\"sh000001\"]"}}));
  EXPECT_EQ(request.headers, (NameValues{{"h", "v"}}));
  EXPECT_EQ(request.setting, 3);
  EXPECT_EQ(request.thread, std::this_thread::get_id());
}

TEST_F(ScriptedHostTest, countsOnAfterItForgotRequests) {
  host.Allow(Script("/pc/rt/get"));
  Completion first;
  Completion second;
  GetAsyn(Url(L"/pc/rt/get"), first.Receiver(), {}, 30);
  host.ForgetRequests();
  EXPECT_TRUE(host.Requests().empty());
  EXPECT_TRUE(host.Signings().empty());
  GetAsyn(Url(L"/pc/rt/get"), second.Receiver(), {}, 3);
  EXPECT_EQ(host.RequestCount(), 2U);
  EXPECT_EQ(host.AwaitRequest(1).setting, 3);
  host.Complete(0, Answer::Body("{}"));
  EXPECT_EQ(first.calls, 1);
  host.Complete(1, Answer::Body("{}"));
  EXPECT_EQ(second.calls, 1);
}

TEST_F(ScriptedHostTest, matchesParametersAndSettingWhereTheScriptNamesThem) {
  host.Expect(Script("/a").With({{"k", "1"}}).Inline(Answer::Body("one")));
  host.Expect(Script("/a").Setting(8).Inline(Answer::Body("eight")));
  host.Expect(Script("/a").Inline(Answer::Body("any")));
  Completion any, eight, one;
  GetAsyn(Url(L"/a", {{"k", "2"}}), any.Receiver(), {}, 30);
  GetAsyn(Url(L"/a", {{"k", "2"}}), eight.Receiver(), {}, 8);
  GetAsyn(Url(L"/a", {{"k", "1"}}), one.Receiver(), {}, 30);
  EXPECT_EQ(any.body, "any");
  EXPECT_EQ(eight.body, "eight");
  EXPECT_EQ(one.body, "one");
}

TEST_F(ScriptedHostTest, answersSynchronousRequestsAndDownloads) {
  host.Expect(Script("/a").Inline(Answer::Body("now")));
  host.Expect(Script("/kline.meta.gzip").Inline(Answer::Body(Gzip("sh600000 20240314"))));
  std::string body;
  EXPECT_TRUE(GetSync(Url(L"/a"), body, {}, 8));
  EXPECT_EQ(body, "now");
  const std::wstring path = common::s2ws(host.Directory() + "/file.gzip", common::kUtf8);
  const std::wstring root = pattern::CSingleton<UrlHelper>::GetInstance()->StaticRoot();
  EXPECT_TRUE(DownloadFileSyncWithRetry(root + L"kline.meta.gzip", path, 3, 8));
  std::string text;
  EXPECT_TRUE(GZipExtract(path.c_str(), text));
  EXPECT_EQ(text, "sh600000 20240314");
  EXPECT_EQ(host.Requests().at(1).kind, Request::Kind::kDownload);
  EXPECT_EQ(host.Requests().at(1).server, "http://static.test");
  EXPECT_EQ(host.Requests().at(1).destination, path);
}

TEST_F(ScriptedHostTest, keepsASynchronousCallerWaitingForAHeldAnswer) {
  host.Expect(Script("/a"));
  std::string body;
  std::thread caller([&body] { EXPECT_TRUE(GetSync(Url(L"/a"), body, {}, 8)); });
  EXPECT_EQ(host.AwaitRequest(0).kind, Request::Kind::kSync);
  host.Complete(0, Answer::Body("then"));
  caller.join();
  EXPECT_EQ(body, "then");
}

TEST_F(ScriptedHostTest, refusesWhatIsNoWholeGzipFile) {
  const std::string name = host.Directory() + "/file";
  const std::wstring path = common::s2ws(name, common::kUtf8);
  std::string text = "x";
  EXPECT_FALSE(GZipExtract(path.c_str(), text));
  EXPECT_EQ(text, "");
  std::ofstream(name) << "no gzip";
  EXPECT_FALSE(GZipExtract(path.c_str(), text));
  const std::string whole = Gzip(std::string(5000, 'a') + "end");
  std::ofstream(name, std::ios::binary) << whole.substr(0, whole.size() - 3);
  EXPECT_FALSE(GZipExtract(path.c_str(), text));
  EXPECT_EQ(text, "");
}

TEST_F(ScriptedHostTest, signsReadably) {
  EXPECT_EQ(Url(L"/pc/rt/get", {{"start", "0"}, {"end", "50"}, {"s", "a b\"\xE4\xB8\xAD"}}),
            L"http://api.test/pc/rt/get?end=50&s=a%20b%22%E4%B8%AD&start=0");
  EXPECT_EQ(Url(L"/pc/rt/stock_buy"), L"http://api.test/pc/rt/stock_buy");
  host.SignNothing(true);
  EXPECT_EQ(Url(L"/pc/rt/stock_buy", {{"a", "b"}}), L"");
  ASSERT_EQ(host.Signings().size(), 3u);
  EXPECT_EQ(host.Signings().at(2).path, L"/pc/rt/stock_buy");
  EXPECT_EQ(host.Signings().at(2).parameters, (NameValues{{"a", "b"}}));
}

TEST_F(ScriptedHostTest, failsTheTestOnARequestThatNoScriptCovers) {
  Completion completion;
  GetAsyn(Url(L"/a"), completion.Receiver(), {}, 30);
  EXPECT_EQ(host.TakeProblems(),
            std::vector<std::string>{"a request that no script covers: http://api.test/a (setting 30)"});
  EXPECT_EQ(completion.calls, 0);
}

TEST_F(ScriptedHostTest, failsTheTestOnMoreRequestsThanScripted) {
  host.Expect(Script("/a"));
  Completion completion;
  GetAsyn(Url(L"/a"), completion.Receiver(), {}, 30);
  GetAsyn(Url(L"/a"), completion.Receiver(), {}, 30);
  EXPECT_EQ(host.TakeProblems().size(), 1u);
}

TEST_F(ScriptedHostTest, failsTheTestOnAScriptThatNothingUsed) {
  host.Expect(Script("/a"));
  host.Allow(Script("/b"));
  EXPECT_EQ(host.TakeProblems(), std::vector<std::string>{"expected 1 requests to /a, 0 came"});
}

TEST_F(ScriptedHostTest, failsTheTestOnALogLineThatNobodyExpected) {
  WriteProgramLogNoMask(L"Code: %d", 7);
  EXPECT_EQ(host.TakeProblems(),
            std::vector<std::string>{"a log line that nobody expected: WriteProgramLogNoMask \"Code: 7\""});
}

TEST_F(ScriptedHostTest, failsTheTestOnALineFromTheWrongFunction) {
  host.ExpectFailureLine(L"A Failed.");
  host.ExpectCodeLine(L"Code: %d", 7);
  WriteProgramLogNoMask(L"A Failed.");
  WriteProgramLogNoMask(L"Code: 7");
  EXPECT_EQ(host.TakeProblems().size(), 4u);
}

TEST_F(ScriptedHostTest, failsTheTestOnAMaskThatIsNotAllOnes) {
  host.ExpectFailureLine(L"A Failed.");
  WriteProgramLogString(1, L"A Failed.");
  EXPECT_EQ(host.TakeProblems().size(), 2u);
}

TEST_F(ScriptedHostTest, failsTheTestOnAnExpectedLineThatDidNotCome) {
  host.ExpectLine(L"never");
  EXPECT_EQ(host.TakeProblems(),
            std::vector<std::string>{"expected 1 times the log line \"never\", it came 0 times"});
}

TEST_F(ScriptedHostTest, failsTheTestOnASecondAnswer) {
  host.Expect(Script("/a"));
  Completion completion;
  GetAsyn(Url(L"/a"), completion.Receiver(), {}, 30);
  host.Complete(0, Answer::Body("x"));
  host.Complete(0, Answer::Body("x"));
  EXPECT_EQ(completion.calls, 1);
  EXPECT_EQ(host.TakeProblems().size(), 1u);
}

TEST(ScriptedHostLife, reportsItsProblemsWhenItEnds) {
  EXPECT_NONFATAL_FAILURE(
      {
        ScriptedHost host;
        WriteProgramLogString(0xFFFFFFFFU, L"A Failed.");
      },
      "a log line that nobody expected: WriteProgramLogString \"A Failed.\"");
}

TEST_F(ScriptedHostTest, capturesLinesWithTheirWriterAndFormat) {
  host.ExpectFailureLine(L"A Failed.");
  host.ExpectCodeLine(L"A Response Error Code: %d", -3);
  host.AllowLine(L"word");
  WriteProgramLogString(0xFFFFFFFFU, L"A Failed.");
  WriteProgramLogNoMask(L"A Response Error Code: %d", -3);
  WriteProgramLogNoMask(L"%ls", L"word");
  const std::vector<LogLine> log = host.Log();
  ASSERT_EQ(log.size(), 3u);
  EXPECT_EQ(log[0].writer, LogLine::Writer::kString);
  EXPECT_EQ(log[0].mask, 0xFFFFFFFFU);
  EXPECT_EQ(log[1].writer, LogLine::Writer::kNoMask);
  EXPECT_EQ(log[1].format, L"A Response Error Code: %d");
  EXPECT_EQ(log[1].text, L"A Response Error Code: -3");
  EXPECT_EQ(log[2].text, L"word");
}

TEST_F(ScriptedHostTest, clockStandsUntilMoved) {
  EXPECT_EQ(common::GetCurrentServerDate(), 20240315u);
  const std::int64_t start = common::GetCurrentServerTime();
  EXPECT_EQ(start, 1710468000);
  host.Advance(14 * 3600);
  EXPECT_EQ(common::GetCurrentServerTime(), start + 14 * 3600);
  EXPECT_EQ(common::GetCurrentServerDate(), 20240316u);
  host.SetTime(20231231, 23, 59, 59);
  EXPECT_EQ(common::TimeToDate(common::GetCurrentServerTime() + 1), 20240101u);
}

TEST_F(ScriptedHostTest, knowsThePhasesOfATradingDay) {
  const auto status = [](int hour, int minute, int second) {
    return static_cast<int>(stock::CheckMarketStatus(
        static_cast<std::uint32_t>(common::DateToTime(20240315, hour, minute, second))));
  };
  EXPECT_EQ(status(8, 59, 59), 1);
  EXPECT_EQ(status(9, 0, 0), 2);
  EXPECT_EQ(status(9, 15, 0), 3);
  EXPECT_EQ(status(9, 30, 0), 4);
  EXPECT_EQ(status(11, 30, 0), 5);
  EXPECT_EQ(status(13, 0, 0), 6);
  EXPECT_EQ(status(15, 0, 0), 7);
  host.SetMarketStatus(3);
  EXPECT_EQ(status(15, 0, 0), 3);
}

TEST_F(ScriptedHostTest, spansNightsWeekendsAndHolidays) {
  const auto span = [](std::uint32_t date, int hour) {
    return stock::TimeSpanToNextMarketStatus(
        static_cast<std::uint32_t>(common::DateToTime(date, hour, 0, 0)));
  };
  EXPECT_EQ(span(20240315, 10), 5400);
  EXPECT_EQ(span(20240315, 15), 9 * 3600);            // to midnight, when the last trading day is over
  EXPECT_EQ(span(20240316, 0), (2 * 24 + 9) * 3600);  // Saturday to Monday
  pattern::CSingleton<common::LegalHoliday>::GetInstance()->SetHolidays(2024, {20240318});
  EXPECT_EQ(span(20240316, 0), (3 * 24 + 9) * 3600);
  EXPECT_EQ(stock::GetLastTradingDate(20240319), 20240315u);
  EXPECT_EQ(host.HolidayCalls().at(0).year, 2024);
}

TEST_F(ScriptedHostTest, answersSpansFromTheScriptFirst) {
  host.SetSpan(7200);
  host.ScriptSpans({0, -1});
  EXPECT_EQ(stock::TimeSpanToNextMarketStatus(1), 0);
  EXPECT_EQ(stock::TimeSpanToNextMarketStatus(2), -1);
  EXPECT_EQ(stock::TimeSpanToNextMarketStatus(3), 7200);
  EXPECT_EQ(host.SpanCalls(), (std::vector<std::uint32_t>{1, 2, 3}));
}

TEST_F(ScriptedHostTest, holdsAThreadThatAsksForTheSpan) {
  host.HoldSpans();
  std::atomic<int> answer{0};
  std::thread thread([&answer] { answer = stock::TimeSpanToNextMarketStatus(0); });
  ASSERT_TRUE(host.AwaitHeldSpan());
  EXPECT_EQ(answer, 0);
  host.ReleaseSpan(42);
  thread.join();
  EXPECT_EQ(answer, 42);
}

TEST_F(ScriptedHostTest, queuesTasksUntilTheTestRunsThem) {
  std::vector<int> order;
  base::TaskManagerInstance()->AddTask([&] {
    order.push_back(1);
    base::TaskManagerInstance()->AddTask([&] { order.push_back(3); });
  });
  base::TaskManagerInstance()->AddTask([&] { order.push_back(2); });
  EXPECT_EQ(host.QueuedTasks(), 2u);
  EXPECT_TRUE(order.empty());
  EXPECT_EQ(host.RunTasks(), 3u);
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST_F(ScriptedHostTest, runsTasksInlineOrOnAWorker) {
  std::thread::id thread;
  host.SetTaskMode(ScriptedHost::TaskMode::kInline);
  base::TaskManagerInstance()->AddTask([&] { thread = std::this_thread::get_id(); });
  EXPECT_EQ(thread, std::this_thread::get_id());
  host.SetTaskMode(ScriptedHost::TaskMode::kWorker, 1);
  base::TaskManagerInstance()->AddTask([&] { thread = std::this_thread::get_id(); });
  host.Settle();
  EXPECT_NE(thread, std::this_thread::get_id());
}

TEST_F(ScriptedHostTest, tellsWatchersTheListAndItsChanges) {
  Watcher watcher;
  host.SetWatchList({L"sh600000"});
  GetUserOptionalStock()->Attach(&watcher);
  host.SetWatchList({L"sh600000", L"sz000001"});
  GetUserOptionalStock()->Detach(&watcher);
  host.SetWatchList({});
  EXPECT_EQ(watcher.lists,
            (std::vector<std::vector<std::wstring>>{{L"sh600000"}, {L"sh600000", L"sz000001"}}));
  EXPECT_EQ(host.WatchListObservers(), 0u);
}

TEST_F(ScriptedHostTest, givesEachSymbolADirectory) {
  const std::wstring root = common::s2ws(host.Directory(), common::kUtf8);
  EXPECT_EQ(stock::GetKLineFilePath(L"SH600000"), root + L"/kline/sh600000");
  EXPECT_EQ(stock::GetKLineFilePath(L"../etc00"), L"");
  EXPECT_EQ(stock::GetKLineMetaFilePath(), root + L"/meta");
  host.GiveEveryTextADirectory();
  EXPECT_EQ(stock::GetKLineFilePath(L"../etc00"), root + L"/kline/../etc00");
  EXPECT_EQ(stock::GetKLineFilePath(L"SH600000"), root + L"/kline/SH600000");
}

TEST_F(ScriptedHostTest, removesFilesUnlessToldNotTo) {
  const std::string name = host.Directory() + "/file";
  const std::wstring path = common::s2ws(name, common::kUtf8);
  std::ofstream(name) << "x";
  host.FailRemoving(true);
  EXPECT_FALSE(common::ForceRemoveFile(path.c_str()));
  host.FailRemoving(false);
  EXPECT_TRUE(common::ForceRemoveFile(path.c_str()));
  EXPECT_TRUE(common::ForceRemoveFile(path.c_str()));
}

TEST_F(ScriptedHostTest, refusesASecondLiveHost) {
  EXPECT_THROW(ScriptedHost(), std::logic_error);
}

TEST(ScriptedHostLife, holdsStrayCallsAgainstTheNextHost) {
  WriteProgramLogString(0xFFFFFFFFU, L"A Failed.");
  ScriptedHost host;
  EXPECT_EQ(host.TakeProblems(), std::vector<std::string>{"while no host was live: a log line: A Failed."});
}

TEST(ScriptedHostLife, letsHeldCallersGoWhenItEnds) {
  std::thread thread;
  {
    ScriptedHost host;
    host.Expect(Script("/a"));
    thread = std::thread([] {
      std::string body;
      EXPECT_FALSE(GetSync(L"http://api.test/a", body, {}, 8));
    });
    host.AwaitRequest(0);
  }
  thread.join();
}

TEST(ScriptedTicks, standStillUntilMovedAndGiveTheClockBack) {
  {
    ScriptedTicks ticks;
    const std::int64_t start = frame::Ticks();
    EXPECT_EQ(frame::Ticks(), start);
    ticks.Advance(300);
    EXPECT_EQ(frame::MillisecondsBetween(start, frame::Ticks()), 300);
  }
  EXPECT_GT(frame::Ticks(), 17'104'968'000'000'000);
}

}  // namespace

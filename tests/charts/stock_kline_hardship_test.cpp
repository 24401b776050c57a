// What a chart shows while something fails, on slow lines, on a long day, and with thousands of symbols.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "kline_fixture.h"

namespace {

using namespace kline_test;
using Reply = std::function<Answer()>;

constexpr const char* kPackages[] = {"2023", "20240314", "20240315"};
constexpr const char* kAdjustments[] = {"bfq", "qfq", "hfq"};

// A day that begins where the one before, of base `before`, has closed.
KLineCandle DayAfter(int before, std::uint32_t date, int base) {
  KLineCandle day = Candle(date, base);
  day.preclose = Candle(date, before).close;
  return day;
}

// A server that has every piece of sh600000, and whatever is wrong with one of them.
class KLineHardship : public KLineTest {
 protected:
  KLineHardship() {
    HoldPolling();
    for (const char* const version : kPackages) {
      for (const char* const period : {"day", "week"}) {
        for (const char* const adjustment : kAdjustments) {
          host.Allow(Script(PackagePath("sh600000", period, adjustment, version))
                         .Inline([this](const Request& request) {
                           const bool with_friday = request.path.find("20240315") != std::string::npos;
                           return package ? package()
                                          : Answer::Body(Gzip(Package(with_friday ? UntilFriday() : days)));
                         }));
        }
      }
    }
    host.Allow(Script(kHistoryPath).Inline([this](const Request&) {
      return history ? history() : History(after_friday ? UntilFriday() : days);
    }));
    host.Allow(Script(kDayPath).Inline(
        [this](const Request&) { return day ? day() : Today("sh600000", after_friday ? monday : friday); }));
    for (const wchar_t* const line :
         {L"StockKLine::FetchKLine Failed.", L"StockKLine::FetchKLine Response Error Code: 1001",
          L"StockKLine::FetchKLine Json Parse Error Code: 5"}) {
      host.AllowLine(line);
    }
    CountDays(3);
    Show(view, L"sh600000");
  }

  ~KLineHardship() override { LetPollingGo(); }

  void CountDays(int count) {
    for (const int adjustment : {1, 2, 3}) packages.Count(L"sh600000", 1, adjustment, count);
  }
  std::vector<KLineCandle> UntilFriday() const {
    std::vector<KLineCandle> all = days;
    all.push_back(friday);
    return all;
  }
  // The whole series as it is today.
  std::list<KLineCandle> Right() const {
    const std::vector<KLineCandle> before = after_friday ? UntilFriday() : days;
    std::list<KLineCandle> all(before.begin(), before.end());
    all.push_back(after_friday ? monday : friday);
    return all;
  }
  std::list<KLineCandle> Shown() const {
    return view.Count() == 0 ? std::list<KLineCandle>() : view.Last().candles;
  }
  void OpenNextWeek() {
    host.SetTime(20240318, 10, 0, 0);
    after_friday = true;
    packages.Announce(L"20240315");
    CountDays(4);
  }

  const std::vector<KLineCandle> days = {Candle(20240312, 10), DayAfter(10, 20240313, 20),
                                         DayAfter(20, 20240314, 30)};
  const KLineCandle friday = DayAfter(30, 20240315, 40);
  const KLineCandle monday = DayAfter(40, 20240318, 50);
  bool after_friday = false;
  Reply package, history, day;  // what is answered in place of the right thing
};

// --- Every fault, with nothing shown and with a full chart ---

// In each adjustment. Nothing happened to the stock, so the series is the same in all of them.
class KLineFault : public KLineHardship, public ::testing::WithParamInterface<int> {
 public:
  void Ask() { service->FetchKLine(L"sh600000", 1, GetParam(), {}); }

  // Names of faults, and what each of them does.
  std::map<std::string, std::function<void()>> Faults() {
    std::map<std::string, std::function<void()>> faults;
    const std::map<std::string, Answer> answers = {
        {"no answer", Answer::Failed()},
        {"status", Answer::Failed("not here")},
        {"nothing", Answer::Null()},
        {"empty", Answer::Body("")},
        {"no JSON", Answer::Body("<html>")},
        {"error number", Answer::Body(R"({"errno":1001,"data":{}})")},
        {"no data", Answer::Body(R"({"errno":0})")},
        {"no rows", Answer::Body(R"({"errno":0,"data":{"foo":{"list":[]}}})")},
        {"short rows", Answer::Body(R"({"errno":0,"data":{"foo":{"list":[[],[1,2]]}}})")},
        {"null", Answer::Body(R"({"errno":0,"data":{"sh600000":null,"foo":null}})")},
        {"no list", Answer::Body(R"({"errno":0,"data":{"sh600000":{"date":"20240318"}}})")},
        {"no date",
         Answer::Body(R"({"errno":0,"data":{"sh600000":{"list":{"preclose":42,"last":44}},"foo":{}}})")},
        {"a time in the date",
         Answer::Body(
             R"({"errno":0,"data":{"sh600000":{"date":"2024-03-15 10:00:00","list":{"last":44}},"foo":{}}})")},
        {"no figures",
         Answer::Body(R"({"errno":0,"data":{"sh600000":{"date":"20240315","list":[null]},"foo":{}}})")},
        {"no trade yet",
         Answer::Body(
             R"({"errno":0,"data":{"sh600000":{"date":"20240318","list":{"preclose":42,"vol":0}},"foo":{}}})")}};
    for (const auto& [name, answer] : answers) {
      faults["history: " + name] = [this, answer = answer] { history = [answer] { return answer; }; };
      if (name != "short rows" && name != "no rows") {
        faults["day: " + name] = [this, answer = answer] { day = [answer] { return answer; }; };
      }
    }
    const std::string whole = Gzip(Package(days));
    const std::map<std::string, Answer> downloads = {{"no answer", Answer::Failed()},
                                                     {"no gzip", Answer::Body(Package(days))},
                                                     {"cut", Answer::Body(whole.substr(0, whole.size() / 2))},
                                                     {"nothing", Answer::Body("")},
                                                     {"empty", Answer::Body(Gzip(""))},
                                                     {"no candles", Answer::Body(Gzip("one\ntwo\n"))}};
    for (const auto& [name, answer] : downloads) {
      const auto broken = [this, answer = answer] { package = [answer] { return answer; }; };
      faults["package: " + name] = broken;
      faults["package and history: " + name] = [this, broken] {
        broken();
        history = [] { return Answer::Failed(); };
      };
    }
    faults["metadata: none"] = [this] { packages.Announce(L""); };
    faults["metadata: older"] = [this] { packages.Announce(L"2023"); };
    faults["metadata: no version"] = [this] { packages.Announce(L"9/../9"); };
    faults["metadata: count"] = [this] { CountDays(1'000'000'000); };
    faults["store: cannot be opened"] = [this] {
      std::filesystem::remove_all(Directory() + "/trace.db");
      std::filesystem::create_directories(Directory() + "/trace.db");
    };
    faults["store: damaged"] = [this] { Write(Directory() + "/trace.db", std::string(4096, 'x')); };
    faults["store: gone"] = [this] { std::filesystem::remove_all(Directory()); };
    faults["disk: no directory"] = [this] {
      std::filesystem::remove_all(Directory());
      std::ofstream(Directory()) << "a file where the directory should be";
    };
    return faults;
  }

  void Heal() {
    package = history = day = nullptr;
    packages.Announce(after_friday ? L"20240315" : L"20240314");
    CountDays(after_friday ? 4 : 3);
    if (!std::filesystem::is_directory(Directory()) ||
        std::filesystem::is_directory(Directory() + "/trace.db")) {
      std::filesystem::remove_all(Directory());
    }
    PassBackOff();
  }
  // As a program that starts anew, with an empty disk.
  void StartAnew() {
    service->Detach(&view);
    LetPollingGo();
    HoldPolling();
    std::filesystem::remove_all(Directory());
    std::filesystem::create_directories(Directory());
    host.SetTime(20240315, 10, 0, 0);
    after_friday = false;
    Heal();
    Show(view, L"sh600000");
  }
};

TEST_P(KLineFault, neverMakesAFullChartWorseAndIsOverWithTheNextLoad) {
  for (const auto& [name, begin] : Faults()) {
    SCOPED_TRACE(name);
    StartAnew();
    Ask();
    ASSERT_EQ(Shown(), Right());
    const std::list<KLineCandle> before = Shown();
    // At once; on the next trading day with a new package; and in loads after that.
    for (const char* const when : {"at once", "on the next day", "later", "after ten minutes"}) {
      SCOPED_TRACE(when);
      if (std::string(when) == "on the next day") OpenNextWeek();
      if (std::string(when) == "after ten minutes") PassBackOff();
      begin();
      service->Refresh();
      const std::list<KLineCandle> shown = Shown();
      ASSERT_TRUE(std::includes(
          shown.begin(), shown.end(), before.begin(), before.end(),
          [](const KLineCandle& left, const KLineCandle& right) { return left.date < right.date; }));
      EXPECT_TRUE(std::equal(before.begin(), before.end(), shown.begin())) << "a candle has changed";
    }
    Heal();
    service->Refresh();
    EXPECT_EQ(Shown(), Right());
  }
}

TEST_P(KLineFault, isOverWithTheNextLoadWhereNothingWasShown) {
  for (const auto& [name, begin] : Faults()) {
    SCOPED_TRACE(name);
    StartAnew();
    begin();
    Ask();
    service->Refresh();
    Heal();
    service->Refresh();
    EXPECT_EQ(Shown(), Right());
  }
}

INSTANTIATE_TEST_SUITE_P(Adjustments, KLineFault, ::testing::Values(1, 2, 3));

// --- Slow lines ---

// After a quick switch from days that come slowly to weeks that are on disk the view ended with the days.
TEST_F(KLineHardship, theSeriesAskedForLastIsShown) {
  const std::vector<KLineCandle> weeks = {Candle(20240308, 7), Candle(20240314, 8)};
  Keep(L"20240314", weeks, 2);
  host.SetTaskMode(ScriptedHost::TaskMode::kQueued);
  package = [this] {
    // Meanwhile the user switches.
    service->FetchKLine(L"sh600000", 2, 1, {});
    host.RunTasks();
    return Answer::Body(Gzip(Package(days)));
  };
  service->FetchKLine(L"sh600000", 1, 1, {});
  host.RunTasks();
  ASSERT_EQ(view.Count(), 1U);
  EXPECT_EQ(view.Last().period, 2);
  service->Refresh();
  host.RunTasks();
  EXPECT_EQ(view.Last().period, 2);
  for (const StockKLineData& told : view.Updates()) EXPECT_EQ(told.period, 2);
}

// Polls during a slow download ran after it in reverse order, and every one added a delivery.
TEST_F(KLineHardship, ofThePollsDuringADownloadTheNewestIsToldOnce) {
  host.SetTaskMode(ScriptedHost::TaskMode::kQueued);
  int poll = 0;
  day = [&poll] { return Today("sh600000", Candle(20240315, 40 + poll)); };
  package = [&] {
    for (poll = 1; poll <= 50; ++poll) service->Refresh();
    service->FetchKLine(L"sh600000", 1, 1, KLineTest::Keep());
    EXPECT_EQ(host.QueuedTasks(), 0U) << "no thread is held, and no task waits";
    return Answer::Body(Gzip(Package(days)));
  };
  service->Refresh();
  host.RunTasks();
  ASSERT_EQ(view.Count(), 1U);
  EXPECT_EQ(Shown().back(), Candle(20240315, 90));
  ASSERT_EQ(got.size(), 1U) << "a direct request gets its own answer";
  EXPECT_EQ(got[0].candles.back(), Candle(20240315, 91));
}

// --- A long day ---

// A day that the history service did not have yet stayed missing all day.
TEST_F(KLineHardship, aDayThatComesLateIsShownWithinTenMinutes) {
  packages.Announce(L"20240313");
  Keep(L"20240313", {days[0], days[1]});
  history = [this] { return History({days[0], days[1]}); };
  service->Refresh();
  EXPECT_EQ(Shown(), List({days[0], days[1], friday}));
  history = nullptr;
  for (int minute = 1; minute <= 10; ++minute) {
    steady.Advance(60'000);
    service->Refresh();
  }
  EXPECT_EQ(Shown(), Right());
  EXPECT_EQ(host.RequestsTo(kHistoryPath).size(), 2U);
}

TEST_F(KLineHardship, anUnansweredQueryForTheTailIsMadeAgainWithTheNextLoad) {
  packages.Announce(L"20240313");
  Keep(L"20240313", {days[0], days[1]});
  history = [] { return Answer::Failed(); };
  service->Refresh();
  history = nullptr;
  service->Refresh();
  EXPECT_EQ(Shown(), Right());
}

// A newly listed stock has no package: three tries and a thousand rows with every poll.
TEST_F(KLineHardship, aNewListingCostsOneDownloadInTenMinutesAtMost) {
  constexpr int kSeconds = 5 * 3600 + 1800;
  constexpr int kPoll = 3;
  packages.Count(L"sh600000", 1, 1, 0);
  package = [] { return Answer::Failed(); };
  history = [] { return Answer::Body(R"({"errno":0,"data":{"foo":{"list":[]}}})"); };
  std::size_t downloads = 0;
  std::size_t queries = 0;
  std::int64_t last = -600'000;
  for (int second = 0; second < kSeconds; second += kPoll) {
    service->Refresh();
    steady.Advance(kPoll * 1000);
    if (const std::size_t now = host.RequestsTo(PackagePath("sh600000", "day", "bfq", "20240314")).size();
        now > 0) {
      EXPECT_EQ(now, 1U);
      EXPECT_GE(second * 1000 - last, 600'000) << second;
      last = second * 1000;
      downloads += now;
    }
    queries += host.RequestsTo(kHistoryPath).size();
    host.ForgetRequests();
  }
  EXPECT_EQ(Shown(), List({friday}));
  EXPECT_EQ(downloads, 33U);
  EXPECT_LE(queries, 33U);
}

// --- Thousands of symbols ---

TEST_F(KLineHardship, theSeriesShownLastIsInMemory) {
  const auto symbol = [](int number) { return L"sh60" + std::to_wstring(1000 + number); };
  packages.Announce(L"");
  day = [] { return NoToday(); };
  for (int number = 0; number < 200; ++number) {
    service->FetchKLine(symbol(number).c_str(), 1, 1, KLineTest::Keep());
  }
  ASSERT_EQ(host.RequestsTo(kHistoryPath).size(), 200U);
  host.ForgetRequests();
  std::filesystem::remove_all(host.Directory() + "/kline");
  for (int number = 136; number < 200; ++number) {
    service->FetchKLine(symbol(number).c_str(), 1, 1, KLineTest::Keep());
    EXPECT_EQ(got.back().candles.size(), 3U);
  }
  EXPECT_EQ(host.RequestsTo(kHistoryPath).size(), 0U) << "sixty-four series are held";
  EXPECT_FALSE(std::filesystem::exists(host.Directory() + "/kline")) << "not even the stores are opened";
  const auto requests_for = [&](int number) {
    host.ForgetRequests();
    service->FetchKLine(symbol(number).c_str(), 1, 1, KLineTest::Keep());
    return host.RequestsTo(kHistoryPath).size();
  };
  EXPECT_EQ(requests_for(136), 0U);
  EXPECT_EQ(requests_for(0), 1U);
  EXPECT_EQ(requests_for(136), 0U) << "it was shown again";
  EXPECT_EQ(requests_for(137), 1U) << "the one shown least recently has gone";
}

// What was chosen for each symbol was remembered for ever.
TEST_F(KLineHardship, choicesForChartsThatNobodyShowsHaveAnEnd) {
  packages.Announce(L"");
  day = [] { return NoToday(); };
  service->FetchKLine(L"nobody's", 2, 1, {});
  service->FetchKLine(L"sh600000", 3, 1, {});
  for (int number = 0; number < 1100; ++number) {
    service->FetchKLine((L"other " + std::to_wstring(number)).c_str(), 2, 1, {});
  }
  RecordingObserver<StockKLineData> other;
  Show(other, L"nobody's");
  service->Refresh();
  EXPECT_EQ(view.Last().period, 3) << "the choice for a chart that is shown stays";
  EXPECT_EQ(other.Last().period, 1) << "as if nothing had been chosen";
  service->Detach(&other);
}

// --- Spelling ---

// "SH600000" never got today's candle.
TEST_F(KLineHardship, aSymbolInCapitalsIsTheSameStock) {
  RecordingObserver<StockKLineData> capitals;
  Show(capitals, L"SH600000");
  service->Refresh();
  EXPECT_EQ(Shown(), Right());
  EXPECT_EQ(capitals.Last(), (StockKLineData{L"SH600000", 1, 1, Right()}));
  service->Detach(&capitals);
}

}  // namespace

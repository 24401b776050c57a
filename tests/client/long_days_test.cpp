// Wrong clocks and long nights: the module over the real host services, signed requests to a server whose
// clock is right, and a machine whose clock is not, or that sleeps. Times are scripted; what travels is real.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "frame/planned_wait.h"
#include "holidays.h"
#include "host/host.h"
#include "loopback_server.h"
#include "reference/stock_common_service.h"
#include "reference/stock_market_state.h"
#include "running_host.h"
#include "scripted_world.h"
#include "services.h"
#include "tests/reference/answers.h"

namespace {

using client_test::ScriptedWorld;
using host_test::LoopbackServer;
using host_test::RunningHost;
using std::chrono::seconds;

constexpr std::int64_t kHour = 3600;
constexpr std::int64_t kDay = 24 * kHour;

std::int64_t At(std::uint32_t date, int hour, int minute) {
  return common::DateToTime(date, hour, minute, 0);
}

std::string HttpDate(std::int64_t time) {
  const std::time_t moment = time;
  std::tm parts{};
  gmtime_r(&moment, &parts);
  char text[64];
  std::strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S GMT", &parts);  // the tests run in the C locale
  return text;
}

/// Waits in real time for what comes over the wire.
template <class Reached>
[[nodiscard]] bool Await(Reached reached) {
  const auto end = std::chrono::steady_clock::now() + seconds(60);
  while (!reached()) {
    if (std::chrono::steady_clock::now() > end) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

struct Asked {
  std::string path;
  std::string year;  // of a calendar
  std::int64_t at = 0;
  bool accepted = true;  // signed within five minutes of the server's clock
};

/// A server of few lists whose clock is right.
class Server {
 public:
  [[nodiscard]] stock_host::Settings SettingsFor() const {
    stock_host::Settings settings;
    settings.api_root = http_.Url("");
    settings.static_root = http_.Url("");
    settings.key_id = "id";
    settings.key = "hush-hush";
    return settings;
  }
  void TellTheTime(bool tells) { tells_the_time_ = tells; }
  [[nodiscard]] std::vector<Asked> asked() {
    const std::lock_guard lock(mutex_);
    return asked_;
  }
  [[nodiscard]] std::size_t CountOf(const std::string& path) {
    const auto all = asked();
    return static_cast<std::size_t>(
        std::count_if(all.begin(), all.end(), [&](const Asked& request) { return request.path == path; }));
  }

 private:
  static std::string BodyOf(const Asked& request) {
    static const std::map<std::string, std::string> bodies = {{answers::kBasicInfoPath, answers::kBasicInfo},
                                                              {answers::kPlateListPath, answers::kPlateList},
                                                              {answers::kIndexListPath, answers::kIndexList},
                                                              {answers::kInPlatesPath, answers::kInPlates},
                                                              {answers::kVersionPath, answers::kVersion}};
    if (request.path == answers::kMetadataPath) {
      return host_test::Gzipped(answers::kMetadata);
    }
    if (request.path == answers::kHolidayPath) {
      // New Year's Day and, in 2024, the days around the fourth of April.
      const std::string more = request.year == "2024" ? R"(,"2024-04-04","2024-04-05")" : "";
      return R"({"errno":0,"data":{"list":[")" + request.year + R"(-01-01")" + more + "]}}";
    }
    const auto body = bodies.find(request.path);
    return body != bodies.end() ? body->second : R"({"errno":1003})";
  }
  static std::string ValueOf(const std::string& target, const std::string& name) {
    const std::size_t at = target.find(name + "=");
    return at == std::string::npos
               ? ""
               : target.substr(at + name.size() + 1, target.find('&', at) - at - name.size() - 1);
  }

  void Serve(LoopbackServer::Connection& connection) {
    for (std::string head = connection.ReadRequest(); !head.empty(); head = connection.ReadRequest()) {
      const std::size_t from = head.find('/');
      const std::string target = head.substr(from, head.find(' ', from) - from);
      Asked request{target.substr(0, target.find('?')), ValueOf(target, "date"), ScriptedWorld::Now()};
      const std::string signed_at = ValueOf(target, "_t");
      request.accepted =
          !tells_the_time_ || signed_at.empty() || std::abs(std::stoll(signed_at) - request.at) <= 300;
      const std::string body = request.accepted ? BodyOf(request) : R"({"errno":1001})";
      {
        const std::lock_guard lock(mutex_);
        asked_.push_back(request);
      }
      connection.Write("HTTP/1.1 200 OK\r\n" +
                       (tells_the_time_ ? "Date: " + HttpDate(request.at) + "\r\n" : std::string()) +
                       "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    }
  }

  std::atomic<bool> tells_the_time_{true};
  std::mutex mutex_;  // guards asked_
  std::vector<Asked> asked_;
  LoopbackServer http_{[this](LoopbackServer::Connection& connection) { Serve(connection); }};
};

bool AskOnce() {
  std::string body;
  return GetSync(pattern::CSingleton<UrlHelper>::GetInstance()->GetSigniture(L"/pc/rt/stock_version", {}),
                 body, {}, 8);
}

bool IsQuiet() {
  return stock_host::ReadCounters().under_way == 0;
}

/// A view of the phase, and the wait of the thread that tells it: looked at by the test in the thread's
/// place.
class PhaseView final : public IUpdate1<StockMarketState> {
 public:
  PhaseView() : service_(reference::MakeStockMarketState()) {
    service_->Attach(this);
    service_->Resume(this, true);
    wait_.emplace(service_->GetInterval());
  }
  ~PhaseView() { service_->Detach(this); }

  void Update(const StockMarketState& state) override {
    const std::lock_guard lock(mutex_);
    told_ = state;
  }

  /// What the thread does about once a second.
  void Look() {
    if (wait_->IsOver()) {
      service_->Refresh();
      wait_.emplace(service_->GetInterval());
    }
  }
  [[nodiscard]] StockMarketState told() {
    const std::lock_guard lock(mutex_);
    return told_;
  }

 private:
  std::mutex mutex_;  // guards told_
  StockMarketState told_;
  const std::unique_ptr<IStockMarketState> service_;
  std::optional<frame::PlannedWait> wait_;
};

// --- Starts by a wrong clock ---

struct Day {
  const char* name;
  std::uint32_t date;
  int hour, minute;
  const wchar_t* caption;
  std::uint32_t closed_on;  // the date of the close that is shown; 0: the present is shown
};
const Day kDays[] = {
    {"a trading day", 20240315, 10, 30, L"开盘", 0},
    {"a weekend", 20240316, 10, 30, L"已收盘", 20240315},
    {"a holiday", 20240404, 10, 30, L"已收盘", 20240403},
    {"the day after two holidays and a weekend", 20240408, 9, 1, L"开盘准备", 0},
    {"new year's eve", 20241231, 10, 30, L"开盘", 0},
    {"the last hour of new year's eve", 20241231, 23, 30, L"已收盘", 20241231},
    {"the first hour of new year's day", 20250101, 0, 30, L"已收盘", 20241231},
    {"new year's day", 20250101, 10, 30, L"已收盘", 20241231},
    {"the last hour of a Sunday and a year", 20231231, 23, 30, L"已收盘", 20231229},
    {"the first hour of a Monday and a year", 20240101, 0, 30, L"已收盘", 20231229},
};

struct ClockError {
  const char* name;
  std::int64_t ahead;
};
constexpr ClockError kErrors[] = {
    {"right", 0},         {"an hour slow", -kHour},     {"an hour fast", kHour},    {"a day slow", -kDay},
    {"a day fast", kDay}, {"a year slow", -366 * kDay}, {"a year fast", 366 * kDay}};

/// When the server's time is learned.
enum class Learned { kBefore, kDuring, kAfter, kLongAfter };

class StartByAWrongClock : public ::testing::TestWithParam<Learned> {};

void StartAndLook(const Day& day, const ClockError& error, Learned learned) {
  const std::int64_t truth = At(day.date, day.hour, day.minute);
  const ScriptedWorld world(truth, error.ahead);
  Server server;
  server.TellTheTime(learned == Learned::kBefore || learned == Learned::kDuring);
  const RunningHost host(server.SettingsFor());
  reference::CStockCommon reference;
  if (learned == Learned::kBefore) {
    ASSERT_TRUE(AskOnce());
  }
  PhaseView view;
  std::atomic<int> outcome{-1};
  reference.Init([&outcome](bool ok) { outcome = ok ? 1 : 0; });
  ASSERT_FALSE(reference.GetStockList(1).empty()) << "the first look-up, in the middle of the start";
  ASSERT_TRUE(Await([&] { return outcome >= 0 && IsQuiet(); }));
  ASSERT_EQ(outcome, 1);
  for (int minute = 0; learned == Learned::kLongAfter && minute < 10; ++minute) {
    for (int second = 0; second < 60; ++second) {
      ScriptedWorld::Pass(seconds(1));
      view.Look();
    }
  }
  if (learned == Learned::kAfter || learned == Learned::kLongAfter) {
    server.TellTheTime(true);
    ASSERT_TRUE(AskOnce());
  }
  // The time is known now, to about a second. What the refresh thread asks for it asks at its next look.
  const auto year = std::chrono::year(static_cast<int>(day.date / 10000));
  ASSERT_TRUE(Await([&] { return stock_host::TheHolidays().Know(year); }));
  for (int second = 0; second < 2; ++second) {
    ScriptedWorld::Pass(seconds(1));
    view.Look();
  }
  EXPECT_EQ(common::GetCurrentServerDate(), day.date);
  EXPECT_NEAR(static_cast<double>(common::GetCurrentServerTime()), static_cast<double>(ScriptedWorld::Now()),
              2);
  const StockMarketState told = view.told();
  EXPECT_EQ(told.text, day.caption);
  EXPECT_TRUE(told.valid);
  const std::int64_t shown = day.closed_on != 0 ? At(day.closed_on, 15, 0) : ScriptedWorld::Now();
  EXPECT_NEAR(told.time, static_cast<double>(shown), day.closed_on != 0 ? 0 : 4);
}

TEST_P(StartByAWrongClock, isRightWithinThreeSecondsOfTheFirstAnswer) {
  for (const Day& day : kDays) {
    for (const ClockError& error : kErrors) {
      SCOPED_TRACE(std::string(day.name) + ", the machine's clock " + error.name);
      StartAndLook(day, error, GetParam());
    }
  }
}

std::string NameOf(const ::testing::TestParamInfo<Learned>& info) {
  static const char* const names[] = {"beforeTheStart", "duringTheStart", "afterTheFirstLookUp",
                                      "tenMinutesLater"};
  return names[static_cast<int>(info.param)];
}

INSTANTIATE_TEST_SUITE_P(TheTimeIsLearned, StartByAWrongClock,
                         ::testing::Values(Learned::kBefore, Learned::kDuring, Learned::kAfter,
                                           Learned::kLongAfter),
                         &NameOf);

// --- A fortnight ---

// From Monday, 4 March, to Sunday, 17 March. Every night the machine sleeps from ten in the evening on.
TEST(Fortnight, wakesWithTheRightTimeAndLoadsTheListsEveryMorning) {
  struct Morning {
    std::uint32_t date;
    int hour, minute;
  };
  const Morning mornings[] = {{20240305, 8, 30}, {20240306, 10, 0}, {20240307, 9, 13}, {20240308, 9, 14},
                              {20240309, 9, 15}, {20240310, 14, 0}, {20240311, 7, 0},  {20240312, 21, 30},
                              {20240313, 12, 0}, {20240314, 1, 0},  {20240315, 9, 0},  {20240316, 9, 30},
                              {20240317, 20, 15}};
  std::vector<std::pair<std::int64_t, std::int64_t>> nights;
  std::int64_t evening = At(20240304, 22, 0);
  for (const Morning& morning : mornings) {
    nights.emplace_back(evening, At(morning.date, morning.hour, morning.minute));
    evening = At(morning.date, 22, 0);
  }

  ScriptedWorld world(At(20240304, 10, 0), 7 * kHour);  // the machine's own clock is wrong, too
  Server server;
  const RunningHost host(server.SettingsFor());
  reference::CStockCommon reference;
  reference.FinishRound({1, true});  // what a start loads
  ASSERT_TRUE(Await(&IsQuiet));
  const std::size_t first = server.asked().size();

  auto night = nights.begin();
  ScriptedWorld::OnLook([&] {
    while (!IsQuiet()) {  // time stands still while something is on the wire
      std::this_thread::yield();
    }
    ScriptedWorld::Pass(seconds(10));
    if (night != nights.end() && ScriptedWorld::Now() >= night->first) {
      ScriptedWorld::SleepUntil(night->second);
      ++night;
    }
  });
  while (ScriptedWorld::Now() < At(20240317, 22, 0)) {
    ASSERT_TRUE(reference.RunRound());
    EXPECT_NEAR(static_cast<double>(common::GetCurrentServerTime()),
                static_cast<double>(ScriptedWorld::Now()), 15);
  }
  ScriptedWorld::OnLook({});

  const std::vector<Asked> asked = server.asked();
  for (std::size_t at = first; at < asked.size(); ++at) {
    EXPECT_TRUE(asked[at].accepted) << asked[at].path << " at " << HttpDate(asked[at].at);
  }
  for (const auto& [from, to] : nights) {
    SCOPED_TRACE(HttpDate(to));
    std::map<std::string, int> loads;
    for (const Asked& request : asked) {
      EXPECT_FALSE(request.at > from + 15 && request.at < to) << request.path << " while it sleeps";
      const std::int64_t due = std::max(to, At(common::TimeToDate(to), 9, 14));
      loads[request.path] += request.at >= due && request.at <= due + 120 ? 1 : 0;
    }
    for (const char* const path : {answers::kBasicInfoPath, answers::kPlateListPath, answers::kIndexListPath,
                                   answers::kInPlatesPath, answers::kHolidayPath}) {
      EXPECT_EQ(loads[path], 1) << path;
    }
  }
}

}  // namespace

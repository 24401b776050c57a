// Answers from a record: which one, when, and what becomes of the clock.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "addresses.h"
#include "answers.h"
#include "clock.h"
#include "host/clock.h"
#include "host/network.h"
#include "host/signing.h"
#include "host/singleton.h"
#include "host/text.h"
#include "loopback_server.h"
#include "recorded_exchange.h"
#include "replayer.h"
#include "running_host.h"
#include "stock_host.h"

namespace {

using host_test::Answering;
using host_test::Answers;
using host_test::LoopbackServer;
using host_test::RunningHost;
using host_test::TemporaryDirectory;
using host_test::WriteFile;
using std::chrono::milliseconds;
using std::chrono::seconds;
using stock_host::HttpError;
using stock_host::RecordedExchange;
using stock_host::Replayer;

constexpr std::int64_t kStart = 1'732'000'000;  // seconds
constexpr std::int64_t kDate = 1'710'469'800;   // of the recorded server, 2024-03-15 10:30:00

// An answer `body` to `request`, asked so many seconds after the start.
RecordedExchange At(double asked, const std::string& request, const std::string& body) {
  RecordedExchange exchange;
  exchange.asked = (kStart * 1'000'000) + static_cast<std::int64_t>(asked * 1e6);
  exchange.duration = 200'000;
  exchange.endpoint = "/pc/rt/one";
  exchange.request = request;
  exchange.limit = 30000;
  exchange.answer.error = HttpError::kNone;
  exchange.answer.status = 200;
  exchange.answer.body = body;
  return exchange;
}

class Replay : public testing::Test {
 protected:
  Replay() {
    stock_host::Settings settings;
    settings.api_root = "http://replay.invalid";
    std::string error;
    SetAddresses(ParseAddresses(settings, error));
    EXPECT_EQ(error, "");
  }
  void Write(const std::vector<RecordedExchange>& exchanges) {
    std::string bytes(stock_host::RecordTitle());
    bytes += stock_host::EncodeStart(kStart * 1'000'000);
    for (const RecordedExchange& exchange : exchanges) {
      bytes += Encode(exchange);
    }
    WriteFile(stock_host::RecordFile(record_.Path()), bytes);
  }
  std::shared_ptr<Replayer> Open(double speed = 1) {
    std::string error;
    auto replayer = Replayer::Open(record_.Path(), speed, error);
    EXPECT_NE(replayer, nullptr) << error;
    replayer->Begin(zero_);
    return replayer;
  }
  std::string BodyAt(Replayer& replayer, std::chrono::nanoseconds after,
                     const std::string& request = "/pc/rt/one?a=1") {
    return replayer.AnswerTo("http://replay.invalid" + request, After(after)).answer.body;
  }
  stock_host::Settings Replaying(double speed = 1) {
    stock_host::Settings settings;
    settings.replay_directory = record_.Path();
    settings.replay_speed = speed;
    return settings;
  }
  [[nodiscard]] stock_host::Moment After(std::chrono::nanoseconds time) const {
    return {zero_.elapsed + time, zero_.suspended};
  }

  const TemporaryDirectory record_;
  const stock_host::Moment zero_ = stock_host::Moment::Now();
};

std::wstring SignedAddress(const std::wstring& path, const std::map<std::string, std::string>& parameters) {
  return pattern::CSingleton<UrlHelper>::GetInstance()->GetSigniture(path, parameters);
}

TEST_F(Replay, givesTheLatestAnswerOfTheMomentOrTheFirst) {
  Write({At(20, "/pc/rt/one?a=1", "late"), At(10, "/pc/rt/one?a=1", "early"),
         At(1, "/pc/rt/one?a=2", "other")});
  const auto replayer = Open();
  EXPECT_EQ(BodyAt(*replayer, seconds(0)), "early");
  EXPECT_EQ(BodyAt(*replayer, milliseconds(9999)), "early");
  EXPECT_EQ(BodyAt(*replayer, milliseconds(19999)), "early");
  EXPECT_EQ(BodyAt(*replayer, seconds(20)), "late");
  EXPECT_EQ(BodyAt(*replayer, seconds(10)), "early");
  EXPECT_EQ(BodyAt(*replayer, seconds(100000)), "late");
  EXPECT_EQ(BodyAt(*replayer, seconds(15), "/pc/rt/one?a=2"), "other");
}

// A page of another size was answered by 404.
TEST_F(Replay, rowsAreTakenOutOfThoseThatWereRecorded) {
  const auto rows = [](int from, int to) {
    std::string text = R"({"errno":0,"data":[)";
    for (int row = from; row < to; ++row) {
      text += (row > from ? "," : "") + std::to_string(row);
    }
    return text + "]}";
  };
  const std::string list = "/pc/rt/get?sort_key=change&sort_type=desc&stock_type=cn_a";
  const auto page = [&](int from, int to) {
    return list + "&start=" + std::to_string(from) + "&end=" + std::to_string(to);
  };
  Write({At(0, page(0, 20), rows(0, 20)), At(10, page(20, 40), rows(20, 33)),
         At(20, "/pc/rt/get_bk_rank?bk_type=hy&num=10", rows(0, 10))});
  const auto replayer = Open();
  const auto body = [&](const std::string& request) { return BodyAt(*replayer, seconds(100), request); };
  EXPECT_EQ(body(page(0, 3)), rows(0, 3));
  EXPECT_EQ(body(page(5, 20)), rows(5, 20));
  EXPECT_EQ(body("/pc/rt/get?end=4&start=3&stock_type=cn_a&sort_type=desc&sort_key=change"), rows(3, 4));
  // The list ended within the second page, which so has all from its beginning on.
  EXPECT_EQ(body(page(25, 60)), rows(25, 33));
  EXPECT_EQ(body(list + "&start=30&end=-1"), rows(30, 33));
  EXPECT_EQ(body("/pc/rt/get_bk_rank?num=4&bk_type=hy"), rows(0, 4));
  for (const std::string& request :
       {page(0, 21), page(19, 30), list + "&start=0&end=-1",
        std::string("/pc/rt/get?sort_key=change&sort_type=asc&stock_type=cn_a&start=0&end=3"),
        std::string("/pc/rt/get_bk_rank?bk_type=hy&num=11")}) {
    const auto answer = replayer->AnswerTo("http://replay.invalid" + request, After(seconds(100))).answer;
    EXPECT_EQ(answer.status, 404) << request;
    EXPECT_EQ(answer.reason, "never recorded") << request;
  }
}

TEST_F(Replay, symbolsAreTakenFromWhicheverAnswersHaveThem) {
  Write({At(0, "/pc/rt/stock_detail_list?stock_arr=%5B%22sh1%22%2C%22sh2%22%5D",
            R"({"errno":0,"data":{"list":[{"code":"sh1","last":1},{"code":"sh2","last":2}]}})"),
         At(10, "/pc/rt/stock_detail_list?stock_arr=%5B%22sh3%22%2C%22sh2%22%5D",
            R"({"errno":0,"data":{"list":[{"code":"sh3","last":3},{"code":"sh2","last":22}]}})"),
         At(0, "/pc/rt/get_day_time?stock_arr=%5B%22sh1%22%2C%22sh2%22%5D",
            R"({"data":{"sh1":{"date":1},"sh2":{"date":2}}})")});
  const auto replayer = Open();
  const auto body = [&](int second, const std::string& symbols) {
    return BodyAt(*replayer, seconds(second), "/pc/rt/stock_detail_list?stock_arr=%5B" + symbols + "%5D");
  };
  EXPECT_EQ(body(0, "%22sh1%22"), R"({"errno":0,"data":{"list":[{"code":"sh1","last":1}]}})");
  EXPECT_EQ(body(5, "%22sh2%22"), R"({"errno":0,"data":{"list":[{"code":"sh2","last":2}]}})");
  EXPECT_EQ(body(10, "%22sh2%22"), R"({"errno":0,"data":{"list":[{"code":"sh2","last":22}]}})");
  EXPECT_EQ(body(10, "%22sh2%22%2C%22sh1%22%2C%22sh9%22"),
            R"({"errno":0,"data":{"list":[{"code":"sh2","last":22},{"code":"sh1","last":1}]}})");
  EXPECT_EQ(BodyAt(*replayer, seconds(0), "/pc/rt/get_day_time?stock_arr=%5B%22sh2%22%5D"),
            R"({"data":{"sh2":{"date":2}}})");
  EXPECT_EQ(
      replayer->AnswerTo("http://replay.invalid/pc/rt/stock_detail_list?stock_arr=%5B%22sh9%22%5D", zero_)
          .answer.reason,
      "never recorded");
}

// The events of today are asked for by the second.
TEST_F(Replay, aMomentIsAskedForAsItsDay) {
  const std::string events = "/pc/monitor/get_monitor?date=";
  Write({At(0, events + std::to_string(kDate), "early"), At(10, events + std::to_string(kDate + 10), "late"),
         At(0, events + std::to_string(kDate - 86400), "before")});
  const auto replayer = Open();
  EXPECT_EQ(BodyAt(*replayer, seconds(3), events + std::to_string(kDate + 4)), "early");
  EXPECT_EQ(BodyAt(*replayer, seconds(12), events + std::to_string(kDate + 11)), "late");
  EXPECT_EQ(BodyAt(*replayer, seconds(12), events + std::to_string(kDate - 86300)), "before");
  EXPECT_EQ(BodyAt(*replayer, seconds(12), events + std::to_string(kDate + 86400)), "");
}

TEST_F(Replay, theNewestOfASeriesAreTakenFromALongerOne) {
  const auto query = [](const std::string& series, int limit) {
    return "history/kql?q={%22foo%22:[%22" + series +
           "%22,{%22symbol%22:%22sh600000%22,%22mtime%22:" + std::to_string(limit) +
           ",%22type%22:%22bfq%22,%22offset%22:0,%22limit%22:" + std::to_string(limit) + "}]}";
  };
  Write({At(0, query("kline.day", 4), R"({"errno":0,"data":{"foo":{"list":["a","b","c","d"]}}})"),
         At(0, query("kline.week", 9), R"({"errno":0,"data":{"foo":{"list":["w"]}}})")});
  const auto replayer = Open();
  const auto body = [&](const std::string& request) {
    return replayer->AnswerTo("http://replay.invalid/" + request.substr(8), zero_).answer.body;
  };
  EXPECT_EQ(body(query("kline.day", 4)), R"({"errno":0,"data":{"foo":{"list":["a","b","c","d"]}}})");
  EXPECT_EQ(body(query("kline.day", 2)), R"({"errno":0,"data":{"foo":{"list":["c","d"]}}})");
  EXPECT_EQ(body(query("kline.day", 5)), "");
  EXPECT_EQ(body(query("kline.week", 30)), R"({"errno":0,"data":{"foo":{"list":["w"]}}})");
  EXPECT_EQ(body(query("kline.month", 1)), "");
}

TEST_F(Replay, theNewestDaysOfALineAreTakenFromMoreOfThem) {
  const std::string days = "/pc/rt/get_choice_htime?stock=sh1&date=20240313&rn=";
  Write({At(0, days + "3", R"({"data":{"sh1":["a","b","c"]}})")});
  const auto replayer = Open();
  EXPECT_EQ(BodyAt(*replayer, seconds(0), days + "2"), R"({"data":{"sh1":["b","c"]}})");
  EXPECT_EQ(BodyAt(*replayer, seconds(0), days + "0"), R"({"data":{"sh1":[]}})");
  EXPECT_EQ(BodyAt(*replayer, seconds(0), days + "4"), "") << "there may be a fourth";
}

// An answer of which nothing can be taken is given as the client had it, and fails there as it did.
TEST_F(Replay, answersOfAnotherFormAreGivenAsTheyWere) {
  const std::string page = "/pc/rt/get?sort_key=change";
  const std::string list = "/pc/rt/stock_detail_list?stock_arr=";
  struct Case {
    std::string recorded, expected;
  };
  for (const std::string body :
       {"no json", "[]", R"({"errno":7})", R"({"data":5})", R"({"data":{"list":{}}})"}) {
    Write({At(0, page + "&start=0&end=20", body), At(0, page + "&num=20", body),
           At(0, list + R"(["sh1","sh2"])", body)});
    const auto replayer = Open();
    EXPECT_EQ(BodyAt(*replayer, seconds(0), page + "&start=0&end=3"), body);
    EXPECT_EQ(BodyAt(*replayer, seconds(0), page + "&num=3"), body);
    if (body != R"({"data":{"list":{}}})") {
      EXPECT_EQ(BodyAt(*replayer, seconds(0), list + R"(["sh1"])"), body);
    }
  }
  const std::vector<Case> of_symbols = {
      {R"({"data":{"list":[7,{"code":5},{"name":"x"},{"code":"sh2"},{"code":"sh1"}]}})",
       R"({"data":{"list":[{"code":"sh1"}]}})"},
      {R"({"data":{"list":[{"sh2":{}},{"sh1":{"mtime":1}}]}})", R"({"data":{"list":[{"sh1":{"mtime":1}}]}})"},
      {R"({"data":{"list":[{"code":"sh2"}]}})", R"({"data":{"list":[]}})"},
      {R"({"data":{"list":5}})", R"({"data":{"list":[]}})"},
      {R"({"data":{"sh2":{}}})", R"({"data":{}})"}};
  for (const Case& one : of_symbols) {
    Write({At(0, list + R"(["sh1","sh2"])", one.recorded)});
    EXPECT_EQ(BodyAt(*Open(), seconds(0), list + R"(["sh1"])"), one.expected) << one.recorded;
  }
}

TEST_F(Replay, requestsOfAnotherFormAreMatchedAsTheyStand) {
  const std::vector<std::string> queries = {"stock_arr=%zz",
                                            "stock_arr=%5",
                                            R"(stock_arr=["sh1",7])",
                                            "stock_arr={}",
                                            "stock_arr=",
                                            "start=x&end=y",
                                            "start=1",
                                            "num=x",
                                            "rn=1x",
                                            "date=x",
                                            "a&b=1",
                                            "=",
                                            "q=no json",
                                            "q=[]",
                                            R"(q={"a":1,"b":2})",
                                            R"(q={"a":1})",
                                            R"(q={"a":["k"]})",
                                            R"(q={"a":["k",5]})",
                                            R"(q={"a":["k",{}]})",
                                            R"(q={"a":["k",{"limit":"x"}]})"};
  std::vector<RecordedExchange> exchanges;
  for (const std::string& query : queries) exchanges.push_back(At(0, "/pc/rt/one?" + query, "of " + query));
  Write(exchanges);
  const auto replayer = Open();
  for (const std::string& query : queries) {
    EXPECT_EQ(BodyAt(*replayer, seconds(0), "/pc/rt/one?" + query), "of " + query);
    EXPECT_EQ(BodyAt(*replayer, seconds(0), "/pc/rt/one?" + query + "&more=1"), "") << query;
  }
}

TEST_F(Replay, runsAtItsSpeed) {
  Write({At(0, "/pc/rt/one?a=1", "early"), At(20, "/pc/rt/one?a=1", "late")});
  const auto replayer = Open(10);
  EXPECT_EQ(BodyAt(*replayer, milliseconds(1999)), "early");
  EXPECT_EQ(BodyAt(*replayer, milliseconds(2000)), "late");
  EXPECT_EQ(replayer->AnswerTo("http://replay.invalid/pc/rt/one?a=1", zero_).after, milliseconds(20));
  EXPECT_EQ(Open(0.5)->AnswerTo("http://replay.invalid/pc/rt/one?a=1", zero_).after, milliseconds(400));
}

TEST_F(Replay, signatureDoesNotMatterAndParametersDo) {
  Write({At(0, "/pc/rt/one?a=1", "found")});
  const RunningHost host(Replaying(1000));
  for (int i = 0; i < 2; ++i) {
    std::string body;
    EXPECT_TRUE(GetSync(SignedAddress(L"/pc/rt/one", {{"a", "1"}}), body, {}, 20));
    EXPECT_EQ(body, "found");
    EXPECT_FALSE(GetSync(SignedAddress(L"/pc/rt/one", {{"a", "2"}}), body, {}, 20));
    EXPECT_FALSE(GetSync(SignedAddress(L"/pc/rt/one", {}), body, {}, 20));
  }
  const auto counters = stock_host::ReadCounters();
  EXPECT_EQ(counters.succeeded, 2U);
  EXPECT_EQ(counters.failures.status, 4U);
  EXPECT_EQ(counters.endpoints.at("/pc/rt/one").last_error, "never recorded");
  const std::string log = host.LogFile();
  const std::size_t said = log.find("replay: never recorded: /pc/rt/one?a=2\n");
  EXPECT_NE(said, std::string::npos) << log;
  EXPECT_EQ(log.find("replay: never recorded: /pc/rt/one?a=2\n", said + 1), std::string::npos) << log;
}

TEST_F(Replay, needsNoServer) {
  const std::string packed = host_test::Gzipped("package");
  auto server = std::make_unique<LoopbackServer>(Answering(packed));
  stock_host::Settings settings;
  settings.api_root = server->Url("/v2");
  settings.key_id = "id";
  settings.key = "hush";
  settings.record_directory = record_.Path("deep/record");
  {
    const RunningHost host(settings);
    const std::wstring to = common::s2ws(host.directory().Path("data/x"), common::kUtf8);
    EXPECT_TRUE(DownloadFileSyncWithRetry(server->WideUrl("/v2/static/x.gzip"), to, 1, 20));
    std::string body;
    EXPECT_TRUE(GetSync(SignedAddress(L"/pc/rt/one", {{"a", "1"}}), body, {}, 20));
    EXPECT_TRUE(GetSync(server->WideUrl("/v2/kql?q=1"), body, {}, 20));
  }
  server.reset();
  stock_host::Settings replaying;
  replaying.replay_directory = settings.record_directory;
  replaying.api_root = "http://127.0.0.1:1";
  const RunningHost host(replaying);
  auto* const url = pattern::CSingleton<UrlHelper>::GetInstance();
  std::string body;
  EXPECT_TRUE(GetSync(SignedAddress(L"/pc/rt/one", {{"a", "1"}}), body, {}, 20));
  EXPECT_EQ(body, packed);
  EXPECT_TRUE(GetSync(url->HistoryRoot() + L"/kql?q=1", body, {}, 20));
  const std::string file = host.directory().Path("data/x");
  EXPECT_TRUE(
      DownloadFileSyncWithRetry(url->StaticRoot() + L"x.gzip", common::s2ws(file, common::kUtf8), 1, 20));
  EXPECT_EQ(host_test::ReadFile(file), packed);
  EXPECT_EQ(stock_host::ReadCounters().connections, 0U);
  EXPECT_EQ(stock_host::ReadCounters().endpoints.at("static").succeeded, 1U);
}

TEST_F(Replay, failuresComeAsTheyWere) {
  RecordedExchange refused = At(0, "/pc/rt/refused", "");
  refused.answer = {HttpError::kConnection, "Couldn't connect to server", 0, {}};
  RecordedExchange busy = At(0, "/pc/rt/busy", "");
  busy.answer = {HttpError::kStatus, "HTTP status 503", 503, "busy"};
  Write({refused, busy});
  const RunningHost host(Replaying(1000));
  Answers answers;
  GetAsyn(SignedAddress(L"/pc/rt/refused", {}), answers.Callback(), {}, 20);
  ASSERT_TRUE(answers.Wait(1));
  GetAsyn(SignedAddress(L"/pc/rt/busy", {}), answers.Callback(), {}, 20);
  ASSERT_TRUE(answers.Wait(2));
  EXPECT_FALSE(answers.Given()[0].ok);
  EXPECT_FALSE(answers.Given()[0].body.has_value());
  EXPECT_FALSE(answers.Given()[1].ok);
  EXPECT_EQ(answers.Given()[1].body, "busy");
  EXPECT_EQ(stock_host::ReadCounters().failures.connection, 1U);
  EXPECT_EQ(stock_host::ReadCounters().endpoints.at("/pc/rt/refused").last_error,
            "Couldn't connect to server");
}

TEST_F(Replay, theLimitOfARequestHolds) {
  RecordedExchange slow = At(0, "/pc/rt/one", "slow");
  slow.duration = 3'600'000'000;
  Write({slow});
  const RunningHost host(Replaying());
  stock_host::HttpRequest request;
  request.url = "http://replay.invalid/pc/rt/one";
  request.limit = milliseconds(20);
  EXPECT_EQ(stock_host::TheHttpClient().Fetch(request).error, HttpError::kTimeout);
}

TEST_F(Replay, isStoppedWithAnswersUnderWay) {
  RecordedExchange slow = At(0, "/pc/rt/one", "slow");
  slow.duration = 3'600'000'000;
  Write({slow});
  const RunningHost host(Replaying());
  Answers answers;
  for (int i = 0; i < 5; ++i) {
    GetAsyn(L"http://replay.invalid/pc/rt/one", answers.Callback(), {}, 3600);
  }
  stock_host::Stop();
  EXPECT_EQ(answers.Given().size(), 5U);
  EXPECT_EQ(stock_host::ReadCounters().failures.stopped, 5U);
}

TEST_F(Replay, beginsWithTheMachinesClockOfTheRecord) {
  Write({At(0, "/pc/rt/one", "x")});
  const RunningHost host(Replaying());
  EXPECT_GE(common::GetCurrentServerTime(), kStart);
  EXPECT_LE(common::GetCurrentServerTime(), kStart + 60);
}

TEST_F(Replay, clockFollowsTheRecordedDates) {
  RecordedExchange early = At(0, "/pc/rt/one", "x");
  early.date = kDate;
  RecordedExchange late = At(100, "/pc/rt/one", "x");
  late.date = kDate + 1000;
  late.speed = "10";
  Write({early, late});
  // An answer's date is that of its end, 0.2 s after the request.
  const auto time_at = [&](const Replayer& replayer, std::chrono::nanoseconds after) {
    stock_host::ServerClockModel clock;
    clock.Reset(0, zero_);
    replayer.Teach(clock, After(after));
    return clock.Now(After(after));
  };
  const auto replayer = Open();
  EXPECT_EQ(time_at(*replayer, milliseconds(0)), kDate);
  EXPECT_EQ(time_at(*replayer, milliseconds(50'200)), kDate + 50);
  EXPECT_EQ(time_at(*replayer, milliseconds(100'200)), kDate + 1000);
  EXPECT_EQ(time_at(*replayer, milliseconds(110'200)), kDate + 1100);
  const auto fast = Open(60);
  EXPECT_EQ(time_at(*fast, milliseconds(1000)), kDate + 59);
  stock_host::ServerClockModel clock;
  clock.Reset(0, zero_);
  fast->Teach(clock, zero_);
  EXPECT_DOUBLE_EQ(clock.Speed(), 60);
  fast->Teach(clock, After(seconds(10)));
  EXPECT_DOUBLE_EQ(clock.Speed(), 600);
}

TEST_F(Replay, aClockThatStoodStillStandsStill) {
  RecordedExchange exchange = At(0, "/pc/rt/one", "x");
  exchange.date = kDate;
  exchange.speed = "0";
  Write({exchange});
  stock_host::ServerClockModel clock;
  clock.Reset(0, zero_);
  Open()->Teach(clock, After(seconds(500)));
  EXPECT_EQ(clock.Now(After(seconds(500))), kDate);
}

TEST_F(Replay, withoutDatesLeavesTheClockAlone) {
  Write({At(0, "/pc/rt/one", "x")});
  stock_host::ServerClockModel clock;
  clock.Reset(12345, zero_);
  Open()->Teach(clock, zero_);
  EXPECT_EQ(clock.Now(zero_), 12345);
}

TEST_F(Replay, clockOfTheServicesIsTaught) {
  RecordedExchange exchange = At(0, "/pc/rt/one", "x");
  exchange.date = kDate;
  Write({exchange});
  const RunningHost host(Replaying(1));
  std::string body;
  EXPECT_TRUE(GetSync(SignedAddress(L"/pc/rt/one", {}), body, {}, 20));
  EXPECT_GE(common::GetCurrentServerTime(), kDate);
  EXPECT_LE(common::GetCurrentServerTime(), kDate + 60);
  EXPECT_EQ(common::GetCurrentServerDate(), 20240315U);
}

// The first question of a replay named the day of the machine's clock, unless an answer came before: events
// of a day that was never recorded.
TEST_F(Replay, clockOfTheServicesIsThatOfTheRecordBeforeTheFirstAnswer) {
  RecordedExchange exchange = At(0, "/pc/rt/one", "x");
  exchange.date = kDate;
  Write({exchange});
  const RunningHost host(Replaying(1));
  EXPECT_GE(common::GetCurrentServerTime(), kDate);
  EXPECT_LE(common::GetCurrentServerTime(), kDate + 60);
}

TEST_F(Replay, refusesWhatIsNoRecordOrMakesNoSense) {
  const auto refusal = [](const stock_host::Settings& settings) {
    try {
      const RunningHost host(settings);
    } catch (const std::exception& error) {
      return std::string(error.what());
    }
    return std::string();
  };
  stock_host::Settings settings = Replaying();
  EXPECT_NE(refusal(settings).find("there is no record in"), std::string::npos) << refusal(settings);
  Write({});
  EXPECT_NE(refusal(settings).find("holds no exchange"), std::string::npos) << refusal(settings);
  Write({At(0, "/pc/rt/one", "x")});
  for (const double speed : {0.0, -1.0, 1e6}) {
    settings.replay_speed = speed;
    EXPECT_NE(refusal(settings).find("the speed of a replay"), std::string::npos) << speed;
  }
  settings.replay_speed = 1;
  settings.record_directory = record_.Path("new");
  EXPECT_EQ(refusal(settings), "a replay cannot be recorded");
  settings.record_directory.clear();
  EXPECT_EQ(refusal(settings), "");
}

TEST_F(Replay, saysWhatOfTheRecordIsLeftOut) {
  const auto log_of = [&](const std::string& bytes) {
    WriteFile(stock_host::RecordFile(record_.Path()), bytes);
    const RunningHost host(Replaying());
    return host.LogFile();
  };
  Write({At(0, "/pc/rt/one", "first"), At(1, "/pc/rt/one", "second")});
  const std::string whole = host_test::ReadFile(stock_host::RecordFile(record_.Path()));
  EXPECT_EQ(log_of(whole).find("[warning]"), std::string::npos);
  EXPECT_NE(log_of(whole.substr(0, whole.size() - 3)).find("was cut short; it is dropped"),
            std::string::npos);
  EXPECT_NE(log_of(whole + "lost\n").find("what stands behind the damage is left out"), std::string::npos);
  std::string damaged = whole;
  damaged[damaged.find("second")] = 'X';
  EXPECT_NE(log_of(damaged).find("replay: 1 damaged entries"), std::string::npos);
}

}  // namespace

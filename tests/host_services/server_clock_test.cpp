// The clock and the signer against a server whose clock is another one, over the wire.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <mutex>
#include <string>
#include <vector>

#include "answers.h"
#include "host/calendar.h"
#include "host/clock.h"
#include "host/network.h"
#include "host/signing.h"
#include "host/singleton.h"
#include "host/text.h"
#include "loopback_server.h"
#include "running_host.h"
#include "stock_host.h"

namespace {

using host_test::LoopbackServer;
using host_test::RunningHost;

// Two times that are read one after the other on a busy machine; the clocks of the tests lie further apart.
constexpr double kClose = 60;

std::int64_t MachineTime() {
  return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
}

std::string HttpDate(std::int64_t time) {
  const std::time_t seconds = time;
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  char text[64];
  static const char* const kDays[]{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static const char* const kMonths[]{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  std::snprintf(text, sizeof text, "%s, %02d %s %04d %02d:%02d:%02d GMT", kDays[parts.tm_wday], parts.tm_mday,
                kMonths[parts.tm_mon], parts.tm_year + 1900, parts.tm_hour, parts.tm_min, parts.tm_sec);
  return text;
}

std::int64_t SignedAt(const std::string& request) {
  const std::size_t at = request.find("&_t=");
  return at == std::string::npos ? -1 : std::stoll(request.substr(at + 4));
}

std::string NonceOf(const std::string& request) {
  const std::size_t at = request.find("_n=");
  return at == std::string::npos ? "" : request.substr(at + 3, 32);
}

// A server that is `ahead` of the machine and refuses what was signed more than 300 seconds off its clock.
class MarketServer {
 public:
  explicit MarketServer(std::int64_t ahead, std::string more_lines = {})
      : server_([this, ahead, more = std::move(more_lines)](LoopbackServer::Connection& connection) {
          for (std::string request = connection.ReadRequest(); !request.empty();
               request = connection.ReadRequest()) {
            const std::int64_t now = MachineTime() + ahead;
            {
              const std::lock_guard lock(mutex_);
              requests_.push_back(request);
            }
            const bool in_time = std::abs(SignedAt(request) - now) <= 300;
            const std::string body = in_time ? "well" : "too far off";
            connection.Write(std::string(in_time ? "HTTP/1.1 200 OK" : "HTTP/1.1 403 Forbidden") +
                             "\r\nDate: " + HttpDate(now) + "\r\n" + more +
                             "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
          }
        }) {}

  [[nodiscard]] stock_host::Settings SettingsFor() const {
    stock_host::Settings settings;
    settings.api_root = server_.Url("");
    settings.key_id = "id";
    settings.key = "hush-hush";
    return settings;
  }
  [[nodiscard]] std::vector<std::string> requests() {
    const std::lock_guard lock(mutex_);
    return requests_;
  }
  [[nodiscard]] const LoopbackServer& http() const { return server_; }

 private:
  std::mutex mutex_;  // guards requests_
  std::vector<std::string> requests_;
  LoopbackServer server_;
};

bool AskSigned(std::string& body) {
  return GetSync(
      pattern::CSingleton<UrlHelper>::GetInstance()->GetSigniture(L"/pc/rt/stock_trade", {{"a", "b c"}}),
      body, {}, 20);
}

TEST(ServerClockOverTheWire, isTheMachinesUntilTheServerIsHeard) {
  const RunningHost host;
  EXPECT_NEAR(static_cast<double>(common::GetCurrentServerTime()), static_cast<double>(MachineTime()),
              kClose);
}

TEST(ServerClockOverTheWire, followsTheServer) {
  MarketServer server(-100000);
  const RunningHost host(server.SettingsFor());
  std::string body;
  EXPECT_TRUE(AskSigned(body));
  EXPECT_NEAR(static_cast<double>(common::GetCurrentServerTime()),
              static_cast<double>(MachineTime() - 100000), kClose);
  EXPECT_EQ(common::GetCurrentServerDate(), common::TimeToDate(common::GetCurrentServerTime()));
}

TEST(ServerClockOverTheWire, requestSignedByAWrongClockIsSignedAnewOnce) {
  for (const std::int64_t ahead : {-1000, 1000, 86400}) {
    MarketServer server(ahead);
    const RunningHost host(server.SettingsFor());
    std::string body;
    EXPECT_TRUE(AskSigned(body)) << ahead;
    EXPECT_EQ(body, "well");
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 2U) << ahead;
    EXPECT_NE(NonceOf(requests[0]), NonceOf(requests[1]));
    EXPECT_NEAR(static_cast<double>(SignedAt(requests[1]) - SignedAt(requests[0])),
                static_cast<double>(ahead), kClose);
    EXPECT_EQ(stock_host::ReadCounters().requests, 1U);
    EXPECT_EQ(stock_host::ReadCounters().succeeded, 1U);
    // The next one is right at once.
    EXPECT_TRUE(AskSigned(body)) << ahead;
    EXPECT_EQ(server.requests().size(), 3U);
  }
}

// Both answers are packed, and the call-back comes once.
TEST(ServerClockOverTheWire, requestThatIsSignedAnewMayBeAnsweredPackedBothTimes) {
  const std::int64_t ahead = 5000;
  std::atomic<int> asked{0};
  LoopbackServer server([&](LoopbackServer::Connection& connection) {
    for (std::string request = connection.ReadRequest(); !request.empty();
         request = connection.ReadRequest()) {
      ++asked;
      const std::int64_t now = MachineTime() + ahead;
      const std::string body =
          host_test::Gzipped(std::abs(SignedAt(request) - now) <= 300 ? "well" : "too far off");
      connection.Write("HTTP/1.1 200 OK\r\nDate: " + HttpDate(now) +
                       "\r\nContent-Encoding: gzip\r\nContent-Length: " + std::to_string(body.size()) +
                       "\r\n\r\n" + body);
    }
  });
  stock_host::Settings settings;
  settings.api_root = server.Url("");
  settings.key_id = "id";
  settings.key = "key";
  host_test::Answers answers;
  {
    const RunningHost host(settings);
    GetAsyn(pattern::CSingleton<UrlHelper>::GetInstance()->GetSigniture(L"/pc/rt/stock_trade", {}),
            answers.Callback(), {}, 20);
    ASSERT_TRUE(answers.Wait());
  }
  const auto given = answers.Given();
  ASSERT_EQ(given.size(), 1U);
  EXPECT_TRUE(given[0].ok);
  EXPECT_EQ(given[0].body, "well");
  EXPECT_EQ(asked, 2);
}

TEST(ServerClockOverTheWire, smallSkewIsNoReasonToAskAgain) {
  MarketServer server(200);
  const RunningHost host(server.SettingsFor());
  std::string body;
  EXPECT_TRUE(AskSigned(body));
  EXPECT_EQ(server.requests().size(), 1U);
}

// Every answer brings a reason to sign anew: a clock that is right at another speed each time, or dates of
// which no two agree.
TEST(ServerClockOverTheWire, serverThatNeverAgreesIsAskedTwiceAtMost) {
  for (const bool other_speed : {true, false}) {
    std::atomic<std::int64_t> date{1700000000};
    std::atomic<int> speed{1};
    LoopbackServer server([&](LoopbackServer::Connection& connection) {
      while (!connection.ReadRequest().empty()) {
        date += 1000000;
        connection.Write("HTTP/1.1 403 Forbidden\r\nDate: " + HttpDate(date) + "\r\nX-Market-Speed: " +
                         std::to_string(other_speed ? ++speed : 1) + "\r\nContent-Length: 2\r\n\r\nno");
      }
    });
    stock_host::Settings settings;
    settings.api_root = server.Url("");
    settings.key_id = "id";
    settings.key = "key";
    const RunningHost host(settings);
    for (int request = 1; request <= 3; ++request) {
      std::string body;
      EXPECT_FALSE(AskSigned(body));
      EXPECT_EQ(body, "no");
      EXPECT_EQ(server.requests(), 2 * request) << other_speed;
    }
  }
}

TEST(ServerClockOverTheWire, otherServersAreNotFollowed) {
  MarketServer server(0);
  MarketServer other(-100000);
  const RunningHost host(server.SettingsFor());
  std::string body;
  (void)GetSync(other.http().WideUrl("/static/x"), body, {}, 20);
  EXPECT_NEAR(static_cast<double>(common::GetCurrentServerTime()), static_cast<double>(MachineTime()),
              kClose);
}

TEST(ServerClockOverTheWire, wrongDatesAreLeftOut) {
  for (const char* date : {"", "yesterday", "Thu, 01 Jan 1970 00:00:00 GMT", "Fri, 31 Dec 9999 23:59:59 GMT",
                           "99999999999999999999"}) {
    LoopbackServer server(host_test::Answering("well", std::string("Date: ") + date + "\r\n"));
    stock_host::Settings settings;
    settings.api_root = server.Url("");
    settings.key_id = "id";
    settings.key = "key";
    const RunningHost host(settings);
    std::string body;
    EXPECT_TRUE(AskSigned(body)) << date;
    EXPECT_NEAR(static_cast<double>(common::GetCurrentServerTime()), static_cast<double>(MachineTime()),
                kClose)
        << date;
  }
}

TEST(ServerClockOverTheWire, fasterMarketShortensTheSpanToTheNextPhase) {
  MarketServer server(0, "X-Market-Speed: 60\r\n");
  const RunningHost host(server.SettingsFor());
  const auto nine = static_cast<std::uint32_t>(common::DateToTime(20240315, 9, 0, 0));
  pattern::CSingleton<common::LegalHoliday>::GetInstance()->SetHolidays(2024, {});
  EXPECT_EQ(stock::TimeSpanToNextMarketStatus(nine), 2);
  std::string body;
  EXPECT_TRUE(AskSigned(body));
  EXPECT_EQ(stock::TimeSpanToNextMarketStatus(nine), 15);
  EXPECT_EQ(stock::TimeSpanToNextMarketStatus(nine + 899), 1);
}

TEST(ServerClockOverTheWire, wrongSpeedIsSpeedOne) {
  for (const char* speed : {"fast", "-60", "1e9", "nan", ""}) {
    MarketServer server(0, std::string("X-Market-Speed: ") + speed + "\r\n");
    const RunningHost host(server.SettingsFor());
    pattern::CSingleton<common::LegalHoliday>::GetInstance()->SetHolidays(2024, {});
    std::string body;
    EXPECT_TRUE(AskSigned(body)) << speed;
    EXPECT_EQ(
        stock::TimeSpanToNextMarketStatus(static_cast<std::uint32_t>(common::DateToTime(20240315, 9, 0, 0))),
        900)
        << speed;
  }
}

// Time stamps went on while the server's figures stood.
TEST(ServerClockOverTheWire, standsStillWithTheServers) {
  MarketServer server(0, "X-Market-Speed: 0\r\n");
  const RunningHost host(server.SettingsFor());
  std::string body;
  EXPECT_TRUE(AskSigned(body));
  EXPECT_EQ(stock_host::ReadServerClock().speed, 0);
  const std::int64_t time = common::GetCurrentServerTime();
  const auto later = std::chrono::steady_clock::now() + std::chrono::milliseconds(1100);
  while (std::chrono::steady_clock::now() < later) {
    ASSERT_EQ(common::GetCurrentServerTime(), time);
  }
  pattern::CSingleton<common::LegalHoliday>::GetInstance()->SetHolidays(2024, {});
  EXPECT_EQ(
      stock::TimeSpanToNextMarketStatus(static_cast<std::uint32_t>(common::DateToTime(20240315, 9, 0, 0))),
      900);
}

// Each start says it once, however often it is asked and whatever the starts before were.
TEST(GetSigniture, saysOnceThatThereIsNoServer) {
  for (int start = 0; start < 3; ++start) {
    const RunningHost host;
    for (int i = 0; i < 5; ++i) {
      EXPECT_EQ(pattern::CSingleton<UrlHelper>::GetInstance()->GetSigniture(L"/x", {}), L"");
    }
    EXPECT_EQ(stock_host::ConnectionState(), stock_host::Connection::kNoServer);
    const std::string log = host.LogFile();
    const std::size_t first = log.find("no quote API server is configured");
    EXPECT_NE(first, std::string::npos) << start;
    EXPECT_EQ(log.find("no quote API server is configured", first + 1), std::string::npos) << start;
    EXPECT_EQ(log.find("no key is configured"), std::string::npos) << start;
  }
}

TEST(GetSigniture, saysOnceThatThereIsNoKey) {
  stock_host::Settings settings;
  settings.api_root = "http://127.0.0.1:1";
  for (int start = 0; start < 3; ++start) {
    const RunningHost host(settings);
    for (int i = 0; i < 5; ++i) {
      EXPECT_EQ(pattern::CSingleton<UrlHelper>::GetInstance()->GetSigniture(L"/x", {}), L"");
    }
    EXPECT_EQ(stock_host::ConnectionState(), stock_host::Connection::kIdle);
    const std::string log = host.LogFile();
    const std::size_t first = log.find("no key is configured");
    EXPECT_NE(first, std::string::npos) << start;
    EXPECT_EQ(log.find("no key is configured", first + 1), std::string::npos) << start;
  }
}

TEST(GetSigniture, keyIsInNoUrlAndInNoLog) {
  MarketServer server(5000);
  const RunningHost host([&] {
    auto settings = server.SettingsFor();
    settings.log_level = "trace";
    return settings;
  }());
  std::string body;
  EXPECT_TRUE(AskSigned(body));
  EXPECT_EQ(pattern::CSingleton<UrlHelper>::GetInstance()->GetSigniture(L"/x", {{"_s", "1"}}), L"");
  EXPECT_EQ(host.LogFile().find("hush"), std::string::npos);
  for (const std::string& request : server.requests()) {
    EXPECT_EQ(request.find("hush"), std::string::npos);
  }
}

TEST(UrlHelper, rootsAreTheConfiguredOnes) {
  stock_host::Settings settings;
  settings.api_root = "http://127.0.0.1:1/v2/";
  {
    const RunningHost host(settings);
    UrlHelper& helper = *pattern::CSingleton<UrlHelper>::GetInstance();
    EXPECT_EQ(helper.StaticRoot(), L"http://127.0.0.1:1/v2/static/");
    EXPECT_EQ(helper.HistoryRoot(), L"http://127.0.0.1:1/v2");
  }
  settings.static_root = "http://127.0.0.1:2/files";
  settings.history_root = "http://127.0.0.1:3/";
  const RunningHost host(settings);
  UrlHelper& helper = *pattern::CSingleton<UrlHelper>::GetInstance();
  EXPECT_EQ(helper.StaticRoot(), L"http://127.0.0.1:2/files/");
  EXPECT_EQ(helper.HistoryRoot(), L"http://127.0.0.1:3");
}

}  // namespace

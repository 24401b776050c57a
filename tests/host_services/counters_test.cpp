// What the application reads about the connection.
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <mutex>
#include <string>
#include <vector>

#include "answers.h"
#include "counters.h"
#include "host/network.h"
#include "loopback_server.h"
#include "running_host.h"
#include "stock_host.h"

namespace {

using host_test::Answering;
using host_test::Answers;
using host_test::Gzipped;
using host_test::LoopbackServer;
using host_test::RunningHost;
using stock_host::Connection;
using stock_host::ConnectionState;
using stock_host::ReadCounters;

bool Ask(const std::wstring& url) {
  std::string body;
  return GetSync(url, body, {}, 20);
}

TEST(Counters, beginAtNothingWithEachStart) {
  LoopbackServer server(Answering("well"));
  for (int i = 0; i < 2; ++i) {
    const RunningHost host;
    EXPECT_EQ(ReadCounters().requests, 0U);
    EXPECT_TRUE(ReadCounters().endpoints.empty());
    EXPECT_EQ(ConnectionState(), Connection::kNoServer);
    EXPECT_TRUE(Ask(server.WideUrl()));
  }
}

TEST(Counters, tellEndpointsApart) {
  LoopbackServer server(Answering("0123456789"));
  stock_host::Settings settings;
  settings.api_root = server.Url("");
  const RunningHost host(settings);
  const auto before = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  EXPECT_TRUE(Ask(server.WideUrl("/pc/rt/one?a=b")));
  EXPECT_TRUE(Ask(server.WideUrl("/pc/rt/one?c=d")));
  EXPECT_TRUE(Ask(server.WideUrl("/pc/rt/two")));
  EXPECT_TRUE(Ask(server.WideUrl("/static/x.dat")));
  EXPECT_TRUE(Ask(server.WideUrl("/query?q=%22")));
  const auto counters = ReadCounters();
  EXPECT_EQ(counters.requests, 5U);
  EXPECT_EQ(counters.succeeded, 5U);
  EXPECT_EQ(counters.failed, 0U);
  EXPECT_EQ(counters.under_way, 0U);
  EXPECT_EQ(counters.bytes_received, 50U);
  EXPECT_EQ(counters.endpoints.size(), 4U);
  EXPECT_EQ(counters.endpoints.at("/pc/rt/one").succeeded, 2U);
  EXPECT_EQ(counters.endpoints.at("/pc/rt/one").bytes_received, 20U);
  EXPECT_GE(counters.endpoints.at("/pc/rt/one").last_success, before);
  EXPECT_EQ(counters.endpoints.at("/pc/rt/two").requests, 1U);
  EXPECT_EQ(counters.endpoints.at("static").requests, 1U);
  EXPECT_EQ(counters.endpoints.at("history").requests, 1U);
}

TEST(Counters, tellTheAgeAndTheDurationOfTheLatestSuccess) {
  const RunningHost host;
  LoopbackServer server([](LoopbackServer::Connection& connection) {
    while (!connection.ReadRequest().empty()) {
      if (connection.requests_before == 1) {
        connection.Write("HTTP/1.1 503 Busy\r\nContent-Length: 0\r\n\r\n");
      } else if (connection.Pause(std::chrono::milliseconds(20))) {
        connection.Answer("well");
      }
    }
  });
  const auto before = std::chrono::steady_clock::now();
  EXPECT_TRUE(Ask(server.WideUrl()));
  const auto first = ReadCounters().endpoints.at("other");
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - before;
  EXPECT_GE(first.answer_seconds, 0.02);
  EXPECT_LE(first.answer_seconds + first.success_age, passed.count());
  EXPECT_FALSE(Ask(server.WideUrl()));
  const auto second = ReadCounters().endpoints.at("other");
  EXPECT_EQ(second.answer_seconds, first.answer_seconds);
  EXPECT_GT(second.success_age, first.success_age);
}

TEST(Counters, haveNoAgeBeforeASuccess) {
  const RunningHost host;
  EXPECT_FALSE(Ask(L"http://127.0.0.1:" + std::to_wstring(host_test::ClosedPort())));
  EXPECT_EQ(ReadCounters().endpoints.at("other").success_age, -1);
}

TEST(Counters, bytesAreCountedUnpacked) {
  const RunningHost host;
  LoopbackServer server(Answering(Gzipped(std::string(5000, 'x')), "Content-Encoding: gzip\r\n"));
  EXPECT_TRUE(Ask(server.WideUrl()));
  EXPECT_EQ(ReadCounters().bytes_received, 5000U);
}

TEST(Counters, latestFailureIsNamedAndStaysNamed) {
  const RunningHost host;
  LoopbackServer server([](LoopbackServer::Connection& connection) {
    while (!connection.ReadRequest().empty()) {
      if (connection.requests_before == 0) {
        connection.Write("HTTP/1.1 503 Busy\r\nContent-Length: 0\r\n\r\n");
      } else {
        connection.Answer("well");
      }
    }
  });
  EXPECT_FALSE(Ask(server.WideUrl()));
  EXPECT_EQ(ConnectionState(), Connection::kFailing);
  EXPECT_EQ(ReadCounters().failures.status, 1U);
  EXPECT_EQ(ReadCounters().endpoints["other"].last_success, 0);
  EXPECT_TRUE(Ask(server.WideUrl()));
  EXPECT_EQ(ConnectionState(), Connection::kLive);
  const auto other = ReadCounters().endpoints["other"];
  EXPECT_EQ(other.last_error, "HTTP status 503");
  EXPECT_EQ(other.requests, 2U);
  EXPECT_EQ(other.succeeded, 1U);
  EXPECT_EQ(other.failed, 1U);
}

TEST(Counters, requestsUnderWayAreCounted) {
  const RunningHost host;
  LoopbackServer silent([](LoopbackServer::Connection& connection) { connection.WaitForClose(); });
  Answers answers;
  for (int i = 0; i < 5; ++i) {
    GetAsyn(silent.WideUrl(), answers.Callback(), {}, 30);
  }
  EXPECT_EQ(ReadCounters().under_way, 5U);
  EXPECT_EQ(ReadCounters().requests, 5U);
  EXPECT_EQ(ConnectionState(), Connection::kNoServer);
  stock_host::Stop();
  EXPECT_EQ(ReadCounters().under_way, 0U);
  EXPECT_EQ(ReadCounters().failures.stopped, 5U);
  EXPECT_EQ(ConnectionState(), Connection::kNoServer);
}

TEST(Counters, requestIsUnderWayUntilItsCallBackIsOver) {
  const RunningHost host;
  LoopbackServer server(Answering("well"));
  std::promise<stock_host::Counters> inside;
  std::promise<void> over;
  GetAsyn(
      server.WideUrl(),
      [&](bool, const char*, std::size_t) {
        inside.set_value(ReadCounters());
        over.get_future().wait();
      },
      {}, 30);
  const stock_host::Counters counters = inside.get_future().get();
  EXPECT_EQ(counters.succeeded, 1U) << "an answer counts before it is handed over";
  EXPECT_EQ(counters.under_way, 1U);
  EXPECT_EQ(ReadCounters().under_way, 1U);
  over.set_value();
  stock_host::Stop();
  EXPECT_EQ(ReadCounters().under_way, 0U);
}

TEST(Counters, theEndOfAnExchangeIsAnnouncedAndThenThatOfItsCallBack) {
  using Kind = stock_host::Event::Kind;
  std::mutex mutex;
  std::vector<Kind> announced;
  const auto so_far = [&] {
    const std::lock_guard lock(mutex);
    return announced;
  };
  const RunningHost host;
  stock_host::SetListener([&](const stock_host::Event& event) {
    const std::lock_guard lock(mutex);
    if (event.kind != Kind::kWarning) {
      announced.push_back(event.kind);
    }
  });
  LoopbackServer server(Answering("well"));
  std::promise<void> inside;
  std::promise<void> over;
  GetAsyn(
      server.WideUrl(),
      [&](bool, const char*, std::size_t) {
        inside.set_value();
        over.get_future().wait();
      },
      {}, 30);
  inside.get_future().wait();
  EXPECT_EQ(so_far(), std::vector{Kind::kExchangeEnded});
  EXPECT_EQ(ReadCounters().endpoints.at("other").handed_over, 0U);
  over.set_value();
  stock_host::Stop();
  EXPECT_EQ(so_far(), (std::vector{Kind::kExchangeEnded, Kind::kHandedOver}));
  EXPECT_EQ(ReadCounters().endpoints.at("other").handed_over, 1U);
  stock_host::SetListener({});
}

TEST(Counters, tableOfEndpointsHasAnEnd) {
  stock_host::ResetCounters(true);
  for (int i = 0; i < 5000; ++i) {
    const std::string name = "/pc/rt/" + std::to_string(i);
    stock_host::CountStarted(name);
    stock_host::CountCompleted(name, stock_host::HttpError::kNone, "", 1, 1);
  }
  const auto counters = ReadCounters();
  EXPECT_LE(counters.endpoints.size(), 201U);
  EXPECT_EQ(counters.succeeded, 5000U);
  std::uint64_t sum = 0;
  for (const auto& [name, one] : counters.endpoints) {
    sum += one.requests;
    EXPECT_EQ(one.requests, one.succeeded) << name;
  }
  EXPECT_EQ(sum, 5000U);
}

}  // namespace

// Every way in which a server can misbehave: the request fails, in time, with one call-back, and the next one
// is none the worse for it.
#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "answers.h"
#include "certificate.h"
#include "host/network.h"
#include "host/text.h"
#include "loopback_server.h"
#include "running_host.h"
#include "stock_host.h"

namespace {

using namespace std::chrono_literals;
using host_test::Answering;
using host_test::Answers;
using host_test::Certificate;
using host_test::Gzipped;
using host_test::LoopbackServer;
using host_test::RunningHost;
using host_test::TemporaryDirectory;
using Connection = LoopbackServer::Connection;
using Count = std::uint64_t stock_host::Failures::*;

constexpr int kLimitSeconds = 1;
// For servers that do not wait: their misbehaviour ends the request, not the limit.
constexpr int kAmpleSeconds = 120;
// Far from what any of them takes, so that a busy machine does not matter; below the ample limit.
constexpr auto kInTime = 60s;

enum class Transport { kPlain, kOtherHost, kExpired, kUnknownIssuer, kOldProtocol, kNoTlsAtAll };

struct Misbehaviour {
  std::string name;
  Count cause;
  std::function<void(Connection&)> answer;  // to the first request; later ones are answered well
  Transport transport = Transport::kPlain;
  std::string body = {};  // what is handed over all the same
};

int LimitFor(const Misbehaviour& misbehaviour) {
  return misbehaviour.cause == &stock_host::Failures::timeout ? kLimitSeconds : kAmpleSeconds;
}

std::ostream& operator<<(std::ostream& out, const Misbehaviour& misbehaviour) {
  return out << misbehaviour.name;
}

std::string Chunk(std::string_view bytes) {
  char size[32];
  std::snprintf(size, sizeof size, "%zx\r\n", bytes.size());
  return size + std::string(bytes) + "\r\n";
}

std::function<void(Connection&)> Saying(std::string bytes) {
  return [bytes = std::move(bytes)](Connection& connection) { connection.Write(bytes); };
}

// Made when it is sent: the large ones would slow down the start of every test.
std::function<void(Connection&)> SayingMade(std::string (*make)()) {
  return [make](Connection& connection) { connection.Write(make()); };
}

std::function<void(Connection&)> StallingAfter(std::string bytes) {
  return [bytes = std::move(bytes)](Connection& connection) {
    connection.Write(bytes);
    connection.WaitForClose();
  };
}

std::function<void(Connection&)> ResettingAfter(std::string bytes) {
  return [bytes = std::move(bytes)](Connection& connection) {
    connection.Write(bytes);
    connection.Reset();
  };
}

// `piece` again and again, until the client has had enough.
std::function<void(Connection&)> Endless(std::string start, std::string piece,
                                         std::chrono::milliseconds pause = 0ms) {
  return [=](Connection& connection) {
    bool open = connection.Write(start);
    while (open) {
      open = connection.Write(piece) && (pause == 0ms || connection.Pause(pause));
    }
  };
}

std::string Gzip(std::string_view packed) {
  return "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: " + std::to_string(packed.size()) +
         "\r\n\r\n" + std::string(packed);
}

std::string AboveTheLimit() {
  return std::string((std::size_t{8} << 20) + 1, '0');
}

std::vector<Misbehaviour> Misbehaviours() {
  using F = stock_host::Failures;
  const std::string good = R"({"errno":0,"data":[]})";
  const std::string chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
  const std::string packed = Gzipped(std::string(100'000, 'x') + good);
  std::string damaged = packed;
  damaged[damaged.size() / 2] = static_cast<char>(damaged[damaged.size() / 2] ^ 0x55);
  std::string wrong_sum = packed;
  wrong_sum[wrong_sum.size() - 6] = static_cast<char>(wrong_sum[wrong_sum.size() - 6] ^ 1);
  return {
      {"silent", &F::timeout, StallingAfter("")},
      {"stalledInStatusLine", &F::timeout, StallingAfter("HTTP/1.1 2")},
      {"stalledInHeader", &F::timeout, StallingAfter("HTTP/1.1 200 OK\r\nContent-Le")},
      {"stalledBeforeBody", &F::timeout, StallingAfter("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\n")},
      {"stalledInBody", &F::timeout, StallingAfter("HTTP/1.1 200 OK\r\nContent-Length: 500\r\n\r\n{")},
      {"stalledInChunk", &F::timeout, StallingAfter(chunked + "ff\r\n{")},
      {"stalledBeforeLastChunk", &F::timeout, StallingAfter(chunked + Chunk(good))},
      {"drippedHeader", &F::timeout, Endless("HTTP/1.1 200 OK\r\nX-Long: ", "x", 40ms)},
      {"drippedBody", &F::timeout, Endless("HTTP/1.1 200 OK\r\nContent-Length: 500\r\n\r\n", "x", 40ms)},
      {"drippedChunks", &F::timeout, Endless(chunked, Chunk("x"), 40ms)},
      {"drippedInterimAnswers", &F::timeout, Endless("", "HTTP/1.1 100 Continue\r\n\r\n", 40ms)},

      {"closedWithoutAnswer", &F::incomplete, Saying("")},
      {"closedInHeader", &F::incomplete, Saying("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n")},
      {"closedInBody", &F::incomplete, Saying("HTTP/1.1 200 OK\r\nContent-Length: 50\r\n\r\n" + good)},
      {"closedInChunk", &F::incomplete, Saying(chunked + "50\r\n" + good)},
      {"closedBeforeLastChunk", &F::incomplete, Saying(chunked + Chunk(good))},
      {"bodyWithoutLength", &F::incomplete, Saying("HTTP/1.1 200 OK\r\n\r\n" + good)},
      {"bodyWithoutLengthOfOldProtocol", &F::incomplete, Saying("HTTP/1.0 200 OK\r\n\r\n" + good)},
      {"resetBeforeAnswer", &F::connection, ResettingAfter("")},
      {"resetInHeader", &F::connection, ResettingAfter("HTTP/1.1 200 OK\r\nContent-Le")},
      {"resetInBody", &F::connection, ResettingAfter("HTTP/1.1 200 OK\r\nContent-Length: 500\r\n\r\n{")},

      {"noHttp", &F::incomplete, Saying("SSH-2.0-server\r\n")},
      {"headerless", &F::incomplete, Saying(good)},
      {"binary", &F::incomplete, Saying(std::string(5000, '\0'))},
      {"negativeLength", &F::incomplete, Saying("HTTP/1.1 200 OK\r\nContent-Length: -5\r\n\r\n" + good)},
      {"lengthThatIsNoNumber", &F::incomplete,
       Saying("HTTP/1.1 200 OK\r\nContent-Length: many\r\n\r\n" + good)},
      {"lengthBeyondEveryNumber", &F::incomplete,
       Saying("HTTP/1.1 200 OK\r\nContent-Length: 99999999999999999999999999\r\n\r\n" + good)},
      {"chunkSizeThatIsNoNumber", &F::incomplete, Saying(chunked + "zz\r\n" + good + "\r\n0\r\n\r\n")},
      {"chunkSizeBeyondEveryNumber", &F::incomplete, Saying(chunked + "fffffffffffffffffff\r\n" + good)},
      {"unknownTransferEncoding", &F::incomplete,
       Saying("HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip, chunked\r\n\r\n" + Chunk(good) + "0\r\n\r\n")},
      {"unknownContentEncoding", &F::incomplete,
       Saying("HTTP/1.1 200 OK\r\nContent-Encoding: br\r\nContent-Length: 3\r\n\r\nabc")},
      {"twiceGzip", &F::incomplete,
       Saying("HTTP/1.1 200 OK\r\nContent-Encoding: gzip, gzip\r\nContent-Length: 3\r\n\r\nabc")},

      {"serverError", &F::status,
       Saying("HTTP/1.1 500 Broken\r\nContent-Length: " + std::to_string(good.size()) + "\r\n\r\n" + good),
       Transport::kPlain, good},
      {"notFound", &F::status, Saying("HTTP/1.1 404 Not Found\r\nContent-Length: 4\r\n\r\nnone"),
       Transport::kPlain, "none"},
      {"noContent", &F::status, Saying("HTTP/1.1 204 No Content\r\n\r\n")},
      {"partOfTheContent", &F::status,
       Saying(
           "HTTP/1.1 206 Partial Content\r\nContent-Range: bytes 0-3/9\r\nContent-Length: 4\r\n\r\n{\"a\""),
       Transport::kPlain, "{\"a\""},
      {"redirect", &F::status,
       Saying("HTTP/1.1 302 Found\r\nLocation: /elsewhere\r\nContent-Length: 0\r\n\r\n")},

      {"endlessHeader", &F::too_large,
       Endless("HTTP/1.1 200 OK\r\n", "X-More: " + std::string(100, 'x') + "\r\n")},
      {"endlessInterimAnswers", &F::too_large, Endless("", "HTTP/1.1 100 Continue\r\n\r\n")},
      {"endlessTrailer", &F::too_large,
       Endless(chunked + Chunk(good) + "0\r\n", "X-More: " + std::string(100, 'x') + "\r\n")},
      {"bodyAboveTheLimit", &F::too_large, SayingMade([] {
         const std::string above = AboveTheLimit();
         return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(above.size()) + "\r\n\r\n" + above;
       })},
      {"endlessBody", &F::too_large,
       Endless("HTTP/1.1 200 OK\r\nContent-Length: 9000000000000\r\n\r\n", std::string(65536, 'x'))},
      {"endlessBodyWithoutLength", &F::too_large,
       Endless("HTTP/1.1 200 OK\r\n\r\n", std::string(65536, 'x'))},
      {"endlessChunks", &F::too_large, Endless(chunked, Chunk(std::string(65536, 'x')))},
      {"endlessErrorBody", &F::too_large, Endless("HTTP/1.1 500 Broken\r\n\r\n", std::string(65536, 'x'))},

      {"gzipThatBreaksOff", &F::incomplete, Saying(Gzip(packed.substr(0, packed.size() / 2)))},
      {"gzipWithoutItsEnd", &F::incomplete, Saying(Gzip(packed.substr(0, packed.size() - 8)))},
      {"damagedGzip", &F::incomplete, Saying(Gzip(damaged))},
      {"gzipWithWrongSum", &F::incomplete, Saying(Gzip(wrong_sum))},
      {"gzipWithMoreBehind", &F::incomplete, Saying(Gzip(packed + "more"))},
      {"gzipThatIsNone", &F::incomplete, Saying(Gzip(good))},
      {"gzipBomb", &F::too_large, SayingMade([] { return Gzip(Gzipped(AboveTheLimit())); })},
      {"gzipBombInChunks", &F::too_large, SayingMade([] {
         return "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nTransfer-Encoding: chunked\r\n\r\n" +
                Chunk(Gzipped(AboveTheLimit())) + "0\r\n\r\n";
       })},
      {"endlessEmptyGzip", &F::too_large,
       [](Connection& connection) {
         std::string members;
         for (int i = 0; i < 2000; ++i) {
           members += Gzipped("");
         }
         Endless("HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nTransfer-Encoding: chunked\r\n\r\n",
                 Chunk(members))(connection);
       }},

      {"certificateOfAnotherHost", &F::security, Saying(""), Transport::kOtherHost},
      {"certificateOfThePast", &F::security, Saying(""), Transport::kExpired},
      {"certificateOfUnknownIssuer", &F::security, Saying(""), Transport::kUnknownIssuer},
      {"oldTls", &F::security, Saying(""), Transport::kOldProtocol},
      {"noTls", &F::security, Saying("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"), Transport::kNoTlsAtAll},
  };
}

const std::vector<Misbehaviour>& TheMisbehaviours() {
  static const auto* const all = new std::vector<Misbehaviour>(Misbehaviours());
  return *all;
}

struct Certificates {
  Certificate good = host_test::MakeCertificate("127.0.0.1");
  Certificate other_host = host_test::MakeCertificate("market.example");
  Certificate expired = host_test::MakeCertificate("127.0.0.1", host_test::Validity::kPast);
  Certificate unknown = host_test::MakeCertificate("127.0.0.1");
  Certificate old = [] {
    Certificate made = host_test::MakeCertificate("127.0.0.1");
    made.highest_version = TLS1_1_VERSION;
    return made;
  }();

  // Of the bad ones, all but the unknown are trusted: nothing else may be wrong with them.
  [[nodiscard]] std::string Trusted() const { return good.pem + other_host.pem + expired.pem + old.pem; }
  [[nodiscard]] const Certificate* Of(Transport transport) const {
    switch (transport) {
      case Transport::kOtherHost:
        return &other_host;
      case Transport::kExpired:
        return &expired;
      case Transport::kUnknownIssuer:
        return &unknown;
      case Transport::kOldProtocol:
        return &old;
      case Transport::kPlain:
      case Transport::kNoTlsAtAll:
        break;
    }
    return nullptr;
  }
};

class Hostile {
 public:
  Hostile(const Misbehaviour& misbehaviour, const Certificates& certificates)
      : transport_(misbehaviour.transport),
        server_(
            [answer = misbehaviour.answer, this](Connection& connection) {
              if (transport_ == Transport::kNoTlsAtAll) {
                answer(connection);
                connection.WaitForClose();
                return;
              }
              while (!connection.ReadRequest().empty()) {
                if (connection.requests_before == 0) {
                  answer(connection);
                  return;
                }
                if (!connection.Answer("well")) {
                  return;
                }
              }
            },
            certificates.Of(misbehaviour.transport)) {}

  [[nodiscard]] std::wstring Url() const {
    std::string url = server_.Url("/answer");
    if (transport_ == Transport::kNoTlsAtAll) {
      url.replace(0, 4, "https");
    }
    return common::s2ws(url, common::kUtf8);
  }
  [[nodiscard]] bool Recovers() const { return transport_ == Transport::kPlain; }
  [[nodiscard]] int requests() const { return server_.requests(); }

 private:
  const Transport transport_;
  LoopbackServer server_;
};

class HostileServer : public testing::TestWithParam<Misbehaviour> {
 protected:
  HostileServer() {
    host_test::WriteFile(directory_.Path("trusted.pem"), certificates_.Trusted());
    stock_host::Settings settings;
    settings.ca_file = directory_.Path("trusted.pem");
    host_ = std::make_unique<RunningHost>(settings);
  }

  // Its caller has stopped the host, so that no further call-back can come.
  static void ExpectOneFailure(Answers& answers, const Misbehaviour& misbehaviour) {
    const auto given = answers.Given();
    ASSERT_EQ(given.size(), 1U) << misbehaviour;
    EXPECT_FALSE(given[0].ok) << misbehaviour;
    EXPECT_EQ(given[0].length, misbehaviour.body.size()) << misbehaviour;
    if (misbehaviour.cause == &stock_host::Failures::status) {
      EXPECT_EQ(given[0].body, misbehaviour.body) << misbehaviour;
    } else {
      EXPECT_EQ(given[0].body, std::nullopt) << misbehaviour;
    }
  }

  const Certificates certificates_;
  const TemporaryDirectory directory_;
  std::unique_ptr<RunningHost> host_;
};

TEST_P(HostileServer, failsOnceInTimeAndTheNextRequestWorks) {
  Hostile hostile(GetParam(), certificates_);
  Hostile hostile_too(GetParam(), certificates_);
  LoopbackServer well(Answering("well"));
  Answers answers;

  const auto asked = std::chrono::steady_clock::now();
  GetAsyn(hostile.Url(), answers.Callback(), {}, LimitFor(GetParam()));
  std::string body = "before";
  EXPECT_FALSE(GetSync(hostile_too.Url(), body, {}, LimitFor(GetParam())));
  EXPECT_EQ(body, GetParam().body);
  ASSERT_TRUE(answers.Wait());
  EXPECT_LT(std::chrono::steady_clock::now() - asked, kInTime);

  EXPECT_EQ(stock_host::ReadCounters().failures.*GetParam().cause, 2U)
      << "last error: " << stock_host::ReadCounters().endpoints["other"].last_error;
  EXPECT_TRUE(GetSync(well.WideUrl(), body, {}, 20));
  EXPECT_EQ(body, "well");
  if (hostile.Recovers()) {
    EXPECT_TRUE(GetSync(hostile.Url(), body, {}, 20));
    EXPECT_EQ(body, "well");
    EXPECT_EQ(hostile.requests(), 2) << "a request was sent that nobody asked for";
  }
  host_.reset();
  ExpectOneFailure(answers, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Each, HostileServer, testing::ValuesIn(TheMisbehaviours()),
                         [](const auto& one) { return one.param.name; });

class HostileServers : public HostileServer {};

TEST_P(HostileServers, doNotDisturbEachOtherNorAGoodOne) {
  LoopbackServer well(Answering("well"));
  std::vector<std::unique_ptr<Hostile>> servers;
  std::vector<std::unique_ptr<Answers>> answers;
  for (const Misbehaviour& misbehaviour : TheMisbehaviours()) {
    servers.push_back(std::make_unique<Hostile>(misbehaviour, certificates_));
    answers.push_back(std::make_unique<Answers>());
  }
  for (std::size_t i = 0; i < servers.size(); ++i) {
    GetAsyn(servers[i]->Url(), answers[i]->Callback(), {}, LimitFor(TheMisbehaviours()[i]));
  }
  Answers good;
  for (int i = 0; i < 20; ++i) {
    GetAsyn(well.WideUrl(), good.Callback(), {}, kAmpleSeconds);
  }
  EXPECT_TRUE(good.Wait(20));
  for (const auto& one : answers) {
    EXPECT_TRUE(one->Wait());
  }
  host_.reset();
  for (std::size_t i = 0; i < servers.size(); ++i) {
    ExpectOneFailure(*answers[i], TheMisbehaviours()[i]);
  }
  const auto given = good.Given();
  EXPECT_EQ(given.size(), 20U);
  EXPECT_TRUE(std::all_of(given.begin(), given.end(), [](const auto& one) { return one.ok; }));
}

INSTANTIATE_TEST_SUITE_P(AllAtOnce, HostileServers, testing::Values(Misbehaviour{}),
                         [](const auto&) { return "sideBySide"; });

TEST(ClosedPort, requestFailsAndTheNextOneWorks) {
  Answers answers;
  std::string body;
  {
    const RunningHost host;
    LoopbackServer well(Answering("well"));
    GetAsyn(L"http://127.0.0.1:" + std::to_wstring(host_test::ClosedPort()) + L"/", answers.Callback(), {},
            20);
    ASSERT_TRUE(answers.Wait());
    EXPECT_EQ(stock_host::ReadCounters().failures.connection, 1U);
    EXPECT_EQ(stock_host::ConnectionState(), stock_host::Connection::kFailing);
    EXPECT_TRUE(GetSync(well.WideUrl(), body, {}, 20));
    EXPECT_EQ(stock_host::ConnectionState(), stock_host::Connection::kLive);
  }
  ASSERT_EQ(answers.Given().size(), 1U);
  EXPECT_FALSE(answers.Given()[0].ok);
}

TEST(Redirect, placeThatItNamesIsNotAsked) {
  const RunningHost host;
  LoopbackServer elsewhere(Answering("elsewhere"));
  LoopbackServer server([&](Connection& connection) {
    if (!connection.ReadRequest().empty()) {
      connection.Write("HTTP/1.1 302 Found\r\nLocation: " + elsewhere.Url() +
                       "\r\nContent-Length: 0\r\n\r\n");
    }
  });
  std::string body;
  EXPECT_FALSE(GetSync(server.WideUrl(), body, {}, 20));
  EXPECT_EQ(elsewhere.connections(), 0);
}

TEST(TlsHandshake, serverThatNeverAnswersItCostsNoMoreThanTheLimit) {
  const RunningHost host;
  LoopbackServer silent([](Connection& connection) { connection.WaitForClose(); });
  std::wstring url = silent.WideUrl();
  url.replace(0, 4, L"https");
  std::string body;
  EXPECT_FALSE(GetSync(url, body, {}, kLimitSeconds));
  EXPECT_EQ(stock_host::ReadCounters().failures.timeout, 1U);
}

}  // namespace

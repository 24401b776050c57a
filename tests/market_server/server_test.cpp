// The server as a client on a socket meets it: start and stop, keep-alive, headers, limits, HTTPS,
// signatures, log.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <openssl/ssl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <thread>
#include <vector>

#include "server_fixture.h"

namespace market_server::testing {
namespace {

using std::chrono::milliseconds;

const QueryMap kIndices = {{"stock_arr", R"(["sh000001","sz399001","sz399006"])"}};

std::string Content(const std::string& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

TEST(Server, keepsAConnectionForManyRequests) {
  Bench bench;
  RawClient client(bench.server().port());
  for (int i = 0; i < 20; ++i) {
    const RawAnswer answer = client.Get(bench.Sign("/pc/rt/stock_version"));
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.Field("Connection"), "keep-alive");
  }
  EXPECT_EQ(client.end(), End::kOpen);
  EXPECT_EQ(bench.server().ReadCounters().connections, 1U);
  EXPECT_EQ(bench.server().ReadCounters().requests, 20U);
}

TEST(Server, answersPipelinedRequestsInOrder) {
  Bench bench;
  RawClient client(bench.server().port());
  client.SendGet(bench.Sign("/pc/rt/stock_version"));
  client.SendGet("/no/such/path");
  client.SendGet(bench.Sign("/pc/rt/stock_version"));
  EXPECT_NE(client.ReadAnswer().body.find("\"version\""), std::string::npos);
  EXPECT_NE(client.ReadAnswer().body.find("1001"), std::string::npos);
  EXPECT_NE(client.ReadAnswer().body.find("\"version\""), std::string::npos);
}

TEST(Server, closesWhenAskedTo) {
  Bench bench;
  RawClient client(bench.server().port());
  client.Send("GET /x HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n");
  EXPECT_EQ(ParseAnswer(client.ReadAll()).Field("Connection"), "close");
  EXPECT_EQ(client.end(), End::kClosed);
}

TEST(Server, refusesReplaysOldAndFutureRequests) {
  Bench bench;
  const std::string target = bench.Sign("/pc/rt/stock_version");
  EXPECT_NE(bench.Raw(target).body.find("\"errno\":0"), std::string::npos);
  EXPECT_NE(bench.Raw(target).body.find("\"errno\":1027"), std::string::npos);
  bench.signer().time = kMidMorning - 301;
  EXPECT_NE(bench.Raw(bench.signer().Sign("/pc/rt/stock_version", {})).body.find("1025"), std::string::npos);
  bench.signer().time = kMidMorning + 301;
  EXPECT_NE(bench.Raw(bench.signer().Sign("/pc/rt/stock_version", {})).body.find("1026"), std::string::npos);
}

TEST(Server, measuresSigningTimesByTheClockThatWasSet) {
  Bench bench;
  bench.server().SetClock("2024-03-14 14:00:00");
  bench.signer().time = kMidMorning;
  EXPECT_NE(bench.Raw(bench.signer().Sign("/pc/rt/stock_version", {})).body.find("1026"), std::string::npos);
  EXPECT_EQ(bench.Errno("/pc/rt/stock_version"), 0);
}

TEST(Server, makesARandomKeyWhenNoneIsGiven) {
  Options options = SmallMarket();
  options.keys.clear();
  Bench first(options);
  Bench second(options);
  EXPECT_NE(first.server().key(), second.server().key());
  EXPECT_EQ(first.server().key().size(), 64U);
  EXPECT_EQ(first.Errno("/pc/rt/stock_version"), 0);
}

TEST(Server, allowsOnlyGet) {
  Bench bench;
  for (const char* method : {"POST", "PUT", "DELETE", "OPTIONS", "TRACE"}) {
    RawClient client(bench.server().port());
    client.Send(std::string(method) +
                " /pc/rt/stock_version HTTP/1.1\r\nHost: a\r\nContent-Length: 0\r\n\r\n");
    const RawAnswer answer = client.ReadAnswer();
    EXPECT_EQ(answer.status, 405) << method;
    EXPECT_EQ(answer.Field("Allow"), "GET") << method;
    EXPECT_NE(answer.body.find("\"errno\":1002"), std::string::npos) << method;
  }
}

TEST(Server, refusalsHaveTheDateAndEndTheConnection) {
  const TemporaryDirectory directory;
  Options options = SmallMarket();
  options.access_log = directory.File("access.log");
  Bench bench(options);
  const std::pair<std::string, int> requests[] = {
      {"no http\r\n\r\n", 400},
      {"GET /x HTTP/1.1\r\nHost: a\r\nHost: a\r\n\r\n", 400},
      {"POST /x HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n", 411},
      {"POST /x HTTP/1.1\r\nContent-Length: 99999999\r\n\r\n", 413},
      {"GET /" + std::string(options.limits.header_bytes, 'x'), 431}};
  for (const auto& [request, status] : requests) {
    RawClient client(bench.server().port());
    client.Send(request);
    const RawAnswer answer = ParseAnswer(client.ReadAll());
    EXPECT_EQ(answer.status, status);
    EXPECT_EQ(answer.Field("Date"), "Fri, 15 Mar 2024 02:30:00 GMT") << status;
    EXPECT_EQ(answer.Field("X-Market-Speed"), "0") << status;
    EXPECT_EQ(answer.Field("Connection"), "close") << status;
    EXPECT_EQ(client.end(), End::kClosed) << status;
    EXPECT_NE(Content(directory.File("access.log")).find(" - - " + std::to_string(status) + " 0 0 "),
              std::string::npos)
        << status;
  }
  EXPECT_EQ(bench.server().ReadCounters().errors, std::size(requests));
}

TEST(Server, limitsTheNumberOfConnections) {
  Options options = SmallMarket();
  options.limits.connections = 3;
  Bench bench(options);
  std::vector<std::unique_ptr<RawClient>> clients;
  for (int i = 0; i < 3; ++i) {
    clients.push_back(std::make_unique<RawClient>(bench.server().port()));
    EXPECT_EQ(clients.back()->Get("/x").status, 200);
  }
  RawClient fourth(bench.server().port());
  fourth.ReadAll();
  EXPECT_NE(fourth.end(), End::kOpen);
  EXPECT_EQ(bench.server().ReadCounters().refused, 1U);
  EXPECT_EQ(clients[0]->Get("/x").status, 200);
}

TEST(Server, dropsAClientThatSendsItsRequestTooSlowly) {
  Options options = SmallMarket();
  options.limits.request_time = milliseconds(100);
  Bench bench(options);
  RawClient client(bench.server().port());
  client.Send("GET /x HTT");
  EXPECT_EQ(client.ReadAll(), "");
  EXPECT_NE(client.end(), End::kOpen);
}

TEST(Server, dropsAnIdleConnection) {
  Options options = SmallMarket();
  options.limits.idle_time = milliseconds(100);
  Bench bench(options);
  // On a busy machine it is idle for too long before its first request; then another one asks.
  std::unique_ptr<RawClient> client;
  int status = 0;
  for (int tries = 0; tries < 100 && status != 200; ++tries) {
    client = std::make_unique<RawClient>(bench.server().port());
    status = client->Get("/x").status;
  }
  EXPECT_EQ(status, 200);
  client->ReadAll();
  EXPECT_NE(client->end(), End::kOpen);
}

TEST(Server, dropsAClientThatTakesItsAnswerTooSlowly) {
  Options options = SmallMarket();
  options.limits.answer_time = milliseconds(200);
  options.faults = {"chunked_endless"};
  Bench bench(options);
  RawClient client(bench.server().port());
  client.SendGet("/x");
  while (bench.server().ReadCounters().requests == 0) std::this_thread::yield();
  // Nothing is read until the server has given up; what had left by then can still be read.
  while (bench.server().ReadCounters().open > 0) std::this_thread::yield();
  client.ReadAll();
  EXPECT_NE(client.end(), End::kOpen);
}

TEST(Server, closesAnOldConnectionAfterItsAnswer) {
  Options options = SmallMarket();
  options.limits.connection_time = milliseconds(0);
  Bench bench(options);
  RawClient client(bench.server().port());
  EXPECT_EQ(client.Get("/x").status, 200);
  client.ReadAll();
  EXPECT_EQ(client.end(), End::kClosed);
}

TEST(Server, stopsWithConnectionsOpenInEveryState) {
  Options options = SmallMarket();
  options.faults = {"silence:/silence", "drip_body:/drip:1:50", "chunked_endless:/endless",
                    "latency:/late:1:60000"};
  Bench bench(options);
  std::vector<std::unique_ptr<RawClient>> clients;
  for (const char* target : {"", "/silence", "/drip", "/endless", "/late", "/x"}) {
    clients.push_back(std::make_unique<RawClient>(bench.server().port()));
    if (*target != '\0') clients.back()->SendGet(target);
  }
  EXPECT_EQ(clients.back()->ReadAnswer().status, 200);
  bench.server().Stop();
  for (const auto& client : clients) {
    client->ReadAll();
    EXPECT_NE(client->end(), End::kOpen);
  }
  EXPECT_EQ(bench.server().ReadCounters().open, 0U);
  EXPECT_EQ(RawClient(bench.server().port()).end(), End::kRefused);
}

TEST(Server, startsAgainAfterAStop) {
  Bench bench;
  const std::uint16_t before = bench.server().port();
  EXPECT_NE(before, 0);
  bench.server().Stop();
  bench.server().Stop();
  EXPECT_FALSE(bench.server().running());
  EXPECT_EQ(bench.server().port(), 0);
  bench.server().Start();
  EXPECT_TRUE(bench.server().running());
  bench.signer().host = "127.0.0.1:" + std::to_string(bench.server().port());
  RawClient client(bench.server().port());
  EXPECT_EQ(client.Get("/x").status, 200);
}

TEST(Server, doesNotStartTwice) {
  Bench bench;
  EXPECT_THROW(bench.server().Start(), std::runtime_error);
  EXPECT_EQ(bench.Raw("/x").status, 200);
}

TEST(Server, saysWhyItCannotStart) {
  const auto refuses = [](const auto& change, const std::string& word) {
    Options options = SmallMarket();
    change(options);
    Server server(options);
    try {
      server.Start();
      ADD_FAILURE() << "started: " << word;
    } catch (const std::runtime_error& error) {
      EXPECT_NE(std::string(error.what()).find(word), std::string::npos) << error.what();
    }
    EXPECT_FALSE(server.running());
  };
  Bench other;
  refuses([](Options& o) { o.bind = "nowhere"; }, "nowhere");
  refuses([&](Options& o) { o.port = other.server().port(); }, std::to_string(other.server().port()));
  refuses([](Options& o) { o.clock = "later"; }, "later");
  refuses([](Options& o) { o.speed = -1; }, "speed");
  refuses([](Options& o) { o.scenario = "boom"; }, "boom");
  refuses([](Options& o) { o.faults = {"nonsense"}; }, "nonsense");
  refuses([](Options& o) { o.tls_cert = "/no/such/file"; }, "private key");
  refuses([](Options& o) { o.tls_cert = o.tls_key = "/no/such/file"; }, "/no/such/file");
  refuses([](Options& o) { o.access_log = "/no/such/directory/log"; }, "/no/such/directory/log");
}

/// Raises the limit of open files of this process; false when that is not allowed.
bool AllowFiles(rlim_t count) {
  rlimit files{};
  getrlimit(RLIMIT_NOFILE, &files);
  if (files.rlim_cur >= count) return true;
  files.rlim_cur = std::min(count, files.rlim_max);
  return files.rlim_cur >= count && setrlimit(RLIMIT_NOFILE, &files) == 0;
}

TEST(Server, aThousandSlowConnectionsDoNotKeepItFromAnswering) {
  constexpr std::size_t kSlow = 1000;
  ASSERT_TRUE(AllowFiles(2 * kSlow + 200));  // both ends are in this process
  Options options = SmallMarket();
  options.limits.request_time = options.limits.idle_time = options.limits.answer_time =
      std::chrono::minutes(10);
  Bench bench(options);
  bench.server().SetFaults({"drip_body:/slow:1:1000"});
  std::vector<std::unique_ptr<RawClient>> slow;
  for (std::size_t i = 0; i < kSlow; ++i) {
    auto& client = *slow.emplace_back(std::make_unique<RawClient>(bench.server().port()));
    ASSERT_TRUE(client.connected()) << i;
    if (i % 4 == 0) client.Send("GET /pc/rt/stock_version HTTP/1.1\r\nHost: ");
    if (i % 4 == 1) client.SendGet("/slow");
    if (i % 4 == 2) {
      EXPECT_EQ(client.Get("/x").status, 200) << i;
    }
    // Every fourth says nothing at all.
  }
  for (int i = 0; i < 200; ++i) {
    ASSERT_EQ(bench.Errno("/pc/rt/stock_detail_list", {{"stock_arr", "[\"sh000001\"]"}}), 0);
  }
  EXPECT_GE(bench.server().ReadCounters().open, kSlow) << "the slow ones were let go";
  EXPECT_EQ(bench.server().ReadCounters().refused, 0U);
  // Those that were patient are answered still.
  slow[0]->Send(slow[0]->host() + "\r\n\r\n");
  EXPECT_EQ(slow[0]->ReadAnswer().status, 200);
  EXPECT_EQ(slow[3]->Get("/x").status, 200);
}

TEST(Server, hostileConnectionsDoNoHarmToGoodOnes) {
  constexpr int kRounds = 25;
  Options options = SmallMarket();
  options.control_port = 0;
  options.limits.request_time = milliseconds(500);
  options.limits.answer_time = milliseconds(2000);
  Bench bench(options);
  const std::string page = bench.Sign(
      "/pc/rt/get", {{"stock_type", ""}, {"sort_key", ""}, {"sort_type", ""}, {"start", "0"}, {"end", "-1"}});
  const std::string get = "GET /x HTTP/1.1\r\nHost: a\r\n";
  std::string pipeline;
  for (int i = 0; i < 200; ++i) pipeline += "GET " + page + " HTTP/1.1\r\nHost: a\r\n\r\n";
  const std::vector<std::string> hostile = {"",
                                            "G",
                                            std::string(200'000, '\0'),
                                            get,
                                            get + "X: " + std::string(65'534, 'x') + "\r\n\r\n",
                                            get + std::string(65'534, 'x') + ": x\r\n\r\n",
                                            get + std::string(200'000, 'x'),
                                            get + "Content-Length: 60000\r\n\r\nfew",
                                            get + "Content-Length: 18446744073709551615\r\n\r\n",
                                            get + "Transfer-Encoding: chunked\r\n\r\nffffffffffffffff\r\n",
                                            get + "Expect: 100-continue\r\nContent-Length: 1\r\n\r\n",
                                            "\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03",
                                            "GET /static/%00/../../etc/passwd HTTP/1.1\r\n\r\n",
                                            "GET /kql?q=" + std::string(40'000, '[') + " HTTP/1.1\r\n\r\n",
                                            pipeline};
  std::atomic<bool> reached{true};
  std::vector<std::thread> threads;
  for (const std::uint16_t port :
       {bench.server().port(), bench.server().port(), bench.server().control_port()}) {
    threads.emplace_back([&, port] {
      for (int round = 0; round < kRounds; ++round) {
        for (const std::string& bytes : hostile) {
          RawClient client(port);
          if (!client.connected()) reached = false;
          client.Send(bytes);
          // Some read a little of what comes; all leave without a word, most with answers unread.
          if (round % 4 == 0 && !bytes.empty()) client.ReadAll(milliseconds(1), 1000);
        }
      }
    });
  }
  int good = 0;
  constexpr int kGood = 200;
  for (int i = 0; i < kGood; ++i) good += bench.Errno("/pc/rt/stock_detail_list", kIndices) == 0 ? 1 : 0;
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(reached);
  EXPECT_EQ(good, kGood);
  EXPECT_EQ(bench.Errno("/pc/rt/stock_version"), 0);
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (bench.server().ReadCounters().open > 1 && std::chrono::steady_clock::now() < until) {
    std::this_thread::yield();
  }
  EXPECT_EQ(bench.server().ReadCounters().open, 1U) << "that of the good client";
}

TEST(Server, acceptsAgainWhenDescriptorsHaveRunOut) {
  Bench bench;
  ASSERT_EQ(bench.Raw("/x").status, 200);
  rlimit files{};
  getrlimit(RLIMIT_NOFILE, &files);
  const rlimit few{std::min<rlim_t>(256, files.rlim_max), files.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
  std::vector<int> fillers;
  for (int fd = open("/dev/null", O_RDONLY); fd >= 0; fd = open("/dev/null", O_RDONLY)) fillers.push_back(fd);
  ASSERT_FALSE(fillers.empty());
  close(fillers.back());
  fillers.pop_back();
  RawClient client(bench.server().port());  // has the last descriptor: there is none for the other end
  ASSERT_TRUE(client.connected());
  client.SendGet("/x");
  EXPECT_EQ(client.ReadAll(milliseconds(120)), "");
  EXPECT_EQ(client.end(), End::kOpen);
  for (const int fd : fillers) close(fd);
  setrlimit(RLIMIT_NOFILE, &files);
  EXPECT_EQ(client.ReadAnswer().status, 200);
}

TEST(Server, namesAnAddressThatReachesIt) {
  Options options = SmallMarket();
  options.bind = "0.0.0.0";
  Bench bench(options);
  EXPECT_EQ(bench.server().url(), "http://127.0.0.1:" + std::to_string(bench.server().port()));
  EXPECT_EQ(bench.server().static_url(), bench.server().url() + "/static/");
}

TEST(AccessLogFile, hasOneLineForEachAnswerWithoutSignatures) {
  const TemporaryDirectory directory;
  Options options = SmallMarket();
  options.access_log = directory.File("access.log");
  options.faults = {"status:/bad:1:503"};
  Bench bench(options);
  (void)bench.Get("/pc/rt/stock_version");
  (void)bench.Raw("/no%0apath");
  (void)bench.Raw("/bad");
  bench.server().Stop();
  const std::string log = Content(directory.File("access.log"));
  EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 3) << log;
  EXPECT_NE(log.find(" 2024-03-15T10:30:00 127.0.0.1:"), std::string::npos) << log;
  EXPECT_NE(log.find("GET /pc/rt/stock_version?_k=test-key"), std::string::npos) << log;
  EXPECT_EQ(log.find("_s="), std::string::npos) << log;
  EXPECT_NE(log.find(" /no%0apath 200 1001 "), std::string::npos) << log;
  EXPECT_NE(log.find(" 503 "), std::string::npos) << log;
  EXPECT_NE(log.find(" status\n"), std::string::npos) << log;
}

TEST(AccessLogFile, holdsNoSignatureWhereverItStands) {
  const TemporaryDirectory directory;
  Options options = SmallMarket();
  options.access_log = directory.File("access.log");
  Bench bench(options);
  (void)bench.Raw("/pc/rt/stock_version?_s=secret1&_k=a&_s=secret2&b=c_s=d");
  bench.server().Stop();
  const std::string log = Content(directory.File("access.log"));
  EXPECT_EQ(log.find("secret"), std::string::npos) << log;
  EXPECT_NE(log.find("&_k=a&"), std::string::npos) << log;
  EXPECT_NE(log.find("b=c_s=d"), std::string::npos) << log;
}

// HTTPS

class Tls : public ::testing::Test {
 protected:
  Tls() { UseTls(options, directory); }

  /// One request over TLS that trusts just that certificate; empty when there is no connection.
  std::string Fetch(std::uint16_t port, const std::string& target, int highest_version,
                    const std::string& fields = {}) {
    SSL_CTX* context = SSL_CTX_new(TLS_client_method());
    SSL_CTX_load_verify_locations(context, options.tls_cert.c_str(), nullptr);
    SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
    SSL_CTX_set_min_proto_version(context, TLS1_VERSION);
    SSL_CTX_set_security_level(context, 0);
    SSL_CTX_set_max_proto_version(context, highest_version);
    std::string text;
    BIO* connection = BIO_new_ssl_connect(context);
    const std::string where = "127.0.0.1:" + std::to_string(port);
    BIO_set_conn_hostname(connection, where.c_str());
    if (BIO_do_connect(connection) == 1) {
      const std::string request =
          "GET " + target + " HTTP/1.1\r\nHost: " + where + "\r\n" + fields + "Connection: close\r\n\r\n";
      BIO_write(connection, request.data(), static_cast<int>(request.size()));
      char bytes[4096];
      int length = 0;
      while ((length = BIO_read(connection, bytes, sizeof bytes)) > 0)
        text.append(bytes, static_cast<std::size_t>(length));
    }
    BIO_free_all(connection);
    SSL_CTX_free(context);
    return text;
  }

  TemporaryDirectory directory;
  Options options = SmallMarket();
};

TEST_F(Tls, answersOverHttps) {
  Bench bench(options);
  EXPECT_TRUE(bench.server().url().starts_with("https://127.0.0.1:"));
  const std::string text = Fetch(bench.server().port(), bench.Sign("/pc/rt/stock_version"), 0);
  EXPECT_EQ(ParseAnswer(text).status, 200);
  EXPECT_NE(text.find("\"errno\":0"), std::string::npos) << text;
}

TEST_F(Tls, needsACertificateAndTheKeyThatBelongsToIt) {
  const auto refusal = [](const Options& changed) -> std::string {
    try {
      Server(changed).Start();
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "started";
  };
  Options no_certificate = options;
  no_certificate.tls_cert.clear();
  EXPECT_NE(refusal(no_certificate).find("both"), std::string::npos);
  Options other_key = options;
  other_key.tls_key = directory.File("other.pem");
  std::ofstream(other_key.tls_key) << host_test::MakeCertificate("127.0.0.1").key_pem;
  EXPECT_NE(refusal(other_key).find("cannot use the private key"), std::string::npos) << refusal(other_key);
}

TEST_F(Tls, refusesProtocolsBelowTls12) {
  Bench bench(options);
  EXPECT_EQ(Fetch(bench.server().port(), "/x", TLS1_1_VERSION), "");
  EXPECT_NE(Fetch(bench.server().port(), "/x", TLS1_2_VERSION), "");
}

TEST_F(Tls, stopsDuringAHandshake) {
  Bench bench(options);
  RawClient client(bench.server().port());
  client.Send("\x16\x03\x01");
  bench.server().Stop();
  client.ReadAll();
  EXPECT_NE(client.end(), End::kOpen);
}

// The control connection

std::string Call(std::uint16_t port, const std::string& method, const std::string& path,
                 const std::string& body, const std::string& fields = {}) {
  RawClient client(port);
  client.Send(method + " " + path + " HTTP/1.1\r\nHost: " + client.host() + "\r\n" + fields +
              "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
  const RawAnswer answer = client.ReadAnswer();
  return std::to_string(answer.status) + " " + answer.body;
}

class ControlConnection : public ::testing::Test {
 protected:
  static Options WithControl() {
    Options options = SmallMarket();
    options.control_port = 0;
    return options;
  }
  std::string Control(const std::string& method, const std::string& path, const std::string& body = {},
                      const std::string& fields = {}) {
    return Call(bench.server().control_port(), method, path, body, fields);
  }
  Bench bench{WithControl()};
};

TEST(ControlPort, isOffUnlessAskedFor) {
  Bench bench;
  EXPECT_EQ(bench.server().control_port(), 0);
}

TEST_F(ControlConnection, setsAndClearsFaults) {
  EXPECT_TRUE(Control("PUT", "/faults", "status:/x:1:503\nempty_body:/y\r\n").starts_with("200 "));
  EXPECT_EQ(bench.Raw("/x").status, 503);
  EXPECT_EQ(bench.Raw("/y").body, "");
  EXPECT_NE(Control("GET", "/status").find(R"("faults":["status:/x:1:503","empty_body:/y"])"),
            std::string::npos);
  EXPECT_TRUE(Control("DELETE", "/faults").starts_with("200 "));
  EXPECT_EQ(bench.Raw("/x").status, 200);
}

TEST_F(ControlConnection, saysWhatIsWrongWithAFaultAndKeepsTheOldOnes) {
  EXPECT_TRUE(Control("PUT", "/faults", "status:/x:1:503").starts_with("200 "));
  EXPECT_TRUE(Control("PUT", "/faults", "nonsense").starts_with("400 fault \"nonsense\""));
  EXPECT_EQ(bench.Raw("/x").status, 503);
}

TEST_F(ControlConnection, setsClockAndSpeed) {
  EXPECT_TRUE(Control("PUT", "/clock", "2024-03-18 13:30:00\n").starts_with("200 "));
  EXPECT_EQ(bench.Raw("/x").Field("Date"), "Mon, 18 Mar 2024 05:30:00 GMT");
  EXPECT_TRUE(Control("PUT", "/speed", "60").starts_with("200 "));
  EXPECT_EQ(bench.Raw("/x").Field("X-Market-Speed"), "60");
  EXPECT_TRUE(Control("PUT", "/clock", "later").starts_with("400 "));
  EXPECT_TRUE(Control("PUT", "/speed", "fast").starts_with("400 "));
}

TEST_F(ControlConnection, saysWhatIsWrongWithAnOrder) {
  EXPECT_TRUE(Control("PUT", "/clock", "10:00\n11:00").starts_with("400 the body"));
  EXPECT_TRUE(Control("PUT", "/clock", "").starts_with("400 the body"));
  EXPECT_TRUE(Control("PUT", "/speed", "1x").starts_with("400 \"1x\""));
  EXPECT_TRUE(Control("PUT", "/speed", "-1").starts_with("400 the speed"));
  EXPECT_TRUE(Control("PUT", "/faults", "\r\n\nempty_body:/y\n\n").starts_with("200 "));
  RawClient client(bench.server().control_port());
  client.Send("no http\r\n\r\n");
  EXPECT_EQ(client.ReadAnswer().status, 400);
  RawClient local(bench.server().control_port());
  local.Send("GET /status HTTP/1.1\r\nHost: localhost\r\n\r\n");
  EXPECT_EQ(local.ReadAnswer().status, 200);
}

TEST_F(ControlConnection, knowsNothingElse) {
  EXPECT_TRUE(Control("GET", "/pc/rt/stock_version").starts_with("404 "));
  EXPECT_TRUE(Control("POST", "/faults", "silence").starts_with("404 "));
}

TEST_F(ControlConnection, worksWhileTheServerRefusesConnections) {
  EXPECT_TRUE(Control("PUT", "/faults", "refuse").starts_with("200 "));
  EXPECT_EQ(RawClient(bench.server().port()).end(), End::kRefused);
  EXPECT_TRUE(Control("DELETE", "/faults").starts_with("200 "));
  EXPECT_EQ(bench.Raw("/x").status, 200);
}

}  // namespace
}  // namespace market_server::testing

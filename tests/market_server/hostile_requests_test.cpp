// Every request of the hostile list, in the clear and over TLS: what the server says, and that it goes on.
#include "hostile_requests.h"

#include <gtest/gtest.h>
#include <openssl/bio.h>
#include <openssl/ssl.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "server_fixture.h"

namespace market_server::testing {

void PrintTo(const HostileRequest& request, std::ostream* out);
void PrintTo(const HostileRequest& request, std::ostream* out) {
  *out << request.name;
}

namespace {

constexpr const char* kDate = "Fri, 15 Mar 2024 02:30:00 GMT";

Options Unsigned() {
  Options options = SmallMarket();
  options.check_signatures = false;
  options.control_port = 0;
  return options;
}

/// The answers in the bytes of a connection, but for consents to a body.
std::vector<RawAnswer> AnswersIn(std::string_view bytes) {
  constexpr std::string_view kConsent = "HTTP/1.1 100 Continue\r\n\r\n";
  std::vector<RawAnswer> answers;
  while (!bytes.empty()) {
    if (bytes.starts_with(kConsent)) {
      bytes.remove_prefix(kConsent.size());
      continue;
    }
    RawAnswer answer = ParseAnswer(bytes);
    const std::string length = answer.Field("Content-Length");
    const std::size_t body = length.empty() ? answer.body.size() : std::stoul(length);
    const std::size_t head = bytes.size() - answer.body.size();
    EXPECT_TRUE(head > 0 && answer.body.size() >= body) << "an answer that breaks off";
    answer.body.resize(std::min(body, answer.body.size()));
    bytes.remove_prefix(std::min(bytes.size(), head + body));
    answers.push_back(std::move(answer));
  }
  return answers;
}

void ExpectAnswers(const HostileRequest& request, const std::string& bytes) {
  const std::vector<RawAnswer> answers = AnswersIn(bytes);
  std::vector<int> statuses;
  for (const RawAnswer& answer : answers) statuses.push_back(answer.status);
  ASSERT_EQ(statuses, request.statuses);
  for (const RawAnswer& answer : answers) {
    if (request.door == Door::kQuotes) {
      EXPECT_EQ(answer.Field("Date"), kDate) << answer.status;
    }
    if (answer.status == 200 && request.door == Door::kQuotes) {
      rapidjson::Document document;
      document.Parse(answer.body.data(), answer.body.size());
      ASSERT_FALSE(document.HasParseError()) << answer.body.substr(0, 100);
      EXPECT_EQ(document["errno"].GetInt(), request.errno_of_first) << answer.body.substr(0, 200);
    }
  }
}

class Hostile : public ::testing::TestWithParam<HostileRequest> {
 protected:
  /// One server for all: whatever one request leaves behind meets the next.
  static Bench& InTheClear() {
    static Bench* const bench = new Bench(Unsigned());
    return *bench;
  }
  static Bench& OverTls() {
    static Bench* const bench = [] {
      const TemporaryDirectory directory;
      Options options = Unsigned();
      UseTls(options, directory);
      auto* made = new Bench(options);
      return made;
    }();
    return *bench;
  }
  static void ExpectQuiet(const Server& server, std::uint64_t connections) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (server.ReadCounters().open > connections && std::chrono::steady_clock::now() < until) {
      std::this_thread::yield();
    }
    EXPECT_LE(server.ReadCounters().open, connections);
  }
};

TEST_P(Hostile, isAnsweredInTheClearAndEndsNothing) {
  Bench& bench = InTheClear();
  ASSERT_EQ(bench.Errno("/pc/rt/stock_version"), 0) << "a good client, before";
  {
    RawClient client(GetParam().door == Door::kControl ? bench.server().control_port()
                                                       : bench.server().port());
    ASSERT_TRUE(client.connected());
    client.Send(GetParam().bytes);
    client.EndSending();
    ExpectAnswers(GetParam(), client.ReadAll());
    EXPECT_NE(client.end(), End::kOpen);
  }
  EXPECT_EQ(bench.Errno("/pc/rt/stock_version"), 0) << "and the same one, afterwards";
  ExpectQuiet(bench.server(), 1);
}

/// Everything that comes back for these bytes inside TLS, until the server ends the connection or, after the
/// last answer that is due, the client does.
std::string AskOverTls(std::uint16_t port, const std::string& bytes, std::size_t answers) {
  const std::unique_ptr<SSL_CTX, void (*)(SSL_CTX*)> context(SSL_CTX_new(TLS_client_method()), &SSL_CTX_free);
  const std::unique_ptr<BIO, void (*)(BIO*)> connection(BIO_new_ssl_connect(context.get()), &BIO_free_all);
  BIO_set_conn_hostname(connection.get(), ("127.0.0.1:" + std::to_string(port)).c_str());
  if (BIO_do_connect(connection.get()) != 1) return "no connection";
  BIO_write(connection.get(), bytes.data(), static_cast<int>(bytes.size()));
  std::string all;
  char piece[16384];
  const auto whole = [&] {
    std::size_t count = 0;
    std::string_view rest = all;
    for (;;) {
      if (rest.starts_with("HTTP/1.1 100")) {
        rest.remove_prefix(rest.find("\r\n\r\n") + 4);
        continue;
      }
      const RawAnswer answer = ParseAnswer(rest);
      if (!answer.complete) return count;
      ++count;
      rest.remove_prefix(rest.find("\r\n\r\n") + 4 + std::stoul(answer.Field("Content-Length")));
    }
  };
  while (whole() < answers) {
    const int length = BIO_read(connection.get(), piece, sizeof piece);
    if (length <= 0) break;
    all.append(piece, static_cast<std::size_t>(length));
  }
  return all;
}

TEST_P(Hostile, isAnsweredOverTlsAndEndsNothing) {
  if (GetParam().door == Door::kControl) return;  // never over TLS
  Bench& bench = OverTls();
  ExpectAnswers(GetParam(), AskOverTls(bench.server().port(), GetParam().bytes, GetParam().statuses.size()));
  const HostileRequest good{
      "", Door::kQuotes, "GET /pc/rt/stock_version HTTP/1.1\r\nHost: a\r\n\r\n", {200}, 0};
  ExpectAnswers(good, AskOverTls(bench.server().port(), good.bytes, 1));
}

// A TLS port that is spoken to in the clear says nothing.
TEST_P(Hostile, isMetWithSilenceOnATlsPort) {
  if (GetParam().door == Door::kControl) return;
  Bench& bench = OverTls();
  RawClient client(bench.server().port());
  ASSERT_TRUE(client.connected());
  client.Send(GetParam().bytes);
  client.EndSending();
  const std::string said = client.ReadAll();
  EXPECT_NE(client.end(), End::kOpen);
  EXPECT_EQ(said.find("HTTP"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Requests, Hostile, ::testing::ValuesIn(HostileRequests()),
                         [](const auto& one) { return one.param.name; });

TEST(HostileList, namesEachRequestOnce) {
  std::set<std::string> names;
  for (const HostileRequest& request : HostileRequests())
    EXPECT_TRUE(names.insert(request.name).second) << request.name;
}

// With CSM_UPDATE_SEEDS set in the environment they are written instead.
TEST(HostileList, isAmongTheSeedsOfTheFuzzTarget) {
  const std::filesystem::path seeds = CSM_SEEDS;
  for (const HostileRequest& request : HostileRequests()) {
    const std::filesystem::path file = seeds / (request.name + ".bin");
    if (std::getenv("CSM_UPDATE_SEEDS") != nullptr) {
      std::ofstream(file, std::ios::binary) << SeedOf(request);
    }
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    EXPECT_TRUE(text.str() == SeedOf(request)) << file.filename();
  }
}

}  // namespace
}  // namespace market_server::testing

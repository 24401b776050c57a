// A connection of the market server as a stranger uses it. The first byte of an input chooses the port: quote
// API, control connection or TLS, and, as its highest bit, whether the first line sets the server's clock;
// the second byte says where the bytes are cut in two. What follows is sent as it is. The server must end the
// connection in bounded time, hold nothing afterwards, and go on answering; what it answers in the clear is
// HTTP.
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>

#include "market_server/market_server.h"
#include "own_files.h"
#include "raw_client.h"

namespace {

using market_server::testing::End;
using market_server::testing::RawClient;

constexpr const char* kClock = "2024-03-15 10:30:00";
constexpr std::chrono::milliseconds kPatience{150'000};
constexpr long kMostKibibytes = 1 << 20;

// A server that answers unsigned requests, or one that speaks TLS and checks signatures.
std::unique_ptr<market_server::Server> Start(bool tls) {
  market_server::Options options;
  options.clock = kClock;
  options.speed = 0;
  options.stocks = 200;
  options.keys = {{"key", "secret"}};
  options.check_signatures = tls;
  options.control_port = 0;
  const market_server::testing::TemporaryDirectory directory;
  if (tls) market_server::testing::UseTls(options, directory);
  auto server = std::make_unique<market_server::Server>(options);
  server->Start();
  return server;
}

void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

void SetClock(market_server::Server& server, std::string_view text) {
  try {
    server.SetClock(text);
  } catch (const std::runtime_error&) {
    return;  // a text that is no clock
  }
}

void SendCut(RawClient& client, std::string_view bytes, std::size_t cut) {
  client.Send(bytes.substr(0, std::min(cut, bytes.size())));
  if (cut < bytes.size()) {
    std::this_thread::yield();
    client.Send(bytes.substr(cut));
  }
  client.EndSending();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto plain = Start(false);
  static const auto tls = Start(true);
  if (size < 2) {
    return 0;
  }
  const unsigned mode = data[0];
  std::string_view bytes(reinterpret_cast<const char*>(data) + 2, size - 2);
  market_server::Server& server = mode % 3 == 2 ? *tls : *plain;
  if ((mode & 0x80U) != 0) {
    const std::size_t end = std::min(bytes.find('\n'), bytes.size());
    SetClock(server, bytes.substr(0, end));
    bytes.remove_prefix(std::min(end + 1, bytes.size()));
  }
  {
    RawClient client(mode % 3 == 1 ? server.control_port() : server.port());
    Require(client.connected());
    SendCut(client, bytes, data[1]);
    const std::string answer = client.ReadAll(kPatience);
    Require(client.end() != End::kOpen);
    Require(mode % 3 == 2 || answer.empty() || answer.starts_with("HTTP/1.1 "));
  }
  const auto until = std::chrono::steady_clock::now() + kPatience;
  while (server.ReadCounters().open > 0) {
    Require(std::chrono::steady_clock::now() < until);
    std::this_thread::yield();
  }
  server.SetFaults({});
  server.SetSpeed(0);
  SetClock(server, kClock);
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  Require(usage.ru_maxrss < kMostKibibytes);
  return 0;
}

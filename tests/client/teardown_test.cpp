// The end of a client in the worst moment: everything under way, a server that says nothing. CSM_LONG=1: a
// thousand times.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>

#include "market_server/market_server.h"
#include "whole_client.h"

namespace client_test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

market_server::Options ServerOptions(const std::string& clock) {
  market_server::Options options;
  options.clock = clock;
  options.stocks = 200;
  options.keys = {{kKeyId, kKey}};
  return options;
}

/// How long the services take to end.
milliseconds TimeToDestroy(WholeClient& client) {
  const auto begin = steady_clock::now();
  client.Destroy();
  return std::chrono::duration_cast<milliseconds>(steady_clock::now() - begin);
}

TEST(Teardown, waitsForNoAnswerOfASilentServer) {
  market_server::Server server(ServerOptions("2024-03-15 10:30:00"));
  server.Start();
  const int rounds = IsLongRun() ? 1000 : 12;
  milliseconds longest{};
  for (int round = 0; round < rounds; ++round) {
    server.SetFaults({});
    WholeClient client(server.url());
    // Every other client has data and connections already; the rest meets the silence first.
    client.Open(round % 2 == 0);
    if (round % 2 == 0) {
      ASSERT_TRUE(client.AwaitAll(std::vector<std::uint64_t>(client.feeds().size()), 1, seconds(20)))
          << "round " << round;
    }
    server.SetFaults({"silence"});
    client.RefreshAll();
    GetStockMLine()->FetchMLine(L"sz000001", 0, [](const StockMLineData&) {});
    GetStockMLine()->FetchHistoryMLine(L"sz000001", 20240314, 2, [](const StockMLineData&) {});
    GetStockKLine()->FetchKLine(L"sz000001", 2, 2, [](const StockKLineData&) {});
    GetStockCommon()->Init({});
    EXPECT_GT(stock_host::ReadCounters().under_way, 0U);
    longest = std::max(longest, TimeToDestroy(client));
    EXPECT_LE(longest, seconds(1)) << "round " << round;
  }
  RecordProperty("rounds", rounds);
  RecordProperty("longest_ms", static_cast<int>(longest.count()));
}

// The morning's load waits for its answers in a thread of the service, up to eight seconds for each.
TEST(Teardown, waitsForOneAnswerOfTheMorningsLoadAtMost) {
  market_server::Server server(ServerOptions("2024-03-15 09:13:50"));
  server.Start();
  WholeClient client(server.url());
  client.Open(true);
  std::atomic<int> loaded{-1};
  GetStockCommon()->Init([&loaded](bool ok) { loaded = ok ? 1 : 0; });
  ASSERT_TRUE(Await([&loaded] { return loaded != -1; }));
  ASSERT_EQ(loaded, 1);
  ASSERT_TRUE(WholeClient::AwaitQuiet());
  server.SetFaults({"silence"});
  const std::uint64_t before = server.ReadCounters().faults;
  server.SetClock("2024-03-15 09:14:01");
  // The thread looks at the clock once in a while; then a list is asked for and not answered.
  ASSERT_TRUE(Await([&] { return server.ReadCounters().faults > before; }, seconds(120)));
  EXPECT_LE(TimeToDestroy(client), milliseconds(8500));
}

}  // namespace
}  // namespace client_test

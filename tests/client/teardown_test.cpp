// The end of a client in the worst moment: everything under way, a server that says nothing. CSM_LONG=1: a
// thousand times.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "market_server/market_server.h"
#include "whole_client.h"

namespace client_test {
namespace {

market_server::Options ServerOptions(const std::string& clock) {
  market_server::Options options;
  options.clock = clock;
  options.stocks = 200;
  options.keys = {{kKeyId, kKey}};
  return options;
}

/// What a load of the lists asks for, one after the other, each for up to eight seconds.
const std::vector<std::string> kLists = {"/pc/rt/get_basic_info", "/pc/rt/get_bk_list",
                                         "/pc/rt/stock_index_list", "/pc/rt/stock_in_bk"};

std::uint64_t RequestsForLists() {
  auto endpoints = stock_host::ReadCounters().endpoints;
  std::uint64_t requests = 0;
  for (const std::string& list : kLists) requests += endpoints[list].requests;
  return requests;
}

/// Requests that were given up, without those that are given up after three seconds: who waits for one of
/// these waits eight seconds or thirty.
std::uint64_t GivenUp() {
  std::uint64_t failed = 0;
  for (const auto& [endpoint, counters] : stock_host::ReadCounters().endpoints) {
    const bool soon = endpoint == "/pc/rt/stock_detail_list" || endpoint == "/pc/rt/stock_min_num" ||
                      endpoint == "/pc/rt/stock_distribute_num" || endpoint == "/pc/rt/stock_min_average";
    failed += soon ? 0 : counters.failed;
  }
  return failed;
}

TEST(Teardown, waitsForNoAnswerOfASilentServer) {
  market_server::Server server(ServerOptions("2024-03-15 10:30:00"));
  server.Start();
  const int rounds = IsLongRun() ? 1000 : 12;
  for (int round = 0; round < rounds; ++round) {
    // Every other client has data and connections already; the rest meets nothing but silence.
    const bool has_data = round % 2 == 0;
    server.SetFaults(has_data ? std::vector<std::string>() : std::vector<std::string>{"silence"});
    WholeClient client(server.url());
    if (has_data) {
      ASSERT_TRUE(WholeClient::LoadReferenceData());
    }
    client.Open(has_data);
    if (has_data) {
      ASSERT_TRUE(client.AwaitAll(std::vector<std::uint64_t>(client.feeds().size()), 1)) << "round " << round;
      // An answer that is still being read may ask for more, and wait for it.
      ASSERT_TRUE(client.AwaitSettled()) << "round " << round;
    }
    server.SetFaults({"silence"});
    client.RefreshAll();
    GetStockMLine()->FetchMLine(L"sz000001", 0, [](const StockMLineData&) {});
    GetStockMLine()->FetchHistoryMLine(L"sz000001", 20240314, 2, [](const StockMLineData&) {});
    GetStockKLine()->FetchKLine(L"sz000001", 2, 2, [](const StockKLineData&) {});
    GetStockCommon()->Init({});
    EXPECT_GT(stock_host::ReadCounters().under_way, 0U);
    const std::uint64_t given_up = GivenUp();
    client.Destroy();
    EXPECT_EQ(GivenUp(), given_up) << "round " << round;
  }
}

// An answer of the watch list asks for the plates of every stock, and each look-up waits up to eight seconds.
TEST(Teardown, waitsForOneLookUpOfTheWatchListAtMost) {
  market_server::Server server(ServerOptions("2024-03-15 10:30:00"));
  server.Start();
  server.SetFaults({"silence:/pc/rt/stock_in_bk"});
  WholeClient client(server.url());
  ASSERT_NE(GetStockCommon(), nullptr);
  client.Open(true);
  ASSERT_TRUE(Await([&server] { return server.ReadCounters().faults > 0; }));
  client.Destroy();
  EXPECT_EQ(RequestsForLists(), 1U);
}

// The morning's load waits for its answers in a thread of the service, up to eight seconds for each.
TEST(Teardown, waitsForOneAnswerOfTheMorningsLoadAtMost) {
  market_server::Server server(ServerOptions("2024-03-15 09:13:50"));
  server.Start();
  WholeClient client(server.url());
  ASSERT_TRUE(WholeClient::LoadReferenceData());
  client.Open(true);
  ASSERT_TRUE(WholeClient::AwaitQuiet());
  server.SetFaults({"silence"});
  const std::uint64_t before = RequestsForLists();
  server.SetClock("2024-03-15 09:14:01");
  // The thread looks at the clock once in a while; then a list is asked for and not answered.
  ASSERT_TRUE(Await([&] { return RequestsForLists() > before; }, std::chrono::seconds(120)));
  client.Destroy();
  EXPECT_EQ(RequestsForLists(), before + 1);
}

}  // namespace
}  // namespace client_test

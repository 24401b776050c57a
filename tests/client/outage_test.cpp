// The server goes away and comes back: nobody asks more than the interval allows meanwhile, and everybody is
// fresh again with the next round. CSM_LONG=1: a hundred times.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "market_server/market_server.h"
#include "tests/market_server/own_address.h"
#include "whole_client.h"

namespace client_test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr seconds kInterval(3);
/// The services that poll every three seconds, each with an endpoint of its own.
const std::vector<std::string> kPolled = {"stock quotes", "plate quotes", "plate stocks"};

TEST(Outage, isOverWithTheFirstRoundAfterTheServerIsBack) {
  market_server::Options options;
  options.clock = "2024-03-15 10:30:00";
  options.stocks = 200;
  options.keys = {{kKeyId, kKey}};
  options.bind = market_server::testing::OwnAddress();
  auto server = std::make_unique<market_server::Server>(options);
  server->Start();
  options.port = server->port();
  WholeClient client(server->url());
  ASSERT_TRUE(WholeClient::LoadReferenceData());
  client.Open(true);
  ASSERT_TRUE(client.AwaitAll(std::vector<std::uint64_t>(client.feeds().size()), 1));

  const int outages = IsLongRun() ? 100 : 2;
  std::uint64_t asked_in_vain = 0;
  for (int outage = 0; outage < outages; ++outage) {
    SCOPED_TRACE(outage);
    server.reset();
    const auto gone = steady_clock::now();
    const auto counters_before = stock_host::ReadCounters();
    // Some are long enough for one round, and some are not.
    std::this_thread::sleep_for(milliseconds(3500 - 550 * (outage % 7)));
    const auto counters_after = stock_host::ReadCounters();
    const auto rounds = static_cast<std::uint64_t>((steady_clock::now() - gone) / kInterval) +
                        1;  // one may stand at the border
    for (const std::string& name : kPolled) {
      const std::string& endpoint = client.FeedNamed(name).endpoint();
      const std::uint64_t asked =
          counters_after.endpoints.at(endpoint).requests - counters_before.endpoints.at(endpoint).requests;
      EXPECT_LE(asked, rounds) << name;
      asked_in_vain += asked;
    }
    server = std::make_unique<market_server::Server>(options);
    server->Start();
    // The first round that asks from now on is answered and told; one may have asked just before.
    const auto before = client.Updates();
    const auto counters_back = stock_host::ReadCounters();
    for (std::size_t i = 0; i < before.size(); ++i) {
      const Feed& feed = *client.feeds()[i];
      if (std::find(kPolled.begin(), kPolled.end(), feed.name()) == kPolled.end()) continue;
      EXPECT_TRUE(Await([&] { return feed.updates() > before[i]; })) << feed.name();
      const std::string& endpoint = feed.endpoint();
      EXPECT_LE(stock_host::ReadCounters().endpoints[endpoint].failed,
                counters_back.endpoints.at(endpoint).failed + 1)
          << feed.name();
    }
  }
  EXPECT_GT(asked_in_vain, 0U);
}

}  // namespace
}  // namespace client_test

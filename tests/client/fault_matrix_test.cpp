// Every fault that the market server knows, met by every service at once: nothing crashes or hangs, the log
// says what happened in the services' own words, views keep what they have, and the next good answer reaches
// them. Faults that take a service's whole time limit meet, in the run for every day, the services of the
// short limit only.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <map>
#include <ostream>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "market_server/market_server.h"
#include "whole_client.h"

namespace market_server {

// For the messages of the test framework.
static void PrintTo(const FaultInfo& fault, std::ostream* stream) {
  *stream << fault.name;
}

}  // namespace market_server

namespace client_test {
namespace {

using std::chrono::seconds;

/// The name by which each feed's fetch calls itself in the log.
const std::map<std::string, std::string>& Fetches() {
  static const std::map<std::string, std::string> fetches = {
      {"index quotes", "IndexMarket::FetchIndexMarkets"},
      {"stock quotes", "StockMarket::FetchStockMarkets"},
      {"single stock", "SingleStockMarket::FetchStockMarket"},
      {"watch list", "OptionalStockMarket::FetchStockMarkets"},
      {"plate quotes", "PlateMarket::FetchPlateMarkets"},
      {"plate stocks", "PlateStockMarket::FetchStockMarkets"},
      {"stock ranking", "StockRanking::FetchStockRanking"},
      {"five-minute ranking", "StockRanking::FetchStockRanking"},
      {"plate ranking", "PlateRanking::FetchPlateRanking"},
      {"minute line", "StockMLine::FetchMLine"},
      {"K-line", "StockKLine::FetchKLine"},
      {"unusual events", "StockUnusualEvent::FetchUnusualEvent"},
      {"in and out", "StockInOut::FetchStockInOutInfo"},
      {"strength", "StrengthRating::FetchStrengthRating"},
      {"distribution", "StockDistribution::FetchDistribution"},
      {"money effect", "MoneyEffect::FetchMoneyEffect"},
      {"margin trading", "CMarginTrade::FetchMarginTradeInfo"},
      {"new shares", "CStockPurchase::FetchPurchaseInfo"},
  };
  return fetches;
}

/// The services that give an answer three seconds, and have an endpoint to themselves.
const std::set<std::string> kQuick = {"strength", "distribution", "money effect"};

/// Faults that end only with the time limit.
const std::set<std::string> kHanging = {"silence",       "silence_on_connect", "stall_in_header",
                                        "stall_in_body", "drip_header",        "drip_body"};

/// Faults after which no answer is complete: each fetch writes "Failed." and tells nobody.
bool FailsTheExchange(const market_server::FaultInfo& fault) {
  // The answer to a length that is too short is complete for HTTP: its end is missing.
  static const std::set<std::string> harmless = {
      "gzip",           "length_missing", "length_short", "chunked", "close_after_answer",
      "close_on_reuse", "latency",        "jitter",       "reorder"};
  // Connections that stand already are not touched by a fault of new ones.
  return fault.name == "refuse" ||
         ((fault.stage == "answer" || fault.stage == "http") && !harmless.contains(fault.name));
}

class FaultMatrix : public testing::TestWithParam<market_server::FaultInfo> {
 protected:
  static market_server::Options Options() {
    market_server::Options options;
    options.clock = "2024-03-15 10:30:00";
    options.stocks = 200;
    options.keys = {{kKeyId, kKey}};
    return options;
  }

  FaultMatrix() : server_(Options()) { server_.Start(); }

  /// Whether the fault comes upon the feed in this run.
  bool Meets(const Feed& feed) const {
    return !feed.endpoint().empty() && (!Hangs() || IsLongRun() || kQuick.contains(feed.name()));
  }
  bool Hangs() const { return kHanging.contains(GetParam().name); }

  void StartFault(const WholeClient& client) {
    const std::string name = GetParam().name;
    // Between two bytes: long enough that the shortest answer is not whole when its time is over.
    const std::string pause = name.rfind("drip_", 0) == 0 ? (IsLongRun() ? "5000" : "1000") : "";
    if (GetParam().stage == "connect" || GetParam().stage == "clock") {
      server_.SetFaults({name});
      return;
    }
    std::set<std::string> rules;
    for (const auto& feed : client.feeds()) {
      if (Meets(*feed)) {
        rules.insert(name + ":" + feed->endpoint() + (pause.empty() ? "" : ":1:" + pause));
      }
    }
    if (GetParam().stage == "package") {
      rules = {name};
    }
    server_.SetFaults({rules.begin(), rules.end()});
  }

  /// The lines of the module in the log since the last call.
  std::vector<std::string> Lines(const WholeClient& client) {
    std::vector<std::string> lines;
    for (std::string& line : client.WarningsFrom(read_)) {
      if (line.find("::") != std::string::npos) {
        lines.push_back(std::move(line));
      }
    }
    return lines;
  }

  market_server::Server server_;
  std::size_t read_ = 0;
};

TEST_P(FaultMatrix, leavesEveryServiceAliveAndExplained) {
  WholeClient client(server_.url());
  ASSERT_TRUE(WholeClient::LoadReferenceData());
  client.Open(true);
  ASSERT_TRUE(client.AwaitAll(std::vector<std::uint64_t>(client.feeds().size()), 1));
  ASSERT_TRUE(WholeClient::AwaitQuiet());
  std::vector<std::string> lines = Lines(client);
  EXPECT_TRUE(lines.empty()) << lines.front();

  ASSERT_TRUE(client.AwaitSettled(seconds(120)));
  StartFault(client);
  // While answers hang there is always one that is waited for: services ask again meanwhile.
  if (!Hangs()) {
    ASSERT_TRUE(client.AwaitSettled(seconds(120)));
  }
  std::map<std::string, std::uint64_t> before;
  for (const auto& feed : client.feeds()) {
    if (Meets(*feed)) {
      before[feed->name()] = feed->updates();
      feed->Refresh();
    }
  }
  if (!Hangs()) {
    ASSERT_TRUE(WholeClient::AwaitQuiet(seconds(120)));
  }
  if (FailsTheExchange(GetParam())) {
    // A line is written after the exchange is counted.
    const auto is_explained = [&](const auto& asked) {
      return std::find(lines.begin(), lines.end(), Fetches().at(asked.first) + " Failed.") != lines.end();
    };
    EXPECT_TRUE(Await([&] {
      std::ranges::move(Lines(client), std::back_inserter(lines));
      return std::all_of(before.begin(), before.end(), is_explained);
    })) << "not every service has said that it failed";
    // Unusual events tell an empty list, so that the view is cleared; flows read what came, whatever the
    // status; a K-line is told by a task, which may be that of the good answer before.
    static const std::set<std::string> told = {"unusual events", "in and out", "K-line"};
    for (const auto& [name, updates] : before) {
      if (!told.contains(name)) {
        EXPECT_EQ(client.FeedNamed(name).updates(), updates) << name << " was told of a failure";
      }
    }
  }

  server_.SetFaults({});
  if (GetParam().stage == "clock") {
    // The first exchange shows the host services that their clock went wrong.
    client.RefreshAll();
    ASSERT_TRUE(WholeClient::AwaitQuiet());
  }
  const auto broken_until = client.Updates();
  client.RefreshAll();
  EXPECT_TRUE(client.AwaitAll(broken_until, 1));
  ASSERT_TRUE(WholeClient::AwaitQuiet(seconds(120)));
  std::ranges::move(Lines(client), std::back_inserter(lines));
  static const std::regex known(
      R"(.*::\w+ (Failed\.|Response Error Code: -?\d+|Json Parse Error Code: \d+).*)");
  for (const std::string& line : lines) {
    EXPECT_TRUE(std::regex_match(line, known)) << line;
  }
  std::printf("%s: met by %zu fetches, %zu lines of the services\n", GetParam().name.c_str(), before.size(),
              lines.size());
}

INSTANTIATE_TEST_SUITE_P(All, FaultMatrix, testing::ValuesIn(market_server::Faults()),
                         [](const auto& one) { return one.param.name; });

}  // namespace
}  // namespace client_test

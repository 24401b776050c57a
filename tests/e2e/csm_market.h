// csm against a small market that this process serves, that stands still, and that the test knows the figures
// of.
#pragma once

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <cstdint>
#include <map>
#include <regex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "child_process.h"
#include "market_server/market_server.h"
#include "market_server/model/market.h"

namespace tests {

using Arguments = std::vector<std::string>;

constexpr const char* kMorning = "2024-03-15 10:30:00";
constexpr market_server::model::Date kDay = 20240315;

class CsmMarket : public testing::Test {
 protected:
  static constexpr std::uint64_t kSeed = 11;
  static constexpr std::size_t kStocks = 220;

  static market_server::Options Settings() {
    market_server::Options options;
    options.seed = kSeed;
    options.stocks = kStocks;
    options.clock = kMorning;
    options.speed = 0;
    return options;
  }

  CsmMarket() : server_(Settings()), market_({kSeed, market_server::model::Scenario::kNone, 0, kStocks}) {
    server_.Start();
  }

  [[nodiscard]] static market_server::model::Instant Now() {
    return market_server::model::InstantOf(kDay, 10, 30, 0);
  }

  [[nodiscard]] std::map<std::string, std::string> Environment() const {
    return {{"CSM_KEY_ID", server_.key_id()}, {"CSM_KEY", server_.key()}};
  }

  [[nodiscard]] ChildProcess Run(Arguments arguments) const {
    return ChildProcess(Asking(std::move(arguments)), Environment());
  }

  /// csm with the server's address at the end of its arguments.
  [[nodiscard]] Arguments Asking(Arguments arguments) const {
    arguments.insert(arguments.end(), {"--server", server_.url()});
    return Csm(std::move(arguments));
  }

  /// The JSON lines of a run, which ends well.
  [[nodiscard]] std::vector<rapidjson::Document> JsonLinesOf(
      Arguments arguments, std::map<std::string, std::string> more = {}) const {
    arguments.emplace_back("--json");
    more.merge(Environment());
    ChildProcess csm(Asking(std::move(arguments)), more);
    EXPECT_EQ(csm.Wait(), 0) << csm.errors();
    std::vector<rapidjson::Document> records;
    for (const std::string& line : LinesOf(csm.output())) {
      rapidjson::Document& record = records.emplace_back();
      record.Parse<rapidjson::kParseValidateEncodingFlag>(line.c_str(), line.size());
      if (record.HasParseError()) {
        throw std::runtime_error("no JSON: " + line);
      }
      // The client's clock runs on while the server's stands.
      EXPECT_TRUE(
          std::regex_match(record["time"].GetString(), std::regex(R"(2024-03-15T\d\d:\d\d:\d\d\+08:00)")))
          << record["time"].GetString();
    }
    if (records.empty()) {
      throw std::runtime_error("no record: " + csm.errors());
    }
    return records;
  }

  /// The only JSON line of a run.
  [[nodiscard]] rapidjson::Document JsonOf(const Arguments& arguments,
                                           const std::map<std::string, std::string>& more = {}) const {
    std::vector<rapidjson::Document> records = JsonLinesOf(arguments, more);
    EXPECT_EQ(records.size(), 1U);
    return std::move(records.front());
  }

  /// The lines of a run, which ends well.
  [[nodiscard]] std::vector<std::string> LinesOfRun(const Arguments& arguments) const {
    ChildProcess csm = Run(arguments);
    EXPECT_EQ(csm.Wait(), 0) << csm.errors();
    return LinesOf(csm.output());
  }

  void ExpectFailure(const Arguments& arguments, const std::string& mention, int code = 1) const {
    ChildProcess csm = Run(arguments);
    EXPECT_EQ(csm.Wait(), code) << arguments[0] << ": " << mention;
    EXPECT_EQ(csm.output(), "") << arguments[0];
    EXPECT_NE(csm.errors().find(mention), std::string::npos) << arguments[0] << ": " << csm.errors();
  }

  market_server::Server server_;
  const market_server::model::Market market_;
};

}  // namespace tests

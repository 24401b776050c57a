// A running server for tests: a small market, a stopped clock, a known key; and a client that signs.
#pragma once

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <memory>
#include <optional>
#include <string>

#include "market_server/market_server.h"
#include "own_files.h"
#include "raw_client.h"
#include "signer.h"

namespace market_server::testing {

/// Friday 15 March 2024, 10:30:00 in China, in the middle of the morning session.
inline constexpr std::int64_t kMidMorning = 1710469800;

inline Options SmallMarket() {
  Options options;
  options.seed = 7;
  options.clock = "2024-03-15 10:30:00";
  options.speed = 0;
  options.stocks = 200;
  options.keys = {{"test-key", "secret"}};
  return options;
}

/// A server and one connection to it. The connection is made anew when it has ended.
class Bench {
 public:
  explicit Bench(Options options = SmallMarket()) : server_(std::move(options)) {
    server_.Start();
    signer_.host = "127.0.0.1:" + std::to_string(server_.port());
    signer_.key_id = server_.key_id();
    signer_.key = server_.key();
  }

  [[nodiscard]] Server& server() { return server_; }
  [[nodiscard]] Signer& signer() { return signer_; }

  [[nodiscard]] std::string Sign(const std::string& path, const QueryMap& parameters = {}) {
    signer_.time = static_cast<std::int64_t>(server_.Now());
    return signer_.Sign(path, parameters);
  }

  [[nodiscard]] RawAnswer Raw(const std::string& target) {
    for (int attempt = 0; attempt < 2; ++attempt) {
      if (client_ == nullptr) client_ = std::make_unique<RawClient>(server_.port());
      RawAnswer answer = client_->Get(target);
      const bool ended = client_->end() != End::kOpen;
      if (ended) client_.reset();
      if (answer.status != 0 || !ended) return answer;
    }
    return {};
  }

  [[nodiscard]] RawAnswer Get(const std::string& path, const QueryMap& parameters = {}) {
    return Raw(Sign(path, parameters));
  }

  /// The answer as JSON; fails the test when it is none.
  [[nodiscard]] rapidjson::Document Json(const std::string& path, const QueryMap& parameters = {}) {
    const RawAnswer answer = Get(path, parameters);
    EXPECT_EQ(answer.status, 200) << path;
    rapidjson::Document document;
    document.Parse<rapidjson::kParseValidateEncodingFlag | rapidjson::kParseFullPrecisionFlag>(
        answer.body.data(), answer.body.size());
    EXPECT_FALSE(document.HasParseError()) << path << ": " << answer.body.substr(0, 300);
    if (document.HasParseError() || !document.IsObject()) document.SetObject();
    return document;
  }

  /// The "errno" of the answer; -1 when there is none.
  [[nodiscard]] int Errno(const std::string& path, const QueryMap& parameters = {}) {
    const rapidjson::Document document = Json(path, parameters);
    return document.HasMember("errno") && document["errno"].IsInt() ? document["errno"].GetInt() : -1;
  }

 private:
  Server server_;
  Signer signer_;
  std::unique_ptr<RawClient> client_;
};

}  // namespace market_server::testing

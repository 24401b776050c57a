// The signing side of docs/protocol-signing.md as a client writes it, in a few lines and apart from the
// server's.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace market_server::testing {

using QueryMap = std::map<std::string, std::string>;

struct Signer {
  std::string key_id = "test-key";
  std::string key = "secret";
  std::string host;
  std::int64_t time = 0;
  std::uint64_t nonce = 1;  ///< counts up

  /// path, query and signature, ready for a request line.
  std::string Sign(const std::string& path, const QueryMap& parameters);
};

[[nodiscard]] std::string HexHmac(const std::string& key, const std::string& text);
[[nodiscard]] std::string Encode(const std::string& text);

}  // namespace market_server::testing

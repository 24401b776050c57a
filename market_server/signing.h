// Decides whether a request was signed by somebody who holds a key: the verifying side of
// docs/protocol-signing.md. Thread-safe. Memory is bounded: when more nonces are fresh than are kept, the
// oldest half minute of signing times is refused as too old instead of being open to replays.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_set>

#include "market_server/answer.h"
#include "market_server/http/message.h"

namespace market_server {

/// HMAC-SHA256 as 32 bytes.
[[nodiscard]] std::array<unsigned char, 32> HmacSha256(std::string_view key, std::string_view text);

class Signatures {
 public:
  /// At most `nonces` nonces are remembered.
  explicit Signatures(const std::map<std::string, std::string>& keys,
                      std::size_t nonces = std::size_t{1} << 19);

  /// kNone when the request is signed as it should be at server time `now`, seconds since 1970; its nonce is
  /// used up then.
  [[nodiscard]] Error Check(const http::Request& request, double now);

  /// Forgets all nonces; for a clock that was set anew.
  void Forget();

  [[nodiscard]] std::size_t remembered() const;

 private:
  using Nonce = std::array<unsigned char, 16>;
  struct Use {
    Nonce nonce{};
    std::size_t key = 0;
    bool operator==(const Use&) const = default;
  };
  struct UseHash {
    std::size_t operator()(const Use& use) const noexcept;
  };

  Error Remember(const Use& use, std::int64_t time, std::int64_t now);

  struct KeyEntry {
    std::size_t number = 0;
    std::string secret;
  };
  std::map<std::string, KeyEntry> keys_;
  const std::size_t capacity_;
  mutable std::mutex mutex_;  ///< guards what follows
  std::map<std::int64_t, std::unordered_set<Use, UseHash>>
      slices_;  ///< by max(time of use, of signing) / kSlice
  std::size_t count_ = 0;
  std::int64_t floor_ = INT64_MIN;  ///< what was signed before is refused: its nonces were given up
};

}  // namespace market_server

// A client that sees every byte: for tests of what really travels on a connection. One connection each; not
// thread-safe. Every wait ends after a while, so that a hanging server fails a test and hangs none.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace market_server::testing {

/// How a connection ended, or did not.
enum class End { kOpen, kClosed, kReset, kRefused };

struct RawAnswer {
  int status = 0;
  std::string status_line;
  std::vector<std::pair<std::string, std::string>> fields;
  std::string body;
  bool complete = false;  ///< the body has the announced length

  /// The value of the first field of that name, whatever its case; empty when there is none.
  [[nodiscard]] std::string Field(std::string_view name) const;
};

class RawClient {
 public:
  explicit RawClient(std::uint16_t port);
  ~RawClient();
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;

  [[nodiscard]] bool connected() const { return socket_ >= 0; }
  /// False when the connection is gone.
  bool Send(std::string_view bytes);
  /// Says that nothing more will be sent; answers still arrive.
  void EndSending();
  /// Sends a GET of that target with keep-alive.
  bool SendGet(const std::string& target);
  /// Everything that arrives until the connection ends, `quiet` passes without a byte, or there are `most`
  /// bytes.
  std::string ReadAll(std::chrono::milliseconds quiet = kPatience, std::size_t most = std::size_t{1} << 26);
  /// Everything that arrives until it is enough or the connection ends.
  std::string ReadUntil(const std::function<bool(const std::string&)>& is_enough);
  /// One answer with Content-Length; what arrives beyond it is kept for the next.
  RawAnswer ReadAnswer();
  /// How the connection stands after the last read.
  [[nodiscard]] End end() const { return end_; }

  /// SendGet and ReadAnswer.
  RawAnswer Get(const std::string& target);
  [[nodiscard]] std::string host() const;

 private:
  static constexpr std::chrono::milliseconds kPatience{30'000};  ///< for what must come

  /// Waits for bytes and appends them; false when none came.
  bool ReadSome(std::chrono::milliseconds quiet = kPatience);

  int socket_ = -1;
  std::uint16_t port_;
  End end_ = End::kOpen;
  std::string received_;
};

/// True when the empty line that ends a head has come.
[[nodiscard]] bool HeadIsWhole(const std::string& text);

/// Splits an answer into its parts; the body is what follows the head.
[[nodiscard]] RawAnswer ParseAnswer(std::string_view text);

}  // namespace market_server::testing

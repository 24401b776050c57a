// One request as the HTTP layer understood it, and one answer as the steps by which it is sent. Plain values,
// no locks. What an endpoint answers, before it becomes bytes, is the Answer of answer.h.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace market_server::http {

/// Query parameters, decoded, in the order of the query.
using Parameters = std::vector<std::pair<std::string, std::string>>;

struct Request {
  std::string method;
  std::string target;  ///< as sent
  std::string path;    ///< decoded
  std::string query;   ///< as sent, without the question mark
  Parameters parameters;
  std::string host;    ///< the Host field as sent
  std::string origin;  ///< the Origin field; browsers send it, programs do not
  std::string body;
  std::string peer;  ///< address and port of the client
  bool keep_alive = true;
  bool well_formed = true;   ///< false: the query holds a bad percent escape
  std::uint64_t number = 1;  ///< 1 for the first request of its connection
};

/// The head of a request: request line and fields.
struct Head {
  Request request;
  std::size_t body_bytes = 0;
  bool awaits_consent = false;  ///< the client sends the body when it has been told to go on
  unsigned refusal = 0;         ///< the status with which the request is refused; 0: it is none of these
};

/// Reads all of a head, the empty line at its end included.
[[nodiscard]] Head ReadHead(std::string_view text);

/// Whether a head can begin like that; says so from the first byte on.
[[nodiscard]] bool CanBeginHead(std::string_view text);

/// One step of sending an answer. A step that takes longer than the limits allow ends the connection.
struct Step {
  enum class Kind {
    kWrite,   ///< sends `bytes`
    kRepeat,  ///< sends `bytes` `count` times
    kDrip,    ///< sends `bytes` one at a time with `pause` between them
    kWait,    ///< does nothing for `pause`
    kHold,    ///< does nothing until a limit ends the connection
    kClose,   ///< closes the connection in good order
    kReset    ///< closes it with a reset
  };
  Kind kind = Kind::kWrite;
  std::string bytes{};
  std::uint64_t count = 1;
  std::chrono::milliseconds pause{};
};

/// An answer on its way. After the last step the connection serves its next request or is closed.
struct Delivery {
  std::vector<Step> steps;
  bool keep_alive = true;
};

/// The decoded text, or false when a percent sign is not followed by two hexadecimal digits. A plus sign is
/// itself.
[[nodiscard]] bool DecodePercent(std::string_view text, std::string& decoded);

/// Percent-encodes every byte outside A-Z a-z 0-9 - . _ ~ with upper-case digits.
[[nodiscard]] std::string EncodePercent(std::string_view text);

/// Fills path, query, parameters and well_formed from target. A parameter without "=" has an empty value.
void ReadTarget(Request& request);

}  // namespace market_server::http

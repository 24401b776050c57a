// The two steps before a first request that can fail by themselves: the name of the server is looked up, and
// somebody listens there. Blocking; no state, callable from any thread.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace cli {

struct HostAndPort {
  std::string host;
  std::string port;
};

/// Of an http or https address; the port is the scheme's own unless it stands there. Nothing when there is no
/// host.
[[nodiscard]] std::optional<HostAndPort> HostAndPortOf(const std::string& url);

/// Why the name has no address; empty when it has one.
[[nodiscard]] std::string NameTrouble(const HostAndPort& server);

/// Why no connection to any address of the name comes about within `limit`; empty when one does.
[[nodiscard]] std::string ConnectionTrouble(const HostAndPort& server, std::chrono::milliseconds limit);

}  // namespace cli

// An address for a server that is taken down and comes back on its port: meanwhile the system would give a
// port of 127.0.0.1 to any connection that another program of this machine makes.
#pragma once

#include <unistd.h>

#include <string>

namespace market_server::testing {

/// A loopback address of this process.
[[nodiscard]] inline std::string OwnAddress() {
  const int number = static_cast<int>(getpid());
  return "127." + std::to_string(1 + number / 62500 % 250) + "." + std::to_string(1 + number / 250 % 250) +
         "." + std::to_string(1 + number % 250);
}

}  // namespace market_server::testing

// Requests that nobody means well with, or that a careless client sends: each with a name, its bytes and what
// the server says to it. The tests send them all; the fuzz target grows from the same list, which its seeds
// in fuzz/seeds/market_server hold as files.
#pragma once

#include <string>
#include <vector>

namespace market_server::testing {

enum class Door { kQuotes, kControl };

struct HostileRequest {
  std::string name;
  Door door = Door::kQuotes;
  std::string bytes;
  std::vector<int> statuses;  ///< of the answers on the connection, which then ends, in order
  int errno_of_first = 0;     ///< of the first answer with status 200 of the quote API
};

/// For a server that checks no signatures.
[[nodiscard]] std::vector<HostileRequest> HostileRequests();

/// The bytes of the seed for one of them: which port, no clock, not cut.
[[nodiscard]] std::string SeedOf(const HostileRequest& request);

}  // namespace market_server::testing

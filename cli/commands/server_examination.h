// The checks of a server, from its name to its answers: each says what was looked at, how it is and what to
// do. Needs running host services; blocks for as long as the requests take. Any thread but a host service's.
#pragma once

#include <functional>
#include <string>

#include "host_services/stock_host.h"

namespace cli {

struct ExaminedServer {
  std::string url;
  std::string proxy;       ///< empty: none
  std::string key_id;      ///< empty: no key, so that no signed request is tried
  bool simulated = false;  ///< a market inside csm, whose clock is its own
};

/// Looks up the name, connects, asks without and with a signature, and asks the static file server and the
/// history service. Tells each finding as soon as it is there; stops where nothing can follow. False when
/// the server was not reached.
bool ExamineServer(const ExaminedServer& server, const std::function<void(const stock_host::Finding&)>& tell);

/// What to do about an error number of the quote API; `key_id` is the one that requests are signed with.
[[nodiscard]] stock_host::Finding ExplainErrno(int number, const std::string& message,
                                               const std::string& key_id);

}  // namespace cli

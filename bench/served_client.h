// The client's side of real exchanges: the host services in this process, the market server in one of its
// own, so that processor time and memory of this process are the client's. Main thread only.
#pragma once

#include <string>

#include "child_process.h"
#include "whole_client.h"

namespace bench {

class ServedClient {
 public:
  /// Starts the server, whose clock stands at `clock` and runs `speed` times as fast as the real one, and the
  /// host services. Throws std::runtime_error when one of them cannot be started.
  ServedClient(const std::string& clock, const std::string& speed);

  [[nodiscard]] client_test::WholeClient& client() { return client_; }

  /// Loads the reference data; throws std::runtime_error when that fails.
  static void LoadReferenceData();

  /// Makes a view on every service and waits until each has been told something; throws std::runtime_error
  /// when one is not.
  void ShowEverything();

 private:
  tests::ChildProcess server_;
  client_test::WholeClient client_;
};

}  // namespace bench

// Calls of the system and of the TLS library that the host services make, seen by a test. They are carried
// out all the same. Part of the test program alone: its own definitions stand before those of the libraries.
// For one test at a time.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace host_test {

/// Watches while it lives.
class WatchedCalls {
 public:
  WatchedCalls();
  ~WatchedCalls();
  WatchedCalls(const WatchedCalls&) = delete;
  WatchedCalls& operator=(const WatchedCalls&) = delete;

  /// Paths of the files and directories that were flushed to the disk, in order.
  [[nodiscard]] static std::vector<std::string> Flushed();

  /// Files and directories that the TLS library was told to trust.
  [[nodiscard]] static std::vector<std::string> Trusted();

  /// Called once, when the next bytes of the file `path` have been read and nobody has seen them yet.
  static void OnceRead(const std::string& path, std::function<void()> act);

  /// From now on the user has no entry in the system's list of users.
  static void ForgetTheUser();
};

}  // namespace host_test

// One line per answer, appended to a file or standard error. Thread-safe: each line is one write of the
// system, so lines never mix and nothing is held while one is written.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "market_server/faults.h"

namespace market_server {

class AccessLog {
 public:
  /// Empty: no log; "-": standard error. Throws std::runtime_error when the file cannot be opened.
  explicit AccessLog(const std::string& path);
  ~AccessLog();
  AccessLog(const AccessLog&) = delete;
  AccessLog& operator=(const AccessLog&) = delete;

  [[nodiscard]] bool enabled() const { return file_ >= 0; }
  /// Real time, server time, client, method, target without its signature, status, errno, bytes,
  /// microseconds, faults.
  void Write(const Exchange& exchange, std::size_t bytes, std::chrono::microseconds took) const;

 private:
  int file_ = -1;
  bool owned_ = false;
};

/// `text` with everything outside printable ASCII escaped, so that no client can forge a line, and at most
/// 2000 bytes.
[[nodiscard]] std::string LogSafe(std::string_view text);

}  // namespace market_server

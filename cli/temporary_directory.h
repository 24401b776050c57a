// A directory of one run, below the system's directory for temporary files; gone with the object. Main thread
// only.
#pragma once

#include <string>

namespace cli {

class TemporaryDirectory {
 public:
  /// Makes "csm-" and six random characters, for this user alone. Throws std::runtime_error when it cannot be
  /// made.
  TemporaryDirectory();
  /// Removes it with all that is in it.
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace cli

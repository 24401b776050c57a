// A directory of one run, below the system's directory for temporary files; gone with the object. One that a
// crashed run left is removed by the next. Main thread only.
#pragma once

#include <string>

namespace cli {

class TemporaryDirectory {
 public:
  /// Makes "csm-run-" and six random characters, for this user alone, and removes those of this user that no
  /// process holds any more. Throws std::runtime_error when it cannot be made.
  TemporaryDirectory();
  /// Removes it with all that is in it.
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
  int held_ = -1;  ///< the directory, locked for as long as this process lives
};

}  // namespace cli

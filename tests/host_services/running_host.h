// Host services in a directory of their own, for the length of a test.
#pragma once

#include <string>

#include "stock_host.h"

namespace host_test {

/// A directory that goes away with the object.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  /// For a "threadsafe" death test, whose child runs the body anew and ends without destructors: the child
  /// gets the parent's directory, named by the environment variable `shared_through`, and leaves it to the
  /// parent.
  explicit TemporaryDirectory(const char* shared_through);
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  [[nodiscard]] std::string Path(const std::string& name = {}) const;

 private:
  std::string path_;
  const char* shared_through_ = nullptr;
  bool owned_ = true;
};

[[nodiscard]] std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& bytes);

/// Settings with all directories below `directory`.
[[nodiscard]] stock_host::Settings SettingsIn(const TemporaryDirectory& directory);

class RunningHost {
 public:
  /// The directories of `settings` are replaced. A start that fails throws.
  explicit RunningHost(stock_host::Settings settings = {});
  ~RunningHost();
  RunningHost(const RunningHost&) = delete;
  RunningHost& operator=(const RunningHost&) = delete;

  [[nodiscard]] const TemporaryDirectory& directory() const { return directory_; }
  /// All that was logged so far.
  [[nodiscard]] std::string LogFile() const;

 private:
  const TemporaryDirectory directory_;
};

}  // namespace host_test

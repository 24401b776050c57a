// A program run by a test: its own environment and directories, pipes or a terminal around it, everything
// that it writes kept. Used by one thread. What it runs is the test's choice; csm is what it was made for.
#pragma once

#include <sys/types.h>
#include <termios.h>

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "cli/temporary_directory.h"

namespace tests {

class ChildProcess {
 public:
  enum class Around { kPipes, kTerminal };

  /// Starts `program`. It sees the few variables that a program needs, a home and a TMPDIR of its own, and
  /// `environment`.
  explicit ChildProcess(std::vector<std::string> command, std::map<std::string, std::string> environment = {},
                        Around around = Around::kPipes);
  /// Kills it if it still runs.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// All that it wrote so far: to standard output or to the terminal, and to standard error.
  [[nodiscard]] const std::string& output() const { return output_; }
  [[nodiscard]] const std::string& errors() const { return errors_; }

  /// Reads on until `enough`; false when that does not come within `limit` or the child ends before.
  [[nodiscard]] bool ReadUntil(const std::function<bool()>& enough,
                               std::chrono::seconds limit = std::chrono::seconds(30));
  [[nodiscard]] bool ReadUntilOutput(const std::string& text) {
    return ReadUntil([&] { return output_.find(text) != std::string::npos; });
  }
  [[nodiscard]] bool ReadUntilErrors(const std::string& text) {
    return ReadUntil([&] { return errors_.find(text) != std::string::npos; });
  }

  /// Reads to the end. The exit code, 128 and the number of the signal that ended it, or -1 when it does not
  /// end in `limit`.
  [[nodiscard]] int Wait(std::chrono::seconds limit = std::chrono::seconds(30));

  void Signal(int number) const;
  /// Waits until it is stopped (SIGSTOP); false when it ends, or is not stopped within half a minute.
  [[nodiscard]] bool WaitUntilStopped();
  /// No more standard output is read: the child finds the pipe broken.
  void CloseOutput();

  // For a terminal.
  void Type(const std::string& keys) const;
  void Resize(int columns, int rows) const;
  [[nodiscard]] termios Modes() const;
  /// As they were before the child.
  [[nodiscard]] const termios& first_modes() const { return first_modes_; }

  /// Directory that the child has as TMPDIR.
  [[nodiscard]] std::string temporary() const { return directory_.path() + "/tmp"; }
  [[nodiscard]] std::string home() const { return directory_.path() + "/home"; }

 private:
  void Pump(std::chrono::milliseconds wait);
  bool Reap(bool wait_for_stop);

  const cli::TemporaryDirectory directory_;
  pid_t pid_ = -1;
  int out_ = -1;
  int err_ = -1;
  termios first_modes_{};
  std::string output_;
  std::string errors_;
  int status_ = -1;
  bool ended_ = false;
  bool stopped_ = false;
};

/// csm with `arguments`.
[[nodiscard]] std::vector<std::string> Csm(std::vector<std::string> arguments);

/// `text` line by line, without the ends of lines.
[[nodiscard]] std::vector<std::string> LinesOf(const std::string& text);

}  // namespace tests

// Reads a command line by what the commands say of themselves. The one place that knows the option parser.
// Main thread only.
#pragma once

#include <string>
#include <vector>

#include "cli/args/option.h"

namespace cli {

/// Of the help where there is no terminal.
inline constexpr int kUsualHelpWidth = 80;

/// The program as a whole.
struct Program {
  std::string about;     ///< the head of the help
  std::string examples;  ///< its end
  std::string version;
  Runner (*set_up)(Form& form);                         ///< what it is without a command
  const std::vector<Command>& (*commands)() = nullptr;  ///< null: it has none
  int help_width = kUsualHelpWidth;                     ///< columns that the help may take
  std::string name = "csm";
};

/// A command line that was understood, and of which nothing has been done yet.
struct UnderstoodLine {
  Runner run;             ///< does what is asked for; empty when `text` is all there is to it
  ExitCode code = kFine;  ///< without a runner: how the program ends
  std::string text;  ///< without a runner: help or version, or, with kUsage, what makes no sense in one line
};

/// Reads a line for `program`. Touches neither files, network nor environment. What a line
/// holds makes it throw nothing.
[[nodiscard]] UnderstoodLine Parse(const Program& program, int argc, const char* const* argv);

}  // namespace cli

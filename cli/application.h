// The command line as a whole: understands it, runs what it asks for, turns every outcome into an exit code.
// Main thread only.
#pragma once

#include <string>

#include "cli/args/parser.h"

namespace cli {

/// Reads a command line; touches neither files, network nor environment. What a line holds makes it throw
/// nothing.
[[nodiscard]] UnderstoodLine Understand(int argc, const char* const* argv, int help_width = kUsualHelpWidth);

/// What csm is, in a few lines.
[[nodiscard]] std::string About();

/// 0 fine, 1 failure (with one line on standard error), 2 a command line that makes no sense (with a line,
/// too).
[[nodiscard]] int RunApplication(int argc, const char* const* argv);

}  // namespace cli

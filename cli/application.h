// The command line as a whole: understands it, runs what it asks for, turns every outcome into an exit code.
// Called once, by `main`. Commands are found in command_table.cpp.
#pragma once

namespace cli {

/// 0 fine, 1 failure (with one line on standard error), 2 a command line that makes no sense (with a line,
/// too).
[[nodiscard]] int RunApplication(int argc, const char* const* argv);

}  // namespace cli

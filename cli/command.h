// What a command of csm is. A new one is a pair of files in commands/ and one line in command_table.cpp.
#pragma once

#include <CLI/App.hpp>
#include <functional>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

namespace cli {

/// Exit codes of csm.
enum ExitCode : int { kFine = 0, kFailure = 1, kUsage = 2 };

/// Does the work after the command line was understood, and returns an exit code. Throws std::exception with
/// a text for a person for a failure.
using Runner = std::function<int()>;

struct Command {
  std::string_view name;
  std::string_view summary;
  /// Adds the command's options to `app`. They may be written to until the runner is called.
  Runner (*set_up)(CLI::App& app);
};

/// Of the commands that were met, each with its options.
using Runners = std::map<const CLI::App*, Runner>;

/// Adds `commands` to `app`, each without its options: those are made, with the runner, when the command is
/// met. A line that is refused in the end may have met several.
[[nodiscard]] std::shared_ptr<const Runners> AddCommands(CLI::App& app, const std::vector<Command>& commands);

/// Adds `commands` to a command that is nothing without one of them. The runner is that of the chosen one.
[[nodiscard]] Runner SetUpSubcommands(CLI::App& app, const std::vector<Command>& commands);

/// All commands, in the order of the help.
[[nodiscard]] const std::vector<Command>& Commands();

}  // namespace cli

// What a command of csm is. A new one is an entry in commands/show_commands.cpp, or a file in commands/, a
// line in commands.h there and one in application.cpp.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/args/option.h"

namespace cli {

/// Exit codes of csm.
enum ExitCode : int { kFine = 0, kFailure = 1, kUsage = 2 };

/// Does the work after the command line was understood, and returns an exit code. Throws std::exception with
/// a text for a person for a failure.
using Runner = std::function<int()>;

struct Form;

struct Command {
  std::string_view name;
  std::string_view summary;
  /// Says what the command takes. What its options write to lives as long as the runner. A command that is
  /// nothing without one of its own commands has no runner.
  std::function<Runner(Form& form)> set_up;
};

/// What a command takes, and how its help ends.
struct Form {
  std::vector<Option> options;
  std::string footer;
  std::vector<Command> commands;  ///< one of them has to follow
  /// Called when all options have been read. Each throws UsageError when they do not go together.
  std::vector<std::function<void()>> checks;
  /// Gets what follows the options, a whole command line, and the names of the options that were
  /// given. Throws UsageError, too.
  std::function<void(const std::vector<std::string>& rest, const std::vector<std::string>& given)> take_rest;

  /// "--rows A:B" is an option with its name and with what the help calls its text.
  Option& Add(const std::string& name_and_text, std::string help, Take take) {
    const std::size_t name_end = name_and_text.find(' ');
    Option& option = options.emplace_back();
    option.name = name_and_text.substr(0, name_end);
    option.help = std::move(help);
    option.take = std::move(take);
    option.value = name_end == std::string::npos ? "" : name_and_text.substr(name_end + 1);
    return option;
  }
  /// A flag that sets `on`.
  Option& AddFlag(const std::string& name, std::string help, bool& on) {
    return AddFlag(name, std::move(help), [&on](const std::string&) { on = true; });
  }
  Option& AddFlag(const std::string& name, std::string help, Take take) {
    Option& option = Add(name, std::move(help), std::move(take));
    option.kind = Option::Kind::kFlag;
    return option;
  }
};

/// How many of the first of `words` name one of `commands`: two of "rank stocks --json", none of "--json".
[[nodiscard]] std::size_t CommandWords(const std::vector<Command>& commands,
                                       std::span<const std::string> words);

/// All commands, in the order of the help.
[[nodiscard]] const std::vector<Command>& Commands();

}  // namespace cli

// What a command of csm is, and what it takes, as values: the name of an option, its help, and where it goes.
// How a line is read by them is the parser's matter. A new command is an entry in commands/show_commands.cpp,
// or a file in commands/, a line in commands.h there and one in application.cpp. Main thread only.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cli {

/// What was typed makes no sense; says why in one line.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Gets a text that was typed. Throws UsageError for one that makes no sense.
using Take = std::function<void(const std::string& text)>;

struct Option {
  enum class Kind {
    kOne,      ///< takes one text
    kSeveral,  ///< takes several: with "--" one each time it is given, else one or more in a row
    kFlag,     ///< takes nothing: `take` gets an empty text
  };

  std::string name{};  ///< "--rows", or "SYMBOL" for what is typed without a name
  std::string help{};
  Take take{};  ///< called for each text, in their order
  Kind kind = Kind::kOne;
  std::string value{};     ///< what the help calls its text; may be empty
  std::string standard{};  ///< what holds without it, for the help; empty: not said
  std::string group{};     ///< title of its part of the help; empty: the usual one
  bool is_required = false;
  std::vector<std::string> excludes{};  ///< names of options that must not stand beside it
  std::vector<std::string> needs{};     ///< names of options that must
  std::vector<std::string> values{};    ///< all that make sense, if those can be listed
};

/// What is typed goes into `text`, or after what is in `texts`.
[[nodiscard]] Take Into(std::string& text);
[[nodiscard]] Take Into(std::vector<std::string>& texts);

/// A whole number, in decimal digits. Throws UsageError for anything else, and beyond `least` and `most`.
[[nodiscard]] std::int64_t WholeNumber(const std::string& text, std::int64_t least, std::int64_t most);

/// A whole number from `least` to `most` goes into `number`.
template <std::integral Number>
[[nodiscard]] Take Into(Number& number, std::int64_t least, std::int64_t most) {
  return [&number, least, most](const std::string& text) {
    number = static_cast<Number>(WholeNumber(text, least, most));
  };
}
template <std::integral Number>
[[nodiscard]] Take Into(std::optional<Number>& number, std::int64_t least, std::int64_t most) {
  return [&number, least, most](const std::string& text) {
    number = static_cast<Number>(WholeNumber(text, least, most));
  };
}

/// The whole of `text` as a number; nothing when it is none.
[[nodiscard]] std::optional<double> ReadNumber(const std::string& text);
[[nodiscard]] std::optional<std::uint64_t> ReadCount(const std::string& text);

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

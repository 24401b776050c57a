// Values that have names: boards, columns, periods and the like, each with a number that a service knows. One
// table of names serves options, their help, titles and keys. Pure functions.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace cli {

/// One value of an option.
struct Choice {
  std::string_view name;
  int number = 0;         ///< what the service calls it
  std::string_view help;  ///< for a person, a few words
  char key = '\0';        ///< chooses it where single keys do; 0: none
};

using Choices = std::span<const Choice>;

/// The name of `number`; empty when there is none.
[[nodiscard]] std::string_view NameOf(Choices choices, int number);

/// The number that stands `step` places after `number`; the first one follows the last.
[[nodiscard]] int StepFrom(Choices choices, int number, int step);

/// What is said about `number`; empty when there is none.
[[nodiscard]] std::string_view HelpOf(Choices choices, int number);

/// The number of `name`; nothing when there is none.
[[nodiscard]] std::optional<int> NumberOf(Choices choices, std::string_view name);

/// "all, sh, sz".
[[nodiscard]] std::string NamesOf(Choices choices);

/// "TITLE:", then a line for each choice; for the end of a help text.
[[nodiscard]] std::string ListOf(std::string_view title, Choices choices);

}  // namespace cli

// Options whose values are names: boards, columns, directions and the like, each with a number that a service
// knows. One table of names serves the option, its help and its error text. Main thread only.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "cli/command.h"

namespace cli {

/// One value of an option.
struct Choice {
  std::string_view name;
  int number = 0;         ///< what the service calls it
  std::string_view help;  ///< for a person, a few words
};

using Choices = std::span<const Choice>;

/// The name of `number`; empty when there is none.
[[nodiscard]] std::string_view NameOf(Choices choices, int number);

/// The number that stands `step` places behind `number`; the first one follows the last.
[[nodiscard]] int StepFrom(Choices choices, int number, int step);

/// What is said about `number`; empty when there is none.
[[nodiscard]] std::string_view HelpOf(Choices choices, int number);

/// The number of `name`. Throws UsageError, with all right names, when there is none.
[[nodiscard]] int NumberOf(Choices choices, std::string_view name);

/// "TITLE:", then a line for each choice; for the end of a help text.
[[nodiscard]] std::string ListOf(std::string_view title, Choices choices);

/// Adds an option that takes one of the names and gives its number to `take`; `number` is the default. A
/// wrong name is a usage error that lists the right ones.
void AddChoice(Form& form, const std::string& option, Choices choices, const std::string& description,
               std::function<void(int)> take, int number);

/// The same into `number`, whose value until then is the default.
template <class Number>
void AddChoice(Form& form, const std::string& option, Choices choices, const std::string& description,
               Number& number) {
  AddChoice(
      form, option, choices, description, [&number](int chosen) { number = static_cast<Number>(chosen); },
      static_cast<int>(number));
}

}  // namespace cli

// Options whose values are names: boards, columns, directions and the like, each with a number that a service
// knows. One table of names serves the option, its help and its error text. Main thread only.
#pragma once

#include <CLI/App.hpp>
#include <functional>
#include <span>
#include <string>
#include <string_view>

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

/// The number of `name`. Throws CLI::ValidationError in the name of `option`, with all right names, when
/// there is none.
[[nodiscard]] int NumberOf(Choices choices, std::string_view name, const std::string& option);

/// "TITLE:", then a line for each choice; for the end of a help text.
[[nodiscard]] std::string ListOf(std::string_view title, Choices choices);

/// Adds an option that takes one of the names and gives its number to `take`. A wrong name is a usage error
/// that lists the right ones.
CLI::Option* AddChoice(CLI::App& app, const std::string& option, Choices choices,
                       const std::string& description, std::function<void(int)> take);

/// The same into `number`, whose value until then is the default.
template <class Number>
CLI::Option* AddChoice(CLI::App& app, const std::string& option, Choices choices,
                       const std::string& description, Number& number) {
  return AddChoice(app, option, choices, description,
                   std::function<void(int)>([&number](int chosen) { number = static_cast<Number>(chosen); }))
      ->default_str(std::string(NameOf(choices, static_cast<int>(number))));
}

}  // namespace cli

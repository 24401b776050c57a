#include "cli/views/choices.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "cli/format/text.h"

namespace cli {
namespace {

constexpr int kNameWidth = 14;

Choice Find(Choices choices, int number) {
  const auto found =
      std::find_if(choices.begin(), choices.end(), [&](const Choice& c) { return c.number == number; });
  return found == choices.end() ? Choice{} : *found;
}

}  // namespace

std::string_view NameOf(Choices choices, int number) {
  return Find(choices, number).name;
}

int StepFrom(Choices choices, int number, int step) {
  const auto found =
      std::find_if(choices.begin(), choices.end(), [&](const Choice& c) { return c.number == number; });
  const auto count = static_cast<int>(choices.size());
  const auto place = static_cast<int>(found - choices.begin());
  return choices[static_cast<std::size_t>(((place + step) % count + count) % count)].number;
}

std::string_view HelpOf(Choices choices, int number) {
  return Find(choices, number).help;
}

std::optional<int> NumberOf(Choices choices, std::string_view name) {
  const auto found =
      std::find_if(choices.begin(), choices.end(), [&](const Choice& c) { return c.name == name; });
  return found == choices.end() ? std::nullopt : std::optional(found->number);
}

std::string NamesOf(Choices choices) {
  std::string names;
  for (const Choice& choice : choices) {
    names += (names.empty() ? "" : ", ") + std::string(choice.name);
  }
  return names;
}

std::string ListOf(std::string_view title, Choices choices) {
  std::string text = std::string(title) + ":";
  for (const Choice& choice : choices) {
    text += "\n  " + Pad(choice.name, kNameWidth, Align::kLeft) + (choice.help.empty() ? "" : " ") +
            std::string(choice.help);
  }
  return text;
}

}  // namespace cli

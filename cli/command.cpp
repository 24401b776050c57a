#include "cli/command.h"

#include <algorithm>

namespace cli {

std::size_t CommandWords(const std::vector<Command>& commands, std::span<const std::string> words) {
  const auto met = std::find_if(commands.begin(), commands.end(), [&](const Command& command) {
    return !words.empty() && command.name == words.front();
  });
  if (met == commands.end()) {
    return 0;
  }
  Form form;
  static_cast<void>(met->set_up(form));
  return 1 + CommandWords(form.commands, words.subspan(1));
}

}  // namespace cli

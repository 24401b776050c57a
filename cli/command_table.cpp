#include <algorithm>
#include <iterator>

#include "cli/command.h"
#include "cli/commands/commands.h"
#include "cli/commands/show_commands.h"

namespace cli {

const std::vector<Command>& Commands() {
  static const std::vector<Command> commands = [] {
    std::vector<Command> all = ShowCommands();
    const auto items =
        std::find_if(all.begin(), all.end(), [](const Command& command) { return command.name == "items"; });
    all.insert(items, {"watchlist", "The user's own list, shown and edited", &SetUpWatchList});
    const Command others[] = {
        {"record", "Keeps every exchange with a server, for --replay", &SetUpRecord},
        {"doctor", "Looks at settings, key, directories and server, and says what to do", &SetUpDoctor},
        {"serve", "A simulated market for other programs to ask", &SetUpServe},
        {"completion", "A script that completes command lines in a shell", &SetUpCompletion},
        {"manual", "The manual page of csm", &SetUpManual}};
    all.insert(all.end(), std::begin(others), std::end(others));
    return all;
  }();
  return commands;
}

}  // namespace cli

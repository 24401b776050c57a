#include "cli/application.h"

#include <unistd.h>

#include <algorithm>
#include <exception>
#include <iostream>
#include <iterator>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/format/text.h"
#include "cli/format/words.h"
#include "cli/run/output.h"
#include "cli/run/terminal.h"

namespace cli {
namespace {

constexpr int kLeastHelpWidth = 40;
constexpr int kMostHelpWidth = 100;

constexpr const char* kAbout =
    "Chinese A-share market data on the command line.\n"
    "Without a command: the live screen on a terminal, ten seconds of lines elsewhere. Without --server the\n"
    "data come from a simulated market inside csm: nothing to set up, and none of it is real.";
constexpr const char* kExamples = R"(Examples:
  csm                          the live screen; ? lists its keys, q ends it
  csm index --count 1          the indices once
  csm index --json --for 60    for other programs
  csm doctor                   looks at everything that csm stands on, and says what to do
  csm --replay DIR index       from what "csm record DIR" has kept, without any server
  csm COMMAND --help           more about a command
  csm completion bash          a script for the shell; csm manual is the manual page

Exit codes: 0 fine, 1 failure, 2 wrong usage. Settings and keys: the CSM_* variables and csm.ini.)";

}  // namespace

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

UnderstoodLine Understand(int argc, const char* const* argv, int help_width) {
  return Parse({kAbout, kExamples, "csm " CSM_VERSION, &SetUpLive, &Commands, help_width}, argc, argv);
}

std::string About() {
  return kAbout;
}

int RunApplication(int argc, const char* const* argv) {
  try {
    SetLanguage(LanguageOfLocale());
    Quiet(false);
    const bool is_terminal = isatty(STDOUT_FILENO) == 1;
    const int width =
        is_terminal ? std::clamp(Terminal::SizeOf(STDOUT_FILENO).columns, kLeastHelpWidth, kMostHelpWidth)
                    : kUsualHelpWidth;
    const UnderstoodLine line = Understand(argc, argv, width);
    if (line.run) {
      return line.run();
    }
    if (line.code == kFine) {
      std::cout << line.text << std::flush;
    } else {
      Say(line.text);
    }
    return line.code;
  } catch (const std::exception& error) {
    Say(Printable(std::string(error.what())));
    return kFailure;
  }
}

}  // namespace cli

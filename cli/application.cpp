#include "cli/application.h"

#include <CLI/App.hpp>
#include <algorithm>
#include <cstddef>
#include <exception>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "cli/command.h"
#include "cli/commands/live.h"
#include "cli/format/text.h"
#include "cli/help_format.h"
#include "cli/output.h"

namespace cli {
namespace {

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

Exit codes: 0 fine, 1 failure, 2 wrong usage. Settings and keys: the CSM_* variables and csm.ini.)";

// Options of the live screen in front of a command would do nothing.
void RefuseMisplaced(const CLI::App& app, const CLI::App& command) {
  for (const CLI::Option* const option : app.get_options()) {
    if (option->count() > 0) {
      throw CLI::ValidationError(option->get_name(), "belongs behind the command: csm " + command.get_name() +
                                                         " " + option->get_name());
    }
  }
}

// The parser lets several pass when texts without meaning stand in front.
void RefuseSeveral(const CLI::App& app) {
  const std::vector<CLI::App*> chosen = app.get_subcommands();
  if (chosen.size() > 1) {
    throw CLI::ExtrasError(app.get_name(), {chosen[1]->get_name()});
  }
  if (!chosen.empty()) {
    RefuseSeveral(*chosen.front());
  }
}

Runner Parse(CLI::App& app, int argc, const char* const* argv) {
  Runner live = SetUpLive(app);
  const std::shared_ptr<const Runners> runners = AddCommands(app, Commands());
  app.parse(argc, argv);
  RefuseSeveral(app);
  const auto chosen = app.get_subcommands();
  if (chosen.empty()) {
    return live;
  }
  RefuseMisplaced(app, *chosen.front());
  return runners->at(chosen.front());
}

// "csm --replay DIR --speed 5 index --json" is understood like "csm index --replay DIR --speed 5 --json".
std::vector<const char*> InOrder(int argc, const char* const* argv) {
  std::vector<const char*> arguments(argv, argv + argc);
  const auto is = [&](std::size_t at, std::string_view option) {
    return at < arguments.size() && std::string_view(arguments[at]) == option;
  };
  std::size_t at = 1;
  bool replays = false;
  while (is(at, "--replay") || is(at, "--speed")) {
    replays = replays || is(at, "--replay");
    at += 2;
  }
  if (replays && at < arguments.size() && arguments[at][0] != '-') {
    std::rotate(arguments.begin() + 1, arguments.begin() + static_cast<std::ptrdiff_t>(at),
                arguments.begin() + static_cast<std::ptrdiff_t>(at) + 1);
  }
  return arguments;
}

}  // namespace

UnderstoodLine Understand(int argc, const char* const* argv) {
  const std::vector<const char*> arguments = InOrder(argc, argv);
  const auto app = std::make_shared<CLI::App>(kAbout, "csm");
  app->footer(kExamples);
  app->require_subcommand(0, 1);
  app->formatter(std::make_shared<HelpFormat>());
  app->set_help_flag("-h,--help", "this text");
  app->set_version_flag("--version", "csm " CSM_VERSION, "its version");
  try {
    return {[app, run = Parse(*app, argc, arguments.data())] { return run(); }, kFine, ""};
  } catch (const CLI::Success& wish) {
    std::ostringstream text;
    app->exit(wish, text, text);
    return {{}, kFine, text.str()};
  } catch (const CLI::ParseError& error) {
    return {{}, kUsage, Printable(std::string(error.what())) + " (csm --help tells more)"};
  }
}

int RunApplication(int argc, const char* const* argv) {
  try {
    const UnderstoodLine line = Understand(argc, argv);
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

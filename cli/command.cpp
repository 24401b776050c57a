#include "cli/command.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <cstddef>
#include <string>

namespace cli {

std::shared_ptr<const Runner> AddCommands(CLI::App& app, const std::vector<Command>& commands) {
  const auto chosen = std::make_shared<Runner>();
  for (const Command& command : commands) {
    CLI::App* const sub = app.add_subcommand(std::string(command.name), std::string(command.summary));
    sub->group("Commands");
    sub->preparse_callback([chosen, sub, set_up = command.set_up](std::size_t) { *chosen = set_up(*sub); });
  }
  return chosen;
}

Runner SetUpSubcommands(CLI::App& app, const std::vector<Command>& commands) {
  const std::shared_ptr<const Runner> chosen = AddCommands(app, commands);
  app.require_subcommand(1);
  return [chosen] { return (*chosen)(); };
}

}  // namespace cli

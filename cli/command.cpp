#include "cli/command.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <cstddef>
#include <string>

namespace cli {

std::shared_ptr<const Runners> AddCommands(CLI::App& app, const std::vector<Command>& commands) {
  const auto runners = std::make_shared<Runners>();
  for (const Command& command : commands) {
    CLI::App* const sub = app.add_subcommand(std::string(command.name), std::string(command.summary));
    sub->group("Commands");
    sub->preparse_callback(
        [runners, sub, set_up = command.set_up](std::size_t) { (*runners)[sub] = set_up(*sub); });
  }
  return runners;
}

Runner SetUpSubcommands(CLI::App& app, const std::vector<Command>& commands) {
  const std::shared_ptr<const Runners> runners = AddCommands(app, commands);
  app.require_subcommand(1);
  return [&app, runners] { return runners->at(app.get_subcommands().front())(); };
}

}  // namespace cli

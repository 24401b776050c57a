#include "cli/command.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <string>
#include <utility>

namespace cli {

Runner SetUpSubcommands(CLI::App& app, const std::vector<Command>& commands) {
  std::vector<std::pair<CLI::App*, Runner>> runners;
  for (const Command& command : commands) {
    CLI::App* const sub = app.add_subcommand(std::string(command.name), std::string(command.summary));
    sub->group("Commands");
    runners.emplace_back(sub, command.set_up(*sub));
  }
  app.require_subcommand(1);
  return [runners = std::move(runners)]() -> int {
    for (const auto& [sub, run] : runners) {
      if (sub->parsed()) {
        return run();
      }
    }
    return kUsage;
  };
}

}  // namespace cli

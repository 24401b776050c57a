#include "cli/command.h"
#include "cli/commands/index.h"
#include "cli/commands/serve.h"

namespace cli {

const std::vector<Command>& Commands() {
  static const std::vector<Command> commands = {
      {"index", "Quotes of the three headline indices", &SetUpIndex},
      {"serve", "A simulated market for other programs to ask", &SetUpServe},
  };
  return commands;
}

}  // namespace cli

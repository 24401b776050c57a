#include "cli/command.h"
#include "cli/commands/calendar.h"
#include "cli/commands/find.h"
#include "cli/commands/index.h"
#include "cli/commands/lists.h"
#include "cli/commands/plates_of.h"
#include "cli/commands/serve.h"
#include "cli/commands/state.h"

namespace cli {

const std::vector<Command>& Commands() {
  static const std::vector<Command> commands = {
      {"index", "Quotes of the three headline indices", &SetUpIndex},
      {"state", "The phase of the market", &SetUpState},
      {"calendar", "Trading days and holidays of a year", &SetUpCalendar},
      {"lists", "Stocks, plates or indices", &SetUpLists},
      {"find", "Securities by a piece of their code, name or pinyin", &SetUpFind},
      {"plates-of", "The plates that a stock belongs to", &SetUpPlatesOf},
      {"serve", "A simulated market for other programs to ask", &SetUpServe},
  };
  return commands;
}

}  // namespace cli

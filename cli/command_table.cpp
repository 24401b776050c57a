#include "cli/command.h"
#include "cli/commands/calendar.h"
#include "cli/commands/distribution.h"
#include "cli/commands/effect.h"
#include "cli/commands/events.h"
#include "cli/commands/find.h"
#include "cli/commands/flow.h"
#include "cli/commands/index.h"
#include "cli/commands/kline.h"
#include "cli/commands/lists.h"
#include "cli/commands/margin.h"
#include "cli/commands/mline.h"
#include "cli/commands/plates_of.h"
#include "cli/commands/purchase.h"
#include "cli/commands/serve.h"
#include "cli/commands/state.h"
#include "cli/commands/strength.h"

namespace cli {

const std::vector<Command>& Commands() {
  static const std::vector<Command> commands = {
      {"index", "Quotes of the three headline indices", &SetUpIndex},
      {"state", "The phase of the market", &SetUpState},
      {"calendar", "Trading days and holidays of a year", &SetUpCalendar},
      {"lists", "Stocks, plates or indices", &SetUpLists},
      {"find", "Securities by a piece of their code, name or pinyin", &SetUpFind},
      {"plates-of", "The plates that a stock belongs to", &SetUpPlatesOf},
      {"mline", "The minute line of a stock, index or plate, as a table or drawn", &SetUpMinuteLine},
      {"kline", "Candles of a stock or index, as a table or drawn", &SetUpKLine},
      {"events", "Unusual events of the market", &SetUpEvents},
      {"flow", "Money that flows into and out of stocks", &SetUpFlow},
      {"strength", "Stocks up and down in the course of a day", &SetUpStrength},
      {"distribution", "How far the stocks of the market rose and fell", &SetUpDistribution},
      {"effect", "The money-making effect in the course of a day", &SetUpEffect},
      {"margin", "Margin trading, day by day", &SetUpMargin},
      {"purchase", "New shares to subscribe to", &SetUpPurchase},
      {"serve", "A simulated market for other programs to ask", &SetUpServe},
  };
  return commands;
}

}  // namespace cli

#include "cli/command.h"
#include "cli/commands/board.h"
#include "cli/commands/calendar.h"
#include "cli/commands/distribution.h"
#include "cli/commands/doctor.h"
#include "cli/commands/effect.h"
#include "cli/commands/events.h"
#include "cli/commands/find.h"
#include "cli/commands/flow.h"
#include "cli/commands/index.h"
#include "cli/commands/items.h"
#include "cli/commands/kline.h"
#include "cli/commands/lists.h"
#include "cli/commands/margin.h"
#include "cli/commands/mline.h"
#include "cli/commands/plate.h"
#include "cli/commands/plates.h"
#include "cli/commands/plates_of.h"
#include "cli/commands/purchase.h"
#include "cli/commands/quote.h"
#include "cli/commands/rank.h"
#include "cli/commands/record.h"
#include "cli/commands/serve.h"
#include "cli/commands/state.h"
#include "cli/commands/strength.h"
#include "cli/commands/watchlist.h"

namespace cli {

const std::vector<Command>& Commands() {
  static const std::vector<Command> commands = {
      {"index", "Quotes of the three headline indices", &SetUpIndex},
      {"quote", "Figures and order book of single securities", &SetUpQuote},
      {"board", "A page of a board of stocks", &SetUpBoard},
      {"plates", "A page of the plates of a kind", &SetUpPlates},
      {"plate", "A page of the stocks of a plate", &SetUpPlate},
      {"rank", "The first stocks or plates by a column", &SetUpRank},
      {"watchlist", "The user's own list, shown and edited", &SetUpWatchList},
      {"items", "Code and name of a whole board, in an order", &SetUpItems},
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
      {"record", "Keeps every exchange with a server, for --replay", &SetUpRecord},
      {"doctor", "Looks at settings, key, directories and server, and says what to do", &SetUpDoctor},
      {"serve", "A simulated market for other programs to ask", &SetUpServe},
  };
  return commands;
}

}  // namespace cli

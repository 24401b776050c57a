#include "cli/commands/board.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "c_stock_market.h"
#include "cli/follow.h"
#include "cli/list_options.h"
#include "cli/vocabulary.h"
#include "quotes/stock_market_item_table.h"

namespace cli {
namespace {

using Quotes = std::vector<StockMarketItem>;

constexpr Feed kFeed{"stock_market", "/pc/rt/get", kQuotePolling};
constexpr const char* kExamples = R"(Examples:
  csm board                                    the stocks that rose most
  csm board --board gem --sort amt             those of the growth board with the largest amount
  csm board --asc --rows 20:40                 the second page of those that fell most
  csm board --columns code,name,last,pe,pb     other columns
  csm board --rows 0: --count 1 --json         the whole board, once, with every figure

On a terminal the table is redrawn in place; q ends it. A mark behind a figure says that it rose or fell since the
update before; in JSON "directions" says it.)";

struct BoardOptions : ListOptions {
  int board = 1;
};

int ShowBoard(const BoardOptions& options) {
  LineRun run(options.watch, kFeed, options.Title(std::string(HelpOf(Boards(), options.board))));
  const std::string_view name = NameOf(Boards(), options.board);
  const StockRangeRankingTarget key{
      static_cast<std::uint32_t>(options.board), static_cast<std::uint32_t>(options.sort.column),
      static_cast<std::uint32_t>(options.sort.direction), options.rows.start, options.rows.end};
  const std::vector<MemberColumn> columns = options.Columns(BoardLook());
  return FollowKey<Quotes>(
      run, Made(GetStockMarket(), kFeed), key,
      [&](const Delivery<Quotes>& delivery) {
        return RecordsLine(kFeed.name, options.Key({name.begin(), name.end()}), delivery,
                           quotes::kBoardTable);
      },
      [&](const Delivery<Quotes>& delivery) { return BoardLines(delivery.data, columns); });
}

}  // namespace

Runner SetUpBoard(Form& form) {
  const auto options = std::make_shared<BoardOptions>();
  options->sort.columns = StockColumns();
  AddChoice(form, "--board", Boards(), "the board, see below", options->board);
  AddPageOptions(form, *options);
  AddColumnsOption(form, BoardLook(), *options);
  AddWatchOptions(form, options->watch);
  form.footer = ListOf("Boards", Boards()) + "\n\n" + ListOf("Columns to order by", StockColumns()) + "\n\n" +
                kExamples;
  return [options] { return ShowBoard(*options); };
}

}  // namespace cli

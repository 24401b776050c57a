#include "cli/commands/plates.h"

#include <memory>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "cli/follow.h"
#include "cli/list_options.h"
#include "cli/vocabulary.h"
#include "quotes/stock_market_item_table.h"

namespace cli {
namespace {

using Quotes = std::vector<StockMarketItem>;

constexpr Feed kFeed{"plate_market", "/pc/rt/get_bk_detail", kQuotePolling};
constexpr const char* kExamples = R"(Examples:
  csm plates                                  the industries that rose most
  csm plates --kind concept --sort amt        the concepts with the largest amount
  csm plates --asc --rows 20:40               the second page of those that fell most
  csm plates --columns code,name,last,pe      other columns
  csm plates --rows 0: --count 1 --json       all industries, once, with every figure)";

struct PlatesOptions : ListOptions {
  int kind = 1;
};

int ShowPlates(const PlatesOptions& options) {
  const std::string kind(NameOf(PlateKinds(), options.kind));
  LineRun run(options.watch, kFeed, options.Title(kind + " plates"));
  const PlateRangeRankingTarget key{
      static_cast<std::uint32_t>(options.kind), static_cast<std::uint32_t>(options.sort.column),
      static_cast<std::uint32_t>(options.sort.direction), options.rows.start, options.rows.end};
  const std::vector<MemberColumn> columns = options.Columns(PlatesLook());
  return FollowKey<Quotes>(
      run, Made(GetPlateMarket(), kFeed), key,
      [&](const Delivery<Quotes>& delivery) {
        return RecordsLine(kFeed.name, options.Key({kind.begin(), kind.end()}), delivery,
                           quotes::kPlateTable);
      },
      [&](const Delivery<Quotes>& delivery) { return PlateLines(delivery.data, columns); });
}

}  // namespace

Runner SetUpPlates(Form& form) {
  const auto options = std::make_shared<PlatesOptions>();
  options->sort.columns = PlateColumns();
  AddChoice(form, "--kind", PlateKinds(), "industry or concept", options->kind);
  AddPageOptions(form, *options);
  AddColumnsOption(form, PlatesLook(), *options);
  AddWatchOptions(form, options->watch);
  form.footer = ListOf("Columns to order by", PlateColumns()) + "\n\n" + kExamples;
  return [options] { return ShowPlates(*options); };
}

}  // namespace cli

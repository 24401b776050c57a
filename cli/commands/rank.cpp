#include "cli/commands/rank.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "cli/follow.h"
#include "cli/format/quote_rows.h"
#include "cli/format/record_json.h"
#include "cli/options.h"
#include "cli/sort_options.h"
#include "cli/vocabulary.h"
#include "ranking/plate_market_summary_table.h"
#include "ranking/stock_market_summary_table.h"

namespace cli {
namespace {

constexpr std::int32_t kMostRows = 10000;
constexpr const char* kStockExamples = R"(Examples:
  csm rank stocks                          the ten stocks that rose most
  csm rank stocks --asc --num 5            the five that fell most
  csm rank stocks --board gem --sort tr    those of the growth board with the largest turnover rate
  csm rank stocks --five-minutes           those that moved most within five minutes
  csm rank stocks --count 1 --json         once, for other programs)";
constexpr const char* kPlateExamples = R"(Examples:
  csm rank plates                              the ten industries that rose most
  csm rank plates --kind concept --sort bpin   the concepts by the figure bpin
  csm rank plates --num 5 --count 1 --json     once, for other programs; the server may send more rows)";

struct RankOptions {
  WatchOptions watch;
  SortOptions sort;
  int which = 1;  // board of stocks or kind of plates
  std::int32_t num = 10;
  bool five_minutes = false;

  [[nodiscard]] RankingTarget Target() const { return {sort.column, sort.direction, num}; }
  [[nodiscard]] std::wstring Key(std::string_view what) const {
    const std::string key = std::string(what) + " " + sort.Key() + " " + std::to_string(num) +
                            (five_minutes ? " five_minutes" : "");
    return {key.begin(), key.end()};
  }
  [[nodiscard]] std::string Title(const std::string& what) const {
    return "top " + std::to_string(num) + " of " + what + " " + sort.Title() +
           (five_minutes ? ", within five minutes" : "");
  }
};

int RankStocks(const RankOptions& options) {
  using Stocks = std::vector<StockMarketSummary>;
  const Feed& feed = options.five_minutes ? kFiveMinutesFeed : kStockRankingFeed;
  LineRun run(options.watch, feed, options.Title(std::string(HelpOf(Boards(), options.which))));
  return FollowKey<Stocks>(
      run, Made(GetStockRanking(options.which, options.five_minutes, false), feed), options.Target(),
      [&](const Delivery<Stocks>& delivery) {
        return RecordsLine(feed.name, options.Key(NameOf(Boards(), options.which)), delivery,
                           ranking::kStockMarketSummaryTable);
      },
      [](const Delivery<Stocks>& delivery) { return RankedStockLines(delivery.data, {}); });
}

int RankPlates(const RankOptions& options) {
  using Plates = std::vector<PlateMarketSummary>;
  const std::string kind(NameOf(PlateKinds(), options.which));
  LineRun run(options.watch, kPlateRankingFeed, options.Title(kind + " plates"));
  return FollowKey<Plates>(
      run, Made(GetPlateRanking(options.which, false), kPlateRankingFeed), options.Target(),
      [&](const Delivery<Plates>& delivery) {
        return RecordsLine(kPlateRankingFeed.name, options.Key(kind), delivery,
                           ranking::kPlateMarketSummaryTable);
      },
      [](const Delivery<Plates>& delivery) { return RankedPlateLines(delivery.data); });
}

void AddRankOptions(Form& form, RankOptions& options) {
  AddSortOptions(form, options.sort);
  form.Add({.name = "--num",
            .help = "so many rows",
            .take = Into(options.num, 1, kMostRows),
            .value = "N",
            .standard = std::to_string(options.num)});
  AddWatchOptions(form, options.watch);
}

Runner SetUpRankStocks(Form& form) {
  const auto options = std::make_shared<RankOptions>();
  options->sort.columns = StockColumns();
  AddChoice(form, "--board", Boards(), "the board, see below", options->which);
  form.Add(Flag("--five-minutes", "\"change\" is that of the last five minutes", options->five_minutes));
  AddRankOptions(form, *options);
  form.footer = ListOf("Boards", Boards()) + "\n\n" + ListOf("Columns to order by", StockColumns()) + "\n\n" +
                kStockExamples;
  return [options] { return RankStocks(*options); };
}

Runner SetUpRankPlates(Form& form) {
  const auto options = std::make_shared<RankOptions>();
  options->sort.columns = PlateColumns();
  AddChoice(form, "--kind", PlateKinds(), "industry or concept", options->which);
  AddRankOptions(form, *options);
  form.footer = ListOf("Columns to order by", PlateColumns()) + "\n\n" + kPlateExamples;
  return [options] { return RankPlates(*options); };
}

}  // namespace

Runner SetUpRank(Form& form) {
  form.footer = "Examples:\n  csm rank stocks\n  csm rank plates --kind concept";
  form.commands = {{"stocks", "The first stocks of a board by a column", &SetUpRankStocks},
                   {"plates", "The first plates of a kind by a column", &SetUpRankPlates}};
  return {};
}

}  // namespace cli

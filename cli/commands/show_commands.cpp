#include "cli/commands/commands.h"

#include <unistd.h>

#include <algorithm>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>

#include "cli/commands/options.h"
#include "cli/format/chart_headings.h"
#include "cli/format/china_time.h"
#include "cli/format/market_rows.h"
#include "cli/format/text.h"
#include "cli/run/terminal.h"
#include "cli/screen/live_run.h"
#include "cli/views/market_views.h"
#include "cli/views/security_views.h"
#include "host/clock.h"

namespace cli {
namespace {

constexpr double kSecondsWithoutTerminal = 10;

using AddOptions = void (*)(Form& form, Chosen& chosen);
using WhatIsShown = Shown (*)(const Chosen& chosen);
using SetUp = std::function<Runner(Form&)>;

std::string ColumnsList(Choices columns) {
  return ListOf("Columns to order by", columns) + "\n\n";
}

std::string BoardsAndColumns() {
  return ListOf("Boards", kBoards) + "\n\n" + ColumnsList(kStockColumns);
}

// What a chart on standard output may take: the terminal without the rows of the next prompt, 80 by 24
// elsewhere.
ChartSize ChartOn(const Chosen& chosen) {
  constexpr int kPromptRows = 2;
  constexpr int kMostRows = 40;  // higher charts of a day are no clearer
  ChartSize size;
  if (isatty(STDOUT_FILENO) == 1) {
    size = Terminal::SizeOf(STDOUT_FILENO);
    size.rows = std::min(size.rows - kPromptRows, kMostRows);
  }
  return {chosen.chart.columns > 0 ? chosen.chart.columns : size.columns,
          chosen.chart.rows > 0 ? chosen.chart.rows : size.rows};
}

// A command that shows what `shown` makes of what was chosen, by `run`; that lives until the run is over.
SetUp Showing(AddOptions add, WhatIsShown shown, const std::string& footer,
              int (*run)(const ShowOptions& options, const Shown& shown)) {
  return [=](Form& form) -> Runner {
    const auto chosen = std::make_shared<Chosen>();
    add(form, *chosen);
    form.footer = footer;
    return [=] {
      if (chosen->plot) {
        chosen->show.chart = ChartOn(*chosen);
      }
      return run(chosen->show, shown(*chosen));
    };
  };
}

// One that ends when it has shown its view.
SetUp Once(AddOptions add, WhatIsShown shown, const std::string& footer) {
  return Showing(add, shown, footer, &ShowOnce);
}

// One that goes on, on a screen of its own where there is one.
SetUp Following(AddOptions add, WhatIsShown shown, const std::string& footer) {
  return Showing(add, shown, footer, [](const ShowOptions& options, const Shown& what) {
    return IsForLiveScreen(options) ? RunViewsOnScreen(options, what) : Follow(options, what);
  });
}

template <class MakeView>
Shown One(Needs needs, MakeView make) {
  Shown shown;
  shown.needs = needs;
  shown.make = [make = std::move(make)](const ViewContext& context, IStockCommon& reference) {
    Views views;
    views.push_back(make(context, reference));
    return views;
  };
  return shown;
}

// A view of that type, made of the context and `arguments`.
template <class ViewType, class... Arguments>
Shown Of(Needs needs, Arguments... arguments) {
  return One(needs, [=](const ViewContext& context, IStockCommon&) {
    return std::make_unique<ViewType>(context, arguments...);
  });
}

template <class ViewType>
std::unique_ptr<View> Make(const ViewContext& context) {
  return std::make_unique<ViewType>(context);
}

// A view for each symbol, each once.
template <class MakeView>
Shown ForSymbols(const Chosen& chosen, MakeView make) {
  Shown shown;
  shown.needs = Needs::kNames;
  shown.make = [&chosen, make](const ViewContext& context, IStockCommon& reference) {
    Views views;
    std::set<std::wstring> met;
    for (const std::string& symbol : chosen.symbols) {
      const Security security = FindSecurity(reference, symbol);
      if (met.insert(security.code).second) {
        views.push_back(make(context));
        views.back()->Select(security);
        if (const std::string why = views.back()->WhyNothingToAsk(); !why.empty()) {
          throw std::runtime_error(why);
        }
      }
    }
    return views;
  };
  return shown;
}

// The day that was asked for, if it can have figures.
std::uint32_t CheckedDay(std::uint32_t date) {
  const std::string why = date == 0 ? "" : WhyNoFigures(date, common::GetCurrentServerTime());
  if (!why.empty()) {
    throw std::runtime_error(why);
  }
  return date;
}

template <class MakeView>
Shown OfDay(const Chosen& chosen, MakeView make) {
  Shown shown = One(Needs::kCalendar, [&chosen, make](const ViewContext& context, IStockCommon&) {
    return make(context, CheckedDay(chosen.date));
  });
  shown.says_session = chosen.date == 0;
  return shown;
}

// On a screen the rows are those that there is room for.
template <class ListView>
Shown List(const Chosen& chosen, Needs needs = Needs::kNothing) {
  ListChoice choice = chosen.list;
  choice.rows = IsForLiveScreen(chosen.show) ? choice.rows : choice.rows.value_or(RowRange());
  return Of<ListView>(needs, choice);
}

void AddSymbolTexts(Form& form, Chosen& chosen, const char* help, bool several) {
  Option& symbol = form.Add("SYMBOL", help, Into(chosen.symbols));
  symbol.kind = several ? Option::Kind::kSeveral : Option::Kind::kOne;
  symbol.is_required = true;
}

void AddLast(Form& form, Chosen& chosen, const char* help) {
  form.Add("--last N", help, Into(chosen.last, 1, 100000));
}

void AddDaily(Form& form, Chosen& chosen) {
  AddDateOption(form, chosen.date, "a day other than today");
  AddQueryOptions(form, chosen);
}

void AddDailyPlot(Form& form, Chosen& chosen) {
  AddDaily(form, chosen);
  AddPlotOptions(form, chosen);
}

// A list of stocks or plates, of which the group can be chosen.
void AddStockList(Form& form, Chosen& chosen) {
  chosen.list.order.columns = kStockColumns;
  AddChoice(form, "--board", kBoards, "the board, see below", chosen.list.group);
}

void AddPlateList(Form& form, Chosen& chosen) {
  chosen.list.order.columns = kPlateColumns;
  AddChoice(form, "--kind", kPlateKinds, "industry or concept", chosen.list.group);
}

// A list of which a page is followed.
void AddPage(Form& form, Chosen& chosen) {
  AddSortOptions(form, chosen.list.order);
  AddRowsOption(form, chosen.list.rows, RowRange());
}

void AddCount(Form& form, Chosen& chosen) {
  AddSortOptions(form, chosen.list.order);
  form.Add("--num N", "number of rows", Into(chosen.count, 1, 10000)).standard = std::to_string(chosen.count);
  AddWatchOptions(form, chosen);
}

Runner SetUpRank(Form& form) {
  form.footer = "Examples:\n  csm rank stocks\n  csm rank plates --kind concept";
  form.commands = {
      {"stocks", "The first stocks of a board by a column",
       Following(
           [](Form& f, Chosen& c) {
             AddStockList(f, c);
             f.AddFlag("--five-minutes", "\"change\" is that of the last five minutes", c.five_minutes);
             AddCount(f, c);
           },
           [](const Chosen& c) {
             return Of<StockRankingView>(Needs::kNothing, c.list, c.count, c.five_minutes);
           },
           BoardsAndColumns() + R"(Examples:
  csm rank stocks                          the ten stocks that rose most
  csm rank stocks --asc --num 5            the five that fell most
  csm rank stocks --board gem --sort tr    those of the growth board with the largest turnover rate
  csm rank stocks --five-minutes           those that moved most within five minutes
  csm rank stocks --count 1 --json         once, for other programs)")},
      {"plates", "The first plates of a kind by a column",
       Following(
           [](Form& f, Chosen& c) {
             AddPlateList(f, c);
             AddCount(f, c);
           },
           [](const Chosen& c) { return Of<PlateRankingView>(Needs::kNothing, c.list, c.count); },
           ColumnsList(kPlateColumns) + R"(Examples:
  csm rank plates                              the ten industries that rose most
  csm rank plates --kind concept --sort bpin   the concepts by the figure bpin
  csm rank plates --num 5 --count 1 --json     once, for other programs; the server may send more rows)")}};
  return {};
}

template <ItemsView::Of kOf>
Shown Items(const Chosen& chosen) {
  return Of<ItemsView>(Needs::kNothing, kOf, chosen.list);
}

void AddItemsOptions(Form& form, Chosen& chosen) {
  AddSortOptions(form, chosen.list.order);
  AddRowsOption(form, chosen.list.rows, RowRange{0, RowRange::kOpen});
  AddQueryOptions(form, chosen);
}

Runner SetUpItems(Form& form) {
  form.footer = "Examples:\n  csm items stocks --board gem\n  csm items plates";
  form.commands = {{"stocks", "The stocks of a board",
                    Once(
                        [](Form& f, Chosen& c) {
                          AddStockList(f, c);
                          AddItemsOptions(f, c);
                        },
                        &Items<ItemsView::Of::kStocks>, BoardsAndColumns() + R"(Examples:
  csm items stocks --sort code --asc        every A share by its code
  csm items stocks --board sme --rows 0:10  the ten stocks of a board that rose most
  csm items stocks --json                   one JSON line)")},
                   {"plates", "The plates of a kind",
                    Once(
                        [](Form& f, Chosen& c) {
                          AddPlateList(f, c);
                          AddItemsOptions(f, c);
                        },
                        &Items<ItemsView::Of::kPlates>, ColumnsList(kPlateColumns) + R"(Examples:
  csm items plates --kind concept --sort name   the concepts by name
  csm items plates --json                       one JSON line)")}};
  return {};
}

// Makes a view of what was found in the reference data.
template <class Find>
Shown OfFound(Needs needs, Find find) {
  return One(needs, [find = std::move(find)](const ViewContext& context, IStockCommon& reference) {
    return std::make_unique<FoundView>(context, find(reference));
  });
}

Shown Indices(const Chosen& /*chosen*/) {
  return Of<IndexView>(Needs::kNothing);
}

}  // namespace

std::vector<Command> ShowCommands() {
  return {
      {"index", "Quotes of the three headline indices",
       Showing(&AddWatchOptions, &Indices, R"(Examples:
  csm index                           three lines every three seconds, until Ctrl-C
  csm index --count 1                 the quotes of this moment
  csm index --json --for 60           a minute of JSON lines
  csm index --clock 09:29:50          the opening of the simulated market
  csm index --server https://host     another market server

A JSON line:
  {"service":"index_market","key":"","time":"2026-11-20T09:30:03+08:00","data":[{"code":"sh000001",...}]}
"time" is the server's. A figure that the server sent as null is null, and has its bit in "null_flags".)",
               &Follow)},
      {"quote", "Figures and order book of single securities",
       Following(
           [](Form& f, Chosen& c) {
             AddSymbolTexts(f, c, "stocks or indices: sh600000, 600000 or a name", true);
             AddWatchOptions(f, c);
           },
           [](const Chosen& c) { return ForSymbols(c, &Make<QuoteView>); },
           R"(Examples:
  csm quote sh600000                      figures and order book, redrawn in place; q ends it
  csm quote 600000 000001 sh000001        several; an index shows its members in place of a book
  csm quote sh600000 --count 1            once
  csm quote sh600000 --json --for 60      a minute of JSON lines, one for each symbol and update

Prices are red above the previous close and green below it. A mark after a figure says that it rose or fell since
the update before; with several symbols there are usually none.)")},
      {"board", "A page of a board of stocks",
       Following(
           [](Form& f, Chosen& c) {
             AddStockList(f, c);
             AddPage(f, c);
             AddColumnsOption(f, BoardLook(), c.list.columns);
             AddWatchOptions(f, c);
           },
           [](const Chosen& c) { return List<BoardView>(c); }, BoardsAndColumns() + R"(Examples:
  csm board                                    the stocks that rose most
  csm board --board gem --sort amt             those of the growth board with the largest amount
  csm board --asc --rows 20:40                 the second page of those that fell most
  csm board --columns code,name,last,pe,pb     other columns
  csm board --rows 0: --count 1 --json         the whole board, once, with every figure

On a terminal the list is redrawn in place and scrolled; q ends it. A mark after a figure says that it rose or fell
since the update before; in JSON "directions" says it.)")},
      {"plates", "A page of the plates of a kind",
       Following(
           [](Form& f, Chosen& c) {
             AddPlateList(f, c);
             AddPage(f, c);
             AddColumnsOption(f, PlatesLook(), c.list.columns);
             AddWatchOptions(f, c);
           },
           [](const Chosen& c) { return List<PlatesView>(c); }, ColumnsList(kPlateColumns) + R"(Examples:
  csm plates                                  the industries that rose most
  csm plates --kind concept --sort amt        the concepts with the largest amount
  csm plates --asc --rows 20:40               the second page of those that fell most
  csm plates --columns code,name,last,pe      other columns
  csm plates --rows 0: --count 1 --json       all industries, once, with every figure)")},
      {"plate", "A page of the stocks of a plate",
       Following(
           [](Form& f, Chosen& c) {
             c.list.order.columns = kPlateColumns;
             f.Add("PLATE", "a plate: bk1001, 1001 or a name", Into(c.text)).is_required = true;
             AddPage(f, c);
             AddWatchOptions(f, c);
           },
           [](const Chosen& c) {
             Shown shown = List<MembersView>(c, Needs::kLists);
             shown.make = [&c, make = shown.make](const ViewContext& context, IStockCommon& reference) {
               const Security plate = FindSecurity(reference, c.text);
               if (plate.type != stock::kSymbolPlate) {
                 throw std::runtime_error(NameText(plate) + " is no plate");
               }
               Views views = make(context, reference);
               views.front()->Select(plate);
               return views;
             };
             return shown;
           },
           ColumnsList(kPlateColumns) + R"(Examples:
  csm plate bk1001                       the stocks of a plate that rose most
  csm plate 银行 --sort tr --rows 0:50   the fifty with the largest turnover rate
  csm plate bk1001 --count 1 --json      once, for other programs

Stocks have no column lead, lead_change, bpin or cud: the server orders them by change then. csm plates names the
plates.)")},
      {"rank", "The first stocks or plates by a column", &SetUpRank},
      {"items", "Code and name of a whole board, in an order", &SetUpItems},
      {"state", "The phase of the market",
       Showing(
           &AddWatchOptions,
           [](const Chosen&) {
             // Made only when the server's clock is known: the service's thread wakes by that clock.
             Shown shown = Of<StateView>(Needs::kCalendar);
             shown.needs_all = false;
             return shown;
           },
           R"(Examples:
  csm state --count 1                     the phase of this moment
  csm state --json --for 60               a minute of JSON lines
  csm state --clock 09:10 --speed 60      a simulated day goes by in six minutes

The time beside the caption is that of the close or of the break while the market rests.)",
           &Follow)},
      {"calendar", "Trading days and holidays of a year",
       Once(
           [](Form& f, Chosen& c) {
             f.Add("YEAR", "another year than this one, 1990 to 2099", Into(c.year, 1990, 2099));
             AddQueryOptions(f, c);
           },
           [](const Chosen& c) {
             return OfFound(Needs::kCalendar, [year = c.year](IStockCommon&) { return FindCalendar(year); });
           },
           R"(Examples:
  csm calendar            this year, month by month
  csm calendar --json     one JSON line with every holiday
  csm calendar 2030       another year; only this year's holidays are known

A holiday is a day from Monday to Friday without trading.)")},
      {"lists", "Stocks, plates or indices",
       Once(
           [](Form& f, Chosen& c) {
             Option& list = f.Add("LIST", "stocks, plates or indices", [&c](const std::string& name) {
               if (KindsOfList(name) == 0) {
                 throw UsageError("\"" + name + "\" is not one of stocks, plates, indices");
               }
               c.list_name = name;
             });
             list.is_required = true;
             list.values = {"stocks", "plates", "indices"};
             f.Add("KIND", "which of them, see below", Into(c.kind, 1, 5)).standard = std::to_string(c.kind);
             f.checks.emplace_back([&c] {
               const int kinds = KindsOfList(c.list_name);
               if (c.kind > kinds) {
                 throw UsageError("KIND: there are " + std::to_string(kinds) + " kinds of " + c.list_name);
               }
             });
             AddQueryOptions(f, c);
           },
           [](const Chosen& c) {
             return OfFound(Needs::kLists,
                            [&c](IStockCommon& all) { return FindList(all, c.list_name, c.kind); });
           },
           R"(Examples:
  csm lists stocks              all stocks; KIND 2 Shanghai, 3 Shenzhen, 4 GEM, 5 SME
  csm lists plates 2            the second kind of plates (concepts); the first are the industries
  csm lists indices 2           the indices of Shenzhen; 1 those of Shanghai
  csm lists stocks 4 --json     one JSON line

The type of a stock is its board: 1 other, 4 GEM, 5 SME, 6 main board. That of a plate is its kind.)")},
      {"find", "Securities by part of their code, name or pinyin",
       Once(
           [](Form& f, Chosen& c) {
             f.Add("TEXT", "part of a code, a name or the pinyin initials", Into(c.text)).is_required = true;
             f.Add("--limit N", "at most this many", Into(c.limit, 0, 1000000)).standard =
                 std::to_string(c.limit);
             AddQueryOptions(f, c);
           },
           [](const Chosen& c) {
             return OfFound(Needs::kLists,
                            [&c](IStockCommon& all) { return FindSecurities(all, c.text, c.limit); });
           },
           R"(Examples:
  csm find 6000                 codes that begin with 6000, after sh or sz or without them
  csm find yh                   by the pinyin initials, in any case
  csm find 银行                 by part of the name
  csm find yh --limit 5         the five closest

The closest come first: a whole code, name or initials, then a beginning, then any part.)")},
      {"plates-of", "The plates that a stock belongs to",
       Once(
           [](Form& f, Chosen& c) {
             f.Add("SYMBOL", "a stock, sh600000 or 600000", Into(c.text)).is_required = true;
             AddQueryOptions(f, c);
           },
           [](const Chosen& c) {
             return OfFound(Needs::kLists, [&c](IStockCommon& all) { return FindPlatesOf(all, c.text); });
           },
           R"(Examples:
  csm plates-of sh600000           code and name of every plate
  csm plates-of 600000             the market may be left out
  csm plates-of sh600000 --json    one JSON line)")},
      {"mline", "The minute line of a stock, index or plate, as a table or drawn",
       Once(
           [](Form& f, Chosen& c) {
             AddSymbolTexts(f, c, "sh600000, 600000 or a name", false);
             AddDateOption(f, c.date, "a day other than today; with --days the last of them");
             f.Add("--days N", "number of trading days", Into(c.days, 1, 250)).standard =
                 std::to_string(c.days);
             AddQueryOptions(f, c);
             AddPlotOptions(f, c);
           },
           [](const Chosen& c) {
             Shown shown = ForSymbols(c, [&c](const ViewContext& context) {
               auto view = std::make_unique<MinuteLineView>(context);
               view->SelectDays(c.days > 1 ? c.date : CheckedDay(c.date), c.days);
               return view;
             });
             shown.says_session = c.date == 0;
             return shown;
           },
           R"(Examples:
  csm mline sh600000 --plot               today's line as a chart
  csm mline 000001                        every minute of today; the market may be left out
  csm mline sh000001 --days 5 --plot      the last five trading days
  csm mline sh600000 --date 2024-03-13    another day
  csm mline sh600000 --json               one JSON line with every day and minute
  csm mline sh600000 --csv                for spreadsheets

Volume and amount are those of the minute, the average price is that of the day so far. Changes are against the
previous close of the first day that is shown. In the chart the dotted line is the average price.)")},
      {"kline", "Candles of a stock or index, as a table or drawn",
       Once(
           [](Form& f, Chosen& c) {
             AddSymbolTexts(f, c, "sh600000, 600000 or a name", false);
             AddChoice(f, "--period", kPeriods, "what one candle stands for", c.period);
             AddChoice(f, "--adjust", kAdjustments, "prices adjusted for dividends and splits", c.adjustment);
             AddLast(f, c, "only the newest N candles");
             AddQueryOptions(f, c);
             AddPlotOptions(f, c);
           },
           [](const Chosen& c) {
             Shown shown = ForSymbols(c, [&c](const ViewContext& context) {
               return std::make_unique<KLineView>(context, c.period, c.adjustment, c.last);
             });
             shown.needs = Needs::kLists;  // with the versions of the packages
             shown.says_session = true;
             return shown;
           },
           std::string(R"(Examples:
  csm kline sh600000 --plot                       the days that fit the terminal, today's candle last
  csm kline 600000 --period week --last 20        the last twenty weeks
  csm kline sh600000 --adjust forward --json      every day in one JSON line
  csm kline sh000001 --period month --csv         for spreadsheets

Adjusted prices leave out the jumps at dividends and splits. Without --last a table has the last 60
candles, a chart those that fit, JSON and comma-separated values all. In the chart a rise is hollow; the
lines are the averages over 5 (bright), 10 (yellow), 20 and 60 (dim) candles.)") +
               "\n\n" + ListOf("Adjustments", kAdjustments))},
      {"events", "Unusual events of the market",
       Once(
           [](Form& f, Chosen& c) {
             AddDaily(f, c);
             AddLast(f, c, "only the newest N events");
           },
           [](const Chosen& c) {
             return OfDay(c, [&c](const ViewContext& context, std::uint32_t date) {
               return std::make_unique<EventsView>(context, date, c.last);
             });
           },
           R"(Examples:
  csm events                        today's, the newest first
  csm events --last 10              the newest ten
  csm events --date 2024-03-13      those of another day
  csm events --json                 one JSON line)")},
      {"flow", "Money that flows into and out of stocks",
       Once(
           [](Form& f, Chosen& c) {
             AddSymbolTexts(f, c, "stocks: sh600000, 600000 or a name", true);
             AddQueryOptions(f, c);
           },
           [](const Chosen& c) {
             Shown shown = ForSymbols(c, &Make<FlowView>);
             shown.says_session = true;
             return shown;
           },
           R"(Examples:
  csm flow sh600000                  one, five and ten days
  csm flow sh600000 000001           several stocks; the market may be left out
  csm flow sh600000 --json           one JSON line a stock

Amounts in yuan, through big and through small orders; "net" is what came in less what went out.)")},
      {"strength", "Stocks up and down in the course of a day",
       Once(
           &AddDailyPlot, [](const Chosen& c) { return OfDay(c, &MakeStrengthView); }, R"(Examples:
  csm strength                        stocks up and down at every minute of today
  csm strength --plot                 both curves as a chart
  csm strength --date 2024-03-13      another day
  csm strength --json                 one JSON line)")},
      {"distribution", "How far the stocks of the market rose and fell",
       Once(
           &AddDaily,
           [](const Chosen& c) {
             return OfDay(c, [](const ViewContext& context, std::uint32_t date) {
               return std::make_unique<DistributionView>(context, date);
             });
           },
           R"(Examples:
  csm distribution                        how many stocks rose and fell how far, drawn as bars
  csm distribution --date 2024-03-13      at the end of another day
  csm distribution --json                 one JSON line)")},
      {"effect", "The money-making effect in the course of a day",
       Once(
           &AddDailyPlot, [](const Chosen& c) { return OfDay(c, &MakeEffectView); }, R"(Examples:
  csm effect                        the average change of all stocks at every minute of today
  csm effect --plot                 the curve as a chart
  csm effect --date 2024-03-13      another day
  csm effect --json                 one JSON line)")},
      {"margin", "Margin trading, day by day",
       Once(
           [](Form& f, Chosen& c) {
             AddLast(f, c, "only the newest N days");
             AddQueryOptions(f, c);
           },
           [](const Chosen& c) { return Of<MarginView>(Needs::kNothing, c.last); },
           R"(Examples:
  csm margin               every day that the server has, the newest last
  csm margin --last 10     the last ten days
  csm margin --json        one JSON line

The balance is that of both exchanges in yuan, the change that from the trading day before.)")},
      {"purchase", "New shares to subscribe to",
       Once(
           &AddQueryOptions, [](const Chosen&) { return Of<PurchaseView>(Needs::kNothing); },
           R"(Examples:
  csm purchase             the latest online subscription first
  csm purchase --json      one JSON line

"issued" and "online" are ten thousands of shares, "limit" the most of them that one account may
subscribe to, "raised" hundred millions of yuan, "chance" percent of the subscriptions; it is known after
the draw.)")},
  };
}

Command ShowWatchListCommand() {
  return {"show", "The list with its quotes",
          Following(
              [](Form& f, Chosen& c) {
                c.list.order.columns = kWatchListColumns;
                c.list.order.column = 0;
                AddSortOptions(f, c.list.order);
                AddColumnsOption(f, WatchListLook(), c.list.columns);
                AddWatchOptions(f, c);
              },
              [](const Chosen& c) {
                // The plates of the stocks come from the reference data; without them the column stays empty.
                Shown shown = Of<WatchListView>(Needs::kLists, c.list);
                shown.needs_all = false;
                return shown;
              },
              ColumnsList(kWatchListColumns) + R"(Examples:
  csm watchlist show                          in the order of the list, redrawn in place; q ends it
  csm watchlist show --sort change            those that rose most first
  csm watchlist show --sort plate --asc       by industry
  csm watchlist show --count 1 --json         once, for other programs

What has no figure in the column comes last in either direction.)")};
}

Runner SetUpLive(Form& form) {
  const auto chosen = std::make_shared<Chosen>();
  AddWatchOptions(form, *chosen);
  return [chosen] {
    ShowOptions& options = chosen->show;
    if (isatty(STDOUT_FILENO) != 1 && !options.seconds) {
      options.seconds = kSecondsWithoutTerminal;
    }
    return IsForLiveScreen(options) ? RunLiveScreen(options) : Follow(options, Indices(*chosen));
  };
}

Views UsualViews(const ViewContext& context, IStockCommon& reference) {
  constexpr std::int32_t kCount = 100;
  constexpr const wchar_t* kStock = L"sh600000";
  ListChoice stocks = ListBy(kStockColumns);
  stocks.rows = RowRange{0, kCount};  // those of a large screen
  Views views;
  views.push_back(std::make_unique<IndexView>(context));
  views.push_back(std::make_unique<BoardView>(context, stocks));
  for (const bool five_minutes : {false, true}) {
    views.push_back(std::make_unique<StockRankingView>(context, stocks, kCount, five_minutes));
  }
  for (const Choice& kind : kPlateKinds) {
    ListChoice plates = stocks;
    plates.group = kind.number;
    plates.order.columns = kPlateColumns;
    views.push_back(std::make_unique<PlatesView>(context, plates));
    views.push_back(std::make_unique<PlateRankingView>(context, plates, kCount));
  }
  views.push_back(std::make_unique<WatchListView>(context, ListBy(kWatchListColumns, 0)));
  for (const Choice& period : kPeriods) {
    views.push_back(std::make_unique<KLineView>(context, period.number, kUnadjusted, std::nullopt));
  }
  views.push_back(std::make_unique<QuoteView>(context));
  views.push_back(std::make_unique<MinuteLineView>(context));
  views.push_back(std::make_unique<FlowView>(context));
  for (const auto& view : views) {
    view->Select({kStock, L"", stock::kSymbolStock});
  }
  if (const std::vector<BaseInfoItem> plates = reference.GetPlateList(1); !plates.empty()) {
    views.push_back(std::make_unique<MembersView>(context, stocks));
    views.back()->Select({plates.front().code, plates.front().name, stock::kSymbolPlate});
  }
  views.push_back(std::make_unique<EventsView>(context, 0, std::nullopt));
  views.push_back(MakeStrengthView(context, 0));
  views.push_back(MakeEffectView(context, 0));
  views.push_back(std::make_unique<DistributionView>(context, 0));
  views.push_back(std::make_unique<MarginView>(context, std::nullopt));
  views.push_back(std::make_unique<PurchaseView>(context));
  ListChoice all = stocks;
  all.rows.reset();
  views.push_back(std::make_unique<ItemsView>(context, ItemsView::Of::kStocks, all));
  return views;
}

}  // namespace cli

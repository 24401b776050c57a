#include "cli/commands/watchlist.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "cli/follow.h"
#include "cli/format/quote_rows.h"
#include "cli/format/quote_tables.h"
#include "cli/list_options.h"
#include "cli/symbols.h"
#include "cli/vocabulary.h"
#include "host/clock.h"
#include "host_services/stock_host.h"

namespace cli {
namespace {

using Quotes = std::vector<OptionalMarketItem>;

constexpr const char* kEmpty = "the watch list is empty; csm watchlist add SYMBOL puts something in";
constexpr const char* kExamples = R"(Examples:
  csm watchlist add sh600000 000002      at the end of the list
  csm watchlist move 000002 1            to its head
  csm watchlist show --sort change       with quotes, redrawn in place
  csm watchlist remove sh600000

The list is the user's own, whatever market is asked: watchlist.txt in the configuration directory
(CSM_CONFIG_DIRECTORY, else $XDG_CONFIG_HOME/csm, else ~/.config/csm). Other programs of the user that show it are
told of a change within a second.)";
constexpr const char* kShowExamples = R"(Examples:
  csm watchlist show                          in the order of the list, redrawn in place; q ends it
  csm watchlist show --sort change            those that rose most first
  csm watchlist show --sort plate --asc       by industry
  csm watchlist show --count 1 --json         once, for other programs

What has no figure in the column comes last in either direction.)";

// --- show

struct ShowOptions : ListOptions {};

void WriteJson(JsonWriter& json, const OptionalMarketItem& quote) {
  json.BeginObject();
  json.Key("symbol_type");
  json.Value(static_cast<std::int32_t>(quote.symbol_type));
  WriteMembers(json, quotes::kWatchListTable, quote);
  json.Key("plate");
  json.Value(quote.plate);
  json.EndObject();
}

std::string QuotesLine(const ShowOptions& options, const Quotes& quotes, std::int64_t server_time) {
  const std::string key = options.sort.Key();
  JsonWriter json;
  BeginJsonLine(json, kWatchListFeed.name, std::wstring(key.begin(), key.end()), server_time);
  json.BeginArray();
  for (const OptionalMarketItem& quote : quotes) {
    WriteJson(json, quote);
  }
  json.EndArray();
  json.EndObject();
  return json.Text();
}

std::vector<StyledLine> Picture(const Quotes& quotes, const std::vector<MemberColumn>& columns) {
  std::vector<StyledLine> lines = WatchListLines(quotes, columns);
  const std::string missing = MissingFrom(quotes, stock_host::WatchList());
  if (!missing.empty()) {
    lines.push_back({{"unknown to the server: " + missing, Tone::kDim}});
  }
  return lines;
}

int ShowWatchList(const ShowOptions& options) {
  const std::string order = options.sort.Title();
  LineRun run(options.watch, kWatchListFeed, order.empty() ? "watch list" : "watch list " + order);
  if (stock_host::WatchList().empty()) {
    if (options.watch.json) {
      run.output().WriteLine(QuotesLine(options, {}, common::GetCurrentServerTime()));
    }
    Say(kEmpty);
    return kFine;
  }
  const std::vector<MemberColumn> columns = options.Columns(WatchListLook());
  // The plates of the stocks come from the reference data; without them the column stays empty.
  return FollowKeyAfterLists<Quotes>(
      run, Made(GetOptionalStockMarket(), kWatchListFeed),
      [&](IStockCommon&, bool) {
        return SortingTarget{static_cast<std::uint32_t>(options.sort.column),
                             static_cast<std::uint32_t>(options.sort.direction)};
      },
      [&](const Delivery<Quotes>& delivery) {
        return QuotesLine(options, delivery.data, delivery.server_time);
      },
      [&](const Delivery<Quotes>& delivery) { return Picture(delivery.data, columns); });
}

Runner SetUpShow(Form& form) {
  const auto options = std::make_shared<ShowOptions>();
  options->sort.columns = WatchListColumns();
  options->sort.column = 0;
  AddSortOptions(form, options->sort);
  AddColumnsOption(form, WatchListLook(), *options);
  AddWatchOptions(form, options->watch);
  form.footer = ListOf("Columns to order by", WatchListColumns()) + "\n\n" + kShowExamples;
  return [options] { return ShowWatchList(*options); };
}

// --- add, remove, move

struct EditOptions {
  bool json = false;
  std::vector<std::wstring> symbols;
  std::wstring symbol;
  std::uint32_t position = 1;
};

void PrintList(const EditOptions& options, Output& output) {
  const std::vector<std::wstring> list = stock_host::WatchList();
  if (options.json) {
    JsonWriter json;
    BeginJsonLine(json, "watch_list", L"", common::GetCurrentServerTime());
    json.BeginArray();
    for (const std::wstring& symbol : list) {
      json.Value(symbol);
    }
    json.EndArray();
    json.EndObject();
    output.WriteLine(json.Text());
    return;
  }
  Table table({{"#", Align::kRight}, {"code"}});
  for (std::size_t i = 0; i < list.size(); ++i) {
    table.Add({{std::to_string(i + 1)}, {Printable(list[i])}});
  }
  for (const StyledLine& line : list.empty() ? std::vector<StyledLine>() : table.Lines()) {
    output.WriteLine(Render(line, Palette(false)));
  }
}

// Changes the list and prints what it is then. `change` gives an error text, empty for none.
int Edit(const EditOptions& options, const std::function<std::string()>& change) {
  MainLoop loop;
  Output output(loop, STDOUT_FILENO);
  SessionOptions session_options;
  session_options.has_server = false;
  const Session session(session_options);
  const std::string error = change();
  if (!error.empty()) {
    Say(Printable(error));
    return kFailure;
  }
  PrintList(options, output);
  return kFine;
}

int Add(const EditOptions& options) {
  return Edit(options, [&] {
    std::string error;
    for (const std::wstring& symbol : options.symbols) {
      if (!stock_host::AddToWatchList(symbol, error)) {
        return error;
      }
    }
    return std::string();
  });
}

int Remove(const EditOptions& options) {
  return Edit(options, [&] {
    const std::vector<std::wstring> list = stock_host::WatchList();
    for (const std::wstring& symbol : options.symbols) {
      // All or none.
      if (std::find(list.begin(), list.end(), symbol) == list.end()) {
        return "\"" + Utf8(symbol) + "\" is not in the watch list";
      }
    }
    std::string error;
    for (const std::wstring& symbol : options.symbols) {
      if (!stock_host::RemoveFromWatchList(symbol, error)) {
        return error;
      }
    }
    return std::string();
  });
}

int Move(const EditOptions& options) {
  return Edit(options, [&] {
    std::string error;
    return stock_host::MoveInWatchList(options.symbol, options.position - 1, error) ? std::string() : error;
  });
}

std::shared_ptr<EditOptions> MakeEditOptions(Form& form) {
  auto options = std::make_shared<EditOptions>();
  form.Add(Flag("--json", "the new list as one JSON line", options->json));
  form.footer = kExamples;
  return options;
}

Runner SetUpAdd(Form& form) {
  const auto options = MakeEditOptions(form);
  AddSymbols(form, options->symbols);
  return [options] { return Add(*options); };
}

Runner SetUpRemove(Form& form) {
  const auto options = MakeEditOptions(form);
  AddSymbols(form, options->symbols);
  return [options] { return Remove(*options); };
}

Runner SetUpMove(Form& form) {
  const auto options = MakeEditOptions(form);
  AddSymbol(form, options->symbol);
  form.Add({.name = "POSITION",
            .help = "1 is the first; beyond the end is the last",
            .take = Into(options->position, 1, std::int64_t{1} << 31U),
            .value = "",
            .is_required = true});
  return [options] { return Move(*options); };
}

}  // namespace

Runner SetUpWatchList(Form& form) {
  form.footer = kExamples;
  form.commands = {{"show", "The list with its quotes", &SetUpShow},
                   {"add", "Append stocks or indices", &SetUpAdd},
                   {"remove", "Take stocks or indices out", &SetUpRemove},
                   {"move", "Give one another place", &SetUpMove}};
  return {};
}

}  // namespace cli

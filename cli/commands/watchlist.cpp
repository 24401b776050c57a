#include "cli/commands/commands.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/commands/options.h"
#include "cli/format/sheet.h"
#include "cli/format/text.h"
#include "cli/run/main_loop.h"
#include "cli/run/output.h"
#include "cli/run/session.h"
#include "host/clock.h"
#include "host_services/stock_host.h"

namespace cli {
namespace {

constexpr const char* kWatchListExamples = R"(Examples:
  csm watchlist add sh600000 000001      at the end of the list
  csm watchlist move 000001 1            to its head
  csm watchlist show --sort change       with quotes, redrawn in place
  csm watchlist remove sh600000

The list is the user's own, whatever market is asked: watchlist.txt in the configuration directory
(CSM_CONFIG_DIRECTORY, else $XDG_CONFIG_HOME/csm, else ~/.config/csm). Other programs of the user that show it are
notified of a change within a second.)";

struct EditOptions {
  bool json = false;
  std::vector<std::wstring> symbols;
  std::uint32_t position = 1;
};

void PrintList(const EditOptions& options, Output& output) {
  const std::vector<std::wstring> list = stock_host::WatchList();
  if (options.json) {
    JsonWriter json;
    BeginJsonLine(json, "watch_list", L"", common::GetCurrentServerTime());
    json.Array(list, [&json](const std::wstring& symbol) { json.Value(symbol); });
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
  const Session session(session_options, loop);
  const std::string error = change();
  if (!error.empty()) {
    Say(Printable(error));
    return kFailure;
  }
  PrintList(options, output);
  return kFine;
}

// A command that edits the list; `change` gives an error text, empty for none. `position`: it takes one
// symbol and a place, else any number of symbols.
template <class Change>
std::function<Runner(Form&)> Editing(bool position, Change change) {
  return [position, change](Form& form) -> Runner {
    const auto options = std::make_shared<EditOptions>();
    form.AddFlag("--json", "the new list as one JSON line", options->json);
    const auto take = [&symbols = options->symbols](const std::string& text) {
      const std::optional<std::wstring> symbol = ParseSymbol(text);
      if (!symbol) {
        throw UsageError("\"" + text + "\" is no symbol: sh or sz and six digits");
      }
      if (std::find(symbols.begin(), symbols.end(), *symbol) == symbols.end()) {
        symbols.push_back(*symbol);
      }
    };
    Option& symbol = form.Add(
        "SYMBOL",
        position ? "a stock or an index, sh600000 or 600000" : "stocks or indices, sh600000 or 600000", take);
    symbol.kind = position ? Option::Kind::kOne : Option::Kind::kSeveral;
    symbol.is_required = true;
    if (position) {
      form.Add("POSITION", "1 is the first; beyond the end is the last",
               Into(options->position, 1, std::int64_t{1} << 31))
          .is_required = true;
    }
    form.footer = kWatchListExamples;
    return [options, change] { return Edit(*options, [&] { return change(*options); }); };
  };
}

std::string Add(const EditOptions& options) {
  std::string error;
  for (const std::wstring& symbol : options.symbols) {
    if (!stock_host::AddToWatchList(symbol, error)) {
      break;
    }
  }
  return error;
}

// All or none.
std::string Remove(const EditOptions& options) {
  const std::vector<std::wstring> list = stock_host::WatchList();
  std::string error;
  for (const std::wstring& symbol : options.symbols) {
    if (std::find(list.begin(), list.end(), symbol) == list.end()) {
      return "\"" + Utf8(symbol) + "\" is not in the watch list";
    }
  }
  for (const std::wstring& symbol : options.symbols) {
    if (!stock_host::RemoveFromWatchList(symbol, error)) {
      break;
    }
  }
  return error;
}

std::string Move(const EditOptions& options) {
  std::string error;
  static_cast<void>(stock_host::MoveInWatchList(options.symbols.front(), options.position - 1, error));
  return error;
}

}  // namespace

Runner SetUpWatchList(Form& form) {
  form.footer = kWatchListExamples;
  form.commands = {ShowWatchListCommand(),
                   {"add", "Append stocks or indices", Editing(false, &Add)},
                   {"remove", "Take stocks or indices out", Editing(false, &Remove)},
                   {"move", "Give one another place", Editing(true, &Move)}};
  return {};
}

}  // namespace cli

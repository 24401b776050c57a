#include "cli/commands/commands.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cli/commands/options.h"
#include "cli/commands/show_commands.h"
#include "cli/format/record_json.h"
#include "cli/format/text.h"
#include "cli/run/main_loop.h"
#include "cli/run/output.h"
#include "cli/run/session.h"
#include "host/clock.h"
#include "host_services/stock_host.h"

namespace cli {
namespace {

constexpr const char* kExamples = R"(Examples:
  csm watchlist add sh600000 000002      at the end of the list
  csm watchlist move 000002 1            to its head
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
    return stock_host::MoveInWatchList(options.symbols.front(), options.position - 1, error) ? std::string()
                                                                                             : error;
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
  AddSymbols(form, options->symbols, false);
  form.Add({.name = "POSITION",
            .help = "1 is the first; beyond the end is the last",
            .take = Into(options->position, 1, std::int64_t{1} << 31),
            .value = "",
            .is_required = true});
  return [options] { return Move(*options); };
}

}  // namespace

Runner SetUpWatchList(Form& form) {
  form.footer = kExamples;
  form.commands = {ShowWatchListCommand(),
                   {"add", "Append stocks or indices", &SetUpAdd},
                   {"remove", "Take stocks or indices out", &SetUpRemove},
                   {"move", "Give one another place", &SetUpMove}};
  return {};
}

}  // namespace cli

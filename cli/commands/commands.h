// What csm's commands are made of: a table of those that show a view, and those that are more than a view,
// each of which says what it takes and gives what does its work. See option.h.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/args/option.h"
#include "cli/run/show.h"

namespace cli {

/// Those that show a view, but for those of the watch list that edit it.
[[nodiscard]] std::vector<Command> ShowCommands();
/// `csm watchlist show`.
[[nodiscard]] Command ShowWatchListCommand();
/// `csm` without a command: the live screen on a terminal, the indices line by line elsewhere.
[[nodiscard]] Runner SetUpLive(Form& form);
/// All views with the keys that commands show by default, for recording.
[[nodiscard]] Views UsualViews(const ViewContext& context, IStockCommon& reference);

/// Everything that csm stands on, looked at in one go.
[[nodiscard]] Runner SetUpDoctor(Form& form);
/// The exchanges of a command, of the live screen or of all services, kept to be replayed.
[[nodiscard]] Runner SetUpRecord(Form& form);
/// A simulated market of its own, for clients that ask it over the network.
[[nodiscard]] Runner SetUpServe(Form& form);
/// The user's own list of securities: its quotes, and its editing.
[[nodiscard]] Runner SetUpWatchList(Form& form);

/// What describes csm to others, made from its own table of commands: a script for "bash" or "zsh" that
/// completes command lines, and the manual page in the macros of man(7).
[[nodiscard]] Runner SetUpCompletion(Form& form);
[[nodiscard]] Runner SetUpManual(Form& form);
[[nodiscard]] std::string CompletionScript(std::string_view shell);
[[nodiscard]] std::string ManualPage();

}  // namespace cli

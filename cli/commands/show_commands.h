// The commands that show a view: a table of names, options and views.
#pragma once

#include <vector>

#include "cli/command.h"
#include "cli/run/show.h"

namespace cli {

/// All of them but those of the watch list that edit it.
[[nodiscard]] std::vector<Command> ShowCommands();

/// `csm watchlist show`.
[[nodiscard]] Command ShowWatchListCommand();

/// `csm` without a command: the live screen on a terminal, the indices line by line elsewhere.
[[nodiscard]] Runner SetUpLive(Form& form);

/// All views with the keys that commands show by default, for recording.
[[nodiscard]] Views UsualViews(const ViewContext& context, IStockCommon& reference);

}  // namespace cli

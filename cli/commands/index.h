// csm index: a line for every quote of the headline indices, or all of them in place for the live view
// (live.h).
#pragma once

#include "cli/command.h"
#include "cli/options.h"

namespace cli {

[[nodiscard]] Runner SetUpIndex(CLI::App& app);

/// Prints the quotes until the options say that it is enough. Returns an exit code.
[[nodiscard]] int PrintIndices(const WatchOptions& options);

/// The same on a screen that is redrawn in place.
[[nodiscard]] int ShowIndices(const WatchOptions& options);

}  // namespace cli

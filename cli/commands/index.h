// csm index: a line for every quote of the headline indices.
#pragma once

#include "cli/command.h"
#include "cli/options.h"

namespace cli {

[[nodiscard]] Runner SetUpIndex(Form& form);

/// Prints the quotes until the options say that it is enough. Returns an exit code.
[[nodiscard]] int PrintIndices(const WatchOptions& options);

}  // namespace cli

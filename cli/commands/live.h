// csm without a command: on a terminal one screen that is redrawn in place, elsewhere ten seconds of lines.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpLive(CLI::App& app);

}  // namespace cli

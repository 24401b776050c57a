// csm without a command: on a terminal the live screen, elsewhere ten seconds of lines.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpLive(Form& form);

}  // namespace cli

// csm serve: the simulated market as a server of its own, until a signal ends it.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpServe(Form& form);

}  // namespace cli

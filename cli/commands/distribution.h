// csm distribution: how the stocks of the market spread over ranges of change.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpDistribution(Form& form);

}  // namespace cli

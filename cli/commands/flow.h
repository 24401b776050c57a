// csm flow: money that flows into and out of stocks.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpFlow(Form& form);

}  // namespace cli

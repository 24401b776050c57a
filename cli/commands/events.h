// csm events: what was unusual in the market on a day.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpEvents(Form& form);

}  // namespace cli

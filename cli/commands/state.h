// csm state: the phase of the market, told again and again.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpState(Form& form);

}  // namespace cli

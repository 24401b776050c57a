// csm plates-of: the plates that a stock belongs to.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpPlatesOf(Form& form);

}  // namespace cli

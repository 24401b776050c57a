// csm margin: margin trading of both exchanges, day by day.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpMargin(Form& form);

}  // namespace cli

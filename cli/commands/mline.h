// csm mline: minute lines of a stock, an index or a plate, as a table, as data or drawn.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpMinuteLine(Form& form);

}  // namespace cli

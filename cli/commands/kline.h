// csm kline: candles of a stock or an index, as a table, as data or drawn.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpKLine(Form& form);

}  // namespace cli

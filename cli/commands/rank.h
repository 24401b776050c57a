// csm rank: short top lists of stocks and of plates. Whole boards with full quotes are board.h's matter.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpRank(Form& form);

}  // namespace cli

// csm board: a page of a board of stocks, ranked by a column. Short top lists are rank.h's matter.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpBoard(Form& form);

}  // namespace cli

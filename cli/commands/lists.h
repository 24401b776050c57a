// csm lists: the stocks, plates or indices of the market.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpLists(Form& form);

}  // namespace cli

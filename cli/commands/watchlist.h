// csm watchlist: the user's own list, shown with quotes and edited.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpWatchList(Form& form);

}  // namespace cli

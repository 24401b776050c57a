// csm items: code and name of every stock of a board, or of every plate of a kind, in an order; asked for
// once.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpItems(Form& form);

}  // namespace cli

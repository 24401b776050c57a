// csm quote: the full quote of single securities, with the order book of a stock.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpQuote(Form& form);

}  // namespace cli

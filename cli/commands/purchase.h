// csm purchase: the calendar of new shares to subscribe to.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpPurchase(Form& form);

}  // namespace cli

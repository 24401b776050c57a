// csm calendar: the trading days and holidays of a year, as the module has told them to the host's calendar.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpCalendar(Form& form);

}  // namespace cli

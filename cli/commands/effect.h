// csm effect: the money-making effect in the course of a day.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpEffect(Form& form);

}  // namespace cli

// csm strength: how many stocks were up and down in the course of a day.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpStrength(Form& form);

}  // namespace cli

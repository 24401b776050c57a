// csm plate: a page of the stocks of one plate, ranked by a column.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpPlate(Form& form);

}  // namespace cli

// csm plates: a page of the plates of a kind, ranked by a column. The members of one plate are plate.h's
// matter.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpPlates(Form& form);

}  // namespace cli

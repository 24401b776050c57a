// csm record: one command, or the usual services, with every exchange kept.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpRecord(Form& form);

}  // namespace cli

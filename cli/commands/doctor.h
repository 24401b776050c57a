// csm doctor: everything that csm stands on, looked at in one go.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpDoctor(Form& form);

}  // namespace cli

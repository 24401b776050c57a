// csm find: securities by a piece of their code, name or pinyin initials.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpFind(Form& form);

}  // namespace cli

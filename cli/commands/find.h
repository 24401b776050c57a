// csm find: securities by a piece of their code, name or pinyin initials.
#pragma once

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpFind(CLI::App& app);

}  // namespace cli

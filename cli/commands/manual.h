// What describes csm to others, made from its own table of commands: scripts that complete command lines in a
// shell, and the manual page.
#pragma once

#include <string>
#include <string_view>

#include "cli/command.h"

namespace cli {

[[nodiscard]] Runner SetUpCompletion(Form& form);
[[nodiscard]] Runner SetUpManual(Form& form);

/// A script for "bash" or "zsh".
[[nodiscard]] std::string CompletionScript(std::string_view shell);

/// The page in the macros of man(7).
[[nodiscard]] std::string ManualPage();

}  // namespace cli

#include "cli/screen/curses_display.h"

// The order of these is the library's.
#include <curses.h>
#include <term.h>
#include <unistd.h>

namespace cli {

bool KnowsTerminalKind() {
  int error = 0;
  if (setupterm(nullptr, STDOUT_FILENO, &error) != OK) {
    return false;
  }
  const bool knows = tigetstr("cup") != nullptr;
  del_curterm(cur_term);
  return knows;
}

}  // namespace cli

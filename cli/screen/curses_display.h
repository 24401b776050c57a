// The picture of the live screen as ncurses draws it: of a new picture only what differs from the one before
// is written, and keys are read as keys, whatever bytes the terminal sends. Who owns the terminal, its modes
// and its screen is terminal.h's matter. Main thread only, one at a time.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/format/table.h"
#include "cli/plot/axes.h"
#include "cli/screen/key.h"

namespace cli {

/// True when it is known how to write anywhere on a terminal of the kind that TERM names.
[[nodiscard]] bool KnowsTerminalKind();

class CursesDisplay {
 public:
  /// Reads keys from `in`, which stays the caller's. Throws std::runtime_error for a terminal that is not
  /// known.
  CursesDisplay(int in, bool colour);
  ~CursesDisplay();
  CursesDisplay(const CursesDisplay&) = delete;
  CursesDisplay& operator=(const CursesDisplay&) = delete;

  /// What is to be written to a terminal of `size` so that it shows `lines`, from the top; what does not fit
  /// is left out.
  [[nodiscard]] std::string Difference(const std::vector<StyledLine>& lines, const ChartSize& size);

  /// The terminal may show anything now: the next picture is written as a whole.
  void Forget() { forgotten_ = true; }

  /// The keys that were typed since the last call, when there is something to read; nothing when the input
  /// has ended. Waits for nothing but the rest of a key.
  [[nodiscard]] std::optional<std::vector<Key>> ReadKeys();

 private:
  struct Curses;

  const int in_;
  std::unique_ptr<Curses> curses_;
  ChartSize size_;
  bool forgotten_ = true;
};

}  // namespace cli

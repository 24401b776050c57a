// The screen of a live view: taken over, drawn, and given back as it was, however csm ends. One at a time,
// main thread only. Colours are format/palette.h's.
#pragma once

#include "cli/plot/axes.h"

namespace cli {

/// True when colours are wanted on `fd`: a terminal that can show them, and neither `--no-color` nor
/// NO_COLOR.
[[nodiscard]] bool WantsColour(int fd, bool no_color);

class Terminal {
 public:
  /// Switches `out` to a screen of its own and, if `in` is a terminal, takes keys one by one without echo.
  /// Ctrl-C and its like go on making signals. A crash of the process gives the screen back, too.
  Terminal(int in, int out);
  ~Terminal();
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  /// Gives the screen back and takes it again, around a stop of the process.
  void Leave();
  void Enter();

  [[nodiscard]] ChartSize size() const { return SizeOf(out_); }
  /// Of the terminal `fd`; 80 by 24 for what is none.
  [[nodiscard]] static ChartSize SizeOf(int fd);

 private:
  const int in_;
  const int out_;
};

}  // namespace cli

// The screen of a command that follows a feed: title, time and phase, the newest picture, the state of the
// feed, keys. It is drawn in place and given back as it was (terminal.h). Main thread only.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cli/feed_health.h"
#include "cli/format/table.h"
#include "cli/main_loop.h"
#include "cli/output.h"
#include "cli/terminal.h"
#include "host/calendar.h"

namespace cli {

/// What stands around the picture.
struct ScreenFrame {
  std::string title;
  std::string time;
  stock::MarketStatus phase = stock::kMarketUnknown;
  FeedReport report;
  std::string age;      ///< of the newest data; empty: not known
  std::string warning;  ///< newest one in the log; empty: none
  std::string server;
};

/// The screen from the top, in at most `rows` lines: where the picture does not fit, a line says how much of
/// it is missing; what stands below the state of the feed gives way first.
[[nodiscard]] std::vector<StyledLine> LayOut(const ScreenFrame& frame, const std::vector<StyledLine>& picture,
                                             int rows);

/// True when standard output is a terminal whose lines can be written again. Not every one can: that of an
/// editor's shell may only take lines.
[[nodiscard]] bool CanBeRedrawn();

class LiveScreen {
 public:
  /// Takes the screen. `frame` is asked at every drawing; `ask_again` is called for the key r. The key q ends
  /// the loop.
  LiveScreen(MainLoop& loop, Output& output, const Palette& palette, std::function<ScreenFrame()> frame,
             std::function<void()> ask_again);

  void Show(std::vector<StyledLine> picture);
  [[nodiscard]] const std::vector<StyledLine>& picture() const { return picture_; }
  /// Draws everything anew, unless the loop has ended.
  void Draw();
  /// Gives the screen back and leaves the newest picture on the terminal. The last thing to be called.
  void Leave();

 private:
  bool OnKeys();
  void Pause();

  MainLoop& loop_;
  Output& output_;
  const Palette palette_;
  const std::function<ScreenFrame()> frame_;
  const std::function<void()> ask_again_;
  std::unique_ptr<Terminal> terminal_;
  std::vector<StyledLine> picture_;
};

}  // namespace cli

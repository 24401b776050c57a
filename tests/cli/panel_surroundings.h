// What panels of the live screen stand on in tests: a main loop that is run as far as there is work, and a
// screen that only keeps what it is told.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "cli/run/main_loop.h"
#include "cli/screen/panel.h"
#include "cli/views/feed_health.h"

namespace tests {

struct PanelSurroundings {
  cli::MainLoop loop;
  int redraws = 0;
  std::vector<cli::Security> selected;
  std::vector<std::string> told;
  cli::Warnings warnings;
  cli::PanelContext context{
      .views = {.post = [this](std::function<void()> work) { loop.Post(std::move(work)); },
                .changed = [this] { ++redraws; },
                .warnings = &warnings},
      .select = [this](const cli::Security& security) { selected.push_back(security); },
      .tell = [this](std::string text) { told.push_back(std::move(text)); }};

  /// Does the work that was handed to the loop so far.
  void RunPosted() {
    struct Done {};
    loop.Post([] { throw Done(); });
    try {
      loop.Run();
    } catch (const Done&) {
    }
  }

  /// Does the loop's work until `reached`, looked at every few milliseconds; false after a minute.
  bool RunUntil(const std::function<bool()>& reached) {
    struct Done {};
    const auto patience = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    bool is_reached = false;
    const std::function<void()> look = [&] {
      is_reached = reached();
      if (is_reached || std::chrono::steady_clock::now() > patience) {
        throw Done();
      }
      loop.After(std::chrono::milliseconds(5), look);
    };
    loop.Post(look);
    try {
      loop.Run();
    } catch (const Done&) {
    }
    return is_reached;
  }
};

/// The lines of a picture without colours.
inline std::vector<std::string> TextsOf(const std::vector<cli::StyledLine>& lines) {
  std::vector<std::string> texts;
  for (const cli::StyledLine& line : lines) {
    texts.push_back(cli::Render(line, cli::Palette(false)));
  }
  return texts;
}

}  // namespace tests

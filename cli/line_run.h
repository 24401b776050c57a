// The course of a command that follows a feed: session, main loop, requests at the interval, the state of the
// feed, and the end by time, count or signal. Updates are printed one after another; a picture is redrawn in
// place where that is possible. Main thread only.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/feed_health.h"
#include "cli/feeds.h"
#include "cli/format/palette.h"
#include "cli/format/table.h"
#include "cli/live_screen.h"
#include "cli/main_loop.h"
#include "cli/options.h"
#include "cli/output.h"
#include "cli/session.h"

namespace cli {

/// The counts of the feed's endpoint at this moment.
[[nodiscard]] stock_host::EndpointCounters CountersOf(const Feed& feed);

/// Failures so far of the requests for files and of history queries, which a series of candles stands on, and
/// the reason of the latest.
[[nodiscard]] std::pair<std::uint64_t, std::string> FailuresOfHistory();

/// The phase of the market by the server's clock.
[[nodiscard]] stock::MarketStatus CurrentPhase();

class LineRun {
 public:
  /// With a `title` (and neither --json nor --count 1) pictures are drawn in place on a terminal; the state
  /// of the feed stands below them then, not on standard error.
  LineRun(const WatchOptions& options, const Feed& feed, std::string title = {});

  /// Call for every update, with what is to be printed for it.
  void OnUpdate(const std::string& lines);
  /// The same with a picture. Printed ones stand below their time and title, with an empty line between them.
  void OnPicture(std::vector<StyledLine> picture);

  /// Asks again by calling `refresh` at every interval, unless an answer is still being waited for. Returns
  /// an exit code.
  [[nodiscard]] int Run(const std::function<void()>& refresh);

  [[nodiscard]] MainLoop& loop() { return loop_; }
  [[nodiscard]] Output& output() { return output_; }
  [[nodiscard]] Session& session() { return session_; }
  [[nodiscard]] const Palette& palette() const { return palette_; }
  /// True when updates are wanted as JSON lines.
  [[nodiscard]] bool json() const { return options_.json; }
  /// True when pictures are drawn in place.
  [[nodiscard]] bool on_screen() const { return on_screen_; }

 private:
  [[nodiscard]] bool IsWanted(FeedHealth::Clock::time_point now) const;
  void Count();
  void Observe();
  void TellState();
  void Ask(const std::function<void()>& refresh);
  [[nodiscard]] ScreenFrame Frame() const;
  [[nodiscard]] int Verdict();

  const WatchOptions options_;
  const Feed feed_;
  const std::string title_;
  const bool on_screen_;
  MainLoop loop_;
  Output output_;
  Palette palette_;
  Session session_;
  FeedHealth health_;
  std::unique_ptr<LiveScreen> screen_;
  std::optional<FeedHealth::Clock::time_point> shown_;
  std::uint64_t updates_ = 0;
  bool timed_out_ = false;
  std::string told_;  // the state that standard error knows
};

}  // namespace cli

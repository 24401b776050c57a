// The course of a command that prints a line for every update: session, main loop, requests at the interval,
// status on standard error, and the end by time, count or signal. Main thread only. The live view has a
// course of its own.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "cli/feed_health.h"
#include "cli/format/palette.h"
#include "cli/main_loop.h"
#include "cli/options.h"
#include "cli/output.h"
#include "cli/session.h"

namespace cli {

/// A service as csm knows it.
struct Feed {
  std::string_view name;      ///< in JSON: "index_market"
  std::string_view endpoint;  ///< under which its requests are counted: "/pc/rt/stock_detail_list"
};

/// The counts of the feed's endpoint at this moment.
[[nodiscard]] stock_host::EndpointCounters CountersOf(const Feed& feed);

/// The phase of the market by the server's clock.
[[nodiscard]] stock::MarketStatus CurrentPhase();

class LineRun {
 public:
  LineRun(const WatchOptions& options, const Feed& feed);

  /// Call for every update, with what is to be printed for it.
  void OnUpdate(const std::string& lines);

  /// Asks again by calling `refresh` at every interval, unless an answer is still being waited for. Returns
  /// an exit code.
  [[nodiscard]] int Run(std::function<void()> refresh);

  [[nodiscard]] MainLoop& loop() { return loop_; }
  [[nodiscard]] Output& output() { return output_; }
  [[nodiscard]] const Palette& palette() const { return palette_; }

 private:
  void Observe();
  void TellState();

  const WatchOptions options_;
  const Feed feed_;
  MainLoop loop_;
  Output output_;
  Palette palette_;
  Session session_;
  FeedHealth health_;
  std::uint64_t updates_ = 0;
  bool timed_out_ = false;
  std::string told_;  // the state that standard error knows
};

}  // namespace cli

// The lines above the panels: the headline indices, and below them whether the figures are real, time, phase,
// how the indices are doing and whom csm asks. Always seen, so its views are never suspended. Main thread
// only.
#pragma once

#include <string>
#include <vector>

#include "cli/format/table.h"
#include "cli/run/session.h"
#include "cli/screen/screen.h"
#include "cli/views/list_views.h"
#include "cli/views/market_views.h"

namespace cli {

/// The indices side by side in at most `columns`: with less room first without the difference, then with
/// shorter names, then without their values.
[[nodiscard]] StyledLine IndexLine(const std::vector<IndexMarketSummary>& indices, int columns);

/// What stands in the line of the state.
struct StateParts {
  std::string badge;  ///< "SIMULATED", "REPLAY" or nothing
  std::string date;
  std::string clock;
  std::string caption;  ///< of the phase, 开盘; empty: not known
  std::string phase;
  Cell connection;
  StyledLine state;
  std::string server;
};

/// As many of them as `columns` have room for: badge, time and state stay when the others go.
[[nodiscard]] StyledLine StateOf(const StateParts& parts, int columns);

class IndexBar {
 public:
  using Clock = View::Clock;

  enum class Shows { kIndices, kStateOnly };
  /// Asks for the indices unless the state alone is shown.
  IndexBar(const ViewContext& context, const Session& session, Shows shows);

  /// The server's clock and calendar are known: the phase is followed from now on.
  void FollowPhase() { phase_.Show(); }
  /// Asks again, unless an answer is being waited for.
  void Refresh();

  /// `report` is how the data are that matter.
  [[nodiscard]] ScreenHead Head(const FeedReport& report, stock::MarketStatus phase, int columns) const;
  [[nodiscard]] FeedReport Report(Clock::time_point now, stock::MarketStatus phase) const {
    return indices_.Report(now, phase);
  }
  /// The newest indices as a table, to be left on the terminal; empty before there are any.
  [[nodiscard]] std::vector<StyledLine> Table() const;

 private:
  const Session& session_;
  const Shows shows_;
  IndexView indices_;
  StateView phase_;
};

}  // namespace cli

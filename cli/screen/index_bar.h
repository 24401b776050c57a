// The lines above the panels: the headline indices, and below them time, phase, how the indices are doing and
// whom csm asks. Always seen, so its views are never suspended. Main thread only.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "cli/feed_health.h"
#include "cli/format/table.h"
#include "cli/main_loop.h"
#include "cli/screen/screen.h"
#include "cli/session.h"
#include "cli/subscription.h"

namespace cli {

/// The indices side by side in at most `columns`: with less room first without the difference, then with
/// shorter names.
[[nodiscard]] StyledLine IndexLine(const std::vector<IndexMarketSummary>& indices, int columns);

class IndexBar {
 public:
  using Clock = FeedHealth::Clock;

  /// Asks for the indices. `redraw` is called when something has changed. Throws std::runtime_error when the
  /// service cannot be made.
  IndexBar(MainLoop& loop, Session& session, std::chrono::milliseconds interval,
           std::function<void()> redraw);

  /// The server's clock and calendar are known: the phase is followed from now on.
  void FollowPhase();
  /// Asks again, unless an answer is being waited for.
  void Refresh();
  /// Looks at what has gone wrong. Often enough for a person.
  void Observe();

  [[nodiscard]] ScreenHead Head(Clock::time_point now, stock::MarketStatus phase, int columns) const;
  [[nodiscard]] bool has_data() const { return has_data_; }
  [[nodiscard]] std::string StateText(Clock::time_point now, stock::MarketStatus phase) const;
  /// The newest indices as a table, to be left on the terminal; empty before there are any.
  [[nodiscard]] std::vector<StyledLine> Table() const;

 private:
  using Indices = std::vector<IndexMarketSummary>;

  MainLoop& loop_;
  Session& session_;
  const std::function<void()> redraw_;
  FeedHealth health_;
  Indices indices_;
  bool has_data_ = false;
  std::wstring caption_;
  std::unique_ptr<Subscription<IIndexMarket, Indices>> index_view_;
  std::unique_ptr<Subscription<IStockMarketState, StockMarketState>> state_view_;
};

}  // namespace cli

// One part of the live screen: what a view is in a client with windows. A panel holds the views of its feed,
// keeps the newest data and draws them; where it stands, when it is seen and which keys it gets is decided
// around it. Main thread only.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/feed_health.h"
#include "cli/format/table.h"
#include "cli/log_tail.h"
#include "cli/main_loop.h"
#include "cli/plot/axes.h"
#include "cli/screen/key.h"
#include "cli/securities.h"
#include "host/calendar.h"

namespace cli {

/// How a panel's data are. Nothing on the screen is empty without one of these saying why.
using PanelState = FeedState;
using PanelReport = FeedReport;

/// "s" "next column to order by" and the like, for the line of keys.
struct KeyHint {
  std::string_view keys;
  std::string_view effect;
};

/// What a panel may use of the screen around it. Outlives the panel.
struct PanelContext {
  MainLoop& loop;
  std::function<void()> redraw;                 ///< something of the picture has changed
  std::function<void(const Security&)> select;  ///< makes it the current security
  std::function<void(std::string)> tell;        ///< a line for the person at the screen
  const LogTail* log = nullptr;                 ///< read by the screen; null: there is none
  std::chrono::milliseconds interval{3000};     ///< at which the screen refreshes while the market is open
  /// What "next" and "previous" step through from now on: the list that the panel shows, in its order.
  std::function<void(std::vector<BaseInfoItem>)> step_through = [](auto) {};
};

class Panel {
 public:
  using Clock = std::chrono::steady_clock;

  virtual ~Panel() = default;

  /// "growth board, by change, descending".
  [[nodiscard]] virtual std::string Title() const = 0;

  /// Seen from now on: the views are attached if they are not, and resumed; what is missing is asked for.
  virtual void Show() = 0;
  /// Out of sight: the views are suspended, so that the panel costs no request. The newest data are kept.
  virtual void Hide() = 0;

  /// The current security is another one. A panel that shows something else ignores it; a hidden one only
  /// remembers it.
  virtual void Select(const Security& /*security*/) {}

  /// Asks for new data now. Called for a shown panel only: by a key, and at the screen's interval while the
  /// market is open for panels whose service does not poll in seconds by itself.
  virtual void Refresh() = 0;
  /// True when the service polls in seconds by itself, so that the screen's interval leaves it alone.
  [[nodiscard]] virtual bool PollsItself() const = 0;

  /// True when the panel had a use for `key`; the screen looks at the others.
  virtual bool OnKey(const Key& /*key*/) { return false; }
  [[nodiscard]] virtual std::vector<KeyHint> Keys() const { return {}; }

  [[nodiscard]] virtual PanelReport Report(Clock::time_point now, stock::MarketStatus phase) const = 0;

  /// The data in at most `size`, without title and state, which stand around it.
  [[nodiscard]] virtual std::vector<StyledLine> Picture(const ChartSize& size) = 0;

 protected:
  Panel() = default;
  Panel(const Panel&) = delete;
  Panel& operator=(const Panel&) = delete;
};

}  // namespace cli

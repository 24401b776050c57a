// One part of the live screen: a view, drawn, with keys of its own. Where it stands, when it is seen and
// which keys it gets is decided around it. Main thread only.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/format/table.h"
#include "cli/plot/axes.h"
#include "cli/screen/key.h"
#include "cli/views/feed_health.h"
#include "cli/views/securities.h"
#include "cli/views/view.h"
#include "host/calendar.h"

namespace cli {

/// "s" "next column to order by" and the like, for the line of keys.
struct KeyHint {
  std::string_view keys;
  std::string_view effect;
};

/// A column that a panel has, or orders its rows by.
struct PanelColumn {
  std::string name;
  char key = '\0';  ///< orders by it; 0: nothing does
};

/// What a panel may use of the screen around it. Outlives the panel.
struct PanelContext {
  ViewContext views;                            ///< what the views stand on
  std::function<void(const Security&)> select;  ///< makes it the current security
  std::function<void(std::string)> tell;        ///< a line for the person at the screen
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

  /// Where a person stands in what is longer than the room for it, "row 37 of 5,299"; empty: nowhere.
  [[nodiscard]] virtual std::string Position() const { return {}; }
  /// For those who want to have them explained.
  [[nodiscard]] virtual std::vector<PanelColumn> Columns() const { return {}; }

  /// True when the panel had a use for `key`; the screen looks at the others. The mouse is where `Picture`
  /// has that row and column.
  virtual bool OnKey(const Key& /*key*/) { return false; }
  [[nodiscard]] virtual std::vector<KeyHint> Keys() const { return {}; }

  [[nodiscard]] virtual FeedReport Report(Clock::time_point now, stock::MarketStatus phase) const = 0;

  /// The data in at most `size`, without title and state, which stand around it.
  [[nodiscard]] virtual std::vector<StyledLine> Picture(const ChartSize& size) = 0;

 protected:
  Panel() = default;
  Panel(const Panel&) = delete;
  Panel& operator=(const Panel&) = delete;
};

/// `lines` cut to at most `size`.
[[nodiscard]] std::vector<StyledLine> CutTo(std::vector<StyledLine> lines, const ChartSize& size);

/// What `draw` draws in `size`; where there is no room for a chart, its first line alone, and below it how
/// much room it takes.
[[nodiscard]] std::vector<StyledLine> ChartIn(
    const ChartSize& size, const std::function<std::vector<StyledLine>(const ChartSize&)>& draw);

/// The state of a feed: a mark for the eye, and the words.
[[nodiscard]] StyledLine StateLine(const FeedReport& report);

}  // namespace cli

// The live screen as a whole: pages of panels, which of them is seen and which has the keys, the line in
// which a security is looked for, the list of keys. It knows panels as panel.h describes them and neither a
// service nor the terminal; live_run.h brings them together. Main thread only.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "cli/screen/finder.h"
#include "cli/screen/page.h"
#include "cli/screen/panel.h"

namespace cli {

/// What the screen's own keys do.
struct ScreenActions {
  std::function<void()> quit;
  std::function<void()> next;      ///< security of the list that is stepped through
  std::function<void()> previous;  ///< the same backwards
  std::function<void(const Security&)> select;
  std::function<Findings(const std::wstring&)> find;
  std::function<void()> refresh;  ///< what is no panel, besides the panels that are seen
};

/// What stands above the panels.
struct ScreenHead {
  StyledLine indices;
  StyledLine state;  ///< time, phase, connection
};

class Screen {
 public:
  /// Smaller terminals get a line that says so.
  static constexpr ChartSize kLeast{60, 14};

  /// The parts of `pages` name panels by their number in `panels`. Nothing is shown before `Resize`.
  Screen(std::vector<std::unique_ptr<Panel>> panels, std::vector<Page> pages, ScreenActions actions);

  /// Panels that are in sight from now on are shown, those that no longer are hidden.
  void Resize(const ChartSize& size);
  void Turn(std::size_t page);
  /// Other panels and pages take the place of those that there are.
  void Open(std::vector<std::unique_ptr<Panel>> panels, std::vector<Page> pages);
  /// Panels of the page that `size` would have room for are shown from now on, in sight or not: what they ask
  /// is to be recorded.
  void ShowAsOn(const ChartSize& size);
  /// The panels that are seen.
  [[nodiscard]] std::vector<Panel*> Seen() const;
  /// Tells every panel what the current security is.
  void Select(const Security& security);
  void OnKey(const Key& key);
  /// Asks for new data of all that is seen, as at the screen's interval: `phase` decides whether anything new
  /// is to be expected, and panels whose service polls in seconds are left alone. At a change of phase
  /// everything is asked for, and once more an interval later: the figures of the close come with it.
  void OnInterval(stock::MarketStatus phase);
  /// A line for the person at the screen. It stands until the next key.
  void Tell(std::string text) { told_ = std::move(text); }

  /// All of it, as large as the last `Resize` said.
  [[nodiscard]] std::vector<StyledLine> Picture(const ScreenHead& head, Panel::Clock::time_point now,
                                                stock::MarketStatus phase);

 private:
  void Arrange();
  void Refresh();
  void MoveFocus(int step);
  [[nodiscard]] bool OnOverlayKey(const Key& key);
  [[nodiscard]] bool OnPanelKey(Panel& panel, const Key& key);
  void OnMouse(const Key& key);
  void OnOwnKey(const Key& key);
  [[nodiscard]] std::vector<StyledLine> PartOf(const PlacedPart& part, Panel::Clock::time_point now,
                                               stock::MarketStatus phase);
  [[nodiscard]] std::vector<StyledLine> Body(Panel::Clock::time_point now, stock::MarketStatus phase);
  [[nodiscard]] std::vector<StyledLine> HelpLines() const;
  [[nodiscard]] std::vector<StyledLine> Help();
  [[nodiscard]] StyledLine HintLine() const;
  /// The names of the pages, each in a cell of its own.
  [[nodiscard]] StyledLine Tabs() const;
  [[nodiscard]] StyledLine WithKeys(StyledLine line, const std::string& keys) const;
  [[nodiscard]] Area Room() const;
  /// Numbers of the panels of the page, in sight or not.
  [[nodiscard]] std::vector<std::size_t> OnPage() const;
  [[nodiscard]] bool is_too_small() const {
    return size_.columns < kLeast.columns || size_.rows < kLeast.rows;
  }

  std::vector<std::unique_ptr<Panel>> panels_;
  std::vector<Page> pages_;
  const ScreenActions actions_;
  ChartSize size_{0, 0};
  ChartSize shown_as_on_{0, 0};
  std::size_t page_ = 0;
  std::vector<PlacedPart> placed_;
  std::set<std::size_t> shown_;
  std::size_t focus_ = 0;  // number of a panel; of one that is seen if any is
  bool reaches_ = false;   // the focus was moved to it, in sight or not
  std::optional<Finder> finder_;
  bool helps_ = false;
  std::size_t help_first_ = 0;  // line of the help that is seen first
  std::string told_;
  stock::MarketStatus phase_ = stock::kMarketUnknown;  // at the latest interval
  bool asks_once_more_ = false;
};

}  // namespace cli

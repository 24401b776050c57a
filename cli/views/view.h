// One service as people see it: what is asked for, the newest data and how they are doing, the data as lines
// of a table, as a chart, as JSON and as comma-separated values, and what a person can change about them. A
// command shows a view once or again and again, a panel of the live screen draws it, a record asks for all of
// them. A view knows neither a terminal nor a command line. Used by one thread, which `ViewContext::post`
// names.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/format/sheet.h"
#include "cli/format/table.h"
#include "cli/plot/axes.h"
#include "cli/views/feed_health.h"
#include "cli/views/observer.h"
#include "cli/views/securities.h"
#include "cli/views/vocabulary.h"

namespace cli {

/// What a view stands on. Outlives the view.
struct ViewContext {
  Post post;
  std::function<void()> changed = [] {};     ///< something is to be drawn anew
  const Warnings* warnings = nullptr;        ///< null: there are none
  std::chrono::milliseconds interval{3000};  ///< at which views are refreshed while the market is open
  std::uint32_t least_rows = 0;  ///< that a page of a list is asked for, however many are in sight
};

/// Said by views of the current security as long as there is none.
inline constexpr const char* kNothingSelected = "no security is selected; / looks for one";

/// What a person can change about what a view shows, step by step.
enum class Knob { kGroup, kColumn, kDirection, kSpan, kPeriod, kAdjustment };

struct KnobSetting {
  Choices choices;  ///< what the knob can be turned to
  int number = 0;   ///< the one that it is
};

class View {
 public:
  using Clock = FeedHealth::Clock;

  virtual ~View() = default;
  View(const View&) = delete;
  View& operator=(const View&) = delete;

  /// "growth board by change, descending".
  [[nodiscard]] virtual std::string Title() const = 0;
  /// What is asked for, in JSON.
  [[nodiscard]] virtual std::wstring Key() const { return {}; }
  [[nodiscard]] const Feed& feed() const { return feed_; }

  /// Seen from now on: attached, and resumed; what is missing is asked for.
  void Show();
  /// Out of sight: suspended, so that it costs no request. The newest data are kept.
  void Hide();
  [[nodiscard]] bool shown() const { return shown_; }
  /// Asks again, unless an answer is still being waited for.
  void Refresh();
  /// True when the service polls in seconds by itself.
  [[nodiscard]] bool PollsItself() const { return feed_.polls.count() > 0; }

  /// True when the answer stays the same for the day: there is no use in asking again and again.
  [[nodiscard]] virtual bool IsAskedOnce() const { return false; }

  /// The current security is another one. A view that shows something else ignores it.
  virtual void Select(const Security& /*security*/) {}
  /// Those that it has.
  [[nodiscard]] std::vector<Knob> Knobs() const;
  /// Goes on to the next of what the knob changes, or `step` places. False for a view without that knob.
  virtual bool Turn(Knob /*knob*/, int /*step*/) { return false; }
  /// Where the knob stands; nothing for a view without that knob.
  [[nodiscard]] virtual std::optional<KnobSetting> SettingOf(Knob /*knob*/) const { return std::nullopt; }
  /// Turns the knob to `number`. False for a view without that knob, or if it cannot be that.
  bool Set(Knob knob, int number);
  /// The columns that its rows can be ordered by.
  [[nodiscard]] Choices OrderColumns() const;
  /// Orders them by one of those, the largest first, codes and names from A to Z; by the one that they are
  /// ordered by already, the other way round.
  virtual void OrderBy(int /*column*/) {}

  /// How the data are, in words.
  [[nodiscard]] FeedReport Report(Clock::time_point now, stock::MarketStatus phase) const;
  /// What went wrong since the newest data; empty: nothing that is known.
  [[nodiscard]] std::string Failure() const;
  /// Calls `on_arrival` after each arrival of data.
  void OnArrivals(std::function<void()> on_arrival) { on_arrival_ = std::move(on_arrival); }

  [[nodiscard]] virtual bool has_data() const = 0;
  /// When the newest data arrived, by the server's clock.
  [[nodiscard]] virtual std::int64_t server_time() const = 0;
  /// Why there is nothing to ask for at present; empty: there is.
  [[nodiscard]] virtual std::string WhyNothingToAsk() const { return why_nothing_; }
  /// Why there is nothing in the newest data; empty: there is.
  [[nodiscard]] virtual std::string WhyEmpty() const { return {}; }
  /// True for a view in which nothing is an answer like any other.
  [[nodiscard]] virtual bool MayBeEmpty() const { return false; }
  /// The trading day of what is shown, YYYYMMDD; 0: nothing is, or that does not matter.
  [[nodiscard]] virtual std::uint32_t Session() const { return 0; }
  /// A line about the newest data besides them: "20 of 5,299".
  [[nodiscard]] virtual std::string Note() const { return {}; }

  /// The newest data as rows and columns.
  [[nodiscard]] virtual Table AsTable() const { return Table({}); }
  /// The same for people, in at most `width` columns of characters.
  [[nodiscard]] virtual std::vector<StyledLine> Lines(int width) const { return AsTable().Lines(width); }
  /// The newest data with their time, to go on below those of the arrival before; nothing for a view whose
  /// arrivals stand by themselves.
  [[nodiscard]] virtual std::vector<StyledLine> LogLines(bool /*with_header*/) const { return {}; }
  /// The security in each row of the table, if there are any.
  [[nodiscard]] virtual std::vector<Security> Securities() const { return {}; }
  /// What identifies the rows of the table, as far as anything does.
  [[nodiscard]] virtual std::vector<std::wstring> RowKeys() const;
  /// Nothing: this view has no chart.
  [[nodiscard]] virtual std::vector<StyledLine> Chart(const ChartSize& /*size*/) const { return {}; }
  /// The newest data for other programs.
  [[nodiscard]] virtual Sheet AsSheet() const = 0;
  /// One line; the name of the service, key, time and data.
  [[nodiscard]] std::string JsonLine() const;
  /// Names of columns, for those who want to have them explained.
  [[nodiscard]] std::vector<std::string> ColumnNames() const;

 protected:
  View(const ViewContext& context, const Feed& feed);

  [[nodiscard]] const ViewContext& context() const { return context_; }

  /// The feed is another one from now on.
  void SetFeed(const Feed& feed) { feed_ = feed; }
  /// Something of this key has arrived; `nothing` as `FeedHealth` has it.
  void OnArrival(Clock::time_point at, std::string nothing);
  /// What arrived has other figures in it than what came before.
  void OnChange(Clock::time_point at, std::int64_t server_time) { health_.OnChange(at, server_time); }
  void TellArrival() const {
    if (on_arrival_) {
      on_arrival_();
    }
  }
  /// Another key: nothing of it is there yet. Asks for it if the view is shown.
  void Begin();
  /// There is nothing to ask for; `why` says why.
  void BeginNothing(std::string why);

  /// The counts of the feed's endpoint at this moment.
  [[nodiscard]] virtual stock_host::EndpointCounters Counters() const { return CountersOf(feed_.endpoint); }
  /// What is said when an answer came and nothing in it was for the key; empty: goes on waiting.
  [[nodiscard]] virtual std::string NothingText() const { return "the server has no such figures"; }
  /// True when a failure reaches views as an answer with nothing in it.
  [[nodiscard]] virtual bool FailureArrivesEmpty() const { return false; }
  /// The trading day of the data by the clock; empty: nothing is there.
  [[nodiscard]] std::string SessionText() const;

 private:
  /// Makes the observer if there is none, and resumes it. False when the service cannot be made.
  virtual bool ResumeService() = 0;
  virtual void SuspendService() = 0;
  virtual void RefreshService() = 0;

  void Start();
  void Observe(FeedHealth& health) const;

  const ViewContext& context_;
  Feed feed_;
  FeedHealth health_;
  std::string why_nothing_;  // no key; empty: there is one
  bool shown_ = false;
  bool cannot_be_made_ = false;
  Clock::time_point asked_;
  std::uint64_t answered_before_ = 0;
  std::function<void()> on_arrival_;
};

/// "minute line of sh600000 浦发银行", or without a security `what` alone.
[[nodiscard]] std::string TitleOf(const std::string& what, const Security& security);

}  // namespace cli

#include "cli/run/show.h"

#include <unistd.h>

#include <algorithm>
#include <limits>
#include <set>
#include <stdexcept>
#include <utility>

#include "cli/args/option.h"
#include "cli/format/china_time.h"
#include "cli/format/text.h"
#include "cli/run/terminal.h"
#include "host/clock.h"
#include "host_services/stock_host.h"

namespace cli {
namespace {

constexpr std::chrono::milliseconds kLook(50);
constexpr std::chrono::milliseconds kLookWhileFollowing(500);
// Between the end of a request and the call with its answer lies nothing but work: reading, at most
// unpacking.
constexpr std::chrono::milliseconds kAfterFailure(500);
constexpr std::chrono::seconds kAfterSuccess(5);
// A failure that arrives as an answer with nothing in it is counted and logged a moment later.
constexpr std::chrono::milliseconds kUntilLogged(600);
// Views that arrive one by one are shown together, but wait no longer than this for each other.
constexpr std::chrono::milliseconds kLate(1000);

using Clock = std::chrono::steady_clock;

std::string WithoutHeader(const std::string& csv) {
  return csv.substr(std::min(csv.find('\n') + 1, csv.size()));
}

// One table of all views if they have the same columns.
bool HaveOneTable(const Views& views) {
  const auto titles = [](const View& view) { return view.ColumnNames(); };
  return views.size() > 1 && !titles(*views.front()).empty() &&
         std::all_of(views.begin(), views.end(),
                     [&](const auto& view) { return titles(*view) == titles(*views.front()); });
}

class OutputRun : public MarketRun {
 public:
  OutputRun(const ShowOptions& options, Shown shown) : MarketRun(options), shown_(std::move(shown)) {}

 protected:
  void Load() {
    MarketRun::Load(shown_.needs);
    if (shown_.needs == Needs::kNames) {
      AwaitNames(session_.host(), [this] { ShowEarly(*GetStockCommon()); });
    }
  }

  void OnReference(IStockCommon& reference, bool loaded) override {
    if (!views_.empty()) {
      return;  // lists that come late change nothing of what is shown
    }
    if (!loaded && shown_.needs_all) {
      throw std::runtime_error(NotLoadedText(session_));
    }
    if (!loaded && shown_.needs == Needs::kCalendar) {
      Say("the holidays are not known, only weekends" + (LoadFailure().empty() ? "" : ": " + LoadFailure()));
    }
    views_ = shown_.make(context_, reference);
    ShowViews();
  }

  // Whoever is found asks at once. What is not, the end of the load says.
  void ShowEarly(IStockCommon& reference) {
    if (!views_.empty()) {
      return;
    }
    try {
      views_ = shown_.make(context_, reference);
    } catch (const std::runtime_error&) {
      return;
    }
    ShowViews();
  }

  void ShowViews() {
    for (const auto& view : views_) {
      view->OnArrivals([this, shown = view.get()] { OnArrival(*shown); });
    }
    OnViews();
    for (const auto& view : views_) {
      if (!loop_.ended()) {
        view->Show();
      }
    }
  }

  virtual void OnViews() {}
  virtual void OnArrival(View& view) = 0;

  // Of those views that have something in them. `is_first`: nothing was written before.
  [[nodiscard]] std::string TextOf(const Views& views, bool is_first) const {
    std::string text;
    Table together({});
    const bool one_table = HaveOneTable(views);
    for (const auto& view : views) {
      if (!view->has_data()) {
        continue;
      }
      if (options_.json) {
        text += view->JsonLine() + "\n";
      } else if (options_.csv) {
        const std::string csv = view->AsSheet().csv();
        text += is_first && text.empty() ? csv : WithoutHeader(csv);
      } else if (!view->WhyEmpty().empty()) {
        continue;
      } else if (options_.chart) {
        text += cli::TextOf(view->Chart(*options_.chart), palette_);
      } else if (one_table) {
        together = together.columns().empty() ? Table(view->AsTable().columns()) : std::move(together);
        together.Append(view->AsTable());
      } else {
        text += (text.empty() ? "" : "\n") + cli::TextOf(view->Lines(Width()), palette_);
      }
    }
    return together.rows().empty() ? text : text + cli::TextOf(together.Lines(Width()), palette_);
  }

  [[nodiscard]] static int Width() {
    return isatty(STDOUT_FILENO) == 1 ? Terminal::SizeOf(STDOUT_FILENO).columns
                                      : std::numeric_limits<int>::max();
  }

  const Shown shown_;
  Views views_;
};

class Once final : public OutputRun {
 public:
  using OutputRun::OutputRun;

  int Go() {
    Load();
    Loop(kLook);
    return result_;
  }

 private:
  void OnArrival(View& /*view*/) override {
    const auto has_data = [](const auto& view) { return view->has_data(); };
    const auto has_nothing = [](const auto& view) { return !view->WhyEmpty().empty(); };
    if (!std::all_of(views_.begin(), views_.end(), has_data) || std::exchange(ends_, true)) {
      return;
    }
    const bool may_have_failed = std::any_of(views_.begin(), views_.end(), has_nothing);
    loop_.After(may_have_failed ? kUntilLogged : std::chrono::milliseconds(0), [this] { Finish(); });
  }

  void Finish() {
    for (const auto& view : views_) {
      if (view->Report(View::Clock::now(), CurrentPhase()).state == FeedState::kFailed) {
        Fail(*view);
      }
    }
    output_.Write(TextOf(views_, true));
    result_ = kFine;
    for (const auto& view : views_) {
      if (const std::string why = view->WhyEmpty(); !why.empty()) {
        Say(why);
        result_ = view->MayBeEmpty() ? result_ : kFailure;
      } else if (!options_.json && !options_.csv && !view->Note().empty()) {
        Note(view->Note());
      }
    }
    TellSession();
    loop_.End();
  }

  void TellSession() const {
    const std::uint32_t session = views_.empty() ? 0 : views_.front()->Session();
    if (shown_.says_session && session != 0 && views_.front()->WhyEmpty().empty() &&
        (IsClosed(CurrentPhase()) || session != common::GetCurrentServerDate())) {
      Note("the market is closed; these are the figures of " + DateText(session));
    }
  }

  void OnViews() override { quiet_looks_ = 0; }
  void OnEvent() override { quiet_looks_ = 0; }

  void OnLook() override {
    output_.LookForReader();
    const auto quiet = ++quiet_looks_ * kLook;
    if (views_.empty() || quiet < kAfterFailure || loop_.ended() || ends_) {
      return;
    }
    if (stock_host::ReadCounters().under_way > 0) {
      quiet_looks_ = 0;
      return;
    }
    for (const auto& view : views_) {
      const FeedReport report = view->Report(View::Clock::now(), CurrentPhase());
      if (view->has_data()) {
        continue;
      }
      if (const std::string why = view->WhyNothingToAsk(); !why.empty()) {
        throw std::runtime_error(why);
      }
      if (!view->Failure().empty()) {
        Fail(*view);
      }
      if (quiet >= kAfterSuccess) {
        throw std::runtime_error(report.state == FeedState::kEmpty
                                     ? report.text
                                     : session_.server_text() + " has no such figures");
      }
    }
  }

  [[noreturn]] void Fail(const View& view) const {
    throw std::runtime_error(session_.server_text() + ": " + std::string(view.feed().endpoint) +
                             " failed: " + view.Failure());
  }

  // Since the latest exchange. Looks, not time: a machine that is too busy to answer is not quiet.
  int quiet_looks_ = 0;
  bool ends_ = false;
  int result_ = kFailure;
};

class Following final : public OutputRun {
 public:
  using OutputRun::OutputRun;

  int Go() {
    Note("asking " + session_.server_text());
    Load();
    Loop(kLookWhileFollowing);
    return is_empty_ ? kFine : Verdict();
  }

 private:
  void OnViews() override {
    for (const auto& view : views_) {
      const std::string why = view->WhyNothingToAsk();
      if (!why.empty()) {
        is_empty_ = true;
        if (options_.json) {
          output_.WriteLine(view->JsonLine());
        }
        Say(why);
        loop_.End();
      }
    }
    TellState();
  }

  void OnLook() override {
    output_.LookForReader();
    TellState();
  }
  void OnInterval() override {
    for (const auto& view : views_) {
      if (!view->PollsItself() || options_.Interval() < view->feed().polls) {
        view->Refresh();
      }
    }
  }

  void OnArrival(View& view) override {
    const auto now = Clock::now();
    if (loop_.ended() || !view.has_data()) {
      return;
    }
    if (fresh_.count(&view) > 0 && now - began_ > kLate) {
      Show();
    }
    if (fresh_.empty()) {
      began_ = now;
    }
    fresh_.insert(&view);
    if (fresh_.size() == views_.size()) {
      Show();
    }
  }

  // A service that asks by itself, and more often than is wanted, is listened to now and then. A phase is
  // news whenever it comes.
  [[nodiscard]] bool IsWanted(Clock::time_point now) const {
    const Feed& feed = views_.front()->feed();
    const std::chrono::milliseconds early =
        feed.polls.count() == 0 ? options_.Interval() / 4 : feed.polls / 2;
    return !shown_at_ || options_.Interval() <= feed.polls || feed.name == kStateFeed.name ||
           now - *shown_at_ >= options_.Interval() - early;
  }

  void Show() {
    fresh_.clear();
    const auto now = Clock::now();
    if (loop_.ended() || !IsWanted(now)) {
      return;
    }
    shown_at_ = now;
    output_.Write(UpdateText());
    ++updates_;
    TellState();
    if (options_.count && updates_ >= *options_.count) {
      loop_.End();
    }
  }

  [[nodiscard]] std::string UpdateText() const {
    if (options_.json || options_.csv) {
      return TextOf(views_, updates_ == 0);
    }
    const View& first = *views_.front();
    if (const auto log = first.LogLines(updates_ == 0); !log.empty()) {
      return cli::TextOf(log, palette_);
    }
    const std::string title = views_.size() == 1 ? first.Title() : "quotes";
    std::string text = (updates_ > 0 ? "\n" : "") +
                       Render({{DateAndTime(first.server_time()) + "  " + title, Tone::kDim}}, palette_) +
                       "\n" + TextOf(views_, false);
    if (views_.size() == 1 && !first.Note().empty()) {
      text += Render({{first.Note(), Tone::kDim}}, palette_) + "\n";
    }
    return text;
  }

  [[nodiscard]] FeedReport Report() const {
    return views_.empty() ? FeedReport{FeedState::kWaiting, "waiting for data"}
                          : views_.front()->Report(View::Clock::now(), CurrentPhase());
  }

  // A state is said once; a stale one grows older without being said again, but a new reason is news.
  void TellState() {
    if (is_empty_) {
      return;
    }
    const FeedReport report = Report();
    const std::string news = std::to_string(static_cast<int>(report.state)) +
                             (report.state == FeedState::kStale ? views_.front()->Failure() : report.text);
    if (news != told_) {
      told_ = news;
      Note(report.text);
    }
  }

  int Verdict() {
    if (!timed_out_) {
      return kFine;
    }
    if (updates_ == 0) {
      const std::string reason = views_.empty() ? NotLoadedReason(session_.warnings()) : std::string();
      Say("nothing arrived: " + (reason.empty() ? Report().text : "no data: " + reason));
      return kFailure;
    }
    if (options_.count && updates_ < *options_.count) {
      Say("only " + std::to_string(updates_) + " of " + std::to_string(*options_.count) + " updates arrived");
      return kFailure;
    }
    return kFine;
  }

  std::set<const View*> fresh_;  // arrived since the last time that all were shown
  Clock::time_point began_;      // when the first of them did
  std::optional<Clock::time_point> shown_at_;
  std::uint64_t updates_ = 0;
  bool is_empty_ = false;
  std::string told_;
};

}  // namespace

int ShowOnce(const ShowOptions& options, const Shown& shown) {
  return Once(options, shown).Go();
}

int Follow(const ShowOptions& options, const Shown& shown) {
  return Following(options, shown).Go();
}

}  // namespace cli

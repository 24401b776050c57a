#include "cli/screen/live_run.h"

#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "c_stock_market.h"
#include "cli/args/option.h"
#include "cli/run/terminal.h"
#include "cli/screen/curses_display.h"
#include "cli/screen/index_bar.h"
#include "cli/screen/page.h"
#include "cli/screen/screen.h"
#include "cli/screen/view_panel.h"
#include "cli/views/securities.h"
#include "cli/views/selection.h"

namespace cli {
namespace {

constexpr std::chrono::milliseconds kBetweenLooks(500);
constexpr std::size_t kMostMatches = 50;
constexpr int kViewColumns = 31;
constexpr int kViewRows = 5;
// The largest terminal that a record of the screen can be shown on.
constexpr ChartSize kRecordedFor{300, 100};

class LiveRun final : public MarketRun {
 public:
  // With `shown` nothing but its views, side by side as far as there is room.
  LiveRun(const ShowOptions& options, const Shown* shown)
      : MarketRun(options),
        shown_(shown),
        panels_{ContextOf(context_), [this](const Security& security) { selection_.Select(security); },
                [this](std::string text) { Tell(std::move(text)); },
                [this](std::vector<BaseInfoItem> list) { selection_.StepThrough(std::move(list)); }},
        bar_(panels_.views, session_,
             shown == nullptr ? IndexBar::Shows::kIndices : IndexBar::Shows::kStateOnly),
        screen_(shown == nullptr ? MakePanels(panels_) : std::vector<std::unique_ptr<Panel>>(),
                shown == nullptr ? Pages() : std::vector<Page>(), Actions()),
        selection_(Made(GetCurrentStock(), "current_stock"),
                   [this](const Security& security) { OnSelection(security); }) {}

  int Run() {
    if (Session::IsRecorded()) {
      screen_.ShowAsOn(kRecordedFor);
    }
    TakeTerminal();
    LoadReference();
    Redraw();
    Loop(kBetweenLooks);
    return Leave();
  }

 private:
  static ViewContext ContextOf(ViewContext context) {
    context.least_rows = Session::IsRecorded() ? static_cast<std::uint32_t>(kRecordedFor.rows) : 0;
    return context;
  }

  void OnEvent() override { Redraw(); }
  void OnChange() override { Redraw(); }
  void OnLook() override {
    output_.LookForReader();
    Redraw();
  }
  void OnInterval() override { screen_.OnInterval(CurrentPhase()); }

  ScreenActions Actions() {
    return {[this] { loop_.End(); },
            [this] { selection_.Next(); },
            [this] { selection_.Previous(); },
            [this](const Security& security) { selection_.Select(security); },
            [this](const std::wstring& text) { return Find(text); },
            [this] { bar_.Refresh(); }};
  }

  // A signal may be looked at in the middle of a write: what it asks for is done after that.
  void TakeTerminal() {
    display_ = std::make_unique<CursesDisplay>(STDIN_FILENO, WantsColour(STDOUT_FILENO, options_.no_color));
    terminal_ = std::make_unique<Terminal>(STDIN_FILENO, STDOUT_FILENO);
    loop_.OnReadable(STDIN_FILENO, [this] { return OnKeys(); });
    loop_.OnSignal(SIGWINCH, [this] { Redraw(); });
    loop_.OnSignal(SIGTSTP, [this] { loop_.Post([this] { Pause(); }); });
  }

  // Stepping and the finder need the lists, whatever the views do.
  void LoadReference() {
    Load(Needs::kLists);
    if (shown_ != nullptr && shown_->needs == Needs::kNothing) {
      loop_.Post([this] { OpenShown(); });
    }
  }

  void OnReference(IStockCommon& /*reference*/, bool loaded) override {
    if (loaded) {
      not_loaded_.clear();
      selection_.OnReferenceData();
    } else {
      not_loaded_ = NotLoadedText(session_);
      Tell(not_loaded_);
    }
    if (shown_ != nullptr && (loaded || !shown_->needs_all)) {
      OpenShown();
    }
    bar_.FollowPhase();
    Redraw();
  }

  void OpenShown() {
    if (views_ > 0) {
      return;
    }
    std::vector<std::unique_ptr<Panel>> panels;
    Page page{"", {}};
    for (std::unique_ptr<View>& view : shown_->make(panels_.views, *GetStockCommon())) {
      page.columns.push_back({kViewColumns, 1, {{panels.size(), kViewRows}}});
      panels.push_back(PanelFor(panels_, std::move(view)));
    }
    views_ = panels.size();
    screen_.Open(std::move(panels), {page});
    Redraw();
  }

  // Several views have securities of their own.
  void OnSelection(const Security& security) {
    if (shown_ == nullptr || views_ == 1) {
      screen_.Select(security);
    }
    Redraw();
  }

  [[nodiscard]] Findings Find(const std::wstring& text) const {
    if (!not_loaded_.empty()) {
      return {{}, not_loaded_};
    }
    Findings findings;
    const SecurityLists lists(*GetStockCommon());
    for (const Match& match : lists.Find(text, kMostMatches)) {
      findings.matches.push_back(SecurityOf(match.item->code, match.item->name));
    }
    return findings;
  }

  void Tell(std::string text) {
    screen_.Tell(std::move(text));
    Redraw();
  }

  // Whatever arrives at the same time is drawn once.
  void Redraw() {
    if (!std::exchange(is_dirty_, true)) {
      loop_.Post([this] { Draw(); });
    }
  }

  // How the figures are that the head speaks of.
  [[nodiscard]] FeedReport Report(View::Clock::time_point now, stock::MarketStatus phase) const {
    if (shown_ == nullptr) {
      return bar_.Report(now, phase);
    }
    const std::vector<Panel*> seen = screen_.Seen();
    if (seen.empty()) {
      return {FeedState::kWaiting, views_ > 0            ? "paused while the help is open"
                                   : not_loaded_.empty() ? "waiting for data"
                                                         : not_loaded_};
    }
    return seen.front()->Report(now, phase);
  }

  void Draw() {
    is_dirty_ = false;
    if (loop_.ended()) {
      return;
    }
    const ChartSize size = terminal_->size();
    screen_.Resize(size);
    const auto now = Panel::Clock::now();
    const stock::MarketStatus phase = CurrentPhase();
    const ScreenHead head = bar_.Head(Report(now, phase), phase, size.columns);
    output_.Write(display_->Difference(screen_.Picture(head, now, phase), size));
  }

  bool OnKeys() {
    const auto keys = display_->ReadKeys();
    if (!keys) {
      return false;  // no more keys; the screen goes on
    }
    for (const Key& key : *keys) {
      screen_.OnKey(key);
    }
    Redraw();
    return true;
  }

  void Pause() {
    terminal_->Leave();
    kill(getpid(), SIGSTOP);
    terminal_->Enter();
    display_->Forget();
    Draw();
  }

  int Leave() {
    const ChartSize size = terminal_->size();
    const FeedReport report = Report(View::Clock::now(), CurrentPhase());
    std::vector<StyledLine> newest = bar_.Table();
    for (Panel* const panel : shown_ == nullptr ? std::vector<Panel*>() : screen_.Seen()) {
      const auto lines = panel->Picture(size);
      newest.insert(newest.end(), lines.begin(), lines.end());
    }
    display_.reset();
    terminal_.reset();
    WriteLast(STDOUT_FILENO, TextOf(newest, palette_));
    if (timed_out_ && newest.empty()) {
      Say("nothing arrived: " + report.text);
      return kFailure;
    }
    return kFine;
  }

  const Shown* const shown_;
  bool is_dirty_ = false;
  PanelContext panels_;
  IndexBar bar_;
  Screen screen_;
  Selection selection_;
  std::unique_ptr<Terminal> terminal_;
  std::unique_ptr<CursesDisplay> display_;
  std::string not_loaded_ = "the lists are being loaded";  // why nothing can be looked up; empty: it can
  std::size_t views_ = 0;                                  // of `shown_`
};

}  // namespace

bool CanShowLiveScreen() {
  const char* const kind = std::getenv("TERM");
  return isatty(STDOUT_FILENO) == 1 && kind != nullptr && *kind != '\0' && std::strcmp(kind, "dumb") != 0 &&
         KnowsTerminalKind();
}

bool IsForLiveScreen(const ShowOptions& options) {
  return !options.json && !options.csv && !options.count && CanShowLiveScreen();
}

int RunLiveScreen(const ShowOptions& options) {
  return LiveRun(options, nullptr).Run();
}

int RunViewsOnScreen(const ShowOptions& options, const Shown& shown) {
  return LiveRun(options, &shown).Run();
}

}  // namespace cli

#include "cli/screen/live_run.h"

#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "c_stock_market.h"
#include "cli/command.h"
#include "cli/follow.h"
#include "cli/screen/curses_display.h"
#include "cli/screen/index_bar.h"
#include "cli/screen/pages.h"
#include "cli/screen/screen.h"
#include "cli/screen/selection.h"
#include "cli/screen/terminal_kind.h"
#include "cli/securities.h"
#include "cli/terminal.h"

namespace cli {
namespace {

constexpr std::chrono::milliseconds kLook(500);
constexpr std::size_t kMostMatches = 50;

class LiveRun {
 public:
  explicit LiveRun(const WatchOptions& options)
      : options_(options),
        output_(loop_, STDOUT_FILENO),
        palette_(WantsColour(STDOUT_FILENO, options.no_color)),
        session_(options.session),
        bar_(loop_, session_, options.Interval(), [this] { Redraw(); }),
        context_{loop_,
                 [this] { Redraw(); },
                 [this](const Security& security) { selection_.Select(security); },
                 [this](std::string text) { Tell(std::move(text)); },
                 &session_.log(),
                 options.Interval(),
                 [this](std::vector<BaseInfoItem> list) { selection_.StepThrough(std::move(list)); }},
        screen_(MakePanels(context_), Pages(), Actions()),
        selection_(CurrentStock(), [this](const Security& security) { OnSelection(security); }) {}

  int Run();

 private:
  static ICurrentStock& CurrentStock() {
    ICurrentStock* const current = GetCurrentStock();
    if (current == nullptr) {
      throw std::runtime_error("the current stock cannot be made");
    }
    return *current;
  }

  ScreenActions Actions() {
    return {[this] { loop_.End(); },
            [this] { selection_.Next(); },
            [this] { selection_.Previous(); },
            [this](const Security& security) { selection_.Select(security); },
            [this](const std::wstring& text) { return Find(text); },
            [this] { bar_.Refresh(); }};
  }

  void TakeTerminal();
  void LoadReference();
  void OnReference(bool loaded);
  void OnSelection(const Security& security);
  [[nodiscard]] Findings Find(const std::wstring& text) const;
  void Tell(std::string text);
  void Redraw();
  void Draw();
  bool OnKeys();
  void Pause();
  int Leave();

  const WatchOptions options_;
  MainLoop loop_;
  Output output_;
  const Palette palette_;
  Session session_;
  bool is_dirty_ = false;
  IndexBar bar_;
  PanelContext context_;
  Screen screen_;
  Selection selection_;
  std::unique_ptr<Terminal> terminal_;
  std::unique_ptr<CursesDisplay> display_;
  std::string not_loaded_ = "the lists are being loaded";  // why nothing can be looked up; empty: it can
  bool timed_out_ = false;
};

int LiveRun::Run() {
  TakeTerminal();
  LoadReference();
  loop_.Every(kLook, [this] {
    output_.LookForReader();
    bar_.Observe();
    Redraw();
  });
  loop_.Every(options_.Interval(), [this] { screen_.OnInterval(CurrentPhase()); });
  if (options_.seconds) {
    loop_.After(std::chrono::milliseconds(std::llround(*options_.seconds * 1000)), [this] {
      timed_out_ = true;
      loop_.End();
    });
  }
  Redraw();
  loop_.Run();
  return Leave();
}

// A signal may be looked at in the middle of a write: what it asks for is done after that.
void LiveRun::TakeTerminal() {
  display_ = std::make_unique<CursesDisplay>(STDIN_FILENO, WantsColour(STDOUT_FILENO, options_.no_color));
  terminal_ = std::make_unique<Terminal>(STDIN_FILENO, STDOUT_FILENO);
  loop_.OnReadable(STDIN_FILENO, [this] { return OnKeys(); });
  loop_.OnSignal(SIGWINCH, [this] { Redraw(); });
  loop_.OnSignal(SIGTSTP, [this] { loop_.Post([this] { Pause(); }); });
}

void LiveRun::LoadReference() {
  LoadReferenceData(loop_, Made(GetStockCommon(), kReferenceFeed), Needs::kLists,
                    [this](bool loaded) { OnReference(loaded); });
}

void LiveRun::OnReference(bool loaded) {
  if (loaded) {
    not_loaded_.clear();
    selection_.OnReferenceData();
  } else {
    not_loaded_ = NotLoadedText(session_);
    Tell(not_loaded_);
  }
  bar_.FollowPhase();
  Redraw();
}

void LiveRun::OnSelection(const Security& security) {
  screen_.Select(security);
  Redraw();
}

Findings LiveRun::Find(const std::wstring& text) const {
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

void LiveRun::Tell(std::string text) {
  screen_.Tell(std::move(text));
  Redraw();
}

// Whatever arrives at the same time is drawn once.
void LiveRun::Redraw() {
  if (!std::exchange(is_dirty_, true)) {
    loop_.Post([this] { Draw(); });
  }
}

void LiveRun::Draw() {
  is_dirty_ = false;
  if (loop_.ended()) {
    return;
  }
  const Terminal::Size terminal = terminal_->size();
  const ChartSize size{terminal.columns, terminal.rows};
  screen_.Resize(size);
  const auto now = Panel::Clock::now();
  const stock::MarketStatus phase = CurrentPhase();
  output_.Write(display_->Difference(screen_.Picture(bar_.Head(now, phase, size.columns), now, phase), size));
}

bool LiveRun::OnKeys() {
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

void LiveRun::Pause() {
  terminal_->Leave();
  kill(getpid(), SIGSTOP);
  terminal_->Enter();
  display_->Forget();
  Draw();
}

int LiveRun::Leave() {
  display_.reset();
  terminal_.reset();
  WriteLast(STDOUT_FILENO, TextOf(bar_.Table(), palette_));
  if (timed_out_ && !bar_.has_data()) {
    bar_.Observe();
    Say("nothing arrived: " + bar_.StateText(FeedHealth::Clock::now(), CurrentPhase()));
    return kFailure;
  }
  return kFine;
}

}  // namespace

bool CanShowLiveScreen() {
  return CanBeRedrawn() && KnowsTerminalKind();
}

int RunLiveScreen(const WatchOptions& options) {
  return LiveRun(options).Run();
}

}  // namespace cli

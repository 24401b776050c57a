#include "desktop/desk.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "c_stock_market.h"
#include "cli/format/china_time.h"
#include "cli/format/text.h"
#include "cli/run/reference_load.h"
#include "cli/views/feed_health.h"
#include "desktop/pane.h"
#include "desktop/theme.h"
#include "desktop/words.h"

namespace desktop {
namespace {

constexpr std::chrono::milliseconds kTick(500);
constexpr std::chrono::milliseconds kSetupLook(1500);  // after the first picture
constexpr double kClockTolerance = 240;                // seconds; servers refuse signatures beyond 300

QString SettingsFile(const Options& options) {
  if (!options.screenshot.empty() || options.measure) {
    return QStringLiteral("/dev/null");  // neither remembers nor is remembered
  }
  const std::string chosen = stock_host::LoadSettings().config_directory;
  const QString directory =
      chosen.empty()
          ? QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + QStringLiteral("/csm")
          : Text(chosen);
  return directory + QStringLiteral("/desktop.ini");
}

}  // namespace

Desk::Desk(const Options& options)
    : options_(options),
      settings_(std::make_unique<QSettings>(SettingsFile(options), QSettings::IniFormat)),
      context_{[this](std::function<void()> work) { thread_.Post(std::move(work)); }, [] {}, nullptr,
               std::chrono::milliseconds(std::llround(options.interval * 1000))},
      why_no_lists_(Word("The lists are being loaded", "正在载入证券列表")) {
  thread_.TakeSignals();
  session_ = std::make_unique<cli::Session>(options.session, thread_);
  context_.warnings = &session_->warnings();
  selection_ = std::make_unique<cli::Selection>(cli::Made(GetCurrentStock(), "current_stock"),
                                                [this](const cli::Security& security) {
                                                  current_ = security;
                                                  Q_EMIT selected();
                                                });
  connect(&thread_, &UiThread::failed, this, &Desk::told);
  const auto was = [this](const char* key, const std::string& asked, const char* usual) {
    return asked.empty() ? settings_->value(Text(key), Text(usual)).toString() : Text(asked);
  };
  SetTheme(MakeTheme(was("theme", options.theme, "dark") == QLatin1String("dark"),
                     was("rises", options.rises, "red") == QLatin1String("green")));
  LoadReference();
  connect(&ticks_, &QTimer::timeout, this, [this] {
    for (Pane* const pane : panes_) {
      pane->ShowState();
    }
    SelectSomething();
    Q_EMIT ticked();
  });
  ticks_.start(kTick);
  connect(&interval_, &QTimer::timeout, this, &Desk::OnInterval);
  interval_.start(context_.interval);
  QTimer::singleShot(kSetupLook, this, [this] {
    findings_ = stock_host::ExamineSetup();
    Q_EMIT ticked();
  });
  QCoreApplication::instance()->installEventFilter(this);
}

void Desk::LoadReference() {
  IStockCommon& reference = cli::Made(GetStockCommon(), "stock_common");
  cli::LoadReferenceData(session_->host(), reference, cli::Needs::kLists, [this, &reference](bool loaded) {
    is_loading_ = false;
    if (!loaded) {
      why_no_lists_ = Text(cli::NotLoadedText(*session_));
      Tell(why_no_lists_);
      return;
    }
    why_no_lists_.clear();
    lists_ = std::make_unique<cli::SecurityLists>(reference);
    if (!options_.symbol.empty() && current_.code.empty()) {
      try {
        selection_->Select(cli::FindSecurity(reference, options_.symbol));
      } catch (const std::exception& wrong) {
        Tell(cli::Printable(std::string(wrong.what())));
      }
    }
    selection_->OnReferenceData();
    Q_EMIT listsLoaded();
    // What was asked for first was asked by this machine's clock: the server's may stand on another day.
    RefreshAll();
  });
}

void Desk::StepThrough(const QObject* pane, std::function<std::vector<BaseInfoItem>()> list) {
  steps_in_ = pane;
  steps_ = std::move(list);
  if (current_.code.empty()) {
    selection_->StepThrough(steps_());
  }
}

const Pane* Desk::Unsettled() const {
  const auto found =
      std::ranges::find_if(panes_, [](const Pane* pane) { return pane->seen() && !pane->IsSettled(); });
  return found == panes_.end() ? nullptr : *found;
}

// Where no list in sight has selected its first row it is the first stock of all.
void Desk::SelectSomething() {
  if (lists_ != nullptr && current_.code.empty() && Unsettled() == nullptr) {
    const std::vector<BaseInfoItem> stocks = cli::Made(GetStockCommon(), "stock_common").GetStockList(1);
    if (!stocks.empty()) {
      Select(cli::SecurityOf(stocks.front().code, stocks.front().name));
    }
  }
}

void Desk::Step(int direction) {
  if (steps_in_ != nullptr) {
    selection_->StepThrough(steps_());
  }
  direction > 0 ? selection_->Next() : selection_->Previous();
}

// A window was minimised or shown again.
bool Desk::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::WindowStateChange) {
    for (Pane* const pane : panes_) {
      pane->UpdateSeen();
    }
  }
  return QObject::eventFilter(watched, event);
}

void Desk::Refresh(bool at_interval) {
  for (Pane* const pane : panes_) {
    pane->Refresh(at_interval);
  }
}

// When a phase begins everything is asked for, and once more at the next interval: servers may be late.
void Desk::OnInterval() {
  const stock::MarketStatus now = cli::CurrentPhase();
  const stock::MarketStatus before = std::exchange(phase_, now);
  const bool is_new = before != now && before != stock::kMarketUnknown;
  if (std::exchange(asks_once_more_, is_new) || is_new) {
    RefreshAll();
  } else if (!cli::IsClosed(now)) {
    Refresh(true);
  }
}

void Desk::ChooseTheme(bool is_dark, bool green_up) {
  settings_->setValue(QStringLiteral("theme"), is_dark ? QStringLiteral("dark") : QStringLiteral("light"));
  settings_->setValue(QStringLiteral("rises"), green_up ? QStringLiteral("green") : QStringLiteral("red"));
  SetTheme(MakeTheme(is_dark, green_up));
  Q_EMIT themeChanged();
}

Desk::Verdict Desk::Doctor() const {
  Verdict verdict;
  QStringList wrong;
  for (const stock_host::Finding& finding : findings_) {
    // A market of our own, or a record, needs neither.
    if (!session_->badge().empty() && (finding.subject == "key" || finding.subject == "server address")) {
      continue;
    }
    const bool good = finding.state == stock_host::Finding::State::kGood;
    const std::string text = finding.subject + ": " + finding.text;
    const std::string advice = finding.advice.empty() ? "" : ". " + finding.advice;
    if (!good) {
      wrong << Text(cli::Printable(text));
    }
    verdict.details += (good ? QStringLiteral("ok  ") : QStringLiteral("!  ")) +
                       Text(cli::Printable(text + advice)) + QLatin1Char('\n');
  }
  const auto add = [&](const QString& text) {
    wrong.prepend(text);
    verdict.details += text + QLatin1Char('\n');
  };
  const stock_host::ServerClockState clock = stock_host::ReadServerClock();
  if (session_->badge().empty() && clock.known && std::abs(clock.ahead) > kClockTolerance) {
    add(Word("this machine's clock is wrong by %1", "本机时钟误差 %1")
            .arg(Text(cli::ClockDifference(clock.ahead))));
  }
  if (stock_host::ConnectionState() == stock_host::Connection::kFailing) {
    add(Text(cli::NotLoadedReason(session_->warnings())));
  }
  if (!HasChineseFont()) {
    add(Word("no font for Chinese; Debian: fonts-wqy-microhei", "缺少中文字体：fonts-wqy-microhei"));
  }
  verdict.good = wrong.isEmpty();
  verdict.text = wrong.isEmpty()     ? Word("all well", "一切正常")
                 : wrong.size() == 1 ? wrong.front()
                                     : Word("%1 things are wrong: %2", "%1 项异常：%2")
                                           .arg(QString::number(wrong.size()), wrong.front());
  return verdict;
}

}  // namespace desktop

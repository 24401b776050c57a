// What all windows of the viewer stand on: the session, the current security, the user's settings, and the
// panes that are open, which it asks to look at the clock. Main thread only.
#pragma once

#include <QtCore/QtCore>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cli/views/securities.h"
#include "cli/views/selection.h"
#include "cli/views/view.h"
#include "cli/views/watch_list_edits.h"
#include "desktop/adapter.h"
#include "desktop/options.h"

namespace desktop {

class Pane;

class Desk final : public QObject {
  Q_OBJECT

 public:
  /// Starts the session. Throws std::runtime_error with a text for a person.
  explicit Desk(const Options& options);

  [[nodiscard]] const Options& options() const { return options_; }
  [[nodiscard]] UiThread& thread() { return thread_; }
  [[nodiscard]] const cli::ViewContext& views() const { return context_; }
  [[nodiscard]] const cli::Session& session() const { return *session_; }
  [[nodiscard]] QSettings& settings() { return *settings_; }
  [[nodiscard]] cli::WatchListEdits& watch_list() { return edits_; }
  /// The lists of securities; null until they are loaded.
  [[nodiscard]] const cli::SecurityLists* lists() const { return lists_.get(); }
  [[nodiscard]] const QString& why_no_lists() const { return why_no_lists_; }
  /// Until they are there, or the first tries have failed.
  [[nodiscard]] bool is_loading() const { return is_loading_; }

  [[nodiscard]] const cli::Security& current() const { return current_; }
  void Select(const cli::Security& security) { selection_->Select(security); }
  /// Page Up and Page Down step through what `list` gives from now on, for as long as `pane` lives.
  void StepThrough(const QObject* pane, std::function<std::vector<BaseInfoItem>()> list);
  void Step(int direction);
  /// The first row of a list that is shown, for what has nothing to show else.
  void Suggest(const cli::Security& security) { Q_EMIT suggested(security); }
  /// Says something in the status bars.
  void Tell(const QString& text) { Q_EMIT told(text); }
  void Tell(const std::string& utf8) { Q_EMIT told(QString::fromStdString(utf8)); }

  void Register(Pane& pane) { panes_.push_back(&pane); }
  void Unregister(Pane& pane) { std::erase(panes_, &pane); }
  [[nodiscard]] const std::vector<Pane*>& panes() const { return panes_; }
  /// One in sight that still waits for figures; null: there is none.
  [[nodiscard]] const Pane* Unsettled() const;
  /// Asks for everything that is in sight now.
  void RefreshAll() { Refresh(false); }

  /// Colours as chosen, kept for the next time.
  void ChooseTheme(bool is_dark, bool green_up);
  /// What the setup, the connection and the clock are like, in a few words; `details` for a tool tip.
  struct Verdict {
    bool good = true;
    QString text;
    QString details;
  };
  [[nodiscard]] Verdict Doctor() const;

 Q_SIGNALS:
  void selected();
  void suggested(const cli::Security& security);
  void told(const QString& text);
  void listsLoaded();
  void themeChanged();
  /// Twice a second, for what shows an age.
  void ticked();

 private:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void LoadReference();
  void SelectSomething();
  void OnInterval();
  void Refresh(bool at_interval);

  const Options options_;
  UiThread thread_;
  const QTemporaryDir scratch_;
  std::unique_ptr<QSettings> settings_;
  std::unique_ptr<cli::Session> session_;
  cli::ViewContext context_;
  cli::WatchListEdits edits_{"Ctrl+Z"};
  cli::Security current_;
  std::unique_ptr<cli::Selection> selection_;
  std::unique_ptr<cli::SecurityLists> lists_;
  QString why_no_lists_;
  bool is_loading_ = true;
  std::vector<Pane*> panes_;
  QPointer<const QObject> steps_in_;
  std::function<std::vector<BaseInfoItem>()> steps_;
  std::vector<stock_host::Finding> findings_;
  QTimer ticks_;
  QTimer interval_;
  stock::MarketStatus phase_ = stock::kMarketUnknown;
  bool asks_once_more_ = false;
};

}  // namespace desktop

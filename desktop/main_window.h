// The windows: the main one with its pages, index strip and status bar, and windows of one pane each, as many
// of a kind as one likes. Main thread only.
#pragma once

#include <QtWidgets/QtWidgets>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include "desktop/finder.h"
#include "desktop/index_strip.h"
#include "desktop/page.h"

namespace desktop {

/// One pane that stays with its security.
class PaneWindow final : public QWidget {
 public:
  PaneWindow(Desk& desk, const PaneKind& kind, const cli::Security& security, int number);
  [[nodiscard]] const PaneKind& kind() const { return kind_; }
  [[nodiscard]] Pane& pane() { return *pane_; }

 private:
  const PaneKind& kind_;
  Pane* pane_;
};

class MainWindow final : public QMainWindow {
 public:
  explicit MainWindow(Desk& desk);

  /// Makes the page if need be.
  void ShowPage(std::string_view name);
  [[nodiscard]] Page& page() const { return static_cast<Page&>(*stack_->currentWidget()); }
  [[nodiscard]] IndexStrip& indices() const { return *indices_; }
  [[nodiscard]] Finder& finder() const { return *finder_; }
  PaneWindow& OpenWindow(const PaneKind& kind, const cli::Security& security);
  [[nodiscard]] const std::vector<std::unique_ptr<PaneWindow>>& windows() const { return windows_; }
  /// Keeps what the user has arranged.
  void Save();

 private:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void MakePageBar();
  void MakeMenu(QMenu& menu);
  void SayStatus();
  void ForgetClosed();
  void ReopenWindows();

  Desk& desk_;
  IndexStrip* indices_;
  QStackedWidget* stack_;
  Finder* finder_;
  QLabel* badge_;
  QLabel* connection_;
  QLabel* clock_;
  QLabel* doctor_;
  std::map<std::string_view, Page*> pages_;
  std::map<std::string_view, QAction*> page_actions_;
  std::vector<std::unique_ptr<PaneWindow>> windows_;
};

}  // namespace desktop

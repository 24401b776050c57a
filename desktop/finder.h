// Finds a security by what is typed anywhere: a piece of a code, of a name or of the pinyin initials. Main
// thread only.
#pragma once

#include <QtWidgets/QtWidgets>
#include <vector>

#include "desktop/desk.h"

namespace desktop {

class Finder final : public QFrame {
 public:
  Finder(Desk& desk, QWidget* window);

  /// Opens it with the first letter that was typed.
  void Open(const QString& text);
  [[nodiscard]] QListWidget& matches() { return *list_; }

 private:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void Look();
  void Choose();

  Desk& desk_;
  QLineEdit* const line_;
  QListWidget* const list_;
  QLabel* const reason_;
  std::vector<cli::Security> matches_;
};

}  // namespace desktop

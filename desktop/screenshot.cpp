#include "desktop/screenshot.h"

#include <QtGui/QPixmap>
#include <QtWidgets/QApplication>
#include <chrono>
#include <memory>

#include "cli/run/output.h"
#include "desktop/words.h"

namespace desktop {
namespace {

constexpr std::chrono::milliseconds kLook(100);
constexpr int kMostLooks = 200;
constexpr int kSmallest = 0;     // of PNG
constexpr int kLooksAtRest = 8;  // settled for so long, so that flashes are over and the status is said

struct Waiting {
  int looks = 0;
  int at_rest = 0;
};

void Look(Desk& desk, MainWindow& window, const std::shared_ptr<Waiting>& waiting) {
  QString missing = desk.is_loading() ? QStringLiteral("the lists of securities") : QString();
  for (const Pane* const pane : desk.panes()) {
    if (pane->seen() && !pane->IsSettled()) {
      missing = pane->id();
    }
  }
  waiting->at_rest = missing.isEmpty() ? waiting->at_rest + 1 : 0;
  if (waiting->at_rest < kLooksAtRest && ++waiting->looks < kMostLooks) {
    desk.thread().After(kLook, [&desk, &window, waiting] { Look(desk, window, waiting); });
    return;
  }
  const QString file = Text(desk.options().screenshot);
  int code = 0;
  if (!window.grab().save(file, "PNG", kSmallest)) {
    cli::Say("cannot write " + desk.options().screenshot);
    code = 1;
  } else if (!missing.isEmpty()) {
    cli::Say("nothing arrived for " + missing.toStdString());
    code = 1;
  }
  QApplication::exit(code);
}

}  // namespace

void TakeScreenshot(Desk& desk, MainWindow& window) {
  Look(desk, window, std::make_shared<Waiting>());
}

}  // namespace desktop

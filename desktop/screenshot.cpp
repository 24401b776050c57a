#include "desktop/screenshot.h"

#include <QtCore/QTimer>
#include <QtGui/QPixmap>
#include <QtWidgets/QApplication>
#include <chrono>

#include "cli/run/output.h"
#include "desktop/words.h"

namespace desktop {
namespace {

constexpr std::chrono::milliseconds kLook(100);
constexpr int kMostLooks = 200;
constexpr int kSmallest = 0;     // of PNG
constexpr int kLooksAtRest = 8;  // settled for so long, so that flashes are over and the status is said

}  // namespace

void TakeScreenshot(Desk& desk, MainWindow& window) {
  auto* const timer = new QTimer(&window);
  QObject::connect(
      timer, &QTimer::timeout, &window, [&desk, &window, timer, looks = 0, at_rest = 0]() mutable {
        const Pane* const pane = desk.Unsettled();
        const QString missing = pane != nullptr     ? pane->id()
                                : desk.is_loading() ? QStringLiteral("the lists of securities")
                                                    : QString();
        at_rest = missing.isEmpty() ? at_rest + 1 : 0;
        if (at_rest < kLooksAtRest && ++looks < kMostLooks) {
          return;
        }
        timer->stop();
        const bool written = window.grab().save(Text(desk.options().screenshot), "PNG", kSmallest);
        if (!written) {
          cli::Say("cannot write " + desk.options().screenshot);
        } else if (!missing.isEmpty()) {
          cli::Say("nothing arrived for " + missing.toStdString());
        }
        QApplication::exit(written && missing.isEmpty() ? 0 : 1);
      });
  timer->start(kLook);
}

}  // namespace desktop

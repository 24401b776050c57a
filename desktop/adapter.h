// The bridge between the module's services and Qt, and the only file that knows both threads: what services
// say on threads of their own is carried out in Qt's event loop, in its order. Views say there that their
// data are others.
#pragma once

#include <signal.h>

#include <QtCore/QObject>

#include "cli/run/main_loop.h"

namespace desktop {

/// The thread of the user interface. Made on it; outlives everything that posts to it.
class UiThread final : public QObject, public cli::Schedule {
  Q_OBJECT

 public:
  /// Work that is left when the event loop ends is not done.
  void Post(std::function<void()> work) override;
  void After(std::chrono::milliseconds delay, std::function<void()> work) override;

  /// From now on SIGINT, SIGTERM and SIGHUP wait until `TakeSignals`. Before any thread is started, and so
  /// before the application is made: a window system has threads, and each of them could be killed for all.
  /// Returns these signals.
  static sigset_t HoldSignals();
  /// They come as `ended` instead of killing the process.
  void TakeSignals();

 Q_SIGNALS:
  void ended();
  /// A piece of posted work took so long.
  void worked(qint64 nanoseconds);
  /// It threw: `text` is what for.
  void failed(const QString& text);

 private:
  void Do(const std::function<void()>& work);
};

}  // namespace desktop

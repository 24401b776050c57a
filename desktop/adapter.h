// The bridge between the module's views and Qt, and the only file that knows both threads: what services say
// on threads of their own is carried out in Qt's event loop, in its order, and comes out as signals.
#pragma once

#include <QtCore/QObject>
#include <chrono>
#include <functional>
#include <memory>

#include "cli/run/main_loop.h"
#include "cli/views/view.h"

namespace desktop {

/// The thread of the user interface. Made on it; outlives everything that posts to it.
class UiThread final : public QObject, public cli::Schedule {
  Q_OBJECT

 public:
  UiThread() = default;

  /// Work that is left when the event loop ends is not done.
  void Post(std::function<void()> work) override;
  void After(std::chrono::milliseconds delay, std::function<void()> work) override;

  /// From now on SIGINT, SIGTERM and SIGHUP wait until `TakeSignals`. Before any thread is started, and so
  /// before the application is made: a window system has threads, and each of them could be killed for all.
  static void HoldSignals();
  /// They come as `ended` instead of killing the process.
  void TakeSignals();

 Q_SIGNALS:
  void ended();
  /// A piece of posted work took so long.
  void worked(qint64 nanoseconds);
  /// It threw: `text` is what for.
  void failed(const QString& text);

 private:
  bool event(QEvent* event) override;
};

/// A view that says by a signal that its data are others.
class LiveView final : public QObject {
  Q_OBJECT

 public:
  explicit LiveView(std::unique_ptr<cli::View> view);
  ~LiveView() override;

  [[nodiscard]] cli::View& view() const { return *view_; }

 Q_SIGNALS:
  void arrived();

 private:
  const std::unique_ptr<cli::View> view_;
};

}  // namespace desktop

#include "desktop/adapter.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QSocketNotifier>
#include <QtCore/QTimer>
#include <exception>
#include <utility>

namespace desktop {

void UiThread::Post(std::function<void()> work) {
  QMetaObject::invokeMethod(
      this, [this, work = std::move(work)] { Do(work); }, Qt::QueuedConnection);
}

void UiThread::After(std::chrono::milliseconds delay, std::function<void()> work) {
  QTimer::singleShot(delay, this, [work = std::move(work)] { work(); });
}

sigset_t UiThread::HoldSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    sigaddset(&set, number);
  }
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  signal(SIGPIPE, SIG_IGN);
  return set;
}

void UiThread::TakeSignals() {
  const sigset_t set = HoldSignals();
  const int fd = signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
  if (fd < 0) {
    return;
  }
  auto* const notifier = new QSocketNotifier(fd, QSocketNotifier::Read, this);
  connect(notifier, &QSocketNotifier::activated, this, [this, fd] {
    signalfd_siginfo info{};
    while (read(fd, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
    }
    Q_EMIT ended();
  });
}

void UiThread::Do(const std::function<void()>& work) {
  QElapsedTimer timer;
  timer.start();
  try {
    work();
  } catch (const std::exception& error) {
    Q_EMIT failed(QString::fromUtf8(error.what()));
  }
  Q_EMIT worked(timer.nsecsElapsed());
}

}  // namespace desktop

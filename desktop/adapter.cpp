#include "desktop/adapter.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QSocketNotifier>
#include <QtCore/QTimer>
#include <exception>
#include <utility>

namespace desktop {
namespace {

sigset_t EndingSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    sigaddset(&set, number);
  }
  return set;
}

}  // namespace

void UiThread::Post(std::function<void()> work) {
  QMetaObject::invokeMethod(
      this, [this, work = std::move(work)] { Do(work); }, Qt::QueuedConnection);
}

void UiThread::After(std::chrono::milliseconds delay, std::function<void()> work) {
  QTimer::singleShot(delay, this, [work = std::move(work)] { work(); });
}

void UiThread::HoldSignals() {
  const sigset_t set = EndingSignals();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  signal(SIGPIPE, SIG_IGN);
}

void UiThread::TakeSignals() {
  HoldSignals();
  const sigset_t set = EndingSignals();
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

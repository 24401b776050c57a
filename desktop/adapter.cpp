#include "desktop/adapter.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QEvent>
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

const auto kWork = static_cast<QEvent::Type>(QEvent::registerEventType());

class WorkEvent final : public QEvent {
 public:
  explicit WorkEvent(std::function<void()> work) : QEvent(kWork), work_(std::move(work)) {}
  void Run() const { work_(); }

 private:
  const std::function<void()> work_;
};

}  // namespace

void UiThread::Post(std::function<void()> work) {
  QCoreApplication::postEvent(this, new WorkEvent(std::move(work)));
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

bool UiThread::event(QEvent* event) {
  if (event->type() != kWork) {
    return QObject::event(event);
  }
  QElapsedTimer timer;
  timer.start();
  try {
    static_cast<const WorkEvent*>(event)->Run();
  } catch (const std::exception& error) {
    Q_EMIT failed(QString::fromUtf8(error.what()));
  }
  Q_EMIT worked(timer.nsecsElapsed());
  return true;
}

LiveView::LiveView(std::unique_ptr<cli::View> view) : view_(std::move(view)) {
  view_->OnArrivals([this] { Q_EMIT arrived(); });
}

LiveView::~LiveView() = default;

}  // namespace desktop

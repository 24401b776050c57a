#include "cli/run/main_loop.h"

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cerrno>
#include <map>
#include <system_error>
#include <utility>

namespace cli {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;

constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGWINCH};

int TakeSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : kSignals) {
    sigaddset(&set, number);
  }
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  // A reader that went away is an error of the write, not a reason to die.
  signal(SIGPIPE, SIG_IGN);
  const int fd = signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
  if (fd < 0) {
    throw std::system_error(errno, std::generic_category(), "cannot watch for signals");
  }
  return fd;
}

}  // namespace

class MainLoop::Impl {
 public:
  Impl() : signals_(io_, TakeSignals()) {
    const auto end = [this] { End(); };
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
      on_signal_[number] = end;
    }
    on_signal_[SIGTSTP] = [] { kill(getpid(), SIGSTOP); };
    WaitForSignals();
  }

  void ReadSignals() {
    signalfd_siginfo info{};
    while (read(signals_.native_handle(), &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
      const auto found = on_signal_.find(static_cast<int>(info.ssi_signo));
      if (found != on_signal_.end()) {
        found->second();
      }
    }
  }

  void WaitForSignals() {
    signals_.async_wait(asio::posix::stream_descriptor::wait_read, [this](const error_code& error) {
      if (!error) {
        ReadSignals();
        WaitForSignals();
      }
    });
  }

  struct Watched {
    asio::posix::stream_descriptor descriptor;
    std::function<bool()> work;
  };

  static void Watch(const std::shared_ptr<Watched>& watched) {
    watched->descriptor.async_wait(asio::posix::stream_descriptor::wait_read,
                                   [watched](const error_code& error) {
                                     if (!error && watched->work()) {
                                       Watch(watched);
                                     }
                                   });
  }

  void End() {
    ended_ = true;
    io_.stop();
  }

  asio::io_context io_{1};
  asio::executor_work_guard<asio::io_context::executor_type> guard_{io_.get_executor()};
  std::map<int, std::function<void()>> on_signal_;
  asio::posix::stream_descriptor signals_;
  bool ended_ = false;
};

MainLoop::MainLoop() : impl_(std::make_unique<Impl>()) {}
MainLoop::~MainLoop() = default;

void MainLoop::Post(std::function<void()> work) {
  asio::post(impl_->io_, std::move(work));
}

void MainLoop::After(std::chrono::milliseconds delay, std::function<void()> work) {
  const auto timer = std::make_shared<asio::steady_timer>(impl_->io_, delay);
  timer->async_wait([timer, work = std::move(work)](const error_code& error) {
    if (!error) {
      work();
    }
  });
}

// A loop that was held up does not catch up on what it missed.
void MainLoop::Every(std::chrono::milliseconds period, std::function<void()> work) {
  After(period, [this, period, work = std::move(work)] {
    work();
    Every(period, work);
  });
}

void MainLoop::OnReadable(int fd, std::function<bool()> work) {
  const int own = dup(fd);
  if (own < 0) {
    throw std::system_error(errno, std::generic_category(), "cannot watch the input");
  }
  Impl::Watch(std::make_shared<Impl::Watched>(
      Impl::Watched{asio::posix::stream_descriptor(impl_->io_, own), std::move(work)}));
}

void MainLoop::OnSignal(int number, std::function<void()> work) {
  impl_->on_signal_[number] = std::move(work);
}

void MainLoop::Run() {
  if (!impl_->ended_) {
    impl_->io_.run();
  }
}

void MainLoop::End() {
  impl_->End();
}

bool MainLoop::ended() const {
  return impl_->ended_;
}

bool MainLoop::WaitWritable(int fd) {
  while (!impl_->ended_) {
    std::array<pollfd, 2> fds{{{fd, POLLOUT, 0}, {impl_->signals_.native_handle(), POLLIN, 0}}};
    if (poll(fds.data(), fds.size(), -1) < 0 && errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "cannot wait for the output");
    }
    if (fds[1].revents != 0) {
      impl_->ReadSignals();
    }
    // An error is the next write's to report.
    if (fds[0].revents != 0) {
      return !impl_->ended_;
    }
  }
  return false;
}

}  // namespace cli

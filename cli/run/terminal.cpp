#include "cli/run/terminal.h"

#include <signal.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string_view>

namespace cli {
namespace {

// Screen of its own, no cursor, no wrapping at the right edge; and back, the mouse in whatever way it was
// taken.
constexpr std::string_view kEnter = "\x1b[?1049h\x1b[?25l\x1b[?7l";
constexpr std::string_view kLeave = "\x1b[?1006l\x1b[?1000l\x1b[0m\x1b[?7h\x1b[?25h\x1b[?1049l";

constexpr std::array kCrashes = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};

// What a crash needs to give the screen back; written by the main thread only. Trivial, since a signal
// handler reads it.
struct Taken {
  volatile sig_atomic_t screen = 0;
  volatile sig_atomic_t keys = 0;
  int in = -1;
  int out = -1;
  termios before{};
  std::array<struct sigaction, kCrashes.size()> actions{};
};
Taken taken;

void GiveBack() {
  if (taken.screen != 0) {
    taken.screen = 0;
    [[maybe_unused]] const ssize_t written = write(taken.out, kLeave.data(), kLeave.size());
  }
  if (taken.keys != 0) {
    taken.keys = 0;
    tcsetattr(taken.in, TCSAFLUSH, &taken.before);
  }
}

// Gives the screen back, and the crash to whoever handled it before.
void OnCrash(int number, siginfo_t* info, void*) {
  GiveBack();
  for (std::size_t i = 0; i < kCrashes.size(); ++i) {
    if (kCrashes[i] == number) {
      sigaction(number, &taken.actions[i], nullptr);
    }
  }
  // On return a faulting instruction runs again; what another process or abort() sent has to be sent again.
  if (info->si_code <= 0) {
    raise(number);
  }
}

}  // namespace

bool WantsColour(int fd, bool no_color) {
  const char* const no_color_variable = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  return !no_color && (no_color_variable == nullptr || *no_color_variable == '\0') && terminal != nullptr &&
         std::string_view(terminal) != "dumb" && isatty(fd) == 1;
}

Terminal::Terminal(int in, int out) : in_(in), out_(out) {
  struct sigaction action {};
  action.sa_sigaction = &OnCrash;
  action.sa_flags = SA_SIGINFO;
  for (std::size_t i = 0; i < kCrashes.size(); ++i) {
    sigaction(kCrashes[i], &action, &taken.actions[i]);
  }
  Enter();
}

Terminal::~Terminal() {
  Leave();
  for (std::size_t i = 0; i < kCrashes.size(); ++i) {
    sigaction(kCrashes[i], &taken.actions[i], nullptr);
  }
}

void Terminal::Enter() {
  taken.in = in_;
  taken.out = out_;
  // A process in the background has no keys to take.
  if (tcgetpgrp(in_) == getpgrp() && tcgetattr(in_, &taken.before) == 0) {
    termios keys = taken.before;
    keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    keys.c_cc[VMIN] = 1;
    keys.c_cc[VTIME] = 0;
    taken.keys = 1;
    tcsetattr(in_, TCSAFLUSH, &keys);
  }
  taken.screen = 1;
  [[maybe_unused]] const ssize_t written = write(out_, kEnter.data(), kEnter.size());
}

void Terminal::Leave() {
  GiveBack();
}

ChartSize Terminal::SizeOf(int fd) {
  winsize window{};
  if (ioctl(fd, TIOCGWINSZ, &window) != 0 || window.ws_col == 0 || window.ws_row == 0) {
    return {};
  }
  return {window.ws_col, window.ws_row};
}

}  // namespace cli

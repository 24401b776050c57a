#include "child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace tests {
namespace {

using Clock = std::chrono::steady_clock;

std::pair<int, int> MakePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipe");
  }
  return {ends[0], ends[1]};
}

std::map<std::string, std::string> EnvironmentOf(const std::string& directory,
                                                 const std::map<std::string, std::string>& more) {
  std::map<std::string, std::string> all = {{"HOME", directory + "/home"},
                                            {"TMPDIR", directory + "/tmp"},
                                            {"TERM", "xterm-256color"},
                                            {"LANG", "C"}};
  for (const char* name : {"PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS"}) {
    if (const char* const value = std::getenv(name)) {
      all[name] = value;
    }
  }
  for (const auto& [name, value] : more) {
    all[name] = value;
  }
  return all;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) {
    pointers.push_back(text.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

// False at the end of what can be read.
bool ReadSome(int fd, std::string& text) {
  std::array<char, 65536> buffer{};
  const ssize_t length = read(fd, buffer.data(), buffer.size());
  if (length <= 0) {
    return false;
  }
  text.append(buffer.data(), static_cast<std::size_t>(length));
  return true;
}

void Close(int& fd) {
  if (fd >= 0) {
    close(fd);
    fd = -1;
  }
}

}  // namespace

ChildProcess::ChildProcess(std::vector<std::string> command, std::map<std::string, std::string> environment,
                           Around around) {
  mkdir(home().c_str(), 0700);
  mkdir(temporary().c_str(), 0700);
  std::vector<std::string> variables;
  for (const auto& [name, value] : EnvironmentOf(directory_.path(), environment)) {
    variables.push_back(name + "=" + value);
  }

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none;
  sigemptyset(&none);
  sigset_t all;
  sigfillset(&all);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setsigdefault(&attributes, &all);

  int child_out = -1;
  int child_err = -1;
  if (around == Around::kTerminal) {
    out_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    std::array<char, 128> name{};
    if (out_ < 0 || grantpt(out_) != 0 || unlockpt(out_) != 0 ||
        ptsname_r(out_, name.data(), name.size()) != 0) {
      throw std::runtime_error("no terminal");
    }
    Resize(100, 30);
    first_modes_ = Modes();
    // The first terminal that a new session opens is the one that controls it.
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID);
    posix_spawn_file_actions_addopen(&actions, 0, name.data(), O_RDWR, 0);
    posix_spawn_file_actions_adddup2(&actions, 0, 1);
    posix_spawn_file_actions_adddup2(&actions, 0, 2);
  } else {
    std::tie(out_, child_out) = MakePipe();
    std::tie(err_, child_err) = MakePipe();
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, child_out, 1);
    posix_spawn_file_actions_adddup2(&actions, child_err, 2);
  }
  std::vector<char*> argv = Pointers(command);
  std::vector<char*> envp = Pointers(variables);
  const int error = posix_spawn(&pid_, argv[0], &actions, &attributes, argv.data(), envp.data());
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  Close(child_out);
  Close(child_err);
  if (error != 0) {
    throw std::runtime_error("cannot start " + command.front());
  }
}

ChildProcess::~ChildProcess() {
  if (!ended_) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  Close(out_);
  Close(err_);
}

bool ChildProcess::ReadUntil(const std::function<bool()>& enough, std::chrono::seconds limit) {
  const Clock::time_point end = Clock::now() + limit;
  while (!enough()) {
    const bool ended = Reap(false);
    Pump(std::chrono::milliseconds(ended ? 0 : 20));
    if (ended || Clock::now() > end) {
      return enough();
    }
  }
  return true;
}

int ChildProcess::Wait(std::chrono::seconds limit) {
  if (!ReadUntil([this] { return ended_; }, limit) && !ended_) {
    return -1;
  }
  while (out_ >= 0 || err_ >= 0) {
    const std::size_t before = output_.size() + errors_.size();
    Pump(std::chrono::milliseconds(0));
    if (output_.size() + errors_.size() == before) {
      break;
    }
  }
  return WIFEXITED(status_) ? WEXITSTATUS(status_) : 128 + WTERMSIG(status_);
}

void ChildProcess::Signal(int number) const {
  kill(pid_, number);
}

bool ChildProcess::WaitUntilStopped() {
  return ReadUntil([this] {
    Reap(true);
    return stopped_;
  });
}

void ChildProcess::CloseOutput() {
  Close(out_);
}

void ChildProcess::Type(const std::string& keys) const {
  if (write(out_, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) {
    throw std::runtime_error("cannot type");
  }
}

void ChildProcess::Resize(int columns, int rows) const {
  winsize window{};
  window.ws_col = static_cast<unsigned short>(columns);
  window.ws_row = static_cast<unsigned short>(rows);
  ioctl(out_, TIOCSWINSZ, &window);
}

termios ChildProcess::Modes() const {
  termios modes{};
  tcgetattr(out_, &modes);
  return modes;
}

// Reads what there is, or waits for it.
void ChildProcess::Pump(std::chrono::milliseconds wait) {
  std::array<pollfd, 2> fds{{{out_, POLLIN, 0}, {err_, POLLIN, 0}}};
  if (poll(fds.data(), fds.size(), static_cast<int>(wait.count())) <= 0) {
    return;
  }
  // A terminal that nobody has open reads as an error and may be opened again: it stays.
  if (fds[0].revents != 0 && !ReadSome(out_, output_) && err_ >= 0) {
    Close(out_);
  }
  if (fds[1].revents != 0 && !ReadSome(err_, errors_)) {
    Close(err_);
  }
}

bool ChildProcess::Reap(bool wait_for_stop) {
  int status = 0;
  if (!ended_ && waitpid(pid_, &status, WNOHANG | (wait_for_stop ? WUNTRACED : 0)) == pid_) {
    if (WIFSTOPPED(status)) {
      stopped_ = true;
    } else {
      status_ = status;
      ended_ = true;
    }
  }
  return ended_;
}

std::vector<std::string> Csm(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), CSM_PROGRAM);
  return arguments;
}

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

}  // namespace tests

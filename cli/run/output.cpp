#include "cli/run/output.h"

#include <limits.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "cli/run/main_loop.h"

namespace cli {

void Output::Write(std::string_view text) {
  while (!text.empty() && !closed_ && loop_.WaitWritable(fd_)) {
    // No more than what a writable pipe takes without waiting.
    const ssize_t written = write(fd_, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
    if (written > 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (written < 0 && (errno == EPIPE || errno == EIO)) {
      closed_ = true;
      loop_.End();
    } else if (written < 0 && errno != EINTR && errno != EAGAIN) {
      throw std::system_error(errno, std::generic_category(), "cannot write");
    }
  }
}

void Output::LookForReader() {
  pollfd out{fd_, 0, 0};
  if (poll(&out, 1, 0) == 1 && (out.revents & (POLLERR | POLLHUP)) != 0) {
    closed_ = true;
    loop_.End();
  }
}

void WriteLast(int fd, std::string_view text) {
  pollfd out{fd, POLLOUT, 0};
  if (poll(&out, 1, 0) == 1) {
    [[maybe_unused]] const ssize_t written = write(fd, text.data(), text.size());
  }
}

namespace {

bool is_quiet = false;  // main thread only

}  // namespace

void Quiet(bool quiet) {
  is_quiet = quiet;
}

void Note(std::string_view text) {
  if (!is_quiet) {
    Say(text);
  }
}

void Say(std::string_view text) {
  const std::string line = "csm: " + std::string(text) + "\n";
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace cli

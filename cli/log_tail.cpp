#include "cli/log_tail.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <string_view>
#include <utility>

#include "cli/format/text.h"

namespace cli {

LogTail::LogTail(std::string file) : file_(std::move(file)), fd_(open(file_.c_str(), O_RDONLY | O_CLOEXEC)) {
  if (fd_ >= 0) {
    lseek(fd_, 0, SEEK_END);
  }
}

LogTail::~LogTail() {
  if (fd_ >= 0) {
    close(fd_);
  }
}

void LogTail::Poll() {
  ReadOn();
  struct stat named {};
  struct stat held {};
  if (stat(file_.c_str(), &named) != 0 ||
      (fd_ >= 0 && fstat(fd_, &held) == 0 && held.st_ino == named.st_ino && held.st_dev == named.st_dev)) {
    return;
  }
  if (fd_ >= 0) {
    close(fd_);
  }
  fd_ = open(file_.c_str(), O_RDONLY | O_CLOEXEC);
  partial_.clear();
  ReadOn();
}

void LogTail::ReadOn() {
  std::array<char, 8192> buffer{};
  ssize_t length = 0;
  while (fd_ >= 0 && (length = read(fd_, buffer.data(), buffer.size())) > 0) {
    partial_.append(buffer.data(), static_cast<std::size_t>(length));
    std::size_t start = 0;
    for (std::size_t end = 0; (end = partial_.find('\n', start)) != std::string::npos; start = end + 1) {
      Take(std::string_view(partial_).substr(start, end - start));
    }
    partial_.erase(0, start);
  }
}

LogTail::Lines LogTail::Of(std::string_view writer) const {
  const auto found = writers_.find(writer);
  return found == writers_.end() ? Lines() : found->second;
}

// Writers are classes of the module: nothing that a server sends adds one.
void LogTail::CountWriter() {
  const std::size_t end = last_.find("::");
  const auto is_letter = [](unsigned char c) { return std::isalnum(c) != 0; };
  if (end == std::string::npos ||
      !std::all_of(last_.begin(), last_.begin() + static_cast<std::ptrdiff_t>(end), is_letter)) {
    return;
  }
  Lines& lines = writers_[last_.substr(0, end)];
  ++lines.count;
  lines.last = last_;
}

void LogTail::Take(std::string_view line) {
  for (const std::string_view level : {"[warning] ", "[error] ", "[critical] "}) {
    // The level stands behind date, time and zone.
    const std::size_t at = line.find(level);
    if (at < 40) {  // not so when there is none
      last_ = Printable(line.substr(at + level.size()));
      if (first_.empty()) {
        first_ = last_;
      }
      ++count_;
      CountWriter();
      return;
    }
  }
}

}  // namespace cli

#include "descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace stock_host {
namespace {

// As many bytes as there are, up to `size`; fewer only at the end of the file. Nothing after an error.
std::optional<std::size_t> ReadUpTo(int fd, std::int64_t at, char* bytes, std::size_t size) {
  std::size_t have = 0;
  while (have < size) {
    const ssize_t got = pread(fd, bytes + have, size - have, at + static_cast<std::int64_t>(have));
    if (got < 0 && errno == EINTR) {
      continue;
    }
    if (got < 0) {
      return std::nullopt;
    }
    if (got == 0) {
      break;
    }
    have += static_cast<std::size_t>(got);
  }
  return have;
}

}  // namespace

Descriptor::~Descriptor() {
  if (fd_ >= 0) {
    const int kept = errno;  // the caller may be about to say what failed
    close(fd_);
    errno = kept;
  }
}

Descriptor OpenFile(const std::string& path, int flags) {
  return Descriptor(open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, 0600));
}

bool WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(fd, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) {
      return false;
    }
    bytes.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
  }
  return true;
}

bool ReadUpTo(int fd, std::int64_t at, std::size_t size, std::string& bytes) {
  bytes.resize(size);
  const auto have = ReadUpTo(fd, at, bytes.data(), size);
  bytes.resize(have.value_or(0));
  return have.has_value();
}

bool ReadAt(int fd, std::int64_t at, std::size_t size, std::string& bytes) {
  return ReadUpTo(fd, at, size, bytes) && bytes.size() == size;
}

std::optional<std::string> ReadWhole(int fd, std::size_t largest) {
  struct stat info {};
  if (fstat(fd, &info) != 0) {
    return std::nullopt;
  }
  if (!S_ISREG(info.st_mode)) {
    errno = S_ISDIR(info.st_mode) ? EISDIR : EINVAL;
    return std::nullopt;
  }
  // One byte more than it seems to hold: it may be growing.
  std::string bytes(std::min(static_cast<std::size_t>(info.st_size), largest) + 1, '\0');
  for (std::size_t have = 0;;) {
    const auto got = ReadUpTo(fd, static_cast<std::int64_t>(have), bytes.data() + have, bytes.size() - have);
    if (!got) {
      return std::nullopt;
    }
    have += *got;
    if (have > largest) {
      errno = EFBIG;
      return std::nullopt;
    }
    if (have < bytes.size()) {
      bytes.resize(have);
      return bytes;
    }
    bytes.resize(std::min(2 * bytes.size(), largest + 1));
  }
}

std::optional<std::string> ReadWhole(const std::string& path, std::size_t largest) {
  const Descriptor file = OpenFile(path, O_RDONLY);
  return file.good() ? ReadWhole(file.get(), largest) : std::nullopt;
}

bool MakeDirectories(const std::string& directory) {
  std::error_code failure;
  if (directory.empty() || std::filesystem::is_directory(directory, failure)) {
    return !directory.empty();
  }
  const std::filesystem::path above = std::filesystem::path(directory).parent_path();
  if (!above.empty() && above != directory && !MakeDirectories(above)) {
    return false;
  }
  if (mkdir(directory.c_str(), 0700) == 0) {
    return true;
  }
  const int number = errno;
  const bool made_by_another = std::filesystem::is_directory(directory, failure);
  errno = number == EEXIST ? ENOTDIR : number;
  return made_by_another;
}

std::string SystemText(int number) {
  return std::generic_category().message(number);
}

}  // namespace stock_host

// Files of the system: one owner of a descriptor, and whole reads and writes on it. A child process inherits
// none of them. Errors are left in errno. No state.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace stock_host {

class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Descriptor();

  [[nodiscard]] bool good() const { return fd_ >= 0; }
  [[nodiscard]] int get() const { return fd_; }

 private:
  int fd_;
};

/// A file that is made gets mode 0600. Never waits for the other end of a pipe.
[[nodiscard]] Descriptor OpenFile(const std::string& path, int flags);

[[nodiscard]] bool WriteAll(int fd, std::string_view bytes);

/// `size` bytes from `at` on, fewer only when the file ends before.
[[nodiscard]] bool ReadUpTo(int fd, std::int64_t at, std::size_t size, std::string& bytes);

/// Exactly `size` bytes from `at` on. False also when the file ends before.
[[nodiscard]] bool ReadAt(int fd, std::int64_t at, std::size_t size, std::string& bytes);

/// The whole file. Nothing when it is no regular file (EINVAL), is larger than `largest` bytes (EFBIG) or
/// cannot be read.
[[nodiscard]] std::optional<std::string> ReadWhole(int fd, std::size_t largest);
[[nodiscard]] std::optional<std::string> ReadWhole(const std::string& path, std::size_t largest);

/// Makes `directory` and what is missing above it; nobody else may look into what is made. False when there
/// is no such directory in the end.
[[nodiscard]] bool MakeDirectories(const std::string& directory);

/// The system's text for `number`, an errno.
[[nodiscard]] std::string SystemText(int number);

}  // namespace stock_host

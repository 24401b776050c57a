#include "cli/temporary_directory.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace cli {
namespace {

constexpr std::string_view kPrefix = "csm-run-";
constexpr std::string_view kRandom = "XXXXXX";

// The directory, locked; below zero when it is not a directory of this user alone, is held by somebody, or
// was removed before the lock was there.
int Hold(const char* path, int wait) {
  const int fd = open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (fd < 0) {
    return fd;
  }
  struct stat info {};
  const bool held = flock(fd, LOCK_EX | wait) == 0 && fstat(fd, &info) == 0 && info.st_nlink > 0 &&
                    info.st_uid == geteuid() && (info.st_mode & 0777U) == 0700U;
  if (!held) {
    close(fd);
    return -1;
  }
  return fd;
}

void Remove(const std::string& path, int held) {
  std::error_code ignored;
  std::filesystem::remove_all(path, ignored);
  close(held);
}

// A process that ends without a word loses its locks: what bears the name and is not held was left by one.
void RemoveAbandoned(const std::filesystem::path& parent) {
  std::error_code error;
  for (std::filesystem::directory_iterator entry(parent, error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (name.size() == kPrefix.size() + kRandom.size() && name.starts_with(kPrefix)) {
      if (const int held = Hold(entry->path().c_str(), LOCK_NB); held >= 0) {
        Remove(entry->path().string(), held);
      }
    }
  }
}

}  // namespace

TemporaryDirectory::TemporaryDirectory() {
  std::error_code error;
  std::filesystem::path parent = std::filesystem::temp_directory_path(error);
  if (error) {
    parent = "/tmp";
  }
  // Another process that starts may take a new directory for an abandoned one until it is locked.
  for (int attempt = 0; held_ < 0 && attempt < 10; ++attempt) {
    path_ = (parent / kPrefix).string().append(kRandom);
    if (mkdtemp(path_.data()) == nullptr) {
      break;
    }
    held_ = Hold(path_.c_str(), 0);
  }
  if (held_ < 0) {
    throw std::runtime_error("cannot make a temporary directory in \"" + parent.string() +
                             "\": " + std::generic_category().message(errno));
  }
  RemoveAbandoned(parent);
}

TemporaryDirectory::~TemporaryDirectory() {
  Remove(path_, held_);
}

}  // namespace cli

#include "watched_disk.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string_view>
#include <utility>

namespace watched_disk {
namespace {

enum class Effect { kReads, kFlushes, kRemoves, kWrites };

struct Watch {
  std::mutex mutex;  // guards the members below
  std::string directory;
  bool recording = false;
  std::vector<Operation> record;
  bool armed = false;
  Failing failing = Failing::kOnce;
  int left = 0;  // operations that still succeed
  int error = 0;
  bool failed = false;
};

// Leaked: files are written until the very end of the process.
Watch& TheWatch() {
  static auto* const watch = new Watch;
  return *watch;
}

std::string PathOf(int fd) {
  char path[4096];
  const std::string link = "/proc/self/fd/" + std::to_string(fd);
  const ssize_t length = ::readlink(link.c_str(), path, sizeof path);
  return length < 0 ? std::string() : std::string(path, static_cast<std::size_t>(length));
}

bool Lies(std::string_view path, const std::string& directory) {
  return !directory.empty() && path.starts_with(directory) &&
         (path.size() == directory.size() || path[directory.size()] == '/');
}

bool Covers(Failing failing, Effect effect) {
  switch (failing) {
    case Failing::kWriting:
      return effect == Effect::kWrites;
    case Failing::kChanging:
      return effect != Effect::kReads;
    default:
      return true;
  }
}

// The errno that an operation must fail with; 0: it may go on.
int Verdict(std::string_view path, Effect effect) {
  Watch& watch = TheWatch();
  const std::lock_guard<std::mutex> lock(watch.mutex);
  if (!watch.armed || !Lies(path, watch.directory) || !Covers(watch.failing, effect)) {
    return 0;
  }
  const int left = watch.left--;
  if (left > 0 || (left < 0 && watch.failing == Failing::kOnce)) {
    return 0;
  }
  watch.failed = true;
  return watch.error;
}

void Note(Operation operation) {
  Watch& watch = TheWatch();
  const std::lock_guard<std::mutex> lock(watch.mutex);
  if (watch.recording && Lies(operation.path, watch.directory)) {
    watch.record.push_back(std::move(operation));
  }
}

// The system call itself, unless the watch forbids it.
template <class... Arguments>
long Call(const std::string& path, Effect effect, long number, Arguments... arguments) {
  if (const int error = Verdict(path, effect)) {
    errno = error;
    return -1;
  }
  return syscall(number, arguments...);
}

using Kind = Operation::Kind;

int Open(const char* path, int flags, mode_t mode) {
  const bool existed = ::access(path, F_OK) == 0;
  const bool creates = (flags & O_CREAT) != 0 && !existed;
  const long fd =
      Call(path, creates ? Effect::kWrites : Effect::kReads, SYS_openat, AT_FDCWD, path, flags, mode);
  if (fd >= 0 && creates) {
    Note({Kind::kCreate, path, {}, 0, {}});
  } else if (fd >= 0 && (flags & O_TRUNC) != 0) {
    Note({Kind::kTruncate, path, {}, 0, {}});
  }
  return static_cast<int>(fd);
}

ssize_t WriteAt(int fd, const void* bytes, std::size_t size, off64_t offset) {
  const std::string path = PathOf(fd);
  const long written = Call(path, Effect::kWrites, SYS_pwrite64, fd, bytes, size, offset);
  if (written > 0) {
    Note({Kind::kWrite,
          path,
          {},
          static_cast<std::size_t>(offset),
          std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(written))});
  }
  return written;
}

int Truncate(int fd, off64_t size) {
  const std::string path = PathOf(fd);
  const long result = Call(path, Effect::kWrites, SYS_ftruncate, fd, size);
  if (result == 0) Note({Kind::kTruncate, path, {}, static_cast<std::size_t>(size), {}});
  return static_cast<int>(result);
}

int Sync(int fd, long number) {
  const std::string path = PathOf(fd);
  const long result = Call(path, Effect::kFlushes, number, fd);
  if (result == 0) Note({Kind::kSync, path, {}, 0, {}});
  return static_cast<int>(result);
}

}  // namespace

void Record(const std::string& directory) {
  Watch& watch = TheWatch();
  const std::lock_guard<std::mutex> lock(watch.mutex);
  watch.directory = directory;
  watch.record.clear();
  watch.recording = true;
}

std::vector<Operation> TakeRecord() {
  Watch& watch = TheWatch();
  const std::lock_guard<std::mutex> lock(watch.mutex);
  watch.recording = false;
  return std::move(watch.record);
}

void Fail(const std::string& directory, Failing failing, int number, int error) {
  Watch& watch = TheWatch();
  const std::lock_guard<std::mutex> lock(watch.mutex);
  watch.directory = directory;
  watch.armed = true;
  watch.failing = failing;
  watch.left = number;
  watch.error = error;
  watch.failed = false;
}

bool StopFailing() {
  Watch& watch = TheWatch();
  const std::lock_guard<std::mutex> lock(watch.mutex);
  watch.armed = false;
  return watch.failed;
}

}  // namespace watched_disk

// The program's own definitions come before those of the C library, for its shared libraries too.
#define WATCHED extern "C" __attribute__((visibility("default")))

namespace {
using watched_disk::Effect;
using watched_disk::Kind;
}  // namespace

WATCHED int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const auto mode = static_cast<mode_t>((flags & O_CREAT) != 0 ? va_arg(arguments, int) : 0);
  va_end(arguments);
  return watched_disk::Open(path, flags, mode);
}

WATCHED int open64(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const auto mode = static_cast<mode_t>((flags & O_CREAT) != 0 ? va_arg(arguments, int) : 0);
  va_end(arguments);
  return watched_disk::Open(path, flags, mode);
}

WATCHED int mkostemps(char* path, int suffix_length, int flags) {
  const std::size_t length = std::strlen(path);
  char* const marks = path + length - static_cast<std::size_t>(suffix_length) - 6;
  static std::uint64_t number = static_cast<std::uint64_t>(getpid()) * 1'000'003;
  for (int tries = 0; tries < 1000; ++tries) {
    std::uint64_t rest = __atomic_fetch_add(&number, 7919, __ATOMIC_RELAXED);
    for (int place = 0; place < 6; ++place, rest /= 26) marks[place] = static_cast<char>('a' + rest % 26);
    const int fd = watched_disk::Open(path, flags | O_RDWR | O_CREAT | O_EXCL, 0600);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  return -1;
}

WATCHED ssize_t write(int fd, const void* bytes, std::size_t size) {
  const std::string path = watched_disk::PathOf(fd);
  const long written = watched_disk::Call(path, Effect::kWrites, SYS_write, fd, bytes, size);
  if (written > 0) {
    const auto end = syscall(SYS_lseek, fd, 0, SEEK_CUR);
    watched_disk::Note({Kind::kWrite,
                        path,
                        {},
                        static_cast<std::size_t>(end - written),
                        std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(written))});
  }
  return written;
}

WATCHED ssize_t pwrite64(int fd, const void* bytes, std::size_t size, off64_t offset) {
  return watched_disk::WriteAt(fd, bytes, size, offset);
}

WATCHED ssize_t pread64(int fd, void* bytes, std::size_t size, off64_t offset) {
  return watched_disk::Call(watched_disk::PathOf(fd), Effect::kReads, SYS_pread64, fd, bytes, size, offset);
}

WATCHED int ftruncate64(int fd, off64_t size) noexcept {
  return watched_disk::Truncate(fd, size);
}

WATCHED int fsync(int fd) {
  return watched_disk::Sync(fd, SYS_fsync);
}

WATCHED int fdatasync(int fd) {
  return watched_disk::Sync(fd, SYS_fdatasync);
}

WATCHED int rename(const char* path, const char* target) noexcept {
  const long result = watched_disk::Call(path, Effect::kWrites, SYS_rename, path, target);
  if (result == 0) watched_disk::Note({Kind::kRename, path, target, 0, {}});
  return static_cast<int>(result);
}

WATCHED int unlink(const char* path) noexcept {
  const long result = watched_disk::Call(path, Effect::kRemoves, SYS_unlink, path);
  if (result == 0) watched_disk::Note({Kind::kRemove, path, {}, 0, {}});
  return static_cast<int>(result);
}

WATCHED int mkdir(const char* path, mode_t mode) noexcept {
  const long result = watched_disk::Call(path, Effect::kWrites, SYS_mkdir, path, mode);
  if (result == 0) watched_disk::Note({Kind::kMakeDirectory, path, {}, 0, {}});
  return static_cast<int>(result);
}

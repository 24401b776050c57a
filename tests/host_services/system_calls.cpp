#include "system_calls.h"

#include <dlfcn.h>
#include <openssl/x509_vfy.h>
#include <pwd.h>
#include <unistd.h>

#include <array>
#include <mutex>
#include <utility>

namespace {

struct Watch {
  std::mutex mutex;  // guards all members
  bool on = false;
  std::vector<std::string> flushed;
  std::vector<std::string> trusted;
  std::string read_path;
  std::function<void()> on_read;
  bool user_forgotten = false;
};

Watch& State() {
  static Watch* const watch = new Watch;
  return *watch;
}

std::string PathOf(int fd) {
  std::array<char, 4096> path{};
  const ssize_t size = readlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), path.data(), path.size());
  return size < 0 ? std::string() : std::string(path.data(), static_cast<std::size_t>(size));
}

template <class Function>
Function* Real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void NoteTrusted(const char* path) {
  const std::lock_guard lock(State().mutex);
  if (State().on) {
    State().trusted.emplace_back(path);
  }
}

}  // namespace

extern "C" {

#define SEEN_BY_ALL __attribute__((visibility("default")))

SEEN_BY_ALL int fsync(int fd) {
  static auto* const real = Real<int(int)>("fsync");
  {
    const std::lock_guard lock(State().mutex);
    if (State().on) {
      State().flushed.push_back(PathOf(fd));
    }
  }
  return real(fd);
}

SEEN_BY_ALL ssize_t pread(int fd, void* bytes, std::size_t size, off_t at) {
  static auto* const real = Real<ssize_t(int, void*, std::size_t, off_t)>("pread");
  const ssize_t got = real(fd, bytes, size, at);
  std::function<void()> act;
  {
    const std::lock_guard lock(State().mutex);
    if (State().on_read && PathOf(fd) == State().read_path) {
      act = std::exchange(State().on_read, nullptr);
    }
  }
  if (act) {
    act();
  }
  return got;
}

SEEN_BY_ALL int getpwuid_r(uid_t user, passwd* entry, char* buffer, std::size_t size, passwd** found) {
  static auto* const real = Real<int(uid_t, passwd*, char*, std::size_t, passwd**)>("getpwuid_r");
  {
    const std::lock_guard lock(State().mutex);
    if (State().user_forgotten) {
      *found = nullptr;
      return 0;
    }
  }
  return real(user, entry, buffer, size, found);
}

SEEN_BY_ALL int X509_STORE_load_file(X509_STORE* store, const char* file) {
  static auto* const real = Real<int(X509_STORE*, const char*)>("X509_STORE_load_file");
  NoteTrusted(file);
  return real(store, file);
}

SEEN_BY_ALL int X509_STORE_load_path(X509_STORE* store, const char* directory) {
  static auto* const real = Real<int(X509_STORE*, const char*)>("X509_STORE_load_path");
  NoteTrusted(directory);
  return real(store, directory);
}

}  // extern "C"

namespace host_test {

WatchedCalls::WatchedCalls() {
  const std::lock_guard lock(State().mutex);
  State().on = true;
}

WatchedCalls::~WatchedCalls() {
  Watch& watch = State();
  const std::lock_guard lock(watch.mutex);
  watch.on = false;
  watch.flushed.clear();
  watch.trusted.clear();
  watch.on_read = nullptr;
  watch.user_forgotten = false;
}

std::vector<std::string> WatchedCalls::Flushed() {
  const std::lock_guard lock(State().mutex);
  return State().flushed;
}

std::vector<std::string> WatchedCalls::Trusted() {
  const std::lock_guard lock(State().mutex);
  return State().trusted;
}

void WatchedCalls::OnceRead(const std::string& path, std::function<void()> act) {
  const std::lock_guard lock(State().mutex);
  State().read_path = path;
  State().on_read = std::move(act);
}

void WatchedCalls::ForgetTheUser() {
  const std::lock_guard lock(State().mutex);
  State().user_forgotten = true;
}

}  // namespace host_test

// A polled service asks for its interval when its thread starts, and sleeps then. A test that counts such
// questions or moves the clock waits here first, or a thread that starts late would ask in between.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <thread>

namespace detail {

// True when every other thread of this process waits for something.
inline bool OthersSleep() {
  const std::string self = std::to_string(gettid());
  std::error_code error;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task", error)) {
    if (task.path().filename() == self) continue;
    std::ifstream file(task.path() / "stat");
    std::string stat;
    std::getline(file, stat);
    const std::size_t name_end = stat.rfind(')');
    if (name_end != std::string::npos && name_end + 2 < stat.size() && stat[name_end + 2] != 'S')
      return false;
  }
  return true;
}

}  // namespace detail

/// Waits until the polling threads of the services made so far sleep.
inline void AwaitSleepingThreads() {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  for (int asleep = 0; asleep < 3;) {
    asleep = detail::OthersSleep() ? asleep + 1 : 0;
    if (std::chrono::steady_clock::now() > end) {
      ADD_FAILURE() << "the threads of the services do not come to rest";
      return;
    }
    std::this_thread::yield();
  }
}

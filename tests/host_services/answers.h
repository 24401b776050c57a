// Collects what asynchronous requests came to. Callable from any thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "host/network.h"

namespace host_test {

struct GivenAnswer {
  bool ok = false;
  std::optional<std::string> body;  ///< nothing when the call-back was given none
  std::size_t length = 0;
  std::thread::id thread;
};

class Answers {
 public:
  /// The object must outlive the call-back's call.
  [[nodiscard]] AsynCallback Callback() {
    return [this](bool ok, const char* body, std::size_t length) {
      GivenAnswer given{ok, std::nullopt, length, std::this_thread::get_id()};
      if (body != nullptr) {
        given.body = std::string(body, length);
      }
      const std::lock_guard lock(mutex_);
      given_.push_back(std::move(given));
      arrived_.notify_all();
    };
  }

  /// False when `count` call-backs have not come in a time that no test may need.
  [[nodiscard]] bool Wait(std::size_t count = 1) {
    std::unique_lock lock(mutex_);
    return arrived_.wait_for(lock, std::chrono::seconds(90), [&] { return given_.size() >= count; });
  }

  [[nodiscard]] std::vector<GivenAnswer> Given() {
    const std::lock_guard lock(mutex_);
    return given_;
  }

 private:
  std::mutex mutex_;  // guards given_
  std::condition_variable arrived_;
  std::vector<GivenAnswer> given_;
};

}  // namespace host_test

// The view of the examples: what a window would draw, it keeps until the main thread asks for it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>

#include "frame/observer.h"

/// Keeps the newest record. Any thread may call it.
template <class Data>
class View final : public IUpdate1<Data> {
 public:
  void Update(const Data& data) override {
    const std::lock_guard lock(mutex_);
    newest_ = data;
    arrived_.notify_all();
  }

  /// The newest record as soon as there is one; an empty one when none comes within twenty seconds.
  [[nodiscard]] Data Wait() {
    std::unique_lock lock(mutex_);
    arrived_.wait_for(lock, std::chrono::seconds(20), [this] { return newest_.has_value(); });
    return newest_.value_or(Data{});
  }

 private:
  std::mutex mutex_;  // guards newest_
  std::condition_variable arrived_;
  std::optional<Data> newest_;
};

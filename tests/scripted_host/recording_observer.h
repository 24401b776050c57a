// An observer that remembers what it was told, on which thread. Thread-safe.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "frame/observer.h"

template <class T>
class RecordingObserver final : public IUpdate1<T> {
 public:
  RecordingObserver() = default;
  /// `during` runs inside every `Update`, after the record was remembered.
  explicit RecordingObserver(std::function<void(const T&)> during) : during_(std::move(during)) {}

  void Update(const T& data) override {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      updates_.push_back(data);
      threads_.push_back(std::this_thread::get_id());
    }
    changed_.notify_all();
    if (during_) during_(data);
  }

  [[nodiscard]] std::size_t Count() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return updates_.size();
  }
  [[nodiscard]] std::vector<T> Updates() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return updates_;
  }
  /// All records since the last call, which are forgotten with it. For runs of very many.
  [[nodiscard]] std::vector<T> Take() {
    const std::lock_guard<std::mutex> lock(mutex_);
    threads_.clear();
    return std::exchange(updates_, {});
  }
  /// The latest record; a default one, and a failed test, when there is none.
  [[nodiscard]] T Last() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (updates_.empty()) {
      ADD_FAILURE() << "the observer was told nothing";
      return T{};
    }
    return updates_.back();
  }
  [[nodiscard]] std::vector<std::thread::id> Threads() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return threads_;
  }
  /// Waits until there were `count` updates.
  bool Await(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    const bool came =
        changed_.wait_for(lock, std::chrono::seconds(60), [&] { return updates_.size() >= count; });
    EXPECT_TRUE(came) << "waited in vain for update " << count;
    return came;
  }

 private:
  const std::function<void(const T&)> during_;
  mutable std::mutex mutex_;  // guards the members below
  std::condition_variable changed_;
  std::vector<T> updates_;
  std::vector<std::thread::id> threads_;
};

// Large values that are made again and again, such as the rows of a board: the memory of one that nobody
// reads any more serves the next, which spares the allocator and the system its pages. Thread-safe.
#pragma once

#include <memory>
#include <mutex>
#include <utility>

namespace frame {

/// Holds at most one value in reserve.
template <class Value>
class Recycler {
 public:
  /// A value for the caller to write: the one in reserve, with whatever it holds, or else a new one. When the
  /// last pointer to it goes, on any thread, it becomes the reserve. It may outlive this object.
  [[nodiscard]] std::shared_ptr<Value> Take() {
    std::unique_ptr<Value> value = reserve_->Exchange(nullptr);
    if (value == nullptr) {
      value = std::make_unique<Value>();
    }
    return {value.release(),
            [reserve = reserve_](Value* done) { reserve->Exchange(std::unique_ptr<Value>(done)); }};
  }

 private:
  class Reserve {
   public:
    // The value that was held, which the caller frees.
    std::unique_ptr<Value> Exchange(std::unique_ptr<Value> value) {
      const std::lock_guard<std::mutex> lock(mutex_);
      value_.swap(value);
      return value;
    }

   private:
    std::mutex mutex_;  // guards value_
    std::unique_ptr<Value> value_;
  };

  std::shared_ptr<Reserve> reserve_ = std::make_shared<Reserve>();
};

}  // namespace frame

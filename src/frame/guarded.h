// Access to an object that may not exist, or may go at any moment. Nobody keeps a pointer to the reference
// data: services run a function on it through this. Thread-safe.
#pragma once

#include <condition_variable>
#include <mutex>

namespace frame {

/// Holds a pointer to an object of somebody else. Trivially destructible in effect: it owns nothing.
template <class T>
class Guarded {
 public:
  /// Makes `object` reachable.
  void Set(T* object) {
    const std::lock_guard<std::mutex> lock(mutex_);
    object_ = object;
  }

  /// Makes the object unreachable and waits until every function that runs on it has returned. Then it may be
  /// deleted. Not to be called from inside such a function.
  void Clear() {
    std::unique_lock<std::mutex> lock(mutex_);
    object_ = nullptr;
    left_.wait(lock, [this] { return users_ == 0; });
  }

  /// Runs `function` on the object if there is one; the object stays until it returns. False when there is
  /// none.
  template <class Function>
  bool Run(Function&& function) {
    T* object = nullptr;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (object_ == nullptr) {
        return false;
      }
      object = object_;
      ++users_;
    }
    struct Leave {
      Guarded& guarded;
      ~Leave() {
        const std::lock_guard<std::mutex> lock(guarded.mutex_);
        if (--guarded.users_ == 0) {
          guarded.left_.notify_all();
        }
      }
    };
    const Leave leave{*this};
    function(*object);
    return true;
  }

 private:
  std::mutex mutex_;  // guards the members below
  T* object_ = nullptr;
  int users_ = 0;
  std::condition_variable left_;
};

}  // namespace frame

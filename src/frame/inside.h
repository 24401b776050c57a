// Somebody is inside: the one way in which an owner waits for those who are still at work with what it is
// about to take away. The gate of completions, the guarded look-up and tellings outside the list mutex stand
// on it. Thread-safe; nothing here allocates.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace frame {

/// A place that threads enter and leave and that its owner may close.
class Inside {
 public:
  /// Being inside, for as long as it lives; on the stack only. It is empty, and lets nobody in, when the
  /// place was closed before. `about` says what the visit is about, for `AwaitOthers`.
  class Scope {
   public:
    explicit Scope(Inside& place, const void* about = nullptr)
        : place_(place), about_(about), thread_(std::this_thread::get_id()) {
      const std::lock_guard<std::mutex> lock(place_.mutex_);
      inside_ = place_.open_;
      if (inside_) {
        next_ = place_.first_;
        place_.first_ = this;
      }
    }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
    ~Scope() {
      if (!inside_) {
        return;
      }
      const std::lock_guard<std::mutex> lock(place_.mutex_);
      Scope** link = &place_.first_;
      while (*link != this) {
        link = &(*link)->next_;
      }
      *link = next_;
      place_.left_.notify_all();  // under the lock: the owner may take the place away at once
    }

    [[nodiscard]] explicit operator bool() const { return inside_; }

   private:
    friend class Inside;

    Inside& place_;
    const void* const about_;
    const std::thread::id thread_;
    bool inside_ = false;
    Scope* next_ = nullptr;
  };

  explicit Inside(bool open = true) : open_(open) {}
  Inside(const Inside&) = delete;
  Inside& operator=(const Inside&) = delete;

  /// Lets visitors in from now on.
  void Open() {
    const std::lock_guard<std::mutex> lock(mutex_);
    open_ = true;
  }

  /// Lets nobody in any more and waits until every other thread has left.
  void Close() {
    std::unique_lock<std::mutex> lock(mutex_);
    open_ = false;
    Await(lock, [](const Scope&) { return true; });
  }

  [[nodiscard]] bool IsOpen() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return open_;
  }

  /// Waits until no other thread is inside about `about`.
  void AwaitOthers(const void* about) {
    std::unique_lock<std::mutex> lock(mutex_);
    Await(lock, [about](const Scope& scope) { return scope.about_ == about; });
  }

 private:
  template <class Concerns>
  void Await(std::unique_lock<std::mutex>& lock, Concerns concerns) {
    const std::thread::id self = std::this_thread::get_id();
    left_.wait(lock, [&] {
      const Scope* scope = first_;
      while (scope != nullptr && (scope->thread_ == self || !concerns(*scope))) {
        scope = scope->next_;
      }
      return scope == nullptr;
    });
  }

  std::mutex mutex_;  // guards the members below
  bool open_;
  Scope* first_ = nullptr;  // the newest visit
  std::condition_variable left_;
};

}  // namespace frame

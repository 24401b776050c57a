// Memory that runs out: the allocations of one thread fail from a number on. For programs with
// failing_memory.cpp among their sources, which replaces `operator new`.
#pragma once

#include <cstdlib>
#include <limits>
#include <new>

/// While it lives, allocation `number` (from 0) that this thread makes fails, alone or with all that follow.
class FailingMemory {
 public:
  FailingMemory(long number, bool all_later) {
    all_later_ = all_later;
    failed_ = false;
    left_ = number;
  }
  ~FailingMemory() { left_ = kNever; }
  FailingMemory(const FailingMemory&) = delete;
  FailingMemory& operator=(const FailingMemory&) = delete;

  /// Whether an allocation has failed.
  [[nodiscard]] static bool HasFailed() { return failed_; }

  /// Lets allocations succeed while it lives, such as those of the test itself.
  class Pause {
   public:
    Pause() : left_before_(left_) { left_ = kNever; }
    ~Pause() { left_ = left_before_; }
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;

   private:
    const long left_before_;
  };

  static void* Allocate(std::size_t size) {
    if (left_ != kNever && left_-- <= 0) {
      failed_ = true;
      left_ = all_later_ ? 0 : kNever;
      throw std::bad_alloc();
    }
    if (void* const memory = std::malloc(size != 0 ? size : 1)) {
      return memory;
    }
    throw std::bad_alloc();
  }

 private:
  static constexpr long kNever = std::numeric_limits<long>::max();
  static inline thread_local long left_ = kNever;
  static inline thread_local bool all_later_ = false;
  static inline thread_local bool failed_ = false;
};

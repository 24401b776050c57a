// What one answer may cost, so that no server can take a client's memory: an answer has at most 8 MiB, and
// whatever they say, decoding them takes at most 96 MiB more. A budget belongs to one answer and to one
// thread.
#pragma once

#include <cstddef>
#include <new>

namespace request::json {

inline constexpr std::size_t kMebibyte = std::size_t{1} << 20;
inline constexpr std::size_t kMostAnswer = 8 * kMebibyte;
inline constexpr std::size_t kMostAnswerMemory = 96 * kMebibyte;

/// Of these: the document, from its parsing to its end.
inline constexpr std::size_t kMostDocumentMemory = 32 * kMebibyte;

/// The records that are made from it, their texts and their index. As much again stays for copies of them (in
/// other orders, in a series); a reader whose records are copied more often requires for the copies too.
inline constexpr std::size_t kMostRecordMemory = 30 * kMebibyte;

/// The same for records of which cache, previous answer and views share one copy, or whose reader requires
/// for every copy: all that the answer itself and the document leave. A board of 10,000 stocks requires
/// 12 MiB.
inline constexpr std::size_t kMostSharedRecordMemory =
    kMostAnswerMemory - kMostDocumentMemory - kMostAnswer - kMebibyte;

/// An answer would take more memory than one may: handled like memory that is missing.
class TooMuchMemory : public std::bad_alloc {
 public:
  [[nodiscard]] const char* what() const noexcept override { return "an answer takes too much memory"; }
};

/// What is left for the records of one answer. Readers of records require what they are about to take, before
/// they take it.
class Budget {
 public:
  explicit Budget(std::size_t most = kMostRecordMemory) : left_(most) {}

  /// Throws `TooMuchMemory` when `count` times `bytes_each` is more than what is left.
  void Require(std::size_t count, std::size_t bytes_each) {
    std::size_t bytes = 0;
    if (__builtin_mul_overflow(count, bytes_each, &bytes) || bytes > left_) {
      throw TooMuchMemory();
    }
    left_ -= bytes;
  }

  /// What is not required yet.
  [[nodiscard]] std::size_t Left() const { return left_; }

 private:
  std::size_t left_;
};

/// What an index of records by their codes takes for each of them, at most.
inline constexpr std::size_t kIndexBytes = 60;

/// What the allocator adds to an allocation, and a node to what a list holds, at most.
inline constexpr std::size_t kAllocationOverhead = 24;
inline constexpr std::size_t kNodeBytes = 16 + kAllocationOverhead;

/// What a text or a vector holds beyond itself, its elements' own holdings aside.
template <class Sequence>
[[nodiscard]] std::size_t HeldBytes(const Sequence& sequence) {
  // A text without an allocation has this capacity, a vector none.
  return sequence.capacity() <= Sequence().capacity()
             ? 0
             : sequence.capacity() * sizeof(typename Sequence::value_type) + kAllocationOverhead;
}

}  // namespace request::json

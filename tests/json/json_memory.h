// What the program takes from the allocator, libraries included: for tests of what an answer costs. Counts
// all threads.
#pragma once

#include <cstddef>

namespace memory {

/// Bytes that are allocated at present.
[[nodiscard]] std::size_t Held();

/// The most bytes that were held at once since the last call of `StartPeak`.
[[nodiscard]] std::size_t Peak();
void StartPeak();

/// While it lives, the allocation by `new` after so many others fails, in this thread, and every later one.
class Shortage {
 public:
  explicit Shortage(std::size_t allocations);
  Shortage(const Shortage&) = delete;
  Shortage& operator=(const Shortage&) = delete;
  ~Shortage();

  /// An allocation failed.
  [[nodiscard]] bool WasFelt() const;
};

}  // namespace memory

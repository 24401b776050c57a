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

}  // namespace memory

// For threads and entry points that no exception may leave: no memory, or a function of the host that throws,
// is a failure like any other.
#pragma once

#include <type_traits>

namespace frame {

/// Takes a step: what it returns, true if that is nothing; false when it throws.
template <class Step>
[[nodiscard]] bool Succeeds(Step&& step) noexcept {
  try {
    if constexpr (std::is_void_v<std::invoke_result_t<Step&>>) {
      step();
      return true;
    } else {
      return step();
    }
  } catch (...) {
    return false;
  }
}

}  // namespace frame

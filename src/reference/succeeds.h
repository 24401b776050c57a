// For threads and entry points that no exception may leave: no memory, or a function of the host that throws,
// is a failure like any other.
#pragma once

namespace reference {

/// What `attempt()` returns; false when it throws.
template <class Attempt>
[[nodiscard]] bool Succeeds(Attempt&& attempt) noexcept {
  try {
    return attempt();
  } catch (...) {
    return false;
  }
}

}  // namespace reference

// A service that runs: made whole before its thread starts, stopped before it is taken apart.
#pragma once

#include <new>
#include <utility>

namespace frame {

/// The polling thread calls virtual operations and completions enter through the gate, so both may only be at
/// work while the object is whole: this wrapper starts the service as the last act of construction and stops
/// it as the first act of destruction. `Service` has `Start` and `Stop`.
template <class Service>
class Running final : public Service {
 public:
  template <class... Arguments>
  explicit Running(Arguments&&... arguments) : Service(std::forward<Arguments>(arguments)...) {
    this->Start();
  }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;
  ~Running() override { this->Stop(); }
};

/// Makes an object; null when there is no memory for it or its constructor throws.
template <class T, class... Arguments>
[[nodiscard]] T* MakeOrNull(Arguments&&... arguments) noexcept {
  try {
    return new (std::nothrow) T(std::forward<Arguments>(arguments)...);
  } catch (...) {
    return nullptr;
  }
}

}  // namespace frame

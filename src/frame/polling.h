// The most derived class of every polled service, and how services are made.
#pragma once

#include <new>
#include <type_traits>
#include <utility>

#include "frame/gate.h"

namespace frame {

/// Base of a service that hands out completions, tasks or call-backs: it passes them through `gate_`.
class Gated {
 protected:
  Gated() = default;
  ~Gated() = default;

  CompletionGate gate_;
};

/// A running service. The polling thread calls virtual operations, so it may only live while the object is
/// whole: this wrapper starts it as the last act of construction and stops it as the first act of
/// destruction, and then closes the gate of a service that has one.
template <class Service>
class Polling final : public Service {
 public:
  template <class... Arguments>
  explicit Polling(Arguments&&... arguments) : Service(std::forward<Arguments>(arguments)...) {
    this->StartPolling();
  }
  Polling(const Polling&) = delete;
  Polling& operator=(const Polling&) = delete;
  ~Polling() override {
    this->StopPolling();
    if constexpr (std::is_base_of_v<Gated, Service>) {
      this->gate_.Close();
    }
  }
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

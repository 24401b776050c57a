// Access to an object that may not exist, or may go at any moment: functions are run on it, nobody keeps a
// pointer. Thread-safe.
#pragma once

#include <atomic>
#include <utility>

#include "frame/inside.h"

namespace frame {

/// Holds a pointer to an object of somebody else.
template <class T>
class Guarded {
 public:
  /// Makes `object`, which is not null, reachable.
  void Set(T* object) {
    object_.store(object);
    inside_.Open();
  }

  /// Makes the object unreachable and waits until every function that another thread runs on it has returned.
  /// Then it may be deleted.
  void Clear() {
    inside_.Close();
    object_.store(nullptr);
  }

  /// Runs `function` on the object if there is one; the object stays until it returns. False when there is
  /// none.
  template <class Function>
  bool Run(Function&& function) {
    const Inside::Scope scope{inside_};
    if (!scope) {
      return false;
    }
    std::forward<Function>(function)(*object_.load());
    return true;
  }

 private:
  Inside inside_{false};
  std::atomic<T*> object_{nullptr};
};

}  // namespace frame

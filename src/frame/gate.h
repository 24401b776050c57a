// The gate between a service and whatever can outlive it: completions of requests, tasks, call-backs.
// Thread-safe.
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>

namespace frame {

/// A service passes every function that it hands out through its gate. Once the gate is closed no such
/// function gets in any more: calling it does nothing. Closing waits for those inside, never for those that
/// have not come yet.
class CompletionGate {
 public:
  CompletionGate() : state_(std::make_shared<State>()) {}
  CompletionGate(const CompletionGate&) = delete;
  CompletionGate& operator=(const CompletionGate&) = delete;
  ~CompletionGate() { Close(); }

  /// A function that runs `function` inside the gate. It may be called after the gate is gone.
  template <class Function>
  [[nodiscard]] auto Guard(Function function) const {
    return [state = state_, function = std::move(function)](auto&&... arguments) mutable {
      if (!state->Enter()) {
        return;
      }
      const Leave leave{*state};
      function(std::forward<decltype(arguments)>(arguments)...);
    };
  }

  /// Lets nobody in any more and waits until all that are inside have left. Not to be called from inside.
  void Close() {
    std::unique_lock<std::mutex> lock(state_->mutex);
    state_->closed = true;
    state_->left.wait(lock, [this] { return state_->inside == 0; });
  }

 private:
  struct State {
    bool Enter() {
      const std::lock_guard<std::mutex> lock(mutex);
      if (closed) {
        return false;
      }
      ++inside;
      return true;
    }

    std::mutex mutex;  // guards the members below
    bool closed = false;
    int inside = 0;
    std::condition_variable left;
  };

  struct Leave {
    State& state;
    ~Leave() {
      const std::lock_guard<std::mutex> lock(state.mutex);
      if (--state.inside == 0) {
        state.left.notify_all();
      }
    }
  };

  std::shared_ptr<State> state_;
};

}  // namespace frame

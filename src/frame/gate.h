// The gate between a service and whatever can outlive it: completions of requests, tasks, call-backs.
// Thread-safe.
#pragma once

#include <memory>
#include <utility>

#include "frame/inside.h"

namespace frame {

/// A service passes every function that it hands out through its gate. Once the gate is closed no such
/// function gets in any more: calling it does nothing. Closing waits for those inside, never for those that
/// have not come yet.
class CompletionGate {
 public:
  CompletionGate() : inside_(std::make_shared<Inside>()) {}
  CompletionGate(const CompletionGate&) = delete;
  CompletionGate& operator=(const CompletionGate&) = delete;
  ~CompletionGate() { Close(); }

  /// A function that runs `function` inside the gate. It may be called after the gate is gone.
  template <class Function>
  [[nodiscard]] auto Guard(Function function) const {
    return [inside = inside_, function = std::move(function)](auto&&... arguments) mutable {
      // The caller may let go of this function meanwhile.
      const std::shared_ptr<Inside> kept = inside;  // NOLINT(performance-unnecessary-copy-initialization)
      if (const Inside::Scope scope{*kept}) {
        function(std::forward<decltype(arguments)>(arguments)...);
      }
    };
  }

  /// A function that tells whether the gate is open still, for what runs outside of it and asks before each
  /// step. It may be called after the gate is gone.
  [[nodiscard]] auto Watch() const {
    return [inside = inside_] { return inside->IsOpen(); };
  }

  /// Lets nobody in any more and waits until every other thread that is inside has left.
  void Close() { inside_->Close(); }

 private:
  const std::shared_ptr<Inside> inside_;
};

}  // namespace frame

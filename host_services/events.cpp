#include "events.h"

#include <functional>
#include <mutex>
#include <shared_mutex>
#include <utility>

namespace stock_host {
namespace {

struct Listening {
  std::shared_mutex mutex;  // guards the listener; shared by those who call it
  std::function<void(const Event&)> listener;
};

// Leaked: callable until the very end of the process.
Listening& Listeners() {
  static Listening* const state = new Listening;
  return *state;
}

}  // namespace

void SetListener(std::function<void(const Event&)> listener) {
  Listening& state = Listeners();
  const std::unique_lock lock(state.mutex);
  state.listener = std::move(listener);
}

void Announce(Event::Kind kind, std::string_view text) {
  Listening& state = Listeners();
  const std::shared_lock lock(state.mutex);
  if (state.listener) {
    state.listener({kind, std::string(text)});
  }
}

}  // namespace stock_host

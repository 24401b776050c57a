// Sends requests: the one place where the module calls the host's network for the quote API. Thread-safe; no
// lock may be held by the caller, because a completion may run at once.
#pragma once

#include <cstddef>
#include <string>
#include <utility>

#include "frame/gate.h"
#include "host/network.h"

namespace request {

/// The settings that requests are sent with: seconds for the whole exchange.
inline constexpr int kQuickSeconds = 3;        ///< index quotes, strength, distribution, money effect
inline constexpr int kUsualSeconds = 30;       ///< every other asynchronous request
inline constexpr int kSynchronousSeconds = 8;  ///< every synchronous request, and the holidays

/// Asks for `url` and returns. `on_answer(ok, body, length)` runs inside the gate, on a thread of the host;
/// not at all once the gate is closed. An empty URL sends nothing.
template <class OnAnswer>
void Ask(const std::wstring& url, int seconds, const frame::CompletionGate& gate, OnAnswer on_answer) {
  if (url.empty()) {
    return;
  }
  GetAsyn(url, gate.Guard([on_answer = std::move(on_answer)](bool ok, const char* body, std::size_t length) {
    on_answer(ok, body, length);
  }),
          {}, seconds);
}

/// What came of a synchronous request.
struct SyncAnswer {
  bool ok = false;
  std::string body;
};

/// Asks for `url` and waits for the answer, in the caller's thread. An empty URL sends nothing and is a
/// failure.
[[nodiscard]] inline SyncAnswer AskNow(const std::wstring& url) {
  SyncAnswer answer;
  if (!url.empty()) {
    answer.ok = GetSync(url, answer.body, {}, kSynchronousSeconds);
  }
  return answer;
}

}  // namespace request

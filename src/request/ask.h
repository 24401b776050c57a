// Asking: the one place where the module calls the host's network for the quote API, and the one door through
// which answers come back. A service says what its request is, how it understands the answer, and whom it
// tells; what goes wrong on the way is written to the log here. Thread-safe; no lock may be held by the
// caller, because an answer may come at once.
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include "frame/gate.h"
#include "frame/succeeds.h"
#include "host/network.h"
#include "host/tasks.h"
#include "request/answer.h"

namespace request {

/// Seconds for the whole exchange of a synchronous request.
inline constexpr int kSynchronousSeconds = 8;

/// Asks for `url` and waits for the answer, in the caller's thread. An empty URL sends nothing and is a
/// failure.
[[nodiscard]] inline SyncAnswer AskNow(const std::wstring& url) {
  SyncAnswer answer;
  if (!url.empty()) {
    answer.ok = GetSync(url, answer.body, {}, kSynchronousSeconds);
  }
  return answer;
}

/// A request under way, for whoever wants to know whether its answer came.
class Pending {
 public:
  [[nodiscard]] bool IsAnswered() const { return answered_.load(); }

 protected:
  ~Pending() = default;

  std::atomic<bool> answered_ = false;
};

/// Takes a step of a fetch. False, after the fetch's failure line, when there was no memory for it or a
/// function of the host threw.
template <class Step>
[[nodiscard]] bool Succeeds(Fetch fetch, Step step) noexcept {
  const bool ok = frame::Succeeds(step);
  if (!ok) {
    LogFailed(fetch);
  }
  return ok;
}

/// A copy that functions may share without taking memory; null, after the failure line of the fetch, when
/// there is none for it.
template <class Value>
[[nodiscard]] std::shared_ptr<const Value> Shared(Fetch fetch, const Value& value) noexcept {
  std::shared_ptr<const Value> shared;
  static_cast<void>(Succeeds(fetch, [&] { shared = std::make_shared<const Value>(value); }));
  return shared;
}

/// Data for a service to hand out.
template <class Data>
[[nodiscard]] std::shared_ptr<Data> Share(Data data) {
  return std::make_shared<Data>(std::move(data));
}

/// What `failed` is for services that leave their views what they have.
struct LeaveViews {
  void operator()() const {}
};

/// A fetch of a service, with what its answers come back through.
struct Asking {
  Fetch fetch;
  const frame::CompletionGate& gate;
  LatestOf latest = {};
};

namespace detail {

// One request and what is to become of its answer.
template <class Understand, class Tell, class Failed>
class Exchange final : public Pending {
  using News = std::optional<std::invoke_result_t<Understand&, const Answer&>>;

 public:
  Exchange(const Asking& asking, Understand understand, Tell tell, Failed failed)
      : fetch_(asking.fetch),
        latest_(asking.latest),
        understand_(std::move(understand)),
        tell_(std::move(tell)),
        failed_(std::move(failed)) {}

  void Complete(const RawAnswer& raw) {
    answered_ = true;
    News news;
    Outcome outcome = Outcome::kFailed;
    const bool read = Succeeds(fetch_, [&] {
      const Answer answer = CheckAnswer(fetch_, raw, latest_);
      outcome = answer.outcome();
      if (answer) {
        news.emplace(understand_(answer));
      }
    });
    Hand(std::move(news), read ? outcome : Outcome::kFailed);
  }

  /// For the handler around the sending: what a view threw passes, anything else means that nothing was sent.
  void OnException() {
    if (thrown_by_view_) {
      throw;
    }
    if (!answered_) {
      answered_ = true;
      LogFailed(fetch_);
      Hand(News(), Outcome::kFailed);
    }
  }

 private:
  void Hand(News news, Outcome outcome) {
    try {
      if (news && !tell_(std::move(*news))) {
        LogFailed(fetch_);
        outcome = Outcome::kFailed;
      }
      if (outcome != Outcome::kAccepted && outcome != Outcome::kStale) {
        failed_();
      }
    } catch (...) {
      thrown_by_view_ = true;
      throw;
    }
  }

  const Fetch fetch_;
  const LatestOf latest_;
  Understand understand_;
  Tell tell_;
  Failed failed_;
  std::atomic<bool> thrown_by_view_ = false;
};

// One request, which `send(address, exchange)` hands to the host.
template <class MakeUrl, class Understand, class Tell, class Failed, class Send>
std::shared_ptr<const Pending> Start(const Asking& asking, MakeUrl url, Understand understand, Tell tell,
                                     Failed failed, Send send) {
  using Made = Exchange<Understand, Tell, Failed>;
  std::shared_ptr<Made> exchange;
  const bool made = Succeeds(asking.fetch, [&] {
    exchange = std::make_shared<Made>(asking, std::move(understand), std::move(tell), failed);
  });
  if (!made) {
    failed();
    return nullptr;
  }
  try {
    const std::wstring address = url();
    if (address.empty()) {
      return nullptr;
    }
    send(address, exchange);
  } catch (...) {
    exchange->OnException();
  }
  return exchange;
}

}  // namespace detail

/// Asks for `url()` and returns. The answer comes on a thread of the host, inside the gate, or not at all
/// once the gate is closed: `understand(answer)` reads an accepted one, and `tell(news)` tells what it gave;
/// `tell` is false when there was no memory for it. `failed()` follows whatever went wrong, except that an
/// answer was stale. An empty URL sends nothing, and nothing follows.
///
/// Whatever cannot be done for want of memory, or because a function of the host throws, is a failed fetch;
/// only what a view throws passes through.
template <class MakeUrl, class Understand, class Tell, class Failed = LeaveViews>
std::shared_ptr<const Pending> Ask(const Asking& asking, MakeUrl url, Understand understand, Tell tell,
                                   Failed failed = {}) {
  return detail::Start(asking, url, std::move(understand), std::move(tell), failed,
                       [&asking](const std::wstring& address, const auto& exchange) {
                         GetAsyn(address,
                                 asking.gate.Guard([exchange](bool ok, const char* body, std::size_t length) {
                                   exchange->Complete({ok, body, length});
                                 }),
                                 {}, SecondsOf(asking.fetch));
                       });
}

/// The same in a task of the host's pool, which waits for the answer. The request runs outside the gate,
/// which is closed without waiting for the wire; a task that begins after that sends nothing.
template <class MakeUrl, class Understand, class Tell>
void AskInTask(const Asking& asking, MakeUrl url, Understand understand, Tell tell) {
  detail::Start(
      asking, url, std::move(understand), std::move(tell), LeaveViews(),
      [&asking](const std::wstring& address, const auto& exchange) {
        auto complete =
            asking.gate.Guard([exchange](const SyncAnswer& answer) { exchange->Complete(answer.Raw()); });
        base::TaskManagerInstance()->AddTask([address, complete, is_wanted = asking.gate.Watch()]() mutable {
          if (!is_wanted()) {
            return;
          }
          SyncAnswer answer;
          if (!frame::Succeeds([&] { answer = AskNow(address); })) {
            answer = {};  // a failed request
          }
          complete(answer);
        });
      });
}

}  // namespace request

// The one-off request for all (code, name) pairs of a board or of a kind of plates: the latest call wins,
// earlier ones are dropped without a word. Thread-safe.
#pragma once

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <cstdint>
#include <string>

#include "frame/field.h"
#include "frame/gate.h"
#include "request/answer.h"
#include "request/ask.h"
#include "request/code_names.h"
#include "request/stamp.h"

namespace request {

class ItemRequest {
 public:
  /// `lock` is the service's own; it guards the stamp. `gate` is the service's gate. Both outlive this.
  ItemRequest(Fetch fetch, boost::mutex& lock, const frame::CompletionGate& gate)
      : fetch_(fetch), lock_(lock), gate_(gate) {}

  /// Asks for `url` and hands the list to `done`, on a thread of the host; not after a failure or a later
  /// call.
  void Send(const std::wstring& url, const CodeNameCallback& done) {
    std::int64_t stamp = 0;
    {
      const boost::lock_guard<boost::mutex> guard(lock_);
      stamp = latest_.Advance();
    }
    Ask(url, kUsualSeconds, gate_, [this, stamp, done](bool ok, const char* body, std::size_t length) {
      const auto is_latest = [this, stamp] {
        const boost::lock_guard<boost::mutex> guard(lock_);
        return latest_.IsLatest(stamp);
      };
      const Answer answer = CheckAnswer(fetch_, ok, body, length, is_latest);
      if (answer && done) {
        done(ReadCodeNames(answer.DataArray()));
      }
    });
  }

 private:
  const Fetch fetch_;
  boost::mutex& lock_;
  const frame::CompletionGate& gate_;
  Stamp latest_;  // guarded by lock_
};

}  // namespace request

// The services that send one request per key. Each says what it asks for and how it reads the answer, and
// what is its own: directions, trends. Collecting keys, asking, checking and telling stand here.
#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "frame/polled_subject.h"
#include "frame/stamp.h"
#include "request/ask.h"

namespace request {

/// Which requests of a service count.
enum class Counts {
  kEveryRequest,   ///< all, unless a newer one of the same key was answered before
  kLatestRequest,  ///< the latest only, whatever it was for
};

template <class Interface>
class KeyedService : public frame::PolledSubject<Interface> {
 public:
  using Key = typename Interface::Target;
  using Data = typename Interface::Told;

  void Fetch() override { AskForEach(); }

 protected:
  explicit KeyedService(request::Fetch fetch, Counts counts = Counts::kEveryRequest)
      : fetch_(fetch), counts_(counts) {}

  // Ask

  /// Whether the polling asks for a key; false for one that is not set.
  virtual bool IsSet(const Key& /*key*/) { return true; }

  virtual std::wstring UrlOf(const Key& key) = 0;

  // Understand

  /// The data of an accepted answer; null when there is nothing to tell.
  virtual std::shared_ptr<Data> Read(const Key& key, const Answer& answer) = 0;

  // Tell

  /// Compares new data with what was told before, in the order of the telling. Under the list mutex: what
  /// only this operation touches needs no lock.
  virtual void Compare(const std::shared_ptr<Data>& /*news*/) {}

  /// Asks for every key of active observers that is set and `wanted(key)`. The last of the requests; null
  /// when it was not sent.
  template <class Wanted>
  std::shared_ptr<const Pending> AskForEach(Wanted wanted) {
    std::vector<Key> keys;
    const bool known = Succeeds(fetch_, [&] {
      keys = this->ActiveKeys();
      std::erase_if(keys, [&](const Key& key) { return !IsSet(key) || !wanted(key); });
    });
    if (!known) {
      return nullptr;
    }
    std::shared_ptr<const Pending> last;
    for (const Key& key : keys) {
      last = AskFor(key);
    }
    return last;
  }
  std::shared_ptr<const Pending> AskForEach() {
    return AskForEach([](const Key&) { return true; });
  }

  /// Asks for one key, whether it is set or not.
  std::shared_ptr<const Pending> AskFor(const Key& key) {
    const auto shared = Shared(fetch_, key);
    if (shared == nullptr) {
      return nullptr;
    }
    const frame::Stamp stamp = stamps_.Next();
    const frame::Stamps* const latest = counts_ == Counts::kLatestRequest ? &stamps_ : nullptr;
    return Ask(
        {fetch_, this->gate_, {latest, stamp}}, [&] { return UrlOf(key); },
        [this, shared](const Answer& answer) { return Read(*shared, answer); },
        [this, shared, stamp](const std::shared_ptr<Data>& news) {
          return news == nullptr || this->Tell(*shared, stamp, {}, [&] {
            Compare(news);
            return news;
          });
        });
  }

 private:
  const request::Fetch fetch_;
  const Counts counts_;
  frame::Stamps stamps_;
};

}  // namespace request

// Newest wins: which request's answer was told last, per key. An older answer that comes late is neither told
// nor kept. Not thread-safe: it belongs to those who hold the list mutex of the service.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <unordered_map>

#include "frame/key_hash.h"
#include "frame/stamp.h"
#include "frame/sweep.h"

namespace frame {

template <class Key>
class NewestTold {
 public:
  /// True unless an answer of a newer request of the key was told.
  [[nodiscard]] bool Admits(const Key& key, Stamp stamp) const {
    const auto found = told_.find(key);
    return found == told_.end() || MayFollow(stamp, found->second.stamp);
  }

  /// Notes that an answer of the request is told; `now` in ticks.
  void Told(const Key& key, Stamp stamp, std::int64_t now) { told_[key] = {stamp, now}; }

  /// Forgets keys of which `is_shown(key)` is false and of which nothing was told for so long that no answer
  /// can be under way any more.
  void Sweep(std::int64_t now, const std::function<bool(const Key&)>& is_shown) {
    NoMutex none;
    SweepOld(none, told_, swept_, kLongestAnswer, now, is_shown);
  }

 private:
  static constexpr std::int64_t kLongestAnswer = 120'000;  // milliseconds, and more than any request lasts

  struct NoMutex {
    void lock() {}
    void unlock() {}
  };

  struct Entry {
    Stamp stamp = 0;
    std::int64_t since = 0;
  };

  std::unordered_map<Key, Entry, KeyHash> told_;
  std::atomic<std::int64_t> swept_ = 0;
};

}  // namespace frame

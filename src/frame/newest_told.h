// Newest wins: which request's answer was told last, per key. An older answer that comes late is neither told
// nor kept. Thread-safe.
#pragma once

#include <cstdint>
#include <mutex>
#include <unordered_map>

#include "frame/key_hash.h"
#include "frame/stamp.h"
#include "frame/sweep.h"
#include "frame/ticks.h"

namespace frame {

template <class Key>
class NewestTold {
 public:
  /// True unless an answer of a newer request of the key was told.
  [[nodiscard]] bool Admits(const Key& key, Stamp stamp) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = told_.find(key);
    return found == told_.end() || MayFollow(stamp, found->second.stamp);
  }

  /// Notes that an answer of the request is told.
  void Told(const Key& key, Stamp stamp) {
    const std::lock_guard<std::mutex> lock(mutex_);
    told_[key] = {stamp, Ticks()};
  }

  /// Forgets keys of which `is_shown(key)` is false and of which nothing was told for so long that no answer
  /// can be under way any more.
  template <class IsShown>
  void Sweep(IsShown is_shown) {
    SweepOld(mutex_, told_, swept_, kLongestAnswer, is_shown);
  }

 private:
  static constexpr std::int64_t kLongestAnswer = 120'000;  // milliseconds, and more than any request lasts

  struct Entry {
    Stamp stamp = 0;
    std::int64_t since = 0;
  };

  mutable std::mutex mutex_;  // guards the members below
  std::unordered_map<Key, Entry, KeyHash> told_;
  std::int64_t swept_ = 0;
};

}  // namespace frame

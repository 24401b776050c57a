// The last data of each key and how fresh they are: what a view gets at once when it is shown again.
// Thread-safe.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "frame/key_hash.h"
#include "frame/stamp.h"
#include "frame/sweep.h"
#include "frame/ticks.h"

namespace frame {

/// What is older than this is not fresh any more.
inline constexpr std::int64_t kFreshMilliseconds = 300;

/// Data are those of the subject, whose type is its own affair, so that subjects whose keys are of one type
/// share the code.
template <class Key>
class LastTold {
 public:
  /// Replaces the data of the key by those of the request `stamp`; they are fresh from `now` on, in ticks.
  void Keep(const Key& key, std::shared_ptr<const void> data, Stamp stamp, std::int64_t now) {
    // The data before are let go of after the lock.
    const std::lock_guard<std::mutex> lock(mutex_);
    Entry& entry = entries_[key];
    entry.data.swap(data);
    entry.stamp = stamp;
    entry.since = last_update_ = now;
  }

  /// Whether what is kept of the key, if anything, is not of a newer request.
  [[nodiscard]] bool Admits(const Key& key, Stamp stamp) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = entries_.find(key);
    return found == entries_.end() || MayFollow(stamp, found->second.stamp);
  }

  void Drop(const Key& key) {
    const std::lock_guard<std::mutex> lock(mutex_);
    entries_.erase(key);
  }

  enum class Found {
    kNothing,  ///< nothing was kept for any key lately, or nothing for this one
    kOld,      ///< the data were shown, but are not fresh themselves
    kFresh,    ///< the data were shown
  };

  /// Shows the data of the key with `show(pointer)`, if anything was kept within the last 300 ms. The mutex
  /// is held meanwhile, so that newer data are told after them, not before.
  Found ShowIfFresh(const Key& key, const std::function<void(const void*)>& show) {
    const std::int64_t now = Ticks();
    const std::lock_guard<std::mutex> lock(mutex_);
    // A clock that was set back makes nothing old.
    if (MillisecondsBetween(last_update_, now) > kFreshMilliseconds) {
      return Found::kNothing;
    }
    const auto found = entries_.find(key);
    if (found == entries_.end()) {
      return Found::kNothing;
    }
    const bool fresh = MillisecondsBetween(found->second.since, now) <= kFreshMilliseconds;
    show(found->second.data.get());
    return fresh ? Found::kFresh : Found::kOld;
  }

  /// Drops what is not fresh and of whose key `is_shown(key)` is false.
  void Sweep(std::int64_t now, const std::function<bool(const Key&)>& is_shown) {
    SweepOld(mutex_, entries_, swept_, kFreshMilliseconds, now, is_shown);
  }

 private:
  struct Entry {
    std::shared_ptr<const void> data;
    std::int64_t since = 0;  // when it was kept
    Stamp stamp = 0;         // of the request
  };

  std::mutex mutex_;  // guards the two members below
  std::unordered_map<Key, Entry, KeyHash> entries_;
  std::int64_t last_update_ = 0;
  std::atomic<std::int64_t> swept_ = 0;
};

}  // namespace frame

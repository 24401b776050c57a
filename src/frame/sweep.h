// What ends the memory of keys that nobody shows any more. Thread-safe.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

#include "frame/ticks.h"

namespace frame {

/// Erases the entries that are there for more than `longest` milliseconds, or since a moment to come, and of
/// whose key `is_shown(key)` is false. `entries` is guarded by `mutex`; `is_shown` is asked without it. Looks
/// once in `longest` milliseconds, so that it costs next to nothing while much is held: `swept` is the moment
/// of the last time, as `now` in ticks. An entry has a member `since`, in ticks.
template <class Mutex, class Entries>
void SweepOld(Mutex& mutex, Entries& entries, std::atomic<std::int64_t>& swept, std::int64_t longest,
              std::int64_t now, const std::function<bool(const typename Entries::key_type&)>& is_shown) {
  const auto is_old = [now, longest](std::int64_t since) {
    const std::int64_t age = MillisecondsBetween(since, now);
    return age > longest || age < 0;
  };
  if (!is_old(swept)) {
    return;
  }
  swept = now;
  std::vector<typename Entries::key_type> old;
  {
    const std::lock_guard<Mutex> lock(mutex);
    for (const auto& [key, entry] : entries) {
      if (is_old(entry.since)) {
        old.push_back(key);
      }
    }
  }
  std::erase_if(old, is_shown);
  std::vector<typename Entries::node_type> gone;  // let go of after the lock
  gone.reserve(old.size());
  const std::lock_guard<Mutex> lock(mutex);
  for (const auto& key : old) {
    const auto found = entries.find(key);
    if (found != entries.end() && is_old(found->second.since)) {
      gone.push_back(entries.extract(found));
    }
  }
}

}  // namespace frame

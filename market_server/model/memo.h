// A small cache of immutable values that are dear to make, most recently used first. Thread-safe; a value is
// made once even when several threads ask for it together, and lives as long as somebody holds it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace market_server::model {

template <class Key, class Value>
class Memo {
 public:
  using Pointer = std::shared_ptr<const Value>;

  explicit Memo(std::size_t capacity) : capacity_(capacity) {}

  [[nodiscard]] Pointer Find(const Key& key) {
    const std::lock_guard lock(mutex_);
    const auto found =
        std::find_if(held_.begin(), held_.end(), [&](const auto& entry) { return entry.first == key; });
    if (found == held_.end()) {
      return nullptr;
    }
    std::rotate(held_.begin(), found, found + 1);
    return held_.front().second;
  }

  /// `make` returns a Pointer and runs under the making lock only.
  template <class Make>
  [[nodiscard]] Pointer Get(const Key& key, const Make& make) {
    if (Pointer value = Find(key)) {
      return value;
    }
    const std::lock_guard making(making_);
    if (Pointer value = Find(key)) {
      return value;
    }
    Pointer value = make();
    Put(key, value);
    return value;
  }

  /// Takes the place of the value held for the key, if there is one.
  void Put(const Key& key, Pointer value) {
    std::vector<std::pair<Key, Pointer>> dropped;  ///< their end, which may be long, comes after the lock's
    const std::lock_guard lock(mutex_);
    const auto kept = std::stable_partition(held_.begin(), held_.end(),
                                            [&](const auto& entry) { return entry.first != key; });
    dropped.assign(std::make_move_iterator(kept), std::make_move_iterator(held_.end()));
    held_.erase(kept, held_.end());
    held_.insert(held_.begin(), {key, std::move(value)});
    if (held_.size() > capacity_) {
      dropped.push_back(std::move(held_.back()));
      held_.pop_back();
    }
  }

 private:
  std::size_t capacity_;
  std::mutex making_;  ///< one value is made at a time; taken before mutex_
  std::mutex mutex_;   ///< guards held_
  std::vector<std::pair<Key, Pointer>> held_;
};

}  // namespace market_server::model

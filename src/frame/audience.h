// Who is attached to a subject, who of them is active, and which key each of them shows. Thread-safe.
//
// Lock order: the list mutex, then the key mutex. The list mutex is held for as long as a walk over the
// observers lasts, so that an observer that has detached or was suspended is not called any more; nobody
// attaches, detaches, suspends or resumes meanwhile. Keys may change at any time.
#pragma once

#include <algorithm>
#include <boost/multi_index/hashed_index.hpp>
#include <boost/multi_index/member.hpp>
#include <boost/multi_index/ordered_index.hpp>
#include <boost/multi_index_container.hpp>
#include <boost/range/iterator_range_core.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/mutex.hpp>
#include <cstdint>
#include <functional>
#include <optional>
#include <unordered_set>
#include <utility>
#include <vector>

#include "frame/inside.h"
#include "frame/key_hash.h"

namespace frame {

/// Observers are known by their addresses alone, so that subjects whose keys are of one type share the code.
template <class Key>
class Audience {
  using Obs = void;
  using ListLock = boost::lock_guard<boost::mutex>;
  using KeyLock = boost::lock_guard<boost::mutex>;

 public:
  /// Adds the observer, suspended; suspends it when it is attached already.
  void Attach(Obs* obs) {
    const ListLock lock(list_mutex_);
    const KeyLock keys(key_mutex_);
    const auto found = entries_.insert({obs, 0, false, std::nullopt}).first;
    if (found->place == 0) {
      entries_.modify(found, [this](Entry& entry) { entry.place = ++latest_place_; });
    }
    found->suspended = true;
  }

  /// Removes the observer and its key, and waits for tellings of it outside the list mutex on other threads.
  void Detach(Obs* obs) {
    {
      const ListLock lock(list_mutex_);
      const KeyLock keys(key_mutex_);
      if (entries_.erase(obs) == 0) {
        return;
      }
    }
    alone_.AwaitOthers(obs);
  }

  void Suspend(Obs* obs) { SetSuspended(obs, true); }

  /// True when the observer was suspended; it is active now.
  bool Resume(Obs* obs) { return SetSuspended(obs, false); }

  [[nodiscard]] bool IsSuspended(Obs* obs) {
    const ListLock lock(list_mutex_);
    const KeyLock keys(key_mutex_);
    const Entry* const entry = Attached(obs);
    return entry != nullptr && entry->suspended;
  }

  [[nodiscard]] bool HasActive() {
    const ListLock lock(list_mutex_);
    const KeyLock keys(key_mutex_);
    const auto attached = AllAttached();
    return std::any_of(attached.begin(), attached.end(), [](const Entry& entry) { return !entry.suspended; });
  }

  /// Sets what the observer, attached or not, shows. When there is no memory for it nothing has changed.
  void Show(Obs* obs, const Key& key) {
    std::optional<Key> mine(key);
    const KeyLock lock(key_mutex_);
    if (const auto found = entries_.find(obs); found != entries_.end()) {
      entries_.modify(found, [&mine](Entry& entry) { entry.key.swap(mine); });
    } else {
      entries_.insert({obs, 0, false, std::move(mine)});
    }
  }

  /// The observer shows nothing any more.
  void ShowNothing(Obs* obs) {
    const KeyLock lock(key_mutex_);
    const auto found = entries_.find(obs);
    if (found == entries_.end()) {
      return;
    }
    if (found->place == 0) {
      entries_.erase(found);
    } else {
      entries_.modify(found, [](Entry& entry) { entry.key.reset(); });
    }
  }

  /// Reads what the observer shows. False, with `out` untouched, when that is nothing.
  bool KeyOf(Obs* obs, Key& out) {
    const KeyLock lock(key_mutex_);
    const auto found = entries_.find(obs);
    if (found == entries_.end() || !found->key) {
      return false;
    }
    out = *found->key;
    return true;
  }

  /// Appends the keys of all who are not suspended, in the order of the observers' pointers, those aside that
  /// `out` holds already.
  void AppendActiveKeys(std::vector<Key>& out) {
    std::unordered_set<Key, KeyHash> seen(out.begin(), out.end());
    const ListLock lock(list_mutex_);
    const KeyLock keys(key_mutex_);
    for (const Entry& entry : entries_) {
      if (entry.key && !entry.suspended && seen.insert(*entry.key).second) {
        out.push_back(*entry.key);
      }
    }
  }

  /// True when an attached observer shows the key.
  [[nodiscard]] bool IsShown(const Key& key) {
    const KeyLock lock(key_mutex_);
    const auto shown = Showing(key);
    return std::any_of(shown.begin(), shown.end(), [](const Entry& entry) { return entry.place != 0; });
  }

  /// An observer as a walk meets it.
  struct Viewer {
    Obs* obs;
    bool active;
    std::uint64_t place;  ///< in the order of attaching
  };

  /// A walk over the observers: holds the list mutex for as long as it lives.
  class Walk {
   public:
    explicit Walk(Audience& audience) : audience_(audience), lock_(audience.list_mutex_) {}

    /// Those who show `key`, in the order in which they attached.
    [[nodiscard]] std::vector<Viewer> Of(const Key& key) const {
      const KeyLock keys(audience_.key_mutex_);
      std::vector<Viewer> viewers = ViewersOf(audience_.Showing(key));
      std::sort(viewers.begin(), viewers.end(),
                [](const Viewer& left, const Viewer& right) { return left.place < right.place; });
      return viewers;
    }

    /// All who are attached, in the order in which they attached.
    [[nodiscard]] std::vector<Viewer> All() const {
      const KeyLock keys(audience_.key_mutex_);
      return ViewersOf(audience_.AllAttached());
    }

    [[nodiscard]] bool Shows(Obs* obs, const Key& key) const {
      const KeyLock keys(audience_.key_mutex_);
      const Entry* const entry = audience_.Attached(obs);
      return entry != nullptr && entry->key && *entry->key == key;
    }

    [[nodiscard]] bool IsAttached(Obs* obs) const {
      const KeyLock keys(audience_.key_mutex_);
      return audience_.Attached(obs) != nullptr;
    }

   private:
    template <class Entries>
    static std::vector<Viewer> ViewersOf(const Entries& entries) {
      std::vector<Viewer> viewers;
      for (const Entry& entry : entries) {
        if (entry.place != 0) {
          viewers.push_back({entry.obs, !entry.suspended, entry.place});
        }
      }
      return viewers;
    }

    Audience& audience_;
    const boost::unique_lock<boost::mutex> lock_;
  };

  /// A telling of one observer without the list mutex: `Detach` waits for it, unless it is called inside. It
  /// is empty when the observer is not attached.
  class Alone {
   public:
    Alone(Audience& audience, Obs* obs) : Alone(audience, obs, ListLock(audience.list_mutex_)) {}

    [[nodiscard]] explicit operator bool() const { return attached_; }

   private:
    // Entered under the list mutex: whoever detaches the observer later finds it inside.
    Alone(Audience& audience, Obs* obs, const ListLock&)
        : scope_(audience.alone_, obs), attached_(audience.IsKnown(obs)) {}

    const Inside::Scope scope_;
    const bool attached_;
  };

 private:
  struct Entry {
    Obs* obs;
    std::uint64_t place;     // in the order of attaching; 0: not attached, it only has a key
    mutable bool suspended;  // in no index
    std::optional<Key> key;
  };

  // False when it changed nothing.
  bool SetSuspended(Obs* obs, bool suspended) {
    const ListLock lock(list_mutex_);
    const KeyLock keys(key_mutex_);
    const Entry* const entry = Attached(obs);
    return entry != nullptr && std::exchange(entry->suspended, suspended) != suspended;
  }

  [[nodiscard]] const Entry* Attached(Obs* obs) const {
    const auto found = entries_.find(obs);
    return found != entries_.end() && found->place != 0 ? &*found : nullptr;
  }

  [[nodiscard]] auto AllAttached() const {
    const auto& entries = entries_.template get<1>();
    return boost::make_iterator_range(entries.upper_bound(0), entries.end());
  }

  // Attached or not.
  [[nodiscard]] auto Showing(const Key& key) const {
    return boost::make_iterator_range(
        entries_.template get<2>().equal_range(key, KeyHash{}, std::equal_to<>{}));
  }

  [[nodiscard]] bool IsKnown(Obs* obs) {
    const KeyLock keys(key_mutex_);
    return entries_.find(obs) != entries_.end();
  }

  using ObserverOf = boost::multi_index::member<Entry, Obs*, &Entry::obs>;
  using PlaceOf = boost::multi_index::member<Entry, std::uint64_t, &Entry::place>;
  using KeyOfEntry = boost::multi_index::member<Entry, std::optional<Key>, &Entry::key>;

  boost::mutex list_mutex_;  // held while observers are walked
  boost::mutex key_mutex_;   // guards the two members below
  boost::multi_index_container<
      Entry, boost::multi_index::indexed_by<boost::multi_index::ordered_unique<ObserverOf>,
                                            boost::multi_index::ordered_non_unique<PlaceOf>,
                                            boost::multi_index::hashed_non_unique<KeyOfEntry, KeyHash>>>
      entries_;
  std::uint64_t latest_place_ = 0;
  Inside alone_;  // tellings outside the list mutex
};

}  // namespace frame

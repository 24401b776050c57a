// Who is attached to a subject, who of them is active, and which key each of them shows. Thread-safe.
//
// Lock order: the list mutex, then the key mutex. The list mutex is held for as long as a walk over the
// observers lasts, so that an observer that has detached or was suspended is not called any more; nobody
// attaches, detaches, suspends or resumes meanwhile. Keys may change at any time.
#pragma once

#include <algorithm>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/mutex.hpp>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "frame/inside.h"

namespace frame {

template <class Obs, class Key>
class Audience {
  using ListLock = boost::lock_guard<boost::mutex>;
  using KeyLock = boost::lock_guard<boost::mutex>;

 public:
  /// Adds the observer, suspended; suspends it when it is attached already.
  void Attach(Obs* obs) {
    const ListLock lock(list_mutex_);
    const KeyLock keys(key_mutex_);
    Entry& entry = entries_[obs];
    if (entry.place == 0) {
      attached_.emplace(latest_place_ + 1, obs);
      entry.place = ++latest_place_;
      ++suspended_;
    } else if (!entry.suspended) {
      ++suspended_;
    }
    entry.suspended = true;
  }

  /// Removes the observer and its key, and waits for tellings of it outside the list mutex on other threads.
  void Detach(Obs* obs) {
    {
      const ListLock lock(list_mutex_);
      const KeyLock keys(key_mutex_);
      const auto found = entries_.find(obs);
      if (found == entries_.end()) {
        return;
      }
      Unlist(found->second, obs);
      if (found->second.place != 0) {
        attached_.erase(found->second.place);
        suspended_ -= found->second.suspended ? 1U : 0U;
      }
      entries_.erase(found);
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
    return suspended_ < attached_.size();
  }

  /// Sets what the observer, attached or not, shows. When there is no memory for it nothing has changed.
  void Show(Obs* obs, const Key& key) {
    Key mine = key;
    const KeyLock lock(key_mutex_);
    std::set<Obs*>& now = shown_[key];
    try {
      Entry& entry = entries_[obs];
      if (entry.key && *entry.key == key) {
        return;
      }
      now.insert(obs);
      Unlist(entry, obs);
      entry.key = std::move(mine);
    } catch (...) {
      Forget(key);
      const auto found = entries_.find(obs);
      if (found != entries_.end() && found->second.place == 0 && !found->second.key) {
        entries_.erase(found);
      }
      throw;
    }
  }

  /// The observer shows nothing any more.
  void ShowNothing(Obs* obs) {
    const KeyLock lock(key_mutex_);
    const auto found = entries_.find(obs);
    if (found == entries_.end()) {
      return;
    }
    Unlist(found->second, obs);
    if (found->second.place == 0) {
      entries_.erase(found);
    }
  }

  /// Reads what the observer shows. False, with `out` untouched, when that is nothing.
  bool KeyOf(Obs* obs, Key& out) {
    const KeyLock lock(key_mutex_);
    const auto found = entries_.find(obs);
    if (found == entries_.end() || !found->second.key) {
      return false;
    }
    out = *found->second.key;
    return true;
  }

  /// Appends the keys of all who are not suspended, in the order of the observers' pointers, those aside that
  /// `out` holds already.
  void AppendActiveKeys(std::vector<Key>& out) {
    std::set<Key> seen(out.begin(), out.end());
    const ListLock lock(list_mutex_);
    const KeyLock keys(key_mutex_);
    for (const auto& [obs, entry] : entries_) {
      if (entry.key && !entry.suspended && seen.insert(*entry.key).second) {
        out.push_back(*entry.key);
      }
    }
  }

  /// True when an attached observer shows the key.
  [[nodiscard]] bool IsShown(const Key& key) {
    const KeyLock lock(key_mutex_);
    const auto found = shown_.find(key);
    return found != shown_.end() && std::any_of(found->second.begin(), found->second.end(),
                                                [this](Obs* obs) { return Attached(obs) != nullptr; });
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
      std::vector<Viewer> viewers;
      if (const auto found = audience_.shown_.find(key); found != audience_.shown_.end()) {
        for (Obs* const obs : found->second) {
          if (const Entry* const entry = audience_.Attached(obs)) {
            viewers.push_back({obs, !entry->suspended, entry->place});
          }
        }
      }
      std::sort(viewers.begin(), viewers.end(),
                [](const Viewer& left, const Viewer& right) { return left.place < right.place; });
      return viewers;
    }

    /// All who are attached, in the order in which they attached.
    [[nodiscard]] std::vector<Viewer> All() const {
      const KeyLock keys(audience_.key_mutex_);
      std::vector<Viewer> viewers;
      viewers.reserve(audience_.attached_.size());
      for (const auto& [place, obs] : audience_.attached_) {
        viewers.push_back({obs, !audience_.Attached(obs)->suspended, place});
      }
      return viewers;
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
    std::uint64_t place = 0;  // in the order of attaching; 0: not attached, it only has a key
    bool suspended = false;
    std::optional<Key> key;
  };

  // False when it changed nothing.
  bool SetSuspended(Obs* obs, bool suspended) {
    const ListLock lock(list_mutex_);
    const KeyLock keys(key_mutex_);
    Entry* const entry = Attached(obs);
    if (entry == nullptr || entry->suspended == suspended) {
      return false;
    }
    entry->suspended = suspended;
    suspended ? ++suspended_ : --suspended_;
    return true;
  }

  [[nodiscard]] Entry* Attached(Obs* obs) {
    const auto found = entries_.find(obs);
    return found != entries_.end() && found->second.place != 0 ? &found->second : nullptr;
  }

  [[nodiscard]] bool IsKnown(Obs* obs) {
    const KeyLock keys(key_mutex_);
    return entries_.count(obs) != 0;
  }

  // Takes the observer out of those who show its key.
  void Unlist(Entry& entry, Obs* obs) {
    if (!entry.key) {
      return;
    }
    if (const auto found = shown_.find(*entry.key); found != shown_.end()) {
      found->second.erase(obs);
      if (found->second.empty()) {
        shown_.erase(found);
      }
    }
    entry.key.reset();
  }

  void Forget(const Key& key) {
    if (const auto found = shown_.find(key); found != shown_.end() && found->second.empty()) {
      shown_.erase(found);
    }
  }

  boost::mutex list_mutex_;  // held while observers are walked
  boost::mutex key_mutex_;   // guards the members below but alone_
  std::map<Obs*, Entry> entries_;
  std::map<std::uint64_t, Obs*> attached_;
  std::map<Key, std::set<Obs*>> shown_;  // who shows a key, attached or not
  std::uint64_t latest_place_ = 0;
  std::size_t suspended_ = 0;  // of those attached
  Inside alone_;               // tellings outside the list mutex
};

}  // namespace frame

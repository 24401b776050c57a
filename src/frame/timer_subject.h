// The subject that every polled service is: observers, the key that each of them shows, a cache of the last
// data per key, and one thread that fetches again and again while an observer is active. A service adds its
// fetch, its interval and its rule of delivery. Its thread is started and stopped by `frame::Polling`, never
// by the service.
//
// Lock order: list, target, cache. No lock is held across a call of the host.
#pragma once

#include <algorithm>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread_only.hpp>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "frame/observer.h"
#include "frame/ticks.h"

/// `Obs` is the observer type, `IUpdate1<Data>`. `Key` says what an observer shows; it has `==` and `<`.
/// `Data` is what is delivered.
///
/// A view calls `Attach`, `SetTarget`, `Resume(obs, true)`; `SetTarget` whenever it shows something else;
/// `Suspend` while it is hidden and `Resume(obs, true)` when it is shown again; `Detach` before it goes. All
/// operations may be called from any thread, but not from inside `Update`. None of them reports a failure:
/// what a fetch meets is a matter of the service.
///
/// The observers stay the caller's; the subject holds bare pointers from `Attach` to `Detach`.
template <class Obs, class Key, class Data>
class ITimerSubject {
 public:
  ITimerSubject() = default;
  ITimerSubject(const ITimerSubject&) = delete;
  ITimerSubject& operator=(const ITimerSubject&) = delete;

  /* 0 */ virtual ~ITimerSubject() { StopPolling(); }

  /// Adds the observer, suspended: it gets nothing and counts for nothing until `Resume`. An attached one is
  /// not added twice, but an active one is suspended again. Null is ignored.
  /* 1 */ virtual void Attach(Obs* obs);

  /// Removes the observer and its key. After the return no `Update` of it runs or will run on another thread,
  /// so that it may be deleted; waits for one that is running. Null and unattached observers are ignored.
  /* 2 */ virtual void Detach(Obs* obs);

  /// Fetches now, in the caller's thread, whatever the polling thread does. The answer comes later, to all
  /// whom the service tells.
  /* 3 */ virtual void Refresh() { Fetch(); }

  /// Stops delivery to the observer until `Resume`; its key stays. An `Update` that another thread makes
  /// inside `Resume` or `SetTarget` may still be running afterwards. Null and unattached observers are
  /// ignored.
  /* 4 */ virtual void Suspend(Obs* obs);

  /// Starts delivery to a suspended observer. With `deliver_now`, data of its key that is at most 300 ms old
  /// is delivered inside this call; else a fetch is made in the caller's thread. Does nothing at all for an
  /// observer that is active, unattached or null.
  /* 5 */ virtual void Resume(Obs* obs, bool deliver_now);

  /// True for an attached observer that gets nothing at present.
  /* 6 */ virtual bool IsSuspended(Obs* obs);

  /// Sets what the observer shows, from the next round on; `Refresh` asks for it at once. Data held for its
  /// old key is dropped, also when others still show it; they get new data at the next round. Null is
  /// ignored.
  /* 7 */ virtual void SetTarget(Obs* obs, const Key& key);

  /// Reads what the observer shows. False, with `out` untouched, when nothing was set.
  /* 8 */ virtual bool GetTarget(Obs* obs, Key& out);

  /// Forgets what the observer shows, and the data held for that key. Null is ignored.
  /* 9 */ virtual void RemoveTarget(Obs* obs);

  /// Appends the keys of the observers that are not suspended to `out`, each key once.
  /* 10 */ virtual void GetActiveTargets(std::vector<Key>& out);

  /// One fetch of everything that active observers show. Asynchronous services return before the answer is
  /// there.
  /* 11 */ virtual void Fetch() {}

  /// What the polling thread does in a round with an active observer.
  /* 12 */ virtual void OnTimer() { Fetch(); }

  /// Seconds from one round of the polling thread to the next; 0 or less means at once.
  /* 13 */ virtual int GetInterval() { return 3; }

 protected:
  /// When delivered data goes into the cache.
  enum class CacheRule {
    kIfTargeted,  ///< if an attached observer has the key; a suspended one counts
    kAlways,
  };

  /// Who of the observers with the key is told.
  enum class Audience {
    kActive,    ///< those that are not suspended
    kAttached,  ///< suspended ones too
  };

  /// Starts the polling thread. Called by `frame::Polling` as the last act of construction.
  void StartPolling() {
    thread_ = boost::thread([this] { PollThread(); });
  }

  /// Ends the polling thread; a round under way is finished first. Does nothing when there is none.
  void StopPolling() {
    if (!thread_.joinable()) {
      return;
    }
    // Joining is an interruption point of its caller, which must not cut the teardown short.
    const boost::this_thread::disable_interruption uninterrupted;
    thread_.interrupt();
    thread_.join();
  }

  /// One round of the polling thread: `OnTimer` if any observer is active.
  void PollOnce() {
    if (HasActiveObserver()) {
      OnTimer();
    }
  }

  /// Stores `data` under `key` and tells the observers of the audience with that key, in the order in which
  /// they attached. The list mutex is held throughout.
  void Deliver(const Key& key, const Data& data, CacheRule rule = CacheRule::kIfTargeted,
               Audience audience = Audience::kActive) {
    StoreAndTell(
        key, data, [&data] { return std::make_shared<const Data>(data); }, rule, audience);
  }

  /// The same without a copy: the cache shares `data`, which is not null and which nobody changes any more.
  void Deliver(const Key& key, const std::shared_ptr<const Data>& data,
               CacheRule rule = CacheRule::kIfTargeted, Audience audience = Audience::kActive) {
    StoreAndTell(
        key, *data, [&data] { return data; }, rule, audience);
  }

  /// Tells every active observer with that key; the cache is left alone. The list mutex is held throughout.
  void DeliverUncached(const Key& key, const Data& data) {
    boost::lock_guard<boost::mutex> lock(list_mutex_);
    for (Obs* const obs : observers_) {
      if (HasTarget(obs, key) && !Contains(suspended_, obs)) {
        obs->Update(data);
      }
    }
  }

  /// Tells one observer that has a key, active or not, in the caller's thread and without any lock. Does
  /// nothing once it is detached.
  void TellAlone(Obs* obs, const Data& data) {
    AloneEntry entry;
    {
      boost::lock_guard<boost::mutex> lock(list_mutex_);
      boost::lock_guard<boost::mutex> target_lock(target_mutex_);
      if (targets_.find(obs) == targets_.end()) {
        return;
      }
      entry = told_alone_.emplace(told_alone_.end(), obs, boost::this_thread::get_id());
    }
    const LeaveAlone leave{*this, entry};
    obs->Update(data);
  }

  /// The list mutex. A service may guard members of its own with it.
  boost::mutex& ListMutex() { return list_mutex_; }

  /// All attached observers in the order in which they attached, suspended ones included. Needs the list
  /// mutex.
  const std::list<Obs*>& ObserversLocked() const { return observers_; }

  /// True for an attached observer. Needs the list mutex.
  bool IsAttachedLocked(const Obs* obs) const { return Contains(observers_, obs); }

  /// True for an observer that gets nothing at present. Needs the list mutex.
  bool IsSuspendedLocked(const Obs* obs) const { return Contains(suspended_, obs); }

 private:
  static constexpr std::int64_t kFreshMilliseconds = 300;

  static bool Contains(const std::list<Obs*>& list, const Obs* obs) {
    return std::find(list.begin(), list.end(), obs) != list.end();
  }

  bool HasActiveObserver() {
    boost::lock_guard<boost::mutex> lock(list_mutex_);
    return suspended_.size() < observers_.size();
  }

  bool HasTarget(Obs* obs, const Key& key) {
    boost::lock_guard<boost::mutex> lock(target_mutex_);
    const auto found = targets_.find(obs);
    return found != targets_.end() && found->second == key;
  }

  // `share` makes the pointer for the cache, when it is wanted.
  template <class Share>
  void StoreAndTell(const Key& key, const Data& data, Share share, CacheRule rule, Audience audience) {
    boost::lock_guard<boost::mutex> lock(list_mutex_);
    bool stored = false;
    if (rule == CacheRule::kAlways) {
      Store(key, share());
      stored = true;
    }
    for (Obs* const obs : observers_) {
      if (!HasTarget(obs, key)) {
        continue;
      }
      if (!stored) {
        Store(key, share());
        stored = true;
      }
      if (audience == Audience::kAttached || !Contains(suspended_, obs)) {
        obs->Update(data);
      }
    }
  }

  // What stood there before is let go behind the lock.
  void Store(const Key& key, std::shared_ptr<const Data> data) {
    boost::lock_guard<boost::mutex> lock(cache_mutex_);
    cache_[key].swap(data);
    last_update_ = Now();
  }

  static std::int64_t Now() { return frame::Ticks(); }

  std::int64_t CacheAge() {
    const std::int64_t now = Now();
    boost::lock_guard<boost::mutex> lock(cache_mutex_);
    return frame::MillisecondsBetween(last_update_, now);
  }

  // An observer that is told outside the list mutex, and by which thread.
  using AloneEntry = typename std::list<std::pair<Obs*, boost::thread::id>>::iterator;

  // Ends such a telling, also when `Update` throws.
  struct LeaveAlone {
    ITimerSubject& subject;
    AloneEntry entry;
    ~LeaveAlone() {
      boost::lock_guard<boost::mutex> lock(subject.list_mutex_);
      subject.told_alone_.erase(entry);
      subject.told_.notify_all();
    }
  };

  bool DeliverCached(Obs* obs, const Key& key);
  void PollThread();

  boost::thread thread_;
  boost::mutex list_mutex_;  // guards observers_, suspended_ and told_alone_
  std::list<Obs*> observers_;
  std::list<Obs*> suspended_;  // a part of observers_
  boost::mutex target_mutex_;  // guards targets_
  std::map<Obs*, Key> targets_;
  boost::mutex cache_mutex_;  // guards cache_ and last_update_
  std::map<Key, std::shared_ptr<const Data>> cache_;
  std::int64_t last_update_ = 0;
  std::list<std::pair<Obs*, boost::thread::id>> told_alone_;  // tellings under way outside the list mutex
  boost::condition_variable told_;                            // one of them has ended
};

template <class Obs, class Key, class Data>
void ITimerSubject<Obs, Key, Data>::Attach(Obs* obs) {
  if (obs == nullptr) {
    return;
  }
  boost::lock_guard<boost::mutex> lock(list_mutex_);
  if (!Contains(observers_, obs)) {
    observers_.push_back(obs);
  }
  if (!Contains(suspended_, obs)) {
    suspended_.push_back(obs);
  }
}

template <class Obs, class Key, class Data>
void ITimerSubject<Obs, Key, Data>::Detach(Obs* obs) {
  if (obs == nullptr) {
    return;
  }
  boost::unique_lock<boost::mutex> lock(list_mutex_);
  {
    boost::lock_guard<boost::mutex> target_lock(target_mutex_);
    targets_.erase(obs);
    observers_.remove(obs);
    suspended_.remove(obs);
  }
  // Delivery holds the list mutex, so only a telling outside of it can still be running.
  const boost::thread::id self = boost::this_thread::get_id();
  const auto running_elsewhere = [&] {
    return std::any_of(told_alone_.begin(), told_alone_.end(),
                       [&](const auto& entry) { return entry.first == obs && entry.second != self; });
  };
  const boost::this_thread::disable_interruption uninterrupted;
  while (running_elsewhere()) {
    told_.wait(lock);
  }
}

template <class Obs, class Key, class Data>
void ITimerSubject<Obs, Key, Data>::Suspend(Obs* obs) {
  boost::lock_guard<boost::mutex> lock(list_mutex_);
  // An entry of an unattached observer would make the two lists equally long and stop polling for everybody.
  if (obs != nullptr && Contains(observers_, obs) && !Contains(suspended_, obs)) {
    suspended_.push_back(obs);
  }
}

template <class Obs, class Key, class Data>
void ITimerSubject<Obs, Key, Data>::Resume(Obs* obs, bool deliver_now) {
  if (obs == nullptr) {
    return;
  }
  {
    boost::lock_guard<boost::mutex> lock(list_mutex_);
    const auto found = std::find(suspended_.begin(), suspended_.end(), obs);
    if (found == suspended_.end()) {
      return;
    }
    suspended_.erase(found);
  }
  if (!deliver_now) {
    return;
  }
  Key key{};
  if (GetTarget(obs, key) && CacheAge() <= kFreshMilliseconds && DeliverCached(obs, key)) {
    return;
  }
  Refresh();
}

// True when the observer got its cached data, or is gone.
template <class Obs, class Key, class Data>
bool ITimerSubject<Obs, Key, Data>::DeliverCached(Obs* obs, const Key& key) {
  AloneEntry entry;
  {
    boost::lock_guard<boost::mutex> lock(list_mutex_);
    if (!Contains(observers_, obs)) {
      return true;
    }
    entry = told_alone_.emplace(told_alone_.end(), obs, boost::this_thread::get_id());
  }
  const LeaveAlone leave{*this, entry};
  boost::lock_guard<boost::mutex> lock(cache_mutex_);
  const auto found = cache_.find(key);
  if (found == cache_.end()) {
    return false;
  }
  obs->Update(*found->second);
  return true;
}

template <class Obs, class Key, class Data>
bool ITimerSubject<Obs, Key, Data>::IsSuspended(Obs* obs) {
  boost::lock_guard<boost::mutex> lock(list_mutex_);
  return Contains(suspended_, obs);
}

template <class Obs, class Key, class Data>
void ITimerSubject<Obs, Key, Data>::SetTarget(Obs* obs, const Key& key) {
  if (obs == nullptr) {
    return;
  }
  Key old{};
  if (GetTarget(obs, old) && !(old == key)) {
    // Kept: the old key's data goes even when other observers still show it.
    boost::lock_guard<boost::mutex> lock(cache_mutex_);
    cache_.erase(old);
  }
  boost::lock_guard<boost::mutex> lock(target_mutex_);
  targets_.insert_or_assign(obs, key);
}

template <class Obs, class Key, class Data>
bool ITimerSubject<Obs, Key, Data>::GetTarget(Obs* obs, Key& out) {
  boost::lock_guard<boost::mutex> lock(target_mutex_);
  const auto found = targets_.find(obs);
  if (found == targets_.end()) {
    return false;
  }
  out = found->second;
  return true;
}

template <class Obs, class Key, class Data>
void ITimerSubject<Obs, Key, Data>::RemoveTarget(Obs* obs) {
  if (obs == nullptr) {
    return;
  }
  boost::lock_guard<boost::mutex> lock(target_mutex_);
  const auto found = targets_.find(obs);
  if (found == targets_.end()) {
    return;
  }
  {
    boost::lock_guard<boost::mutex> cache_lock(cache_mutex_);
    cache_.erase(found->second);
  }
  targets_.erase(found);
}

template <class Obs, class Key, class Data>
void ITimerSubject<Obs, Key, Data>::GetActiveTargets(std::vector<Key>& out) {
  boost::lock_guard<boost::mutex> lock(list_mutex_);
  boost::lock_guard<boost::mutex> target_lock(target_mutex_);
  for (const auto& [obs, key] : targets_) {
    if (!Contains(suspended_, obs) && std::find(out.begin(), out.end(), key) == out.end()) {
      out.push_back(key);
    }
  }
}

template <class Obs, class Key, class Data>
void ITimerSubject<Obs, Key, Data>::PollThread() {
  for (bool first = true;; first = false) {
    boost::this_thread::interruption_point();
    // Interruption is seen between the steps and in the wait only: a fetch under way is finished.
    // The first round belongs to a subject without observers and fetches nothing. A thread that starts late
    // would find a view that was resumed meanwhile, which has fetched by itself or did not want to.
    if (!first) {
      const boost::this_thread::disable_interruption uninterrupted;
      PollOnce();
    }
    boost::this_thread::interruption_point();
    int seconds = 0;
    {
      const boost::this_thread::disable_interruption uninterrupted;
      seconds = GetInterval();
    }
    boost::this_thread::sleep(boost::posix_time::seconds(std::max(seconds, 0)));
  }
}

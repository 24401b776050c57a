// Plain subjects, without a thread: `SubjectBase` for an object that one thread uses, `CBaseStockSubject` for
// the one-shot services. The polled services stand on timer_subject.h instead.
#pragma once

#include <algorithm>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/mutex.hpp>
#include <cstdint>
#include <list>
#include <utility>

#include "frame/stamp.h"
#include "frame/succeeds.h"

/// A subject that observers attach to and detach from.
template <class Obs>
class ISubject {
 public:
  /* 0 */ virtual void Attach(Obs* obs) = 0;
  /* 1 */ virtual void Detach(Obs* obs) = 0;

 protected:
  ~ISubject() = default;
};

/// A list of observers behind a mutex of the policy type `Mutex`. With `boost::null_mutex` the list is
/// unguarded and belongs to one thread, and an observer may detach itself or others from inside `Update`.
template <class Obs, class Mutex>
class SubjectBase : public ISubject<Obs> {
 public:
  /// Appends the observer, also when it is attached already: it is then told twice. Null is ignored.
  void Attach(Obs* obs) override {
    if (obs == nullptr) {
      return;
    }
    boost::lock_guard<Mutex> lock(mutex_);
    observers_.push_back({obs, ++latest_});
  }

  /// Removes the first entry of the observer; an unknown one is ignored.
  void Detach(Obs* obs) override {
    boost::lock_guard<Mutex> lock(mutex_);
    const auto found = std::find_if(observers_.begin(), observers_.end(),
                                    [obs](const Entry& entry) { return entry.obs == obs; });
    if (found == observers_.end()) {
      return;
    }
    for (Walk* walk = walk_; walk != nullptr; walk = walk->outer) {
      if (walk->next == found) {
        ++walk->next;
      }
    }
    observers_.erase(found);
  }

 protected:
  ~SubjectBase() = default;

  /// Calls `Update(data)` on every entry in list order. An entry removed during the walk is not called any
  /// more, one that is added not before the next walk. A walk that begins inside an `Update` ends the walks
  /// around it, because their data is older.
  template <class Data>
  void Notify(const Data& data) {
    boost::lock_guard<Mutex> lock(mutex_);
    Walk walk{observers_.begin(), walk_};
    struct Leave {
      SubjectBase& subject;
      ~Leave() { subject.walk_ = subject.walk_->outer; }
    };
    for (Walk* older = walk_; older != nullptr; older = older->outer) {
      older->next = observers_.end();
    }
    walk_ = &walk;
    const Leave leave{*this};
    const std::uint64_t last = latest_;
    while (walk.next != observers_.end() && walk.next->number <= last) {
      Obs* const obs = walk.next->obs;
      ++walk.next;
      obs->Update(data);
    }
  }

 private:
  struct Entry {
    Obs* obs;
    std::uint64_t number;  // in the order of attaching
  };
  struct Walk {
    typename std::list<Entry>::iterator next;
    Walk* outer;
  };

  Mutex mutex_;  // guards the members below
  std::list<Entry> observers_;
  std::uint64_t latest_ = 0;  // number of the newest entry
  Walk* walk_ = nullptr;
};

/// The subject of a service that fetches once when asked: its observers and the last data. A service holds
/// one as a member. Lock order: list, then data.
template <class Obs, class Data>
class CBaseStockSubject {
 public:
  CBaseStockSubject() = default;
  CBaseStockSubject(const CBaseStockSubject&) = delete;
  CBaseStockSubject& operator=(const CBaseStockSubject&) = delete;
  virtual ~CBaseStockSubject() = default;

  /// Appends the observer unless it is attached; nothing is delivered at once. Null is ignored. Without
  /// memory nothing changes.
  void Attach(Obs* obs) {
    if (obs == nullptr) {
      return;
    }
    boost::lock_guard<boost::mutex> lock(list_mutex_);
    if (std::find(observers_.begin(), observers_.end(), obs) == observers_.end()) {
      static_cast<void>(frame::Succeeds([&] { observers_.push_back(obs); }));
    }
  }

  /// Removes the observer. After the return no `Update` of it runs or will run on another thread.
  void Detach(Obs* obs) {
    boost::lock_guard<boost::mutex> lock(list_mutex_);
    if (obs != nullptr) {
      observers_.remove(obs);
    }
  }

  /// Stores what an answer to the request `stamp` brought and calls `Update` with it on every observer, in
  /// the order in which they were attached; neither once a newer answer was told. The list mutex is held for
  /// the whole walk, the data mutex around each call.
  void Tell(frame::Stamp stamp, Data data) {
    boost::lock_guard<boost::mutex> list_lock(list_mutex_);
    if (!frame::MayFollow(stamp, told_)) {
      return;
    }
    told_ = stamp;
    {
      boost::lock_guard<boost::mutex> data_lock(data_mutex_);
      std::swap(data_, data);
    }
    for (Obs* const obs : observers_) {
      boost::lock_guard<boost::mutex> data_lock(data_mutex_);
      obs->Update(data_);
    }
  }

 private:
  boost::mutex list_mutex_;  // guards observers_ and told_
  std::list<Obs*> observers_;
  frame::Stamp told_ = 0;
  boost::mutex data_mutex_;  // guards data_
  Data data_{};
};

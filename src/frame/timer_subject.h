// The subject that every polled service is, as views see it: observers, the key that each of them shows, the
// last data of each key, and one thread that fetches again and again while an observer is active. A
// declaration only: services stand on polled_subject.h.
#pragma once

#include <vector>

#include "frame/observer.h"

/// `Obs` is the observer type, `IUpdate1<Data>`. `Key` says what an observer shows; it has `==` and `<`.
/// `Data` is what is delivered.
///
/// A view calls `Attach`, `SetTarget`, `Resume(obs, true)`; `SetTarget` whenever it shows something else;
/// `Suspend` while it is hidden and `Resume(obs, true)` when it is shown again; `Detach` before it goes. All
/// operations may be called from any thread, but not from inside `Update`. None of them reports a failure:
/// what a fetch meets is a matter of the service. Without memory an operation changes nothing.
///
/// A view of a key never goes back in time: once it was told an answer, no answer of an older request of that
/// key follows, in whichever order answers come.
///
/// The observers stay the caller's; the subject holds bare pointers from `Attach` to `Detach`.
template <class Obs, class Key, class Data>
class ITimerSubject {
 public:
  using Observer = Obs;
  using Target = Key;
  using Told = Data;

  ITimerSubject() = default;
  ITimerSubject(const ITimerSubject&) = delete;
  ITimerSubject& operator=(const ITimerSubject&) = delete;

  /* 0 */ virtual ~ITimerSubject() = default;

  /// Adds the observer, suspended: it gets nothing and counts for nothing until `Resume`. An attached one is
  /// not added twice, but an active one is suspended again. Null is ignored.
  /* 1 */ virtual void Attach(Obs* obs) = 0;

  /// Removes the observer and its key. After the return no `Update` of it runs or will run on another thread,
  /// so that it may be deleted; waits for one that is running. Null and unattached observers are ignored.
  /* 2 */ virtual void Detach(Obs* obs) = 0;

  /// Fetches now, in the caller's thread, whatever the polling thread does. The answer comes later, to all
  /// whom the service tells.
  /* 3 */ virtual void Refresh() = 0;

  /// Stops delivery to the observer until `Resume`; its key stays. An `Update` that another thread makes
  /// inside `Resume` or `SetTarget` may still be running afterwards. Null and unattached observers are
  /// ignored.
  /* 4 */ virtual void Suspend(Obs* obs) = 0;

  /// Starts delivery to a suspended observer. With `deliver_now`, the last data of its key are delivered
  /// inside this call if the service was told anything, of whichever key, within the last 300 ms; unless the
  /// data of this key are that fresh themselves, a fetch is made in the caller's thread as well, so that
  /// newer data follow. Does nothing at all for an observer that is active, unattached or null.
  /* 5 */ virtual void Resume(Obs* obs, bool deliver_now) = 0;

  /// True for an attached observer that gets nothing at present.
  /* 6 */ virtual bool IsSuspended(Obs* obs) = 0;

  /// Sets what the observer shows, from the next round on; `Refresh` asks for it at once. An `Update` with
  /// data of the old key that is on its way already is not stopped. Data held for the old key are dropped,
  /// also when others still show it; they get new data at the next round. Null is ignored.
  /* 7 */ virtual void SetTarget(Obs* obs, const Key& key) = 0;

  /// Reads what the observer shows. False, with `out` untouched, when nothing was set.
  /* 8 */ virtual bool GetTarget(Obs* obs, Key& out) = 0;

  /// Forgets what the observer shows, and the data held for that key. Null is ignored.
  /* 9 */ virtual void RemoveTarget(Obs* obs) = 0;

  /// Appends the keys of the observers that are not suspended to `out`, each key once.
  /* 10 */ virtual void GetActiveTargets(std::vector<Key>& out) = 0;

  /// One fetch of everything that active observers show. Asynchronous services return before the answer is
  /// there.
  /* 11 */ virtual void Fetch() = 0;

  /// What the polling thread does in a round with an active observer.
  /* 12 */ virtual void OnTimer() = 0;

  /// Seconds from one round of the polling thread to the next; 0 or less means at once. A round comes sooner
  /// when the server's clock reaches the planned moment sooner, because it was learned or corrected or the
  /// machine slept.
  /* 13 */ virtual int GetInterval() = 0;
};

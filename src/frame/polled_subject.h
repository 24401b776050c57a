// What every polled service stands on: the operations of `ITimerSubject`, and the one way to tell. A service
// adds its fetch, its interval and what it tells. Its thread is started and stopped by `frame::Running`,
// never by the service. Thread-safe.
//
// Lock order: list, key, data. No lock is held across a call of the host.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "frame/audience.h"
#include "frame/gate.h"
#include "frame/last_told.h"
#include "frame/newest_told.h"
#include "frame/polling_thread.h"
#include "frame/stamp.h"
#include "frame/succeeds.h"
#include "frame/ticks.h"

namespace frame {

/// Who is told.
enum class Whom {
  kActive,         ///< the active observers that show the key
  kAttached,       ///< all observers that show the key, suspended ones too
  kEveryActive,    ///< every active observer, whatever it shows
  kEveryAttached,  ///< every observer
};

/// Whether what is told is kept for views that are resumed soon.
enum class Keep {
  kIfShown,  ///< if an attached observer shows the key; a suspended one counts
  kAlways,
  kNever,
};

/// How something is told.
struct Telling {
  Whom whom = Whom::kActive;
  Keep keep = Keep::kIfShown;
  /// Whether the answer of an older request is left out once one of a newer request of the key was told.
  bool newest_wins = true;
};

/// `Interface` derives from an `ITimerSubject`.
template <class Interface>
class PolledSubject : public Interface, private PolledWork {
 public:
  using Observer = typename Interface::Observer;
  using Key = typename Interface::Target;
  using Data = typename Interface::Told;

  void Attach(Observer* obs) override {
    if (obs != nullptr) {
      static_cast<void>(Succeeds([&] { audience_.Attach(obs); }));
    }
  }

  void Detach(Observer* obs) override {
    if (obs != nullptr) {
      audience_.Detach(obs);
    }
  }

  void Refresh() override { this->Fetch(); }
  void Suspend(Observer* obs) override { audience_.Suspend(obs); }
  void Resume(Observer* obs, bool deliver_now) override;
  bool IsSuspended(Observer* obs) override { return audience_.IsSuspended(obs); }

  void SetTarget(Observer* obs, const Key& key) override {
    if (obs == nullptr) {
      return;
    }
    static_cast<void>(Succeeds([&] {
      Key old{};
      const bool had_other = audience_.KeyOf(obs, old) && !(old == key);
      audience_.Show(obs, key);
      if (had_other) {
        last_.Drop(old);  // kept: also when other observers still show it
      }
    }));
  }

  bool GetTarget(Observer* obs, Key& out) override {
    return Succeeds([&] { return audience_.KeyOf(obs, out); });
  }

  void RemoveTarget(Observer* obs) override {
    static_cast<void>(Succeeds([&] {
      Key old{};
      if (audience_.KeyOf(obs, old)) {
        last_.Drop(old);
        audience_.ShowNothing(obs);
      }
    }));
  }

  void GetActiveTargets(std::vector<Key>& out) override {
    static_cast<void>(Succeeds([&] { audience_.AppendActiveKeys(out); }));
  }

  void Fetch() override {}
  void OnTimer() override { this->Fetch(); }
  int GetInterval() override { return 3; }

  /// Starts the polling thread: the last act of construction. Throws when the system has none left.
  void Start() { thread_.Start(*this); }

  /// Ends the polling thread, a round under way being finished first.
  void StopPolling() { thread_.Stop(); }

  /// The same, and closes the gate: the first act of destruction.
  void Stop() {
    StopPolling();
    gate_.Close();
  }

  /// One round of the polling thread: `OnTimer` if any observer is active and the service does not leave it
  /// out.
  void PollOnce() {
    if (audience_.HasActive() && !LeavesOutRound()) {
      this->OnTimer();
    }
  }

 protected:
  using Viewer = typename Audience<Key>::Viewer;
  static Observer* ObserverOf(const Viewer& viewer) { return static_cast<Observer*>(viewer.obs); }

  PolledSubject() = default;
  ~PolledSubject() override = default;

  /// Whether the polling thread is not to ask this time. On that thread.
  virtual bool LeavesOutRound() { return false; }

  /// What active observers show. Unlike `GetActiveTargets` it throws when there is no memory for the answer.
  [[nodiscard]] std::vector<Key> ActiveKeys() {
    std::vector<Key> keys;
    audience_.AppendActiveKeys(keys);
    return keys;
  }

  /// Tells what an answer to the request `stamp` brought for `key`. Unless a newer answer of the key was
  /// told, `make()` is called for the data (a shared pointer; null: nothing is told after all), and the
  /// audience is told in the order in which it attached. The list mutex is held throughout: what only `make`
  /// touches needs no lock. False when there was no memory: nothing is told then. What a view throws passes
  /// through.
  template <class Make>
  [[nodiscard]] bool Tell(const Key& key, Stamp stamp, const Telling& how, Make make);

  /// The general form: `choose(viewers)` gives what each of the audience is told, in the order of the
  /// viewers, null for one that is not. Nothing is kept.
  template <class Choose>
  [[nodiscard]] bool TellEach(Stamp stamp, Whom whom, Choose choose);

  /// Drops the last data of the key: a view that is resumed is not shown them any more.
  void Forget(const Key& key) { last_.Drop(key); }

  /// True when an attached observer shows the key.
  [[nodiscard]] bool IsShown(const Key& key) { return audience_.IsShown(key); }

  /// Tells one observer that has a key, active or not, in the caller's thread and without any lock. Does
  /// nothing once it is detached.
  void TellAlone(Observer* obs, const Data& data) {
    if (const typename Audience<Key>::Alone alone{audience_, obs}) {
      obs->Update(data);
    }
  }

  /// Tells one attached observer what `find()` gives, unless that is null, under the list mutex.
  template <class Find>
  void Greet(Observer* obs, Find find) {
    const typename Audience<Key>::Walk walk(audience_);
    if (const Data* const data = walk.IsAttached(obs) ? find() : nullptr) {
      obs->Update(*data);
    }
  }

  CompletionGate gate_;

 private:
  static bool IsEverybody(Whom whom) { return whom == Whom::kEveryActive || whom == Whom::kEveryAttached; }
  static bool IsTold(Whom whom, bool active) {
    return active || whom == Whom::kAttached || whom == Whom::kEveryAttached;
  }

  void Sweep(std::int64_t now) {
    const std::function<bool(const Key&)> is_shown = [this](const Key& key) { return IsShown(key); };
    last_.Sweep(now, is_shown);
    newest_.Sweep(now, is_shown);
  }

  void Round() final { PollOnce(); }
  int SecondsToNextRound() final { return this->GetInterval(); }

  Audience<Key> audience_;
  LastTold<Key> last_;
  NewestTold<Key> newest_;
  PollingThread thread_;
};

template <class Interface>
void PolledSubject<Interface>::Resume(Observer* obs, bool deliver_now) {
  if (obs == nullptr || !audience_.Resume(obs) || !deliver_now) {
    return;
  }
  Key key{};
  if (this->GetTarget(obs, key)) {
    const typename Audience<Key>::Alone alone{audience_, obs};
    using Last = LastTold<Key>;
    const auto show = [obs](const void* data) { obs->Update(*static_cast<const Data*>(data)); };
    if (!alone || last_.ShowIfFresh(key, show) == Last::Found::kFresh) {
      return;
    }
  }
  this->Refresh();
}

template <class Interface>
template <class Make>
bool PolledSubject<Interface>::Tell(const Key& key, Stamp stamp, const Telling& how, Make make) {
  const typename Audience<Key>::Walk walk(audience_);
  std::vector<Viewer> viewers;
  std::shared_ptr<const Data> data;
  try {
    if (how.newest_wins && !(newest_.Admits(key, stamp) && last_.Admits(key, stamp))) {
      return true;
    }
    data = make();
    if (data == nullptr) {
      return true;
    }
    viewers = IsEverybody(how.whom) ? walk.All() : walk.Of(key);
    const std::int64_t now = Ticks();
    const bool is_stored = how.keep == Keep::kAlways || (how.keep == Keep::kIfShown && !viewers.empty());
    if (is_stored) {
      Sweep(now);
      last_.Keep(key, data, stamp, now);
    }
    const bool is_told = std::any_of(viewers.begin(), viewers.end(),
                                     [&](const Viewer& viewer) { return IsTold(how.whom, viewer.active); });
    if (how.newest_wins && (is_told || (is_stored && !viewers.empty()))) {
      newest_.Told(key, stamp, now);
    }
  } catch (...) {
    return false;
  }
  for (const Viewer& viewer : viewers) {
    if (IsTold(how.whom, viewer.active) && (IsEverybody(how.whom) || walk.Shows(viewer.obs, key))) {
      ObserverOf(viewer)->Update(*data);
    }
  }
  return true;
}

template <class Interface>
template <class Choose>
bool PolledSubject<Interface>::TellEach(Stamp stamp, Whom whom, Choose choose) {
  const typename Audience<Key>::Walk walk(audience_);
  std::vector<Viewer> viewers;
  std::vector<const Data*> chosen;
  try {
    const Key everybody{};
    if (!newest_.Admits(everybody, stamp)) {
      return true;
    }
    viewers = walk.All();
    std::erase_if(viewers, [whom](const Viewer& viewer) { return !IsTold(whom, viewer.active); });
    chosen = choose(viewers);
    if (!viewers.empty()) {
      newest_.Told(everybody, stamp, Ticks());
    }
  } catch (...) {
    return false;
  }
  for (std::size_t place = 0; place < viewers.size(); ++place) {
    if (chosen[place] != nullptr) {
      ObserverOf(viewers[place])->Update(*chosen[place]);
    }
  }
  return true;
}

}  // namespace frame

// The bridge between a service and the main thread, and the only file that knows both: observers whose
// `Update` copies the record and hands it to the main loop. Made and destroyed on the main thread.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "cli/main_loop.h"
#include "frame/observer.h"
#include "host/clock.h"

namespace cli {

/// A record as it arrived.
template <class Data>
struct Delivery {
  Data data;
  std::int64_t server_time = 0;  ///< seconds since 1970-01-01 UTC
  std::chrono::steady_clock::time_point at;
};

/// An observer that hands over what it is told. Who attaches it detaches it before it goes.
template <class Data>
class LoopObserver : public IUpdate1<Data> {
 public:
  using Handler = std::function<void(const Delivery<Data>&)>;

  /// `on_update` runs on the main thread; never after the observer is gone.
  LoopObserver(MainLoop& loop, Handler on_update)
      : loop_(loop), state_(std::make_shared<State>(std::move(on_update))) {}
  LoopObserver(const LoopObserver&) = delete;
  LoopObserver& operator=(const LoopObserver&) = delete;

  void Update(const Data& data) override {
    Delivery<Data> delivery{data, common::GetCurrentServerTime(), std::chrono::steady_clock::now()};
    loop_.Post(
        [state = std::weak_ptr<State>(state_), turn = state_->turn.load(), delivery = std::move(delivery)] {
          if (const std::shared_ptr<State> alive = state.lock(); alive && alive->turn == turn) {
            alive->on_update(delivery);
          }
        });
  }

  /// What was told before is not handed over any more. While no `Update` runs on another thread.
  void ForgetUndelivered() { ++state_->turn; }

 protected:
  ~LoopObserver() = default;

 private:
  struct State {
    explicit State(Handler handler) : on_update(std::move(handler)) {}
    const Handler on_update;
    std::atomic<std::uint64_t> turn{0};
  };

  MainLoop& loop_;
  const std::shared_ptr<State> state_;
};

/// An observer that is attached to `Service` for as long as it lives, and resumed if the service polls.
template <class Service, class Data>
class Subscription final : public LoopObserver<Data> {
 public:
  using typename LoopObserver<Data>::Handler;

  Subscription(Service& service, MainLoop& loop, Handler on_update)
      : LoopObserver<Data>(loop, std::move(on_update)), service_(service) {
    service_.Attach(this);
    if constexpr (requires { service_.Resume(this, true); }) {
      service_.Resume(this, true);
    }
  }

  /// The same for one `key` of a service that has keys. With `ask` false nothing is asked for at once.
  template <class Key>
  Subscription(Service& service, const Key& key, MainLoop& loop, Handler on_update, bool ask = true)
      : LoopObserver<Data>(loop, std::move(on_update)), service_(service) {
    service_.Attach(this);
    service_.SetTarget(this, key);
    service_.Resume(this, ask);
  }

  ~Subscription() { service_.Detach(this); }

 private:
  Service& service_;
};

/// An observer of a polling service that can be hidden: attached for as long as it lives, suspended until it
/// is resumed.
template <class Service, class Data>
class View final : public LoopObserver<Data> {
 public:
  using typename LoopObserver<Data>::Handler;

  View(Service& service, MainLoop& loop, Handler on_update)
      : LoopObserver<Data>(loop, std::move(on_update)), service_(service) {
    service_.Attach(this);
  }
  ~View() { service_.Detach(this); }

  /// Shows something else from the next `Resume` on. Nothing that belongs to the old key, nor what the
  /// service says to clear it, is handed over after the return.
  template <class Key>
  void SetTarget(const Key& key) {
    // After the return no `Update` runs on another thread: services tell under the lock that this takes.
    service_.Suspend(this);
    service_.SetTarget(this, key);
    this->ForgetUndelivered();
  }

  /// With `ask` something that is at most 300 ms old is handed over, else the server is asked.
  void Resume(bool ask) { service_.Resume(this, ask); }
  void Suspend() { service_.Suspend(this); }

  [[nodiscard]] Service& service() { return service_; }

 private:
  Service& service_;
};

}  // namespace cli

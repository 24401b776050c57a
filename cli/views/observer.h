// The bridge from a service to the thread of its views, and the only file that knows both: an observer whose
// `Update` copies the record and hands it over. Made and destroyed on the thread of the views.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "frame/observer.h"
#include "host/clock.h"

namespace cli {

/// Runs work on the thread of the views, in the order of the calls. Callable from any thread.
using Post = std::function<void(std::function<void()>)>;

/// A record as it arrived.
template <class Data>
struct Delivery {
  Data data;
  std::int64_t server_time = 0;  ///< seconds since 1970-01-01 UTC
  std::chrono::steady_clock::time_point at;
};

template <class Data>
Delivery<Data> DeliveredNow(const Data& data) {
  return {data, common::GetCurrentServerTime(), std::chrono::steady_clock::now()};
}

/// Hands records over to `on_update` on the thread of the views, for as long as it lives.
template <class Data>
class Mailbox {
 public:
  using Handler = std::function<void(const Delivery<Data>&)>;

  Mailbox(Post post, Handler on_update)
      : post_(std::move(post)), state_(std::make_shared<State>(std::move(on_update))) {}

  /// A function that hands a record over; callable from any thread, also after the mailbox is gone.
  [[nodiscard]] std::function<void(const Data&)> Sender() const {
    return
        [post = post_, state = std::weak_ptr<State>(state_), turn = state_->turn.load()](const Data& data) {
          post([state, turn, delivery = DeliveredNow(data)] {
            if (const std::shared_ptr<State> alive = state.lock(); alive && alive->turn == turn) {
              alive->on_update(delivery);
            }
          });
        };
  }
  /// What was sent before is dropped.
  void Forget() { ++state_->turn; }

 private:
  struct State {
    explicit State(Handler handler) : on_update(std::move(handler)) {}
    const Handler on_update;
    std::atomic<std::uint64_t> turn{0};
  };

  const Post post_;
  const std::shared_ptr<State> state_;
};

/// An observer that is attached to `Service` for as long as it lives and, if the service polls, suspended
/// until it is resumed.
template <class Service, class Data>
class ServiceObserver final : public IUpdate1<Data> {
 public:
  ServiceObserver(Service& service, Post post, typename Mailbox<Data>::Handler on_update)
      : service_(service), mailbox_(std::move(post), std::move(on_update)) {
    service_.Attach(this);
  }
  ~ServiceObserver() { service_.Detach(this); }
  ServiceObserver(const ServiceObserver&) = delete;
  ServiceObserver& operator=(const ServiceObserver&) = delete;

  void Update(const Data& data) override { mailbox_.Sender()(data); }

  /// Shows something else from the next `Resume` on. Nothing that belongs to the old key, nor what the
  /// service says to clear it, is handed over after the return.
  template <class Key>
  void SetTarget(const Key& key) {
    // After the return no `Update` runs on another thread: services deliver under the lock that this takes.
    service_.Suspend(this);
    service_.SetTarget(this, key);
    mailbox_.Forget();
  }

  /// With `ask` something that is at most 300 ms old is handed over, else the server is asked.
  void Resume(bool ask) { service_.Resume(this, ask); }
  void Suspend() { service_.Suspend(this); }

  [[nodiscard]] Service& service() { return service_; }

 private:
  Service& service_;
  Mailbox<Data> mailbox_;
};

}  // namespace cli

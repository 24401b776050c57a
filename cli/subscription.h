// The bridge between a service and the main thread, and the only file that knows both: an observer whose
// `Update` copies the record and hands it to the main loop. Made and destroyed on the main thread.
#pragma once

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

/// An observer that is attached to `Service` for as long as it lives, and resumed if the service polls.
template <class Service, class Data>
class Subscription final : public IUpdate1<Data> {
 public:
  using Handler = std::function<void(const Delivery<Data>&)>;

  /// `on_update` runs on the main thread; never after the subscription is gone.
  Subscription(Service& service, MainLoop& loop, Handler on_update)
      : service_(service), loop_(loop), on_update_(std::make_shared<Handler>(std::move(on_update))) {
    service_.Attach(this);
    if constexpr (requires { service_.Resume(this, true); }) {
      service_.Resume(this, true);
    }
  }

  /// The same for one `key` of a service that has keys. With `ask` false nothing is asked for at once.
  template <class Key>
  Subscription(Service& service, const Key& key, MainLoop& loop, Handler on_update, bool ask = true)
      : service_(service), loop_(loop), on_update_(std::make_shared<Handler>(std::move(on_update))) {
    service_.Attach(this);
    service_.SetTarget(this, key);
    service_.Resume(this, ask);
  }

  ~Subscription() { service_.Detach(this); }
  Subscription(const Subscription&) = delete;
  Subscription& operator=(const Subscription&) = delete;

  void Update(const Data& data) override {
    Delivery<Data> delivery{data, common::GetCurrentServerTime(), std::chrono::steady_clock::now()};
    loop_.Post([handler = std::weak_ptr<Handler>(on_update_), delivery = std::move(delivery)] {
      if (const std::shared_ptr<Handler> alive = handler.lock()) {
        (*alive)(delivery);
      }
    });
  }

 private:
  Service& service_;
  MainLoop& loop_;
  const std::shared_ptr<Handler> on_update_;
};

}  // namespace cli

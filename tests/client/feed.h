// One service of a whole client and the views on it, behind one face, so that a test can treat all services
// alike.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <utility>

#include "frame/observer.h"

namespace client_test {

/// A view that counts what it is told and keeps the last record.
template <class Data>
class CountingView final : public IUpdate1<Data> {
 public:
  void Update(const Data& data) override {
    {
      const std::lock_guard lock(mutex_);
      last_ = data;
    }
    updates_.fetch_add(1, std::memory_order_release);
  }

  [[nodiscard]] std::uint64_t updates() const { return updates_.load(std::memory_order_acquire); }
  [[nodiscard]] Data last() const {
    const std::lock_guard lock(mutex_);
    return last_;
  }

 private:
  std::atomic<std::uint64_t> updates_{0};
  mutable std::mutex mutex_;  // guards last_
  Data last_{};
};

/// Main thread only.
class Feed {
 public:
  /// `endpoint` as the host services count it; empty for a service that sends nothing.
  Feed(std::string name, std::string endpoint) : name_(std::move(name)), endpoint_(std::move(endpoint)) {}
  virtual ~Feed() = default;
  Feed(const Feed&) = delete;
  Feed& operator=(const Feed&) = delete;

  [[nodiscard]] const std::string& name() const { return name_; }
  [[nodiscard]] const std::string& endpoint() const { return endpoint_; }

  /// Makes one request for each key shown.
  virtual void Refresh() = 0;
  /// Of all its views together.
  [[nodiscard]] virtual std::uint64_t updates() const = 0;
  /// Whether every view has been told at least `count` times.
  [[nodiscard]] virtual bool AllHave(std::uint64_t count) const = 0;
  /// Hides its views and shows them again; neither asks. A service that asks only when told knows no
  /// difference.
  virtual void Hide() {}
  virtual void Show() {}
  virtual void Detach() = 0;

 private:
  const std::string name_;
  const std::string endpoint_;
};

/// A polled service.
template <class Service, class Data, class Key>
class PolledFeed final : public Feed {
 public:
  PolledFeed(std::string name, std::string endpoint, Service* service)
      : Feed(std::move(name), std::move(endpoint)), service_(service) {}

  /// One more view, attached and active. With `ask` the service asks the server at once, in this thread.
  void Show(const Key& key, bool ask) {
    CountingView<Data>& view = views_.emplace_back();
    service_->Attach(&view);
    service_->SetTarget(&view, key);
    service_->Resume(&view, ask);
  }

  void Refresh() override { service_->Refresh(); }

  [[nodiscard]] std::uint64_t updates() const override {
    std::uint64_t sum = 0;
    for (const CountingView<Data>& view : views_) {
      sum += view.updates();
    }
    return sum;
  }

  [[nodiscard]] bool AllHave(std::uint64_t count) const override {
    for (const CountingView<Data>& view : views_) {
      if (view.updates() < count) {
        return false;
      }
    }
    return true;
  }

  void Hide() override {
    for (CountingView<Data>& view : views_) {
      service_->Suspend(&view);
    }
  }
  void Show() override {
    for (CountingView<Data>& view : views_) {
      service_->Resume(&view, false);
    }
  }

  void Detach() override {
    for (CountingView<Data>& view : views_) {
      service_->Detach(&view);
    }
  }

  [[nodiscard]] const std::deque<CountingView<Data>>& views() const { return views_; }

 private:
  Service* const service_;
  std::deque<CountingView<Data>> views_;
};

/// A service that asks when it is told to.
template <class Service, class Data>
class OneShotFeed final : public Feed {
 public:
  OneShotFeed(std::string name, std::string endpoint, Service* service, void (Service::*fetch)())
      : Feed(std::move(name), std::move(endpoint)), service_(service), fetch_(fetch) {
    service_->Attach(&view_);
  }

  void Refresh() override { (service_->*fetch_)(); }
  [[nodiscard]] std::uint64_t updates() const override { return view_.updates(); }
  [[nodiscard]] bool AllHave(std::uint64_t count) const override { return view_.updates() >= count; }
  void Detach() override { service_->Detach(&view_); }

 private:
  Service* const service_;
  void (Service::*const fetch_)();
  CountingView<Data> view_;
};

}  // namespace client_test

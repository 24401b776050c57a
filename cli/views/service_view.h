// A view of one service of the module: the observer that is suspended while the view is out of sight, the key
// that is shown, and the newest data of that key.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "cli/format/china_time.h"
#include "cli/views/view.h"

namespace cli {

template <class Data>
[[nodiscard]] const Data& FiguresOf(const std::optional<Delivery<Data>>& newest) {
  static const Data kNothing{};
  return newest ? newest->data : kNothing;
}

template <class Service, class Data, class KeyType>
class ServiceView : public View {
 public:
  [[nodiscard]] bool has_data() const override { return newest_.has_value(); }
  [[nodiscard]] std::int64_t server_time() const override {
    return newest_ ? newest_->server_time : common::GetCurrentServerTime();
  }
  [[nodiscard]] std::string WhyEmpty() const override {
    return newest_ ? WhyNothingIn(*newest_) : std::string();
  }
  /// The newest data of the key; null: nothing has arrived.
  [[nodiscard]] const Delivery<Data>* newest() const { return newest_ ? &*newest_ : nullptr; }
  /// The same without their time, empty as long as nothing has arrived.
  [[nodiscard]] const Data& figures() const { return FiguresOf(newest_); }

 protected:
  using Observer = ServiceObserver<Service, Data>;
  using Accessor = std::function<Service*()>;

  /// `get` is called when the view is shown for the first time, and gives null if there is no such service.
  ServiceView(const ViewContext& context, const Feed& feed, Accessor get)
      : View(context, feed), get_(std::move(get)) {}

  /// Shows `key`; what was shown is dropped.
  void Follow(KeyType key) {
    key_ = std::move(key);
    newest_.reset();
    if (observer_ != nullptr) {
      observer_->SetTarget(*key_);
    }
    Begin();
  }
  /// Shows `key` of another service.
  void Follow(const Feed& feed, Accessor get, KeyType key) {
    observer_.reset();
    get_ = std::move(get);
    SetFeed(feed);
    Follow(std::move(key));
  }
  /// Shows nothing and asks for nothing; `why` says why.
  void FollowNothing(std::string why) {
    key_.reset();
    newest_.reset();
    SuspendService();
    BeginNothing(std::move(why));
  }

  /// Resumes the observer, which has the key, and asks for what it shows.
  virtual void Resume(Observer& observer) { observer.Resume(true); }
  virtual void AskAgain(Service& service) { service.Refresh(); }
  /// False for data that belong to something that is not shown any more.
  [[nodiscard]] virtual bool IsWanted(const Data& /*data*/) const { return true; }
  /// Such data have arrived.
  virtual void OnUnwanted(View::Clock::time_point /*at*/) {}
  /// Why there is nothing in the data, for a person; empty: there is.
  [[nodiscard]] virtual std::string WhyNothingIn(const Delivery<Data>& /*delivery*/) const { return {}; }
  /// `newest()` is another one.
  virtual void OnData() {}

  void OnDelivery(const Delivery<Data>& delivery) {
    if (!key_) {
      return;
    }
    if (!IsWanted(delivery.data)) {
      OnUnwanted(delivery.at);
      return;
    }
    if (!newest_ || !(newest_->data == delivery.data)) {
      OnChange(delivery.at, delivery.server_time);
    }
    newest_ = delivery;
    OnArrival(delivery.at, WhyNothingIn(delivery));
    OnData();
    context().changed();
    TellArrival();
  }

 private:
  bool ResumeService() override {
    if (observer_ == nullptr) {
      Service* const service = get_();
      if (service == nullptr) {
        return false;
      }
      observer_ = std::make_unique<Observer>(
          *service, context().post, [this](const Delivery<Data>& delivery) { OnDelivery(delivery); });
      observer_->SetTarget(*key_);
    }
    Resume(*observer_);
    return true;
  }
  void SuspendService() override {
    if (observer_ != nullptr) {
      observer_->Suspend();
    }
  }
  void RefreshService() override {
    if (observer_ != nullptr) {
      AskAgain(observer_->service());
    }
  }

  Accessor get_;
  std::optional<KeyType> key_;
  std::optional<Delivery<Data>> newest_;
  std::unique_ptr<Observer> observer_;
};

/// A view of something that is asked for once and handed to a call-back: nothing is attached or suspended.
template <class Data>
class AnswerView : public View {
 public:
  [[nodiscard]] bool has_data() const override { return newest_.has_value(); }
  [[nodiscard]] std::int64_t server_time() const override {
    return newest_ ? newest_->server_time : common::GetCurrentServerTime();
  }

  [[nodiscard]] bool IsAskedOnce() const override { return true; }

 protected:
  AnswerView(const ViewContext& context, const Feed& feed)
      : View(context, feed), mailbox_(context.post, [this](const Delivery<Data>& delivery) {
          newest_ = delivery;
          OnArrival(delivery.at, WhyEmpty());
          this->context().changed();
          TellArrival();
        }) {}

  [[nodiscard]] const Data& figures() const { return FiguresOf(newest_); }
  /// What was asked for before is not wanted any more.
  void Forget() {
    mailbox_.Forget();
    newest_.reset();
  }

 private:
  /// Asks; `done` may be called from any thread. False when the service cannot be made.
  virtual bool Ask(const std::function<void(const Data&)>& done) = 0;

  bool ResumeService() override { return Ask(mailbox_.Sender()); }
  void SuspendService() override {}
  void RefreshService() override { static_cast<void>(Ask(mailbox_.Sender())); }

  std::optional<Delivery<Data>> newest_;
  Mailbox<Data> mailbox_;
};

}  // namespace cli

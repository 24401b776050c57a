// What the panels of one feed have in common: a view of the service that is suspended while the panel is out
// of sight, the newest data of the key that is shown, and how the feed is doing. A panel adds its key, its
// words and its picture. Main thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "cli/feeds.h"
#include "cli/format/china_time.h"
#include "cli/screen/panel.h"
#include "cli/subscription.h"
#include "cli/trading_days.h"

namespace cli {

/// Said by panels of the current security as long as there is none.
inline constexpr const char* kNothingSelected = "no security is selected; / looks for one";

/// "minute line of sh600000 浦发银行", or without a security `what` alone.
[[nodiscard]] std::string TitleOf(const std::string& what, const Security& security);

/// The course of such a panel, whatever its service.
class FeedPanelCourse : public Panel {
 public:
  void Show() override;
  void Hide() override;
  /// Asks again, unless an answer is still being waited for.
  void Refresh() override;
  [[nodiscard]] bool PollsItself() const override { return feed_.polls.count() > 0; }
  [[nodiscard]] PanelReport Report(Clock::time_point now, stock::MarketStatus phase) const override;

 protected:
  FeedPanelCourse(PanelContext& context, const Feed& feed);

  [[nodiscard]] PanelContext& context() const { return context_; }
  [[nodiscard]] bool shown() const { return shown_; }

  /// The feed is another one from now on.
  void SetFeed(const Feed& feed) { feed_ = feed; }
  /// Something of this key has arrived; `nothing` as `FeedHealth` has it.
  void OnArrival(Clock::time_point at, std::string nothing);
  /// What arrived has other figures in it than what came before.
  void OnChange(Clock::time_point at, std::int64_t server_time) { health_.OnChange(at, server_time); }
  /// Another key: nothing of it is there yet. Asks for it if the panel is shown.
  void Begin();
  /// There is nothing to ask for; `why` tells a person the reason.
  void BeginNothing(std::string why);

  /// The counts of the feed's endpoint at this moment.
  [[nodiscard]] virtual stock_host::EndpointCounters Counters() const;
  /// What is told when an answer came and nothing in it was for the key; empty: goes on waiting.
  [[nodiscard]] virtual std::string NothingText() const {
    return "the server answered, with nothing for this";
  }
  /// True when the service tells its views of a failure as of an answer with nothing in it.
  [[nodiscard]] virtual bool FailureArrivesEmpty() const { return false; }

  /// "2024-03-15": the trading day of what is shown; empty: nothing is.
  [[nodiscard]] virtual std::string SessionText() const = 0;

 private:
  /// Makes the view if there is none, and resumes it. False when the service cannot be made.
  virtual bool ResumeView() = 0;
  virtual void SuspendView() = 0;
  virtual void RefreshService() = 0;

  void Start();
  void Observe(FeedHealth& health) const;

  PanelContext& context_;
  Feed feed_;
  FeedHealth health_;
  std::string why_nothing_;  // no key; empty: there is one
  bool shown_ = false;
  bool cannot_be_made_ = false;
  Clock::time_point asked_;
  std::uint64_t answered_before_ = 0;
};

template <class Service, class Data, class Key>
class FeedPanel : public FeedPanelCourse {
 protected:
  using ServiceView = View<Service, Data>;
  using Accessor = std::function<Service*()>;

  /// `get` is called when the panel is shown for the first time, and gives null if there is no such service.
  FeedPanel(PanelContext& context, const Feed& feed, Accessor get)
      : FeedPanelCourse(context, feed), get_(std::move(get)) {}

  /// Shows `key`; what was shown is dropped.
  void Follow(Key key) {
    key_ = std::move(key);
    newest_.reset();
    if (view_ != nullptr) {
      view_->SetTarget(*key_);
    }
    Begin();
  }
  /// Shows `key` of another service.
  void Follow(const Feed& feed, Accessor get, Key key) {
    view_.reset();
    get_ = std::move(get);
    SetFeed(feed);
    Follow(std::move(key));
  }
  /// Shows nothing and asks for nothing; `why` tells a person the reason.
  void FollowNothing(std::string why) {
    key_.reset();
    newest_.reset();
    SuspendView();
    BeginNothing(std::move(why));
  }

  /// The newest data of the key; null: nothing has arrived.
  [[nodiscard]] const Delivery<Data>* newest() const { return newest_ ? &*newest_ : nullptr; }

  /// Resumes the view, which has the key, and asks for what it shows.
  virtual void Resume(ServiceView& view) { view.Resume(true); }
  /// False for data that belong to something that is not shown any more.
  [[nodiscard]] virtual bool IsWanted(const Data& /*data*/) const { return true; }
  /// Why there is nothing in the data, for a person; empty: there is.
  [[nodiscard]] virtual std::string WhyEmpty(const Delivery<Data>& /*delivery*/) const { return {}; }
  /// The trading day of the data.
  [[nodiscard]] virtual std::uint32_t SessionOf(const Delivery<Data>& delivery) const {
    return SessionDate(delivery.server_time);
  }
  /// `newest()` is another one.
  virtual void OnData() {}

  [[nodiscard]] std::string SessionText() const override {
    return newest_ ? DateText(SessionOf(*newest_)) : std::string();
  }

 private:
  bool ResumeView() override {
    if (view_ == nullptr) {
      Service* const service = get_();
      if (service == nullptr) {
        return false;
      }
      view_ = std::make_unique<ServiceView>(*service, context().loop,
                                            [this](const Delivery<Data>& delivery) { OnDelivery(delivery); });
      view_->SetTarget(*key_);
    }
    Resume(*view_);
    return true;
  }
  void SuspendView() override {
    if (view_ != nullptr) {
      view_->Suspend();
    }
  }
  void RefreshService() override {
    if (view_ != nullptr) {
      view_->service().Refresh();
    }
  }

  void OnDelivery(const Delivery<Data>& delivery) {
    if (!key_ || !IsWanted(delivery.data)) {
      return;
    }
    if (!newest_ || !(newest_->data == delivery.data)) {
      OnChange(delivery.at, delivery.server_time);
    }
    newest_ = delivery;
    OnArrival(delivery.at, WhyEmpty(delivery));
    OnData();
    context().redraw();
  }

  Accessor get_;
  std::optional<Key> key_;
  std::optional<Delivery<Data>> newest_;
  std::unique_ptr<ServiceView> view_;
};

}  // namespace cli

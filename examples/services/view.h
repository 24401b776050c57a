// What the examples receive with. What a window would draw, they keep until the main thread asks for it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>

#include "frame/observer.h"

/// Keeps the newest record. Any thread may call it.
template <class Data>
class View final : public IUpdate1<Data> {
 public:
  void Update(const Data& data) override {
    const std::lock_guard lock(mutex_);
    newest_ = data;
    arrived_.notify_all();
  }

  /// The newest record as soon as there is one; an empty one when none comes within twenty seconds.
  [[nodiscard]] Data Wait() {
    std::unique_lock lock(mutex_);
    arrived_.wait_for(lock, std::chrono::seconds(20), [this] { return newest_.has_value(); });
    return newest_.value_or(Data{});
  }

 private:
  std::mutex mutex_;  // guards newest_
  std::condition_variable arrived_;
  std::optional<Data> newest_;
};

/// A call-back for what is asked for once. Its copies share the record, so that a late call finds its place.
template <class Data>
class Once {
 public:
  void operator()(const Data& data) const { view_->Update(data); }
  [[nodiscard]] Data Wait() const { return view_->Wait(); }

 private:
  std::shared_ptr<View<Data>> view_ = std::make_shared<View<Data>>();
};

// Follows the host's watch list, if it has one, for as long as it lives. Its owner's thread makes and ends
// it; the host calls it on a thread of its own.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "frame/observer.h"
#include "host/watch_list.h"

namespace quotes {

class WatchListFollower final : public IUpdate1<std::vector<std::wstring>> {
 public:
  using Codes = std::vector<std::wstring>;

  /// `on_list(codes)` is called with each list that the host tells, the present one perhaps before this
  /// returns.
  explicit WatchListFollower(std::function<void(const Codes&)> on_list)
      : on_list_(std::move(on_list)), list_(GetUserOptionalStock()) {
    if (list_ != nullptr) {
      list_->Attach(this);
    }
  }
  WatchListFollower(const WatchListFollower&) = delete;
  WatchListFollower& operator=(const WatchListFollower&) = delete;
  ~WatchListFollower() {
    if (list_ != nullptr) {
      list_->Detach(this);
    }
  }

  void Update(const Codes& codes) override { on_list_(codes); }

  /// Has the host tell its list once more.
  void AskAgain() {
    if (list_ != nullptr) {
      list_->Detach(this);
      list_->Attach(this);
    }
  }

 private:
  const std::function<void(const Codes&)> on_list_;
  IUserOptionalStock* const list_;
};

}  // namespace quotes

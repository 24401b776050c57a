#include "reference/start_count.h"

namespace reference {
namespace {

constexpr int kLoads = 5;
constexpr int kLongestWait = 10000;  // milliseconds

using Lock = std::lock_guard<std::mutex>;

}  // namespace

std::optional<StartCount::Number> StartCount::Begin() {
  const Lock lock(mutex_);
  if (under_way_) {
    return std::nullopt;
  }
  under_way_ = true;
  waited_ms_ = 0;
  done_ = 0;
  return ++latest_;
}

void StartCount::Count(Number start, bool ok) {
  const Lock lock(mutex_);
  if (start != latest_ || !under_way_) {
    return;
  }
  if (ok) {
    ++done_;
  } else {
    under_way_ = false;
  }
}

StartCount::Step StartCount::Look(Number start) {
  const Lock lock(mutex_);
  if (start != latest_ || !under_way_ || waited_ms_ > kLongestWait) {
    return Step::kFailed;
  }
  if (done_ >= kLoads) {
    return Step::kSucceeded;
  }
  waited_ms_ += kWaitMilliseconds;
  return Step::kWait;
}

void StartCount::Conclude(Number start) {
  const Lock lock(mutex_);
  if (start == latest_) {
    under_way_ = false;
  }
}

StartCount::Number StartCount::Latest() {
  const Lock lock(mutex_);
  return latest_;
}

}  // namespace reference

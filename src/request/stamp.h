// The stamp of a service's latest request: an answer that belongs to an older one is dropped.
// Not thread-safe; each service guards its stamp with a mutex of its own.
#pragma once

#include <algorithm>
#include <cstdint>

#include "frame/ticks.h"

namespace request {

/// The tick count of the latest request, 0 before the first.
class Stamp {
 public:
  /// Stamps a new request. Stamps advance by at least one millisecond, so that two requests always differ.
  [[nodiscard]] std::int64_t Advance() {
    latest_ = std::max(frame::Ticks(), latest_ + frame::kTicksPerMillisecond);
    return latest_;
  }

  /// True when `stamp` is the latest request's, to the whole millisecond.
  [[nodiscard]] bool IsLatest(std::int64_t stamp) const {
    return frame::MillisecondsBetween(latest_, stamp) == 0;
  }

 private:
  std::int64_t latest_ = 0;
};

}  // namespace request

// Stamps of requests: they say which of two answers belongs to the later request. Thread-safe.
#pragma once

#include <atomic>
#include <cstdint>

namespace frame {

/// The moment at which a request was made, in ticks; 0 before every request.
using Stamp = std::int64_t;

/// True when an answer to the request `stamp` may follow what was told of the request `told`: it is not
/// older. The one place that decides it for all services.
[[nodiscard]] bool MayFollow(Stamp stamp, Stamp told);

/// True when the two stamps are of one request, to the whole millisecond.
[[nodiscard]] bool AreOneRequest(Stamp left, Stamp right);

/// The stamps of one series of requests. They advance by at least a millisecond, also when the clock stands
/// or is set back, so that two requests always differ.
class Stamps {
 public:
  /// Stamps a new request.
  [[nodiscard]] Stamp Next();

  /// True when no later request was stamped.
  [[nodiscard]] bool IsLatest(Stamp stamp) const { return AreOneRequest(latest_.load(), stamp); }

 private:
  std::atomic<Stamp> latest_ = 0;
};

}  // namespace frame

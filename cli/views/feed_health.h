// How a feed is doing, in words: waiting, live, stale, closed, empty or failed, and why. Main thread only.
// Decides nothing: requests go on whatever is said here.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "host/calendar.h"
#include "host_services/stock_host.h"

namespace cli {

enum class FeedState {
  kWaiting,  ///< asked, nothing has arrived yet
  kLive,
  kUnchanged,  ///< the answers come, and have had the same figures in them for a while; the text says since
               ///< when
  kStale,   ///< older than they should be, or newer ones were asked for in vain; the text says age and reason
  kClosed,  ///< the market is closed: figures of its last session
  kEmpty,   ///< the answer arrived and has nothing in it
  kFailed,  ///< no data at all; the text says why
};

struct FeedReport {
  FeedState state = FeedState::kWaiting;
  std::string text;  ///< for a person, without the age while all is well
};

class FeedHealth {
 public:
  using Clock = std::chrono::steady_clock;

  /// `interval`: how often the feed is asked. Data that is older than two intervals and a second is stale.
  explicit FeedHealth(std::chrono::milliseconds interval) : FeedHealth(interval, interval) {}
  /// The same for a feed that is asked every `closed_interval` while the market is closed. Is that seldom, a
  /// failure then makes the data stale at once.
  FeedHealth(std::chrono::milliseconds interval, std::chrono::milliseconds closed_interval);

  /// Something arrived. `nothing` says why there is nothing in it; empty: there is.
  void OnUpdate(Clock::time_point now, std::string nothing = {});
  /// The figures that arrived last are others than before, and those of `server_time`.
  void OnChange(Clock::time_point now, std::int64_t server_time);
  /// Something else is asked for from now on: nothing of it has arrived, nothing has failed yet. Counts stay.
  void Restart();
  /// Counts of the feed's endpoint, as they are at this moment.
  void OnCounters(const stock_host::EndpointCounters& counters);
  /// Warnings in the log so far, and the newest of them.
  void OnLog(std::uint64_t count, const std::string& newest);

  [[nodiscard]] FeedReport Report(Clock::time_point now, stock::MarketStatus phase) const;
  /// Of the newest data; absent before the first.
  [[nodiscard]] std::optional<std::chrono::milliseconds> Age(Clock::time_point now) const;
  /// What went wrong since the newest data; empty: nothing.
  [[nodiscard]] const std::string& failure() const { return failure_; }
  /// True while an answer is being waited for.
  [[nodiscard]] bool under_way() const { return under_way_; }

 private:
  [[nodiscard]] bool IsStale(std::chrono::milliseconds age, bool closed) const;

  std::chrono::milliseconds fresh_for_;
  std::chrono::milliseconds fresh_when_closed_for_;
  std::optional<Clock::time_point> updated_;
  std::optional<Clock::time_point> changed_;
  std::int64_t changed_server_time_ = 0;
  std::string nothing_;
  std::uint64_t failed_ = 0;
  std::uint64_t log_count_ = 0;
  bool under_way_ = false;
  bool request_failed_ = false;  // since the newest data
  std::string failure_;
};

}  // namespace cli

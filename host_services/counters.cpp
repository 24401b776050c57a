#include "counters.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <mutex>
#include <utility>

#include "events.h"
#include "stock_host.h"

namespace stock_host {
namespace {

using Steady = std::chrono::steady_clock;

// A server that is asked for ever new paths does not make the table grow for ever.
constexpr std::size_t kEndpoints = 200;

struct CounterState {
  std::mutex mutex;  // guards all members
  Counters counters;
  Connection connection = Connection::kIdle;
  std::map<const EndpointCounters*, Steady::time_point> succeeded_at;  // entries of a map stay where they are
};

// Leaked: callable until the very end of the process.
CounterState& TheCounters() {
  static CounterState* const state = new CounterState;
  return *state;
}

EndpointCounters& Endpoint(Counters& counters, const std::string& name) {
  const auto found = counters.endpoints.find(name);
  if (found != counters.endpoints.end()) {
    return found->second;
  }
  return counters.endpoints[counters.endpoints.size() < kEndpoints ? name : "other"];
}

std::uint64_t& Count(Failures& failures, HttpError error) {
  switch (error) {
    case HttpError::kInvalid:
      return failures.invalid;
    case HttpError::kConnection:
      return failures.connection;
    case HttpError::kSecurity:
      return failures.security;
    case HttpError::kTimeout:
      return failures.timeout;
    case HttpError::kStatus:
      return failures.status;
    case HttpError::kTooLarge:
      return failures.too_large;
    case HttpError::kStopped:
      return failures.stopped;
    case HttpError::kNone:
    case HttpError::kIncomplete:
      break;
  }
  return failures.incomplete;
}

void CountEnd(const std::string& endpoint, HttpError error, const std::string& reason, std::uint64_t bytes,
              std::int64_t at, std::chrono::duration<double> took) {
  CounterState& state = TheCounters();
  const std::lock_guard lock(state.mutex);
  Counters& counters = state.counters;
  EndpointCounters& one = Endpoint(counters, endpoint);
  counters.bytes_received += bytes;
  one.bytes_received += bytes;
  if (error == HttpError::kNone) {
    ++counters.succeeded;
    ++one.succeeded;
    one.last_success = at;
    one.answer_seconds = took.count();
    state.succeeded_at[&one] = Steady::now();
    state.connection = Connection::kLive;
    return;
  }
  ++counters.failed;
  ++one.failed;
  ++Count(counters.failures, error);
  one.last_error = reason;
  // What never went to a server says nothing about the connection.
  if (error != HttpError::kInvalid && error != HttpError::kStopped) {
    state.connection = Connection::kFailing;
  }
}

}  // namespace

void ResetCounters(bool has_server) {
  CounterState& state = TheCounters();
  const std::lock_guard lock(state.mutex);
  state.succeeded_at.clear();
  state.counters = Counters();
  state.connection = has_server ? Connection::kIdle : Connection::kNoServer;
}

void CountStarted(const std::string& endpoint) {
  CounterState& state = TheCounters();
  const std::lock_guard lock(state.mutex);
  ++state.counters.requests;
  ++state.counters.under_way;
  ++Endpoint(state.counters, endpoint).requests;
}

void CountCompleted(const std::string& endpoint, HttpError error, const std::string& reason,
                    std::uint64_t bytes, std::int64_t at, std::chrono::duration<double> took) {
  CountEnd(endpoint, error, reason, bytes, at, took);
  Announce(Event::Kind::kExchangeEnded, endpoint);
}

void CountHandedOver(const std::string& endpoint) {
  {
    CounterState& state = TheCounters();
    const std::lock_guard lock(state.mutex);
    // Those of the run before do not count.
    if (state.counters.under_way > 0) {
      --state.counters.under_way;
      ++Endpoint(state.counters, endpoint).handed_over;
    }
  }
  Announce(Event::Kind::kHandedOver, endpoint);
}

void CountConnections(std::uint64_t opened) {
  CounterState& state = TheCounters();
  const std::lock_guard lock(state.mutex);
  state.counters.connections += opened;
}

void CountRecorded() {
  CounterState& state = TheCounters();
  const std::lock_guard lock(state.mutex);
  ++state.counters.recorded;
}

void CountRecordingFailure(const std::string& reason) {
  CounterState& state = TheCounters();
  const std::lock_guard lock(state.mutex);
  state.counters.recording_failure = reason;
}

Connection ConnectionState() {
  CounterState& state = TheCounters();
  const std::lock_guard lock(state.mutex);
  return state.connection;
}

Counters ReadCounters() {
  CounterState& state = TheCounters();
  const auto now = Steady::now();
  const std::lock_guard lock(state.mutex);
  Counters counters = state.counters;
  for (auto& [name, one] : counters.endpoints) {
    const auto succeeded = state.succeeded_at.find(&state.counters.endpoints.at(name));
    if (succeeded != state.succeeded_at.end()) {
      // A success may have come while the lock was waited for.
      one.success_age = std::max(0.0, std::chrono::duration<double>(now - succeeded->second).count());
    }
  }
  return counters;
}

}  // namespace stock_host

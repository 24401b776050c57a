// What the requests came to, for the application (ReadCounters in stock_host.h). Callable from any thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "http.h"

namespace stock_host {

/// Starts over; without a server the connection is none until then.
void ResetCounters(bool has_server);

/// A request was taken on. Exactly one `CountCompleted` and then one `CountHandedOver` follow.
void CountStarted(const std::string& endpoint);

/// `reason` names the failure; it is left alone after a success. `at` is the machine's time in Unix seconds,
/// `took` the time from the request to its end.
void CountCompleted(const std::string& endpoint, HttpError error, const std::string& reason,
                    std::uint64_t bytes, std::int64_t at, std::chrono::duration<double> took = {});

/// The call-back of a request has returned, or its caller is about to get the answer.
void CountHandedOver(const std::string& endpoint);

void CountConnections(std::uint64_t opened);

/// An exchange stands in the record.
void CountRecorded();
/// The recording has ended for this reason.
void CountRecordingFailure(const std::string& reason);

}  // namespace stock_host

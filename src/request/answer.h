// What every answer goes through before a service reads it: transport, staleness, JSON, error number.
// Failures are written to the log here, with the fetch's own texts. Thread-safe: no state.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "request/fetch_texts.h"
#include "request/json.h"

namespace request {

/// How far an answer came.
enum class Outcome {
  kAccepted,       ///< the payload may be read
  kFailed,         ///< no complete answer came; the failure line is written
  kEmpty,          ///< an answer without a body; nothing is written
  kStale,          ///< the answer to an older request; nothing is written
  kParseError,     ///< no JSON; the parse line is written
  kResponseError,  ///< the answer carries an error number; the response line is written
};

/// The checked answer of one request. Lives no longer than the bytes that it was made from.
class Answer {
 public:
  explicit Answer(Outcome outcome) : outcome_(outcome) {}
  explicit Answer(json::Document document) : document_(std::move(document)) {}

  [[nodiscard]] Outcome outcome() const { return outcome_; }
  [[nodiscard]] explicit operator bool() const { return outcome_ == Outcome::kAccepted; }

  /// The outermost object, and its member "data" read as an object or an array. Empty unless accepted.
  [[nodiscard]] json::Object Root() const { return document_.Root(); }
  [[nodiscard]] json::Object DataObject() const { return Root().ObjectAt("data"); }
  [[nodiscard]] json::Array DataArray() const { return Root().ArrayAt("data"); }

  /// The array "list" in the object "data"; empty when either is missing.
  [[nodiscard]] json::Array DataList() const { return DataObject().ArrayAt("list"); }

 private:
  Outcome outcome_ = Outcome::kAccepted;
  json::Document document_;
};

/// Tells whether an answer belongs to the latest request. Asked exactly once per answer, after the failure
/// line.
using StaleTest = std::function<bool()>;

/// What happens with an answer that has no body, or none that arrived whole.
enum class Incomplete {
  kStops,   ///< the rule: nothing is parsed
  kParsed,  ///< the body is parsed all the same, and a parse error is logged as well
};

/// Checks an answer, in this order: the failure line if `ok` is false; `is_latest`, if given; no answer or an
/// empty body; JSON; the member "errno", which reads 0 when it is missing or no whole number.
[[nodiscard]] Answer CheckAnswer(Fetch fetch, bool ok, const char* body, std::size_t length,
                                 const StaleTest& is_latest = {}, Incomplete incomplete = Incomplete::kStops);

}  // namespace request

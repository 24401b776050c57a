// What every answer goes through before a service reads it: transport, staleness, JSON, error number.
// Failures are written to the log here, with the fetch's own texts. Thread-safe: no state.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "frame/stamp.h"
#include "json/json.h"
#include "request/fetch_texts.h"

namespace request {

/// What the host's network hands over.
struct RawAnswer {
  bool ok = false;             ///< a whole answer came
  const char* body = nullptr;  ///< valid during the call only; null when there is none
  std::size_t length = 0;
};

/// What came of a synchronous request.
struct SyncAnswer {
  bool ok = false;
  std::string body;

  [[nodiscard]] RawAnswer Raw() const { return {ok, body.data(), body.size()}; }
};

/// How far an answer came.
enum class Outcome {
  kAccepted,       ///< the payload may be read
  kFailed,         ///< no complete answer came, or it would take too much memory; the failure line is written
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

/// The request that an answer belongs to, for a fetch of which only the latest request counts.
struct LatestOf {
  const frame::Stamps* stamps = nullptr;  ///< null: every request counts
  frame::Stamp stamp = 0;
};

/// Checks an answer, in this order: the failure line if it is not ok; whether its request is the latest; no
/// answer or an empty body; size and JSON; the member "errno", which reads 0 when it is missing or no whole
/// number.
[[nodiscard]] Answer CheckAnswer(Fetch fetch, const RawAnswer& raw, const LatestOf& latest = {});

}  // namespace request

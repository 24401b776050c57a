#include "request/answer.h"

#include <utility>

namespace request {

Answer CheckAnswer(Fetch fetch, const RawAnswer& raw, const LatestOf& latest) {
  if (!raw.ok) {
    LogFailed(fetch);
  }
  const bool is_latest = latest.stamps == nullptr || latest.stamps->IsLatest(latest.stamp);
  const bool has_body = raw.body != nullptr && raw.length != 0;
  if (!ParsesIncomplete(fetch)) {
    if (!raw.ok) {
      return Answer(Outcome::kFailed);
    }
    if (!is_latest) {
      return Answer(Outcome::kStale);
    }
    if (!has_body) {
      return Answer(Outcome::kEmpty);
    }
  }
  json::Document document = json::Document::Parse(raw.body, has_body ? raw.length : 0);
  if (document.TooLarge()) {
    LogFailed(fetch);
    return Answer(Outcome::kFailed);
  }
  if (document.Error() != 0) {
    LogParseError(fetch, document.Error());
    return Answer(Outcome::kParseError);
  }
  if (const int number = document.Root().Member("errno").Integer(); number != 0) {
    LogResponseError(fetch, number);
    return Answer(Outcome::kResponseError);
  }
  return Answer(std::move(document));
}

}  // namespace request

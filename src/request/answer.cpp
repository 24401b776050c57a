#include "request/answer.h"

#include <utility>

namespace request {

Answer CheckAnswer(Fetch fetch, bool ok, const char* body, std::size_t length, const StaleTest& is_latest,
                   Incomplete incomplete) {
  if (!ok) {
    LogFailed(fetch);
  }
  const bool latest = !is_latest || is_latest();
  if (incomplete == Incomplete::kStops) {
    if (!ok) {
      return Answer(Outcome::kFailed);
    }
    if (!latest) {
      return Answer(Outcome::kStale);
    }
    if (body == nullptr || length == 0) {
      return Answer(Outcome::kEmpty);
    }
  }
  json::Document document = json::Document::Parse(body, body == nullptr ? 0 : length);
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

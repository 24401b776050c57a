#include "market_server/answer.h"

#include "market_server/json_writer.h"

namespace market_server {
namespace {

constexpr ErrorInfo kErrors[] = {
    {Error::kUnknownPath, "unknown path", "the path is none of this page"},
    {Error::kMethod, "method not allowed", "the method is not GET (HTTP status 405)"},
    {Error::kMalformedQuery, "malformed query", "a percent sign without two hexadecimal digits"},
    {Error::kMissingParameter, "missing parameter", "a parameter of the endpoint is not there"},
    {Error::kBadParameter, "bad parameter", "the value of a parameter is not one of its values"},
    {Error::kUnknownPlate, "unknown plate", "no plate has that code"},
    {Error::kTooManySymbols, "too many symbols", "a list of more than 4,000 symbols"},
    {Error::kRepeatedParameter, "repeated parameter", "a parameter is there twice"},
    {Error::kNotSigned, "not signed", "none of the signing parameters is there"},
    {Error::kUnknownScheme, "unknown signing scheme", "\"_v\" is not \"csm1\""},
    {Error::kMalformedSignature, "malformed signature",
     "a signing parameter is missing, repeated or malformed, or the query is not in order"},
    {Error::kUnknownKey, "unknown key", "no key has the id \"_k\""},
    {Error::kBadSignature, "bad signature", "\"_s\" is not the signature of the request"},
    {Error::kTooOld, "signed too long ago", "\"_t\" lies more than 300 s before the server's clock"},
    {Error::kInFuture, "signed in the future", "\"_t\" lies more than 300 s after the server's clock"},
    {Error::kReplayed, "request replayed", "\"_n\" was used before with that key"},
    {Error::kInternal, "internal error", "the server failed; the access log says on what"},
};

}  // namespace

std::span<const ErrorInfo> Errors() {
  return kErrors;
}

Answer MakeError(Error error, std::string_view detail) {
  std::string text;
  for (const ErrorInfo& info : kErrors) {
    if (info.error == error) text = info.text;
  }
  if (!detail.empty()) {
    text += ": ";
    text += detail;
  }
  Answer answer;
  answer.error = error;
  JsonWriter json(answer.body);
  json.BeginObject();
  json.Member("errno", static_cast<int>(error));
  json.Member("errmsg", text);
  json.EndObject();
  return answer;
}

}  // namespace market_server

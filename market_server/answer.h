// What an endpoint answers, before it becomes bytes on a connection, and the table of error numbers. Plain
// values. How an answer travels is http/message.h.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace market_server {

/// The "errno" of an answer that could not be given. Numbers stay what they are once released.
enum class Error : int {
  kNone = 0,
  kUnknownPath = 1001,
  kMethod = 1002,
  kMalformedQuery = 1003,
  kMissingParameter = 1010,
  kBadParameter = 1011,
  kUnknownPlate = 1012,
  kTooManySymbols = 1013,
  kRepeatedParameter = 1014,
  kNotSigned = 1020,
  kUnknownScheme = 1021,
  kMalformedSignature = 1022,
  kUnknownKey = 1023,
  kBadSignature = 1024,
  kTooOld = 1025,
  kInFuture = 1026,
  kReplayed = 1027,
  kInternal = 1099,
};

struct ErrorInfo {
  Error error;
  std::string_view text;     ///< goes into "errmsg"
  std::string_view meaning;  ///< for the documentation
};

/// All errors but kNone, by number.
[[nodiscard]] std::span<const ErrorInfo> Errors();

struct Answer {
  unsigned status = 200;
  std::string content_type = "application/json; charset=utf-8";
  std::string body;
  Error error = Error::kNone;
};

/// {"errno":N,"errmsg":"..."}; `detail` is appended to the text of the error after a colon.
[[nodiscard]] Answer MakeError(Error error, std::string_view detail = {});

}  // namespace market_server

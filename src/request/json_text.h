// Makes a JSON text safe for the parser behind json.h, which leaks the earlier value of a repeated key when
// that value is an object or an array: a hostile server could grow the process with every answer.
// Thread-safe: pure functions.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace request::json {

/// First character of a key that `SetRepeatedKeysApart` has renamed. Readers pass over members whose key
/// begins with it.
inline constexpr char kRepeatedKeyMark = '\x7f';

/// Gives every earlier member of a repeated key a key of its own, by putting a mark and a number in front of
/// it, so that the last one wins (the parser by itself keeps any of them in a large object). A key that
/// begins with the mark already gets another, so that no two are alike. Nothing else changes, the parser's
/// error included if the text is no JSON. Nothing is returned when there is no such key, which is the rule.
[[nodiscard]] std::optional<std::string> SetRepeatedKeysApart(std::string_view text);

}  // namespace request::json

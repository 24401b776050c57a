// The raw text of a JSON document: what its strings mean, what it would cost, and how it is made safe for the
// parser behind json.h, which leaks the earlier value of a repeated key when that value is an object or an
// array: a hostile server could grow the process with every answer. Thread-safe: pure functions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace request::json {

/// In UTF-8.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

[[nodiscard]] constexpr bool IsSurrogate(std::uint32_t code) {
  return code >= 0xD800 && code <= 0xDFFF;
}

/// Writes a code point in UTF-8, a lone surrogate in the same three-byte form, to `out`, which has room for
/// four bytes. Returns their number.
std::size_t WriteUtf8(std::uint32_t code, char* out);

/// The code unit that "\uXXXX" between `at` and `end` stands for; -1 for anything else.
[[nodiscard]] int EscapedUnit(const char* at, const char* end);

/// Passes the escape sequence at `at`, a backslash, and returns its code point. Of what is no escape sequence
/// it passes the backslash and the character behind it, if there is one, and returns that character.
[[nodiscard]] std::uint32_t PassEscape(const char*& at, const char* end);

/// First character of a key that `SetApart` has renamed. Readers pass over members whose key begins with it.
inline constexpr char kRepeatedKeyMark = '\x7f';

/// What is seen of a text without parsing it. It reaches at least as far as any parser would.
struct TextScan {
  /// Where the keys begin, behind the quote, that must not reach the parser as they are: all but the last of
  /// equal ones in an object, and those that begin with the mark already. Ascending.
  std::vector<std::uint32_t> repeated_keys;

  // What the text comes to, at most:
  std::size_t containers = 0;
  std::size_t entries = 0;       ///< elements, keys and values
  std::size_t string_bytes = 0;  ///< of all strings and keys, as they are written
  std::size_t parser_bytes = 0;  ///< that Qt's parser takes, its result included
};

[[nodiscard]] TextScan Scan(std::string_view text);

/// Gives every key of `scan.repeated_keys` one of its own, by putting a mark and a number in front of it, so
/// that the last of equal keys wins (the parser by itself keeps any of them in a large object). Nothing else
/// changes, the parser's error included if the text is no JSON.
[[nodiscard]] std::string SetApart(std::string_view text, const TextScan& scan);

/// The bytes of what `SetApart` makes.
[[nodiscard]] std::size_t SizeSetApart(std::string_view text, const TextScan& scan);

}  // namespace request::json

// What the strings of a JSON text mean. Thread-safe: pure functions.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "json/budget.h"

namespace request::json {

/// In UTF-8.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

[[nodiscard]] constexpr bool IsSurrogate(std::uint32_t code) {
  return code >= 0xD800 && code <= 0xDFFF;
}

/// The code unit that "\uXXXX" between `at` and `end` stands for; -1 for anything else.
[[nodiscard]] int EscapedUnit(const char* at, const char* end);

/// Passes the escape sequence at `at` and returns its code point, which two of them may make together.
std::uint32_t PassEscape(const char*& at, const char* end);

/// Appends a code point in UTF-8, a lone surrogate in the same form of three bytes.
void AppendUtf8(std::string& out, std::uint32_t code);

/// Reads well-formed UTF-8, lone surrogates aside, in which a backslash begins an escape sequence if it is
/// `escaped`. Lone surrogates become U+FFFD. The memory of `out` is used again when it is enough. What `out`
/// holds then is required before it is taken.
void WidenInto(std::wstring& out, std::string_view text, bool escaped, Budget& budget);

}  // namespace request::json

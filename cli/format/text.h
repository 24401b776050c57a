// Text on its way to a person: UTF-8 that a terminal can be trusted with, measured in columns. Pure
// functions, callable from any thread, independent of the locale. Figures are made in figures.h, JSON in
// json_writer.h.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace cli {

/// `text` as UTF-8, whatever the locale; what is no character becomes U+FFFD.
[[nodiscard]] std::string Utf8(std::wstring_view text);

/// `text` with U+FFFD in place of bytes that belong to no character.
[[nodiscard]] std::string ValidUtf8(std::string_view text);

/// `text` with everything that could steer a terminal or reorder what it shows written out as "\u{1b}":
/// control, format (bidirectional ones included) and line-separating characters. Invalid UTF-8 becomes
/// U+FFFD.
[[nodiscard]] std::string Printable(std::string_view text);
[[nodiscard]] std::string Printable(std::wstring_view text);

/// Columns that a terminal needs for `text`: two for a wide (CJK) character, none for a combining one.
[[nodiscard]] int DisplayWidth(std::string_view text);

/// `text` in at most `width` columns; a cut is marked by "…" as its last column.
[[nodiscard]] std::string Clip(std::string_view text, int width);

/// `text` in lines of at most `width` columns, as far as its words allow: a line that is too long goes on
/// below where its text begins, which is column `indent`, or after the last wide gap, or after the blanks
/// before it.
[[nodiscard]] std::string Wrapped(const std::string& text, int width, std::size_t indent = 0);

enum class Align { kLeft, kRight };

/// `text` with blanks up to `width` columns; a wider one stays as it is.
[[nodiscard]] std::string Pad(std::string_view text, int width, Align align);

}  // namespace cli
